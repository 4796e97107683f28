#include "service/thread_join.h"

#include <utility>

#include "service/jni_initializer.h"

namespace qv {

JoinedThread JoinCurrentThread(ThreadRegistry& registry) noexcept {
  const uint32_t threadId = GetCurrentThreadId();
  InitializerOwner initializer(new CQV_JNIInitializer(registry.FindThreadClassPath(threadId)));
  if (!initializer) return {nullptr, nullptr};
  // Before the thread is attached: nothing can fail afterwards that would have to detach it again.
  ThreadRegistry::ReservedPlace place = registry.ReservePlace();
  if (!place) return {nullptr, HostPtr<ErrorRecord>(NewErrorRecord(texts::kNoEnvironment, 0))};
  ErrorRecord* record = nullptr;
  const int32_t status = initializer->Initialize(threadId, &record);
  if (status < 0) return {nullptr, HostPtr<ErrorRecord>(record)};
  JNIEnv* const env = initializer->GetEnv();
  if (env == nullptr) {
    initializer.reset();
    return {nullptr, HostPtr<ErrorRecord>(NewErrorRecord(texts::kNoEnvironment, 0))};
  }
  registry.RegisterInitializer(std::move(place), initializer.release());
  return {env, nullptr};
}

}  // namespace qv
