// Joining, creating and leaving the JVM.
#include "service/jni_initializer.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "base/module_handle.h"
#include "base/seh_guard.h"
#include "base/trace.h"
#include "config/folders.h"
#include "config/jvm_config_info.h"
#include "service/jvm_state.h"
#include "service/runtime_libraries.h"
#include "store/secret.h"

namespace {

constexpr jsize kMostVMs = 3;  // only the first is ever joined

struct CreateCall {
  CreateJavaVMFn create;
  JavaVM* vm;
  void* env;
  JavaVMInitArgs args;
};

int32_t CallCreate(void* context) {
  auto* const call = static_cast<CreateCall*>(context);
  return call->create(&call->vm, &call->env, &call->args);
}

void TraceOption(const char* option) noexcept {
  wchar_t text[512];
  const int units = MultiByteToWideChar(CP_ACP, 0, option, static_cast<int>(std::min<size_t>(std::strlen(option), 511)),
                                        text, static_cast<int>(std::size(text)));
  const std::wstring_view whole(text, static_cast<size_t>(units));
  const std::wstring_view shown = qv::WithoutSecret(whole);
  qv::Trace({L"option ", shown, shown.size() < whole.size() ? L"***" : L""});
}

// The module that holds the address, not counted; null when there is none.
HMODULE ModuleOf(const void* address) noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     static_cast<const wchar_t*>(address), &module);
  return module;
}

}  // namespace

void* CQV_JNIInitializer::Destroy(uint32_t deleteFlag) noexcept {
  Terminate();
  this->CQV_JNIInitializer::~CQV_JNIInitializer();
  if ((deleteFlag & 1U) != 0) QvshrFree(this);
  return this;
}

int32_t CQV_JNIInitializer::Fail(ErrorRecord** ppRecord, std::wstring_view text) noexcept {
  m_pVM = nullptr;
  m_pEnv = nullptr;
  *ppRecord = qv::NewErrorRecord(text, 0);
  return E_FAIL;
}

int32_t CQV_JNIInitializer::Initialize(uint32_t threadId, ErrorRecord** ppRecord) noexcept {
  if (ppRecord == nullptr) return E_INVALIDARG;
  *ppRecord = nullptr;
  m_dwThreadId = threadId;
  JavaVM* existing[kMostVMs] = {};
  jsize count = 0;
  const GetCreatedJavaVMsFn getCreated = g_pfnGetCreatedJavaVMs;
  const bool asked = getCreated != nullptr && getCreated(existing, kMostVMs, &count) == JNI_OK;
  return asked && count >= 1 ? JoinVM(existing[0], ppRecord) : CreateVM(ppRecord);
}

int32_t CQV_JNIInitializer::CreateVM(ErrorRecord** ppRecord) noexcept {
  JavaVMOption* options = nullptr;
  int32_t count = 0;
  if (!JVMConfigInfo().BuildJavaVMOptions(&options, &count, m_pszThreadClassPath)) {
    return Fail(ppRecord, qv::texts::kConfigurationError);
  }
  for (int32_t option = 0; option < count; ++option) TraceOption(options[option].optionString);
  int32_t result = JNI_ERR;
  // A JVM keeps the addresses of the hooks, also one that then refuses its options.
  const CreateJavaVMFn create = g_pfnCreateJavaVM;
  if (create != nullptr && qv::KeepModuleLoaded()) {
    CreateCall call{create, nullptr, nullptr, {JNI_VERSION_1_2, count, options, JNI_FALSE}};
    qv::ModuleFolder jvmFolder;
    const HMODULE module = ModuleOf(reinterpret_cast<void*>(create));
    if (module != nullptr) (void)jvmFolder.TryFind(module);
    qv::RuntimeLibraries present(jvmFolder.Text(), qv::kCreationLibraries);
    // Deliberate: when the JVM raises, the options stay allocated; it may have kept pointers into them.
    if (!qv::CallGuarded(CallCreate, &call, &result)) return Fail(ppRecord, qv::texts::kCreateRaised);
    m_pVM = call.vm;
    m_pEnv = static_cast<JNIEnv*>(call.env);
    // A JVM asks for them as long as it lives, which is as long as the process.
    if (result >= 0) present.Keep();
  }
  int32_t status = 0;
  if (result >= 0) {
    g_bJvmCreated = 1;
  } else {
    status = Fail(ppRecord, qv::texts::kNotInitialized);
  }
  qv::FreeOptions(options, count);
  return status;
}

int32_t CQV_JNIInitializer::JoinVM(JavaVM* vm, ErrorRecord** ppRecord) noexcept {
  // An attached thread keeps the address of the callback for its end.
  if (vm == nullptr || !qv::KeepModuleLoaded()) return Fail(ppRecord, qv::texts::kNotInitialized);
  m_pVM = vm;
  JavaVMAttachArgs args = {JNI_VERSION_1_2, nullptr, nullptr};
  void* env = nullptr;
  if (vm->AttachCurrentThread(&env, &args) != JNI_OK) return Fail(ppRecord, qv::texts::kNotInitialized);
  m_pEnv = static_cast<JNIEnv*>(env);
  return 0;
}

void CQV_JNIInitializer::Terminate() noexcept {
  if (m_pVM == nullptr || m_pEnv == nullptr) return;
  if (QvshrNoDetachQuery() == 0 && !JVMConfigInfo().m_bLoomhallHost) m_pVM->DetachCurrentThread();
  m_pVM = nullptr;
  m_pEnv = nullptr;
}
