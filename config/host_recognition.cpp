// Six executables by prefix, two Java launchers by name; everything else is an unknown host of the Quovant family.
#include "config/host_recognition.h"

#include <array>

#include "store/product.h"

namespace qv {

namespace {

struct HostPrefix {
  std::wstring_view prefix;
  bool quovant;
};

constexpr std::array<HostPrefix, 6> kHostPrefixes = {{
    {L"qv", true},
    {L"qk", true},
    {L"qr", true},
    {L"qw", true},
    {L"tk", false},
    {L"tn", false},
}};

constexpr std::wstring_view kJavaLaunchers[] = {L"javaw.exe", L"eclipse.exe"};
constexpr std::wstring_view kExtension = L".exe";

// "190.exe" for version "19.0": the version's pieces without their dots, then the extension.
constexpr bool IsVersionedExecutable(std::wstring_view tail) noexcept {
  for (const wchar_t unit : kProductVersion) {
    if (unit == L'.') continue;
    if (tail.empty() || tail.front() != unit) return false;
    tail.remove_prefix(1);
  }
  return tail == kExtension;
}

}  // namespace

HostIdentity RecogniseHost(std::wstring_view fileName) noexcept {
  for (const std::wstring_view launcher : kJavaLaunchers) {
    if (fileName == launcher) return {.known = true, .quovant = true, .loomhall = true};
  }
  for (const HostPrefix& row : kHostPrefixes) {
    if (fileName.starts_with(row.prefix) && IsVersionedExecutable(fileName.substr(row.prefix.size()))) {
      return {.known = true, .quovant = row.quovant, .loomhall = false};
    }
  }
  return {};
}

}  // namespace qv
