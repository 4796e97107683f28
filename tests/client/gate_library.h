// What client_gate.dll exports: a service whose start waits until the test lets it go on.
#pragma once

namespace qvtest {

// Waits until a start has come to the gate.
using WaitForStartFn = void (*)();
// Lets it go on, to the service itself.
using OpenGateFn = void (*)();
// Calls the function while the library is detached at process end.
using CallInDetachFn = void (*)(void (*function)());

}  // namespace qvtest
