// Which product the host process is, decided from its executable's file name. Pure.
#pragma once

#include <string_view>

namespace qv {

struct HostIdentity {
  bool known = false;
  bool quovant = true;    // false: the Tablero family
  bool loomhall = false;  // a Java launcher

  friend bool operator==(const HostIdentity&, const HostIdentity&) = default;
};

// `fileName` is the name part alone, already in lower case.
HostIdentity RecogniseHost(std::wstring_view fileName) noexcept;

}  // namespace qv
