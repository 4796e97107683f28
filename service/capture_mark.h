// Which threads are looking up java/lang/Throwable for an exception's text. The module prepares the mark when it is
// loaded.
#pragma once

#include "base/thread_slot.h"

namespace qv {

extern ThreadFlag g_capturing;

}  // namespace qv
