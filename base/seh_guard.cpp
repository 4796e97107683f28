// The guard. It holds no object with a destructor and nothing that could need a second handler in the same function.
#include "base/seh_guard.h"

#include <windows.h>

#include "base/compiler.h"

#if !QV_STRUCTURED_TRY
#include <excpt.h>

// Named in the handler table by the macro below, hence not in a namespace.
extern "C" LONG QvCatchEverything(EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; }
#endif

namespace qv {

QV_NOINLINE bool CallGuarded(GuardedCall call, void* context, int32_t* value) {
#if QV_STRUCTURED_TRY
  __try {
    *value = call(context);
    return true;
  } __except (EXCEPTION_EXECUTE_HANDLER) {
    return false;
  }
#else
  // Volatile: the handler resumes behind the guarded region with registers as they were when the call began.
  volatile bool returned = false;
  __try1(QvCatchEverything);
  *value = call(context);
  returned = true;
  __except1;
  return returned;
#endif
}

}  // namespace qv
