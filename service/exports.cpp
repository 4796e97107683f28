// The four exported functions.
#include <windows.h>

#include "config/jvm_config_info.h"
#include "qvjvm/qvjvm.h"
#include "service/java_vm_manager.h"
#include "service/jvm_start.h"
#include "service/jvm_state.h"
#include "service/output_log.h"
#include "service/thread_registry.h"

namespace {

constexpr char kJvmLibrary[] = "jvm.dll";

HMODULE FindLoadedModule(const char* name) noexcept {
  return g_pThreadRegistry != nullptr ? g_pThreadRegistry->FindModule(name) : nullptr;
}

bool StartJavaSide(const wchar_t* classPath) noexcept {
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.Load()) return false;
  config.m_pfnVfprintfHook = reinterpret_cast<void*>(&JvmVfprintfHook);
  config.m_pfnExitHook = reinterpret_cast<void*>(&JvmExitHook);
  config.m_pfnFindLoadedModule = FindLoadedModule;
  return StartJavaVM(kJvmLibrary, classPath) >= 0;
}

}  // namespace

extern "C" {

int32_t QV_CreateJavaVM(IQV_JavaVM** ppJavaVM, const wchar_t* pszClassPath) noexcept {
  if (ppJavaVM == nullptr) return E_INVALIDARG;
  const bool createdBefore = g_bJvmCreated != 0;
  if (!StartJavaSide(pszClassPath)) return E_FAIL;
  *ppJavaVM = new CQV_JNIVMManager();
  if (*ppJavaVM == nullptr) return E_OUTOFMEMORY;
  // Deliberate: not for a JVM that was joined or that this very call created.
  return pszClassPath != nullptr && createdBefore ? QV_S_CLASSPATH_IGNORED : S_OK;
}

void QV_SetJavaVMDebugMode(uint8_t enabled) noexcept { JVMConfigInfo().m_bDebugMode = enabled != 0; }

int32_t DllRegisterServer(void) noexcept { return S_OK; }

}  // extern "C"
