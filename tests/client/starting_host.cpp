// A host that starts Java beside its own work, in the way it is told: usage: starting_host WAY [MILLISECONDS]
// It prints what went wrong, and "done" or "ending" when it has come to its end.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#define QVJVM_OPTIONS_IMPLEMENTATION
#include "qvjvm/options.h"
#include "qvjvm/qvjvm.hpp"
#include "tests/client/gate_library.h"

namespace {

using qvtest::CallInDetachFn;
using qvtest::OpenGateFn;
using qvtest::WaitForStartFn;
using namespace qvjvm::literals;

using java_system = qvjvm::instance<"java/lang/System">;
using java_thread = qvjvm::instance<"java/lang/Thread">;
using class_loader = qvjvm::instance<"java/lang/ClassLoader">;

constexpr int kExitCode = 87;
constexpr const wchar_t* kGate = L"client_gate.dll";

// Not through the C runtime, whose streams may be locked for ever by a thread that is gone.
void Print(std::string_view line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void Expect(bool holds, std::string_view what) {
  if (!holds) Print("failed: " + std::string(what) + "\n");
}

template <class Function>
Function OfGate(const char* name) {
  static const HMODULE gate = LoadLibraryW(kGate);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(gate, name)));
}
void WaitForStart() { OfGate<WaitForStartFn>("WaitForStart")(); }
void OpenGate() { OfGate<OpenGateFn>("OpenGate")(); }

// A start that comes to the gate and waits there.
qvjvm::options AtTheGate() {
  (void)LoadLibraryW(L"qvjvm.dll");  // with the host library, which takes the options
  return qvjvm::options().library(kGate).property("qv.name", "asked").compiled().context_class_loader();
}

std::string Property(const qvjvm::jvm& java, const char* name) {
  return java_system::call_static<"getProperty", std::string>(java, name);
}

bool HasContextClassLoader(const qvjvm::jvm& java) {
  const auto here = java_thread::call_static<"currentThread", java_thread>(java);
  return static_cast<bool>(here.call<"getContextClassLoader", class_loader>());
}

// What fails is told to everybody who asks, in the words of jvm::start, and the next start is as good as any.
void FailFirst() {
  const auto asked = qvjvm::options().runtime(L"no such folder");
  const std::wstring words = qvjvm::jvm::try_start(asked).reason().message();
  const auto starting = qvjvm::jvm::start_async(asked);
  for (int i = 0; i < 2; ++i) {
    try {
      (void)starting.get();
      Expect(false, "a start without a runtime threw nothing");
    } catch (const qvjvm::error& error) {
      Expect(error.message() == words && error.status() == QV_E_INVALIDARG, "the failure of the start");
    }
  }
  Expect(starting.ready() && starting.try_get().reason().message() == words, "it failed for good");
}

void UseOnManyThreads() {
  FailFirst();
  qvjvm::starting_jvm first;
  Expect(first.ready() && first.try_get().reason().status() == QV_E_INVALIDARG, "an empty one fails");
  std::thread([&] { first = qvjvm::jvm::start_async(AtTheGate()); }).join();  // which ends before Java is there
  WaitForStart();
  Expect(!first.ready(), "Java is not there yet");
  const qvjvm::starting_jvm second = std::move(first);
  // NOLINTNEXTLINE(bugprone-use-after-move): that is what is tested
  Expect(first.try_get().reason().status() == QV_E_INVALIDARG, "one that was moved from fails");

  constexpr int kThreads = 4;
  std::atomic<int> waiting = 0;
  std::atomic<IQV_JavaVM*> got[kThreads] = {};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i, mine = second] {
      ++waiting;
      const qvjvm::jvm java = mine.get();
      got[i] = java.get();
      Expect(HasContextClassLoader(java), "the thread that gets it has a context class loader");
      Expect(Property(java, "qv.name") == "asked", "the options count");
    });
  }
  while (waiting < kThreads) Sleep(1);
  OpenGate();
  const qvjvm::jvm java = second.get();
  Expect(second.ready(), "Java is there");
  while (true) {  // no thread ends while Java starts threads of its own
    int there = 0;
    for (const auto& one : got) there += one != nullptr ? 1 : 0;
    if (there == kThreads) break;
    Sleep(1);
  }
  Sleep(500);
  for (std::thread& thread : threads) thread.join();
  for (const auto& one : got) Expect(one == java.get(), "all have the same service object");
  Expect(java.created() && java.ignored().empty(), "it was created as asked");
  java.call_static<"java/lang/System", "gc">();  // which waits for every thread that runs Java

  const auto again = qvjvm::jvm::start_async(qvjvm::options().heap(1_GiB));
  Expect(again.ready(), "a JVM that runs is joined at once");
  const auto ignored = again.get().ignored();
  Expect(ignored.size() == 1 && ignored[0] == "heap", "what came too late is told");
  Print("done\n");
}

void DropBeforeItIsReady() {
  { const auto dropped = qvjvm::jvm::start_async(AtTheGate()); }
  { const auto shared = qvjvm::starting_jvm(); }
  WaitForStart();
  OpenGate();
  while (!qv_jvm_runs()) Sleep(10);
  const qvjvm::jvm java = qvjvm::jvm::start();
  Expect(Property(java, "qv.name") == "asked", "Java starts all the same");
  Print("done\n");
}

// The functions for hosts in C.
void UseFromC() {
  IQV_JavaVM* vm = nullptr;
  uint32_t ignored = 0;
  wchar_t why[200];
  qv_options wrong = {};
  wrong.runtime = L"no such folder";
  Expect(qv_finish_start(qv_begin_start(nullptr, &wrong), &vm, &ignored, why, 200) == QV_E_INVALIDARG &&
             vm == nullptr && std::wstring_view(why).starts_with(L"there is no Java runtime"),
         "the failure of a start");
  Expect(qv_finish_start(nullptr, &vm, nullptr, why, 5) == QV_E_OUTOFMEMORY && std::wstring_view(why) == L"no m",
         "no memory is told, as much as there is room for");

  (void)LoadLibraryW(L"qvjvm.dll");
  const qv_property property = {L"qv.name", L"asked"};
  qv_options asked = {};
  asked.properties = &property;
  asked.propertyCount = 1;
  asked.compiled = 1;
  qv_starting* const starting = qv_begin_start(kGate, &asked);
  WaitForStart();
  Expect(qv_is_started(starting) == 0, "Java is not there yet");
  Expect(qv_finish_start(starting, nullptr, nullptr, nullptr, 0) == QV_E_INVALIDARG, "no place for the result");
  OpenGate();
  Expect(qv_finish_start(starting, &vm, &ignored, nullptr, 0) == QV_S_OK && vm != nullptr && ignored == 0,
         "it was created as asked");
  Expect(Property(qvjvm::jvm::start(), "qv.name") == "asked", "the options count");
  vm->Release();

  asked.heap = 1_GiB;
  qv_starting* const again = qv_begin_start(nullptr, &asked);
  Expect(qv_is_started(again) == 1, "a JVM that runs is joined at once");
  Expect(qv_finish_start(again, &vm, &ignored, why, 200) == QV_S_OK &&
             ignored == (QV_IGNORED_HEAP | QV_IGNORED_PROPERTIES | QV_IGNORED_COMPILED) && why[0] == 0,
         "what came too late is told");
  vm->Release();
  Print("done\n");
}

const qvjvm::starting_jvm& Begin(const qvjvm::options& asked) {
  static const qvjvm::starting_jvm starting = qvjvm::jvm::start_async(asked);
  return starting;
}

void TellInDetach() {
  const auto java = Begin({}).try_get();
  Print(std::string(java ? "Java in a detach" : java.reason().what()) + "\n");
}

int End(std::string_view way) {
  Print("ending\n");
  if (way == "exit") std::exit(kExitCode);
  if (way == "ExitProcess") ExitProcess(kExitCode);
  return kExitCode;
}

// A thread waits for the start as well, and stays at it.
int EndAtTheGate(std::string_view way) {
  const auto& starting = Begin(AtTheGate());
  WaitForStart();
  std::thread([&] { (void)starting.try_get(); }).detach();
  if (way == "detach") OfGate<CallInDetachFn>("CallInDetach")(TellInDetach);
  return End(way);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view way = argc > 1 ? argv[1] : "";
  try {
    if (way == "use") {
      UseOnManyThreads();
      return kExitCode;
    }
    if (way == "drop") {
      DropBeforeItIsReady();
      return kExitCode;
    }
    if (way == "c") {
      UseFromC();
      return kExitCode;
    }
    if (way.starts_with("gate-")) return EndAtTheGate(way.substr(5));
    if (argc == 3) {
      (void)Begin(qvjvm::options().compiled());
      Sleep(static_cast<DWORD>(std::strtoul(argv[2], nullptr, 10)));
      return End(way);
    }
  } catch (const qvjvm::error& error) {
    Print("failed: " + std::string(error.what()) + "\n");
  }
  return 1;
}
