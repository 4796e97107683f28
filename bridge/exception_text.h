// The mark of a thread that is inside CaptureException. Prepared when the module is loaded.
#pragma once

#include "base/thread_slot.h"

namespace qv {

extern ThreadFlag g_capturing;

}  // namespace qv
