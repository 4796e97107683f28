// How a thread gets into the JVM, whether start-up brings it there or its own first operation: an initializer is made,
// a place in the registry reserved, the JVM joined or created, the initializer registered. The registry owns it then;
// on every other way out it is destroyed, which detaches the thread again.
#pragma once

#include <jni.h>

#include "host/host_memory.h"
#include "service/error_record.h"
#include "service/thread_registry.h"

namespace qv {

struct JoinedThread {
  JNIEnv* env;                  // null when it failed
  HostPtr<ErrorRecord> record;  // why; null also when there is no memory for it
};

// For the calling thread, which the registry does not know yet. No lock is held meanwhile.
JoinedThread JoinCurrentThread(ThreadRegistry& registry) noexcept;

}  // namespace qv
