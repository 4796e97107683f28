// What the host asks of the runtime and the configuration, and the log switches.
#include "bridge/java_call.h"
#include "config/jvm_config_info.h"
#include "service/jvm_state.h"
#include "service/output_log.h"

int32_t CQV_JNIVMManager::GetJNIEnv(qv_jnienv* out) noexcept {
  if (out == nullptr) return E_INVALIDARG;
  JNIEnv* const env = Env();
  *out = env;
  if (env == nullptr) return E_FAIL;
  if (env->ExceptionCheck() != JNI_FALSE) env->ExceptionClear();
  return S_OK;
}

int32_t CQV_JNIVMManager::GetJDKLocation(IQvString** text) noexcept {
  if (text == nullptr) return E_INVALIDARG;
  *text = nullptr;
  return JVMConfigInfo().ReadJDKLocation(text) ? S_OK : E_FAIL;
}

int32_t CQV_JNIVMManager::GetJREBinLocation(IQvString** text) noexcept {
  if (text == nullptr) return E_INVALIDARG;
  *text = nullptr;
  return JVMConfigInfo().ReadJREBinLocation(text) ? S_OK : E_FAIL;
}

int32_t CQV_JNIVMManager::GetLogFileName(IQvString** text) noexcept {
  if (text == nullptr) return E_INVALIDARG;
  JVMConfigInfo().GetLogFilePath(text);
  return S_OK;
}

int32_t CQV_JNIVMManager::SetLogFileName(const wchar_t* path) noexcept {
  JVMConfigInfo().SetLogFilePath(qv::MakeString(path).Detach());
  g_bJvmLogStarted = false;
  g_bJvmLogEnabled = 1;
  return S_OK;
}

int32_t CQV_JNIVMManager::SetJvmLogEnabled(int32_t enabled) noexcept {
  g_bJvmLogEnabled = enabled;
  return S_OK;
}

int32_t CQV_JNIVMManager::IsJVMCreated(int32_t* created) noexcept {
  if (created == nullptr) return E_INVALIDARG;
  *created = g_bJvmCreated;
  return S_OK;
}

int32_t CQV_JNIVMManager::GetClassPath(IQvString** text) noexcept {
  if (text == nullptr) return E_INVALIDARG;
  *text = nullptr;
  if (JavaHasOurClassPath()) return GetSystemProperty(text, L"java.class.path");
  return JVMConfigInfo().ComposeClassPath(text) ? S_OK : E_FAIL;
}

int32_t CQV_JNIVMManager::GetJavaVersion(IQvString** text) noexcept {
  if (text != nullptr) *text = nullptr;
  return g_bJvmCreated != 0 ? GetSystemProperty(text, L"java.version") : E_FAIL;
}

// Deliberate: the references made here stay.
int32_t CQV_JNIVMManager::GetSystemProperty(IQvString** text, const wchar_t* key) noexcept {
  qv_jclass system = nullptr;
  qv_jstring keyString = nullptr;
  qv_jobject value = nullptr;
  if (FindClass(&system, "java/lang/System") < 0 || NewString(&keyString, key) < 0) return E_FAIL;
  const int32_t status =
      CallStaticObjectMethod(&value, system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;", keyString);
  return status < 0 ? E_FAIL : GetStringValue(text, value);
}
