// Which file names are known hosts, and which registry root each kind of host has. Pure.
#include <gtest/gtest.h>

#include "config/host_recognition.h"
#include "store/product.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

struct HostCase {
  const wchar_t* fileName;
  qv::HostIdentity want;
};

constexpr qv::HostIdentity kUnknown = {.known = false, .quovant = true, .loomhall = false};
constexpr qv::HostIdentity kQuovant = {.known = true, .quovant = true, .loomhall = false};
constexpr qv::HostIdentity kTablero = {.known = true, .quovant = false, .loomhall = false};
constexpr qv::HostIdentity kLoomhall = {.known = true, .quovant = true, .loomhall = true};

TEST(HostRecognitionTest, AHostIsKnownByItsExactFileName) {
  for (const HostCase& row : {HostCase{L"qv190.exe", kQuovant},
                              {L"qk190.exe", kQuovant},
                              {L"qr190.exe", kQuovant},
                              {L"qw190.exe", kQuovant},
                              {L"tk190.exe", kTablero},
                              {L"tn190.exe", kTablero},
                              {L"javaw.exe", kLoomhall},
                              {L"eclipse.exe", kLoomhall},
                              // Another version, something behind the version, something in front.
                              {L"qv195.exe", kUnknown},
                              {L"qv180.exe", kUnknown},
                              {L"tk191.exe", kUnknown},
                              {L"tk195.exe", kUnknown},
                              {L"qv190w.exe", kUnknown},
                              {L"qv1900.exe", kUnknown},
                              {L"qv19.exe", kUnknown},
                              {L"qv19.0.exe", kUnknown},
                              {L"qv.exe", kUnknown},
                              {L"xqv190.exe", kUnknown},
                              {L"qqv190.exe", kUnknown},
                              {L"190.exe", kUnknown},
                              {L"v190.exe", kUnknown},
                              // A prefix that no row has.
                              {L"qx190.exe", kUnknown},
                              {L"tv190.exe", kUnknown},
                              {L"tw190.exe", kUnknown},
                              {L"vq190.exe", kUnknown},
                              // The extension belongs to the name.
                              {L"qv190", kUnknown},
                              {L"qv190.", kUnknown},
                              {L"qv190.ex", kUnknown},
                              {L"qv190.exe ", kUnknown},
                              {L"qv190.exe.exe", kUnknown},
                              {L"qv190.dll", kUnknown},
                              {L"qv190.com", kUnknown},
                              {L"qv190.exec", kUnknown},
                              {L"javaw", kUnknown},
                              {L"eclipse", kUnknown},
                              // Neighbours of the Java launchers.
                              {L"java.exe", kUnknown},
                              {L"javaws.exe", kUnknown},
                              {L"eclipsec.exe", kUnknown},
                              {L" javaw.exe", kUnknown},
                              {L"xjavaw.exe", kUnknown},
                              {L"javaw.exe.exe", kUnknown},
                              {L"", kUnknown},
                              {L".exe", kUnknown}}) {
    const qv::HostIdentity host = qv::RecogniseHost(row.fileName);
    EXPECT_TRUE(host == row.want) << ToUtf8(row.fileName) << ": known " << host.known << ", quovant " << host.quovant
                                  << ", loomhall " << host.loomhall;
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
}

TEST(RegistryRootTest, ATableroHostUsesItsOwnRootEvenAsAJavaLauncher) {
  EXPECT_EQ(qv::RegistryRootFor(false, true), L"Software\\Harlowe\\Tablero\\19.0");
}

TEST(RegistryRootTest, TheLongestRootFitsItsFieldWithTheTerminator) {
  EXPECT_EQ(qv::RegistryRootFor(true, true).size(), 42u);
  EXPECT_EQ(qv::kRegistryRootCapacity, 50u);
}

}  // namespace
}  // namespace qvtest
