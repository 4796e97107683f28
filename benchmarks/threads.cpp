// How the service behaves with many threads: the environment of the calling thread with up to 1000 threads joined, from
// several threads at once, and a thread's way from its first call to its end.
#include <atomic>

#include "benchmarks/host.h"

namespace {

using bench::Host;
using bench::Report;

// Threads that joined the JVM through the service and then do nothing until the object goes.
class JoinedThreads {
 public:
  JoinedThreads(const Host& host, size_t count) {
    for (size_t i = 0; i < count; ++i) {
      // Small stacks: a thousand threads are no question of memory then.
      const HANDLE thread = CreateThread(nullptr, 1 << 18, &Run, this, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
      if (thread == nullptr) bench::Die("no more threads");
      m_threads.push_back(thread);
    }
    m_vm = host.Vm();
    SetEvent(m_begin);
    while (m_joined < count) Sleep(1);
  }
  ~JoinedThreads() {
    SetEvent(m_end);
    for (const HANDLE thread : m_threads) {
      WaitForSingleObject(thread, INFINITE);
      CloseHandle(thread);
    }
    CloseHandle(m_begin);
    CloseHandle(m_end);
  }
  JoinedThreads(const JoinedThreads&) = delete;
  JoinedThreads& operator=(const JoinedThreads&) = delete;

 private:
  static DWORD WINAPI Run(void* self) {
    auto& all = *static_cast<JoinedThreads*>(self);
    WaitForSingleObject(all.m_begin, INFINITE);
    if (QV_AcquireThreadEnv(all.m_vm) == nullptr) bench::Die("a thread could not join");
    ++all.m_joined;
    WaitForSingleObject(all.m_end, INFINITE);
    return 0;
  }

  IQV_JavaVM* m_vm = nullptr;
  std::vector<HANDLE> m_threads;
  const HANDLE m_begin = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE m_end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<size_t> m_joined = 0;
};

uint64_t AskService(IQV_JavaVM* vm, size_t times) {
  const qv_jnienv expected = QV_AcquireThreadEnv(vm);
  uint64_t same = 0;
  for (size_t i = 0; i < times; ++i) same += QV_AcquireThreadEnv(vm) == expected ? 1U : 0U;
  return same;
}

uint64_t AskSlot(DWORD slot, size_t times) {
  TlsSetValue(slot, &slot);
  uint64_t same = 0;
  for (size_t i = 0; i < times; ++i) same += TlsGetValue(slot) == &slot ? 1U : 0U;
  return same;
}

void Environment(Report& report, const Host& host, DWORD slot) {
  IQV_JavaVM* const vm = host.Vm();
  const std::vector<size_t> counts =
      report.Options().quick ? std::vector<size_t>{1, 10} : std::vector<size_t>{1, 10, 100, 1000};
  std::vector<bench::Pair> pairs;
  for (const size_t count : counts) {
    const JoinedThreads others(host, count - 1);
    pairs.push_back(report.Compare(
        "environment, " + std::to_string(count) + " threads joined", 0,
        [=](size_t times) { return AskService(vm, times); }, [=](size_t times) { return AskSlot(slot, times); }));
  }
  const bench::Pair& most = pairs.back();
  report.Note("environment, most threads over one thread", most.service.median / pairs.front().service.median, "times",
              1.1);
  report.Note("environment, most threads, beyond the twin", most.service.median - most.twin.median, "ns", 5);
}

void Parallel(Report& report, const Host& host, DWORD slot) {
  IQV_JavaVM* const vm = host.Vm();
  for (const size_t count : {1U, 2U, 4U, 8U}) {
    // A thousand calls in one operation: starting the threads does not count then.
    report.Compare(
        "environment, 1,000,000 times from " + std::to_string(count) + " threads at once", 0,
        [=](size_t times) {
          return bench::AtOnce(count, times, [=](size_t n) { return AskService(vm, n * 1000000); });
        },
        [=](size_t times) {
          return bench::AtOnce(count, times, [=](size_t n) { return AskSlot(slot, n * 1000000); });
        });
  }
}

void ThreadLife(Report& report, const Host& host) {
  IQV_JavaVM* const vm = host.Vm();
  JavaVM* const jvm = host.Jvm();
  report.Compare(
      "a thread's first call to its end", 1.10,
      [=](size_t times) {
        return bench::OnNewThreads(times, [=] {
          qv_jnienv env = nullptr;
          if (vm->GetJNIEnv(&env) != QV_S_OK) bench::Die("GetJNIEnv");
          return 1;
        });
      },
      [=](size_t times) {
        return bench::OnNewThreads(times, [=] {
          void* env = nullptr;
          JavaVMAttachArgs arguments = {JNI_VERSION_1_2, nullptr, nullptr};
          if (jvm->AttachCurrentThread(&env, &arguments) != JNI_OK) bench::Die("AttachCurrentThread");
          if (static_cast<JNIEnv*>(env)->ExceptionCheck() != JNI_FALSE) bench::Die("an exception");
          jvm->DetachCurrentThread();
          return 1;
        });
      });
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  const Host host;
  Report report("threads", line.settings);
  host.Describe(report);
  const DWORD slot = TlsAlloc();
  Environment(report, host, slot);
  Parallel(report, host, slot);
  ThreadLife(report, host);
  TlsFree(slot);
  return report.Write(line.json) ? 0 : 1;
}
