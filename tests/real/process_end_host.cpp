// A host that starts the JVM, has Java threads and attached threads of its own, idle or busy, and ends in one of three
// ways. Usage: process_end_host return|exit|exit-elsewhere idle|busy EXITCODE
// It says "ending" when everything runs. Exit code 1: it did not get that far.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "qvjvm/qvjvm.h"

namespace {

constexpr int kHostThreads = 3;

IQV_JavaVM* g_vm = nullptr;
qv_jclass g_threads = nullptr;  // a global reference
bool g_busy = false;
UINT g_exitCode = 0;
HANDLE g_attached = nullptr;  // a semaphore, released once by every host thread

[[noreturn]] void Give(const char* what) {
  std::printf("failed: %s\n", what);
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), 1);
  std::abort();
}

DWORD WINAPI AttachedThread(void*) {
  if (QV_AcquireThreadEnv(g_vm) == nullptr) Give("a thread could not be attached");
  ReleaseSemaphore(g_attached, 1, nullptr);
  if (g_busy) g_vm->CallStaticVoidMethod(g_threads, "workForEver", "()V");
  Sleep(INFINITE);
  return 0;
}

DWORD WINAPI EndTheProcess(void*) { ExitProcess(g_exitCode); }

void Start() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring folder = std::wstring(path).substr(0, std::wstring(path).rfind(L'\\'));
  const HMODULE service = LoadLibraryExW((folder + L"\\qvjvm.dll").c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (service == nullptr) Give("qvjvm.dll could not be loaded");
  const auto create =
      reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")));
  if (create(&g_vm, (folder + L"\\qvtests.jar").c_str()) != QV_S_OK) Give("the JVM did not start");
  qv_jclass cls = nullptr;
  if (g_vm->FindClass(&cls, "qvtest/Threads") < 0 || g_vm->NewGlobalRef(&g_threads, cls) < 0) Give("no class");
  const char* const starter = g_busy ? "startWorkers" : "startWaiters";
  if (g_vm->CallStaticVoidMethod(g_threads, starter, "()V") < 0) Give("no Java threads");
  g_attached = CreateSemaphoreW(nullptr, 0, kHostThreads, nullptr);
  for (int i = 0; i < kHostThreads; ++i) CreateThread(nullptr, 0, AttachedThread, nullptr, 0, nullptr);
  for (int i = 0; i < kHostThreads; ++i) WaitForSingleObject(g_attached, INFINITE);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) Give("usage");
  const std::string way = argv[1];
  g_busy = std::string(argv[2]) == "busy";
  g_exitCode = static_cast<UINT>(std::atoi(argv[3]));
  Start();
  std::printf("ending\n");
  std::fflush(stdout);
  if (way == "exit") ExitProcess(g_exitCode);
  if (way == "exit-elsewhere") {
    CreateThread(nullptr, 0, EndTheProcess, nullptr, 0, nullptr);
    Sleep(INFINITE);
  }
  return static_cast<int>(g_exitCode);
}
