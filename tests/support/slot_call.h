// Calls an operation of an object by its number in the table, as a host of another compiler would.
// On 64-bit Windows an operation is a function whose first argument is the object.
#pragma once

#include <cstddef>

namespace qvtest {

template <class Result, class... Arguments>
Result CallSlot(void* object, size_t slot, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  return (*static_cast<Function**>(object))[slot](object, arguments...);
}

}  // namespace qvtest
