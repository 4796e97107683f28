// What nearly every source of the service includes, read once for all of them.
#include <windows.h>

#include <jni.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "base/lock.h"
#include "service/java_vm_manager.h"
#include "service/jni_initializer.h"
#include "service/thread_registry.h"
