// Classes by name: the JVM's own look-up comes first. In a joined JVM, whose class path is somebody else's, the loader
// over the service's class path comes second.
#include <algorithm>
#include <cstdlib>

#include "bridge/java_call.h"
#include "host/host_text.h"
#include "service/jvm_state.h"

namespace {

// The dotted name in wide characters; null when it cannot be converted.
qv::HostArray<wchar_t> BinaryName(const char* name) noexcept {
  const size_t length = std::mbstowcs(nullptr, name, 0);
  if (length == static_cast<size_t>(-1)) return nullptr;
  qv::HostArray<wchar_t> wide = qv::AllocHostArray<wchar_t>(length + 1);
  if (!wide || std::mbstowcs(wide.get(), name, length + 1) != length) return nullptr;
  wide[length] = L'\0';
  std::replace(wide.get(), wide.get() + length, L'/', L'.');
  return wide;
}

}  // namespace

int32_t CQV_JNIVMManager::FindClass(qv_jclass* out, const char* name) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = nullptr;
  if (name == nullptr) return E_FAIL;
  JNIEnv* const env = Env();
  if (env == nullptr) return MissingClass(env, name);
  ExceptionClear(env);
  *out = env->FindClass(name);
  if (*out != nullptr) return S_OK;
  ReplaceErrorRecord(nullptr);
  if (JavaHasOurClassPath()) return MissingClass(env, name);
  ExceptionClear(env);
  const int32_t status = BuildClassLoader(env);
  if (status >= 0) LoadClassByLoader(env, out, name);
  return *out != nullptr ? status : MissingClass(env, name);
}

bool CQV_JNIVMManager::JavaHasOurClassPath() noexcept { return g_bJvmCreated != 0; }

// The loader may be absent (an empty class path): the typed call then leaves its own record.
void CQV_JNIVMManager::LoadClassByLoader(JNIEnv* env, qv_jclass* out, const char* name) noexcept {
  qv_jstring binaryName = nullptr;
  if (const qv::HostArray<wchar_t> wide = BinaryName(name)) NewString(&binaryName, wide.get());
  if (binaryName == nullptr) return;
  const jclass loaderClass = env->FindClass("java/net/URLClassLoader");
  CallObjectMethod2(out, loaderClass, m_jClassLoader, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;", binaryName);
  DeleteLocalRef(binaryName);
}

// A record that says more already stays.
int32_t CQV_JNIVMManager::MissingClass(JNIEnv* env, const char* name) noexcept {
  if (!IsRecordEmpty()) return E_FAIL;
  ErrorRecord* captured = nullptr;
  if (CaptureException(&captured, env) != 1 || captured == nullptr) {
    wchar_t message[qv::kErrorTextUnits];
    qv::FormatClassNotFound(message, name);
    captured = qv::NewErrorRecord(message, 0);
  }
  ReplaceErrorRecord(captured);
  return E_FAIL;
}
