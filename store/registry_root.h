// Where the host product keeps its settings: one root path per product family. Pure.
#pragma once

#include <string_view>

namespace qv {

inline constexpr size_t kRegistryRootCapacity = 50;  // units, terminator included

// Deliberate: a host outside the Quovant family is a Tablero host even when it is also a Java launcher.
constexpr std::wstring_view RegistryRootFor(bool quovantHost, bool loomhallHost) noexcept {
  if (!quovantHost) return L"Software\\Harlowe\\Tablero\\19.0";
  return loomhallHost ? L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents" : L"Software\\Harlowe\\Quovant\\19.0";
}

}  // namespace qv
