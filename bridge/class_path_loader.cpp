// The java.net.URLClassLoader over the service's own class path. A service object in a joined JVM builds one and owns
// it: m_jClassLoader is a global reference, which the object's end deletes. Of two loaders that two threads build at
// once, one stays and the other is deleted.
#include "bridge/java_call.h"
#include "config/path_list.h"

using qv::As;

namespace {

// Owns a reference that is made along the way, and deletes it through the object's own slot.
class SlotLocalRef {
 public:
  explicit SlotLocalRef(IQV_JavaVM& vm) noexcept : m_vm(vm) {}
  ~SlotLocalRef() {
    if (m_reference != nullptr) m_vm.DeleteLocalRef(m_reference);
  }
  SlotLocalRef(const SlotLocalRef&) = delete;
  SlotLocalRef& operator=(const SlotLocalRef&) = delete;

  [[nodiscard]] qv_jobject* Out() noexcept { return &m_reference; }
  [[nodiscard]] qv_jobject Get() const noexcept { return m_reference; }
  explicit operator bool() const noexcept { return m_reference != nullptr; }

 private:
  IQV_JavaVM& m_vm;
  qv_jobject m_reference = nullptr;
};

// Deliberate: a path that gives no URL leaves a null element at its place.
void StoreUrl(IQV_JavaVM& vm, JNIEnv* env, jclass fileClass, const wchar_t* path, jobjectArray urls,
              jsize index) noexcept {
  SlotLocalRef string(vm);
  SlotLocalRef file(vm);
  SlotLocalRef url(vm);
  vm.NewString(string.Out(), path);
  if (string) vm.NewObject(file.Out(), fileClass, "(Ljava/lang/String;)", string.Get());
  if (file) vm.CallObjectMethod(url.Out(), fileClass, file.Get(), "toURL", "()Ljava/net/URL;");
  if (url) env->SetObjectArrayElement(urls, index, As<jobject>(url.Get()));
}

}  // namespace

int32_t CQV_JNIVMManager::BuildClassLoader(JNIEnv* env) noexcept {
  if (m_jClassLoader != nullptr) return S_OK;
  // Deliberate: these three references stay.
  const jclass loaderClass = env->FindClass("java/net/URLClassLoader");
  const jclass urlClass = loaderClass != nullptr ? env->FindClass("java/net/URL") : nullptr;
  const jclass fileClass = urlClass != nullptr ? env->FindClass("java/io/File") : nullptr;
  if (fileClass == nullptr) return E_FAIL;

  qv::StringRef classPath;
  const int32_t status = GetClassPath(classPath.Out());
  if (status < 0) return status;
  qv::PathList paths;
  if (!paths.TrySplit(qv::TextOf(classPath))) return E_FAIL;
  if (paths.Count() == 0) return status;

  SlotLocalRef loader(*this);  // made before the array's owner, and so deleted after the array
  SlotLocalRef urls(*this);
  *urls.Out() = env->NewObjectArray(paths.Count(), urlClass, nullptr);
  if (!urls) return status;
  jsize index = 0;
  paths.ForEach(
      [&](const wchar_t* path) { StoreUrl(*this, env, fileClass, path, As<jobjectArray>(urls.Get()), index++); });

  qv_jobject global = nullptr;
  NewObject(loader.Out(), loaderClass, "([Ljava/net/URL;)", urls.Get());
  if (loader) NewGlobalRef(&global, loader.Get());
  jobject none = nullptr;
  if (global != nullptr && !m_jClassLoader.compare_exchange_strong(none, As<jobject>(global))) DeleteGlobalRef(global);
  return m_jClassLoader != nullptr ? S_OK : status;
}
