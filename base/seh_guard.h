// Runs one call of foreign code and survives whatever it raises: structured exceptions, and C++ exceptions, which are
// structured ones underneath. One caller: the creation of the JVM.
#pragma once

#include <cstdint>

namespace qv {

using GuardedCall = int32_t (*)(void* context);

// True and *value when the call returned; false, *value untouched, when it raised. The call's own clean-up may not have
// run then, so `context` holds no object with a destructor.
[[nodiscard]] bool CallGuarded(GuardedCall call, void* context, int32_t* value);

}  // namespace qv
