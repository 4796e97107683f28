// A host that starts the JVM, has Java threads and attached threads of its own, idle or busy, and ends in the way it is
// told: usage: end_host WAY main|other idle|busy EXITCODE
// "other" ends it from a further attached thread while the main thread waits. It says "ending" when everything runs.
// Exit code 2: it did not get that far. "end_host kill PROCESS-ID EXITCODE" ends another one.
#include <jni.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "qvjvm/callbacks.hpp"
#include "tests/reliability/ends/end_library.h"
#include "tests/support/start_process.h"

namespace {

constexpr int kHostThreads = 3;

IQV_JavaVM* g_vm = nullptr;
IQV_JavaVM* g_failed = nullptr;  // an object with an error
qv_jclass g_threads = nullptr;   // global references
qv_jclass g_ends = nullptr;
bool g_busy = false;
UINT g_exitCode = 0;
HANDLE g_attached = nullptr;  // a semaphore, released once by every host thread
PlanDetachFn g_planDetach = nullptr;

[[noreturn]] void Give(const char* what) {
  std::printf("failed: %s\n", what);
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), 2);
  std::abort();
}

// How far it got: for a test that finds it hanging.
void Say(const char* what) {
  std::printf("%s\n", what);
  std::fflush(stdout);
}

std::wstring ProgramPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

HMODULE LoadBeside(const wchar_t* name) {
  const std::wstring program = ProgramPath();
  const std::wstring path = program.substr(0, program.rfind(L'\\') + 1) + name;
  const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (module == nullptr) Give("a library could not be loaded");
  return module;
}

template <class Function>
Function Find(HMODULE module, const char* name) {
  const auto function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (function == nullptr) Give(name);
  return function;
}

void LoadEndLibrary() { g_planDetach = Find<PlanDetachFn>(LoadBeside(L"end_library.dll"), "PlanDetach"); }

DWORD WINAPI AttachedThread(void*) {
  if (QV_AcquireThreadEnv(g_vm) == nullptr) Give("a thread could not be attached");
  ReleaseSemaphore(g_attached, 1, nullptr);
  if (g_busy) g_vm->CallStaticVoidMethod(g_threads, "workForEver", "()V");
  Sleep(INFINITE);
  return 0;
}

void FindJavaClass(qv_jclass* global, const char* name) {
  qv_jclass local = nullptr;
  if (g_vm->FindClass(&local, name) < 0 || g_vm->NewGlobalRef(global, local) < 0) Give(name);
}

void Start() {
  const auto create = Find<QV_CreateJavaVMFn>(LoadBeside(L"qvjvm.dll"), "QV_CreateJavaVM");
  const std::wstring program = ProgramPath();
  const std::wstring classPath = program.substr(0, program.rfind(L'\\')) + L"\\qvtests.jar";
  if (create(&g_vm, classPath.c_str()) != QV_S_OK) Give("the JVM did not start");
  Say("JVM started");
  FindJavaClass(&g_threads, "qvtest/Threads");
  FindJavaClass(&g_ends, "qvtest/Ends");
  const char* const starter = g_busy ? "startWorkers" : "startWaiters";
  if (g_vm->CallStaticVoidMethod(g_threads, starter, "()V") < 0) Give("no Java threads");
  Say("Java threads started");
  g_attached = CreateSemaphoreW(nullptr, 0, kHostThreads, nullptr);
  for (int i = 0; i < kHostThreads; ++i) CreateThread(nullptr, 0, AttachedThread, nullptr, 0, nullptr);
  for (int i = 0; i < kHostThreads; ++i) {
    WaitForSingleObject(g_attached, INFINITE);
    Say("a thread attached");
  }
}

void JavaExit() { g_vm->CallStaticVoidMethod(g_ends, "exit", "(I)V", g_exitCode); }
void JavaHalt() { g_vm->CallStaticVoidMethod(g_ends, "halt", "(I)V", g_exitCode); }
void JavaCrash() { g_vm->CallStaticVoidMethod(g_ends, "crash", "()V"); }
void JavaOutOfMemory() { g_vm->CallStaticVoidMethod(g_ends, "runOutOfMemory", "()V"); }

void JniFatalError() { static_cast<JNIEnv*>(QV_AcquireThreadEnv(g_vm))->FatalError("given up by the host"); }

void TerminateItself() { TerminateProcess(GetCurrentProcess(), g_exitCode); }

void LetAnotherTerminate() {
  std::wstring line =
      L"\"" + ProgramPath() + L"\" kill " + std::to_wstring(GetCurrentProcessId()) + L" " + std::to_wstring(g_exitCode);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION killer{};
  const bool started = qvtest::StartProcess([&] {
    return CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &killer);
  });
  if (!started) Give("the other process did not start");
  Sleep(INFINITE);
}

// Ends the process with another code than the detach gives it.
void EndAndLetTheDetach(DetachWork work, IQV_JavaVM* vm = g_vm) {
  g_planDetach(work, vm, g_exitCode);
  ExitProcess(work == kDetachExit || work == kDetachExitProcess ? g_exitCode + 1 : g_exitCode);
}

// Threads that ask an object for its error without pause, and so have its lock when they are ended. It is an object of
// their own: the busy threads' calls would take the error away.
void ReadErrorsWithoutPause() {
  LoadEndLibrary();
  const auto create = Find<QV_CreateJavaVMFn>(LoadBeside(L"qvjvm.dll"), "QV_CreateJavaVM");
  if (create(&g_failed, nullptr) != QV_S_OK) Give("no second object");
  if (g_failed->CallVoidMethod(nullptr, nullptr, "", "") >= 0) Give("there is no error to read");
  for (int i = 0; i < kHostThreads; ++i) {
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
          for (int read = 0;; ++read) {
            int32_t code = 0;
            g_failed->GetErrorCode(&code);
            if (read == 1000) ReleaseSemaphore(g_attached, 1, nullptr);
          }
        },
        nullptr, 0, nullptr);
    CloseHandle(thread);
    WaitForSingleObject(g_attached, INFINITE);
  }
}

// Threads of Java's that are in a function of the host without pause, until the end. What the host keeps of it has
// static life, so it ends before them where the C runtime ends the process.
void LetJavaCallWithoutPause() {
  static std::atomic<int64_t> calls{0};
  static const qvjvm::jvm java = qvjvm::jvm::share(g_vm);
  using Runnable = qvjvm::instance<"java/lang/Runnable">;
  const auto object = qvjvm::implement<"java/lang/Runnable">(java, [text = std::string(100, 'x')] {
    if (++calls % 16 == 0) throw std::runtime_error(text);
  });
  static const qvjvm::host_handle handle = object.handle();
  static const qvjvm::global kept(object);
  java.call_static<"qvtest/Ends", "callForEver", void(Runnable)>(object);
  while (calls < 1000) Sleep(1);
}

struct Way {
  const char* name;
  void (*end)();  // null: main returns
  void (*beforeStart)() = nullptr;
  void (*afterStart)() = nullptr;
};

constexpr Way kWays[] = {
    {"return", nullptr},
    {"ExitProcess", [] { ExitProcess(g_exitCode); }},
    {"exit", [] { std::exit(static_cast<int>(g_exitCode)); }},
    {"detach-ExitProcess", [] { EndAndLetTheDetach(kDetachExitProcess); }, nullptr, LoadEndLibrary},
    {"detach-exit", [] { EndAndLetTheDetach(kDetachExit); }, nullptr, LoadEndLibrary},
    {"release-before", [] { EndAndLetTheDetach(kDetachRelease); }, nullptr, LoadEndLibrary},
    {"use-after", [] { EndAndLetTheDetach(kDetachUseAndRelease); }, LoadEndLibrary},
    {"read-text", [] { EndAndLetTheDetach(kDetachReadText, g_failed); }, nullptr, ReadErrorsWithoutPause},
    {"System.exit", JavaExit},
    {"halt", JavaHalt},
    {"abort", [] { std::abort(); }},
    {"FatalError", JniFatalError},
    {"crash", JavaCrash},
    {"out-of-memory", JavaOutOfMemory},
    {"TerminateProcess", TerminateItself},
    {"terminated", LetAnotherTerminate},
    {"callbacks-return", nullptr, nullptr, LetJavaCallWithoutPause},
    {"callbacks-ExitProcess", [] { ExitProcess(g_exitCode); }, nullptr, LetJavaCallWithoutPause},
    {"callbacks-exit", [] { std::exit(static_cast<int>(g_exitCode)); }, nullptr, LetJavaCallWithoutPause},
    {"callbacks-System.exit", JavaExit, nullptr, LetJavaCallWithoutPause},
};

DWORD WINAPI EndElsewhere(void* context) {
  if (QV_AcquireThreadEnv(g_vm) == nullptr) Give("a thread could not be attached");
  static_cast<const Way*>(context)->end();
  Give("the process went on");
}

int Kill(const char* processId, const char* exitCode) {
  const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, std::strtoul(processId, nullptr, 10));
  return TerminateProcess(process, std::strtoul(exitCode, nullptr, 10)) != FALSE ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "kill") == 0) return Kill(argv[2], argv[3]);
  if (argc != 5) Give("usage");
  const Way* way = nullptr;
  for (const Way& known : kWays) {
    if (std::strcmp(known.name, argv[1]) == 0) way = &known;
  }
  if (way == nullptr) Give("no such way");
  g_busy = std::strcmp(argv[3], "busy") == 0;
  g_exitCode = std::strtoul(argv[4], nullptr, 10);

  if (way->beforeStart != nullptr) way->beforeStart();
  Start();
  if (way->afterStart != nullptr) way->afterStart();
  Say("ending");
  if (way->end == nullptr) return static_cast<int>(g_exitCode);
  if (std::strcmp(argv[2], "other") == 0) {
    CreateThread(nullptr, 0, EndElsewhere, const_cast<Way*>(way), 0, nullptr);
    Sleep(INFINITE);
  }
  way->end();
  Give("the process went on");
}
