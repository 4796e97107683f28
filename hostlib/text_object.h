// The library's string objects. The caller of Create owns the one reference it gets; the text lives inside the
// object's own block and never changes, so any thread may read it without a lock.
#pragma once

#include <string_view>

#include "qvjvm/qvjvm.h"

namespace qvshr {

/// Makes a string object of `left` followed by `right`.
/// @param caller  the address that the ledger names for the new block.
/// @return 0, or E_OUTOFMEMORY with *out null. `out` is not null.
int32_t CreateText(std::wstring_view left, std::wstring_view right, const void* caller, IQvString** out) noexcept;

}  // namespace qvshr
