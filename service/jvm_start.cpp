// The start-up itself. Retried by every QV_CreateJavaVM until one succeeds.
#include "service/jvm_start.h"

#include <cstdio>
#include <utility>

#include "base/lock.h"
#include "base/procedure.h"
#include "base/trace.h"
#include "config/jvm_config_info.h"
#include "service/runtime_folder.h"
#include "service/thread_registry.h"

CRITICAL_SECTION* g_csLoader = nullptr;
int32_t g_nJvmLoadCount = 0;
int32_t g_bJvmLibraryLoaded = 0;
int32_t g_bJvmCreated = 0;
int32_t g_bJvmJoined = 0;
GetCreatedJavaVMsFn g_pfnGetCreatedJavaVMs = nullptr;
GetDefaultJavaVMInitArgsFn g_pfnGetDefaultJavaVMInitArgs = nullptr;
CreateJavaVMFn g_pfnCreateJavaVM = nullptr;

namespace {

// Made before any export can be called and freed at unload.
class LoaderLock {
 public:
  LoaderLock() noexcept {
    g_csLoader = static_cast<CRITICAL_SECTION*>(QvshrAlloc(sizeof(CRITICAL_SECTION)));
    if (g_csLoader != nullptr) InitializeCriticalSection(g_csLoader);
  }
  // Runs when the module is unloaded, after its counters were written; the tests of unloading find everything freed.
  // GCOVR_EXCL_START
  ~LoaderLock() {
    if (g_csLoader == nullptr) return;
    DeleteCriticalSection(g_csLoader);
    QvshrFree(g_csLoader);
    g_csLoader = nullptr;
  }
  // GCOVR_EXCL_STOP
};

LoaderLock g_loaderLock;

bool EntryPointsFound() noexcept {
  return g_pfnGetCreatedJavaVMs != nullptr && g_pfnGetDefaultJavaVMInitArgs != nullptr && g_pfnCreateJavaVM != nullptr;
}

// True when a library was loaded; its entry points are stored then, missing ones as null.
bool LoadJvmLibrary(const char* moduleName) noexcept {
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.m_bLoomhallHost && !config.LocateJavaRuntime()) return false;
  const qv::RuntimeFolderScope reachable(config.DiscoveredJvmFolder());
  HMODULE library = g_pThreadRegistry->LoadModuleCached(moduleName);
  if (library == nullptr) {
    char inClientFolder[512];
    std::snprintf(inClientFolder, sizeof(inClientFolder), "client\\%s", moduleName);
    library = g_pThreadRegistry->LoadModuleCached(inClientFolder);
  }
  if (library == nullptr) return false;
  g_pfnGetCreatedJavaVMs = qv::FindProcedure<GetCreatedJavaVMsFn>(library, "JNI_GetCreatedJavaVMs");
  g_pfnGetDefaultJavaVMInitArgs =
      qv::FindProcedure<GetDefaultJavaVMInitArgsFn>(library, "JNI_GetDefaultJavaVMInitArgs");
  g_pfnCreateJavaVM = qv::FindProcedure<CreateJavaVMFn>(library, "JNI_CreateJavaVM");
  if (!EntryPointsFound()) qv::Trace({L"the jvm.dll that was loaded lacks an entry point of a Java VM"});
  return true;
}

// Joins or creates the JVM on this thread and registers the thread. Error texts end here.
void InitializeFirstThread(uint32_t threadId) noexcept {
  InitializerOwner initializer(new CQV_JNIInitializer());
  ThreadRegistry::Place place = g_pThreadRegistry->ReservePlace();
  if (!initializer || !place) return;
  ErrorRecord* record = nullptr;
  const int32_t status = initializer->Initialize(threadId, &record);
  const qv::HostPtr<ErrorRecord> discarded(record);
  if (record != nullptr) qv::Trace({record->text});
  if (status < 0 || initializer->GetEnv() == nullptr) return;
  g_pThreadRegistry->RegisterInitializer(std::move(place), initializer.release());
  if (g_bJvmCreated == 0) g_bJvmJoined = 1;
  qv::Trace({g_bJvmCreated != 0 ? L"the JVM was created" : L"the JVM of this process was joined"});
}

bool StartLocked(const char* moduleName, const wchar_t* classPath) noexcept {
  if (g_bJvmLibraryLoaded == 0 && !LoadJvmLibrary(moduleName)) return false;
  g_bJvmLibraryLoaded = 1;
  const uint32_t threadId = GetCurrentThreadId();
  if (classPath != nullptr && !g_pThreadRegistry->RegisterThreadClassPath(threadId, classPath)) return false;
  InitializeFirstThread(threadId);
  if (g_bJvmCreated != 0 || g_bJvmJoined != 0) ++g_nJvmLoadCount;
  return true;
}

}  // namespace

int32_t StartJavaVM(const char* moduleName, const wchar_t* classPath) noexcept {
  if (g_csLoader == nullptr || g_pThreadRegistry == nullptr) return E_FAIL;
  if (g_nJvmLoadCount == 0) {
    const qv::CriticalSectionGuard guard(*g_csLoader);
    if (g_nJvmLoadCount == 0 && !StartLocked(moduleName, classPath)) return E_FAIL;
  }
  if (!EntryPointsFound()) return E_FAIL;
  return g_bJvmCreated != 0 || g_bJvmJoined != 0 ? 0 : E_FAIL;
}
