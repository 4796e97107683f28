// A pending Java exception becomes text in a record and is cleared. Describe first, then text, then the final clear:
// getting the text may itself raise a second exception.
#include "base/compiler.h"
#include "bridge/java_call.h"
#include "service/capture_mark.h"

namespace qv {

namespace {

// Marks the thread while a capture looks up java/lang/Throwable, because a look-up that fails captures again. False
// when the thread cannot be marked: nothing would stop the second capture from looking up, too.
class CapturingScope {
 public:
  CapturingScope() noexcept : m_marked(g_capturing.Set(true)) {}
  ~CapturingScope() {
    if (m_marked) g_capturing.Set(false);
  }
  explicit operator bool() const noexcept { return m_marked; }
  CapturingScope(const CapturingScope&) = delete;
  CapturingScope& operator=(const CapturingScope&) = delete;

 private:
  const bool m_marked;
};

// Slot 16 needs a buffer for the whole string, so a longer one is cut here.
bool CopyText(IQV_JavaVM& vm, JNIEnv* env, jstring string, wchar_t (&buffer)[kErrorTextUnits]) noexcept {
  constexpr auto kLongest = static_cast<jsize>(kErrorTextUnits - 1);
  int32_t length = 0;
  if (vm.GetStringLength(&length, string) < 0) return false;
  if (length <= kLongest) {
    auto size = static_cast<int32_t>(kErrorTextUnits);
    return vm.GetStringChars(buffer, &size, string) == S_OK;
  }
  env->GetStringRegion(string, 0, kLongest, reinterpret_cast<jchar*>(buffer));
  buffer[kLongest] = L'\0';
  return true;
}

// Deliberate: the references made here live until the JVM releases the thread's frame.
bool ExceptionText(IQV_JavaVM& vm, JNIEnv* env, jthrowable exception, wchar_t (&buffer)[kErrorTextUnits]) noexcept {
  if (g_capturing.IsSet()) return false;
  qv_jclass throwable = nullptr;
  {
    const CapturingScope capturing;
    if (!capturing) return false;
    vm.FindClass(&throwable, "java/lang/Throwable");
  }
  if (throwable == nullptr) return false;
  const jmethodID toString = env->GetMethodID(As<jclass>(throwable), "toString", "()Ljava/lang/String;");
  if (toString == nullptr) return false;
  const auto text = static_cast<jstring>(env->functions->CallObjectMethod(env, exception, toString));
  return text != nullptr && CopyText(vm, env, text, buffer);
}

}  // namespace

}  // namespace qv

void CQV_JNIVMManager::ExceptionClear(qv_jnienv env) noexcept {
  if (env != nullptr) static_cast<JNIEnv*>(env)->ExceptionClear();
}

// Hands the new record over. What the object's own slot holds is freed: it may be the record of another thread's
// failure by now. A host's pointer is written and never read.
QV_NOINLINE void CQV_JNIVMManager::StoreCaptured(ErrorRecord** record, ErrorRecord* made) noexcept {
  if (record == RecordSlot()) {
    ReplaceErrorRecord(made);
  } else if (record != nullptr) {
    *record = made;
  } else {
    QvshrFree(made);
  }
}

// Not inlined, because every call pays for the look that finds nothing.
QV_NOINLINE void CQV_JNIVMManager::CapturePending(ErrorRecord** record, JNIEnv* env, jthrowable exception) noexcept {
  if (env == nullptr) {
    StoreCaptured(record, qv::NewErrorRecord(qv::texts::kEnvironmentNotAvailable, 0));
    return;
  }
  env->ExceptionDescribe();
  wchar_t text[qv::kErrorTextUnits];
  const bool readable = qv::ExceptionText(*this, env, exception, text);
  StoreCaptured(record, qv::NewErrorRecord(readable ? std::wstring_view(text) : qv::texts::kUnknownException, 0));
  ExceptionClear(env);
}

int32_t CQV_JNIVMManager::CaptureException(ErrorRecord** record, qv_jnienv env) noexcept {
  if (record != RecordSlot() || !IsRecordEmpty()) [[unlikely]]
    StoreCaptured(record, nullptr);
  auto* const jni = static_cast<JNIEnv*>(env);
  jthrowable exception = nullptr;
  if (jni != nullptr) [[likely]] {
    exception = jni->ExceptionOccurred();
    if (exception == nullptr) [[likely]]
      return 0;
  }
  CapturePending(record, jni, exception);
  return 1;
}
