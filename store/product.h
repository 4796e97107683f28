// The product's version and where its families keep their settings. Pure.
#pragma once

#include <string_view>

// A macro, so that it can be a part of other literals.
#define QV_PRODUCT_VERSION L"19.0"

namespace qv {

// Its digits name the executables of the product.
inline constexpr std::wstring_view kProductVersion = QV_PRODUCT_VERSION;

inline constexpr size_t kRegistryRootCapacity = 50;  // units, terminator included

// One root path per product family. Deliberate: a host outside the Quovant family is a Tablero host even when it is
// also a Java launcher.
constexpr std::wstring_view RegistryRootFor(bool quovantHost, bool loomhallHost) noexcept {
  if (!quovantHost) return L"Software\\Harlowe\\Tablero\\" QV_PRODUCT_VERSION;
  return loomhallHost ? L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents"
                      : L"Software\\Harlowe\\Quovant\\" QV_PRODUCT_VERSION;
}

}  // namespace qv
