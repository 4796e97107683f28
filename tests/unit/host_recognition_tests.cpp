// Which file names are known hosts, and which registry root each kind of host has. Pure.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "config/host_recognition.h"
#include "store/product.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr qv::HostIdentity kUnknown = {.known = false, .quovant = true, .loomhall = false};
constexpr qv::HostIdentity kQuovant = {.known = true, .quovant = true, .loomhall = false};
constexpr qv::HostIdentity kTablero = {.known = true, .quovant = false, .loomhall = false};
constexpr qv::HostIdentity kLoomhall = {.known = true, .quovant = true, .loomhall = true};

TEST(HostRecognitionTest, AHostIsKnownByItsExactFileName) {
  // Of the unknown ones: another version, something behind the version or in front of the prefix, another prefix,
  // another extension or none, neighbours of the Java launchers.
  const std::pair<qv::HostIdentity, std::vector<const wchar_t*>> rows[] = {
      {kQuovant, {L"qv190.exe", L"qk190.exe", L"qr190.exe", L"qw190.exe"}},
      {kTablero, {L"tk190.exe", L"tn190.exe"}},
      {kLoomhall, {L"javaw.exe", L"eclipse.exe"}},
      {kUnknown,
       {L"qv195.exe",     L"qv180.exe",    L"tk191.exe",  L"tk195.exe",  L"qv190w.exe",    L"qv1900.exe", L"qv19.exe",
        L"qv19.0.exe",    L"qv.exe",       L"xqv190.exe", L"qqv190.exe", L"190.exe",       L"v190.exe",   L"qx190.exe",
        L"tv190.exe",     L"tw190.exe",    L"vq190.exe",  L"qv190",      L"qv190.",        L"qv190.ex",   L"qv190.exe ",
        L"qv190.exe.exe", L"qv190.dll",    L"qv190.com",  L"qv190.exec", L"javaw",         L"eclipse",    L"java.exe",
        L"javaws.exe",    L"eclipsec.exe", L" javaw.exe", L"xjavaw.exe", L"javaw.exe.exe", L"",           L".exe"}}};
  for (const auto& [want, names] : rows) {
    for (const wchar_t* name : names) {
      const qv::HostIdentity host = qv::RecogniseHost(name);
      EXPECT_TRUE(host == want) << ToUtf8(name) << ": known " << host.known << ", quovant " << host.quovant
                                << ", loomhall " << host.loomhall;
    }
  }
}

TEST(HostRecognitionTest, ANameEndsWithItsTextAndNotAtANull) {
  EXPECT_TRUE(qv::RecogniseHost(std::wstring_view(L"qv190.exe\0", 10)) == kUnknown);
  EXPECT_TRUE(qv::RecogniseHost(std::wstring_view(L"qv190.exeX", 9)) == kQuovant);
}

TEST(RegistryRootTest, EachHostFamilyHasItsRoot) {
  EXPECT_EQ(qv::RegistryRootFor(true, false), L"Software\\Harlowe\\Quovant\\19.0");
  EXPECT_EQ(qv::RegistryRootFor(true, true), L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents");
  EXPECT_EQ(qv::RegistryRootFor(false, false), L"Software\\Harlowe\\Tablero\\19.0");
  EXPECT_EQ(qv::RegistryRootFor(false, true), L"Software\\Harlowe\\Tablero\\19.0") << "even as a Java launcher";
  EXPECT_EQ(qv::RegistryRootFor(true, true).size(), 42u);
  EXPECT_EQ(qv::kRegistryRootCapacity, 50u);
}

}  // namespace
}  // namespace qvtest
