// Hostile class names, method names and signatures on a real JVM. The service hands bytes through as they are, so the
// JVM must stand them: each text goes to plain JNI first, and then the service has to say the same: the same class, or
// the failure with the text of the same exception. Nothing else may happen.
// A null signature is not among them: it goes to the JVM unchecked, which reads it.
#include <jni.h>

#include <cstring>

#include "tests/real/running_vm.h"
#include "tests/reliability/hostile/hostile_text.h"
#include "tests/support/watchdog.h"

namespace qvtest {
namespace {

constexpr DWORD kHangMs = 60000;

std::atomic<uint64_t> g_progress = 0;

class HostileNames : public RunningVmTest {
 protected:
  static void SetUpTestSuite() { StartVm({L"-Xmx256m"}); }

  void SetUp() override {
    RunningVmTest::SetUp();
    m_env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(Vm()));
    ASSERT_NE(m_env, nullptr);
    EXPECT_TRUE(Ok(Vm(), Vm()->SetJvmLogEnabled(0)));
    DropErrorOutput(Vm());
    m_throwable = m_env->FindClass("java/lang/Throwable");
    m_toString = m_env->GetMethodID(m_throwable, "toString", "()Ljava/lang/String;");
    m_echo = m_env->FindClass("qvtest/Echo");
    m_object = NewDefaultObject(Vm(), m_echo).Get() != nullptr
                   ? m_env->NewObject(m_echo, m_env->GetMethodID(m_echo, "<init>", "()V"))
                   : nullptr;
  }

  // What the pending exception says, as a record holds it: 511 units at most, and no more than up to a null, which
  // these texts may have (C0 80 is one to Java). Then it is cleared.
  std::wstring TakePending() {
    const jthrowable exception = m_env->ExceptionOccurred();
    if (exception == nullptr) return L"<nothing pending>";
    m_env->ExceptionClear();
    const auto text = static_cast<jstring>(m_env->CallObjectMethod(exception, m_toString));
    if (text == nullptr) return L"<no text>";
    const std::wstring whole = qvtest::TextOf(Vm(), text).substr(0, 511);
    return whole.substr(0, whole.find(L'\0'));
  }

  void Try(const char* key, const char* kind, const wchar_t* resource,
           const std::function<std::string(const std::string&)>& once) {
    const Watchdog watchdog(g_progress, kHangMs, [&] { return "the text is " + AsLine(m_text) + "\n"; });
    const TextKind texts{key, kind, RuntimeOf(Vm()), resource, IsNightly() ? 10000U : 150U};
    const TextCounts counts = TryTexts(texts, m_accepted, [&](const std::string& text) {
      m_text = text;
      ++g_progress;
      m_env->PushLocalFrame(32);
      const std::string trouble = once(m_text);
      Vm()->ExceptionClear(m_env);
      m_env->PopLocalFrame(nullptr);
      return trouble;
    });
    EXPECT_GT(counts.refused, counts.accepted) << "most of these texts are nobody's name";
  }

  // E_FAIL with this record, and no exception left.
  std::string FailedWith(int32_t status, const Record& record) {
    if (status != QV_E_FAIL) return "status " + std::to_string(status);
    const std::optional<Record> seen = RecordOf(Vm());
    if (seen != record) {
      return "record \"" + (seen ? ToUtf8(seen->text) : std::string("none")) + "\" instead of \"" +
             ToUtf8(record.text) + '"';
    }
    return m_env->ExceptionCheck() != JNI_FALSE ? "an exception is still pending" : "";
  }

  // A method that plain JNI has found or not: the service calls it, or fails with what plain JNI said. The arguments
  // are zeros, more than any method of the class takes.
  std::string Call(const char* name, const char* signature) {
    const bool known = m_env->GetMethodID(m_echo, name, signature) != nullptr;
    const std::wstring expected = known ? L"" : TakePending();
    const char* const result = std::strrchr(signature, ')');
    const auto call = [&](auto slot, auto* out) {
      constexpr int64_t o = 0;
      return (Vm()->*slot)(out, m_echo, m_object, name, signature, o, o, o, o, o, o, o, o, o, o);
    };
    constexpr int64_t o = 0;
    int32_t status = 0;
    int32_t number = 0;
    int64_t wide = 0;
    double real = 0;
    qv_jobject object = nullptr;
    switch (result != nullptr ? result[1] : 'V') {
      case 'I':
        status = call(&IQV_JavaVM::CallIntMethod, &number);
        break;
      case 'J':
        status = call(&IQV_JavaVM::CallLongMethod, &wide);
        break;
      case 'Z':
        status = call(&IQV_JavaVM::CallBooleanMethod, &number);
        break;
      case 'D':
        status = call(&IQV_JavaVM::CallDoubleMethod, &real);
        break;
      case 'L':
      case '[':
        status = call(&IQV_JavaVM::CallObjectMethod, &object);
        break;
      default:
        status = Vm()->CallVoidMethod(m_echo, m_object, name, signature, o, o, o, o, o, o, o, o, o, o);
    }
    m_accepted = known;
    if (!known) return FailedWith(status, {expected, QV_CODE_CALL_FAILED});
    // Methods that every object has may throw: wait and notify do.
    if (status == QV_S_OK) return RecordOf(Vm()) ? "a record of a success" : "";
    const std::optional<Record> record = RecordOf(Vm());
    return record && record->text.starts_with(L"java.lang.") ? "" : "a failure without an exception's text";
  }

  JNIEnv* m_env = nullptr;
  jclass m_throwable = nullptr;
  jmethodID m_toString = nullptr;
  jclass m_echo = nullptr;
  jobject m_object = nullptr;
  std::string m_text;
  bool m_accepted = false;
};

TEST_F(HostileNames, OfClasses) {
  Try("1", "class names", L"CLASS_NAMES", [&](const std::string& text) -> std::string {
    const GuardedText name(text);
    const jclass plain = m_env->FindClass(name);
    const std::wstring expected = plain == nullptr ? TakePending() : L"";
    qv_jclass found = nullptr;
    const int32_t status = Vm()->FindClass(&found, name);
    m_accepted = plain != nullptr;
    if (plain == nullptr) return found != nullptr ? "a class" : FailedWith(status, {expected, 0});
    if (status != QV_S_OK || found == nullptr) return "not found";
    return m_env->IsSameObject(plain, static_cast<jobject>(found)) != JNI_FALSE ? "" : "another class";
  });
}

TEST_F(HostileNames, OfMethods) {
  Try("2", "method names", L"MEMBER_NAMES", [&](const std::string& text) {
    const GuardedText name(text);
    const std::string first = Call(name, "(I)I");
    const bool accepted = m_accepted;
    const std::string second = text == "<init>" ? "" : Call(name, "()V");
    m_accepted = accepted || m_accepted;
    return first + second;
  });
}

TEST_F(HostileNames, SignaturesOfMethods) {
  Try("3", "signatures of methods", L"SIGNATURES", [&](const std::string& text) {
    const GuardedText signature(text);
    std::string trouble;
    bool accepted = false;
    for (const char* const name : {"ofInt", "describe", "toString", "notify"}) {
      trouble += Call(name, signature);
      accepted = accepted || m_accepted;
    }
    m_accepted = accepted;
    return trouble;
  });
}

// The argument part of a constructor's signature: 511 characters of it count.
TEST_F(HostileNames, SignaturesOfConstructors) {
  Try("4", "signatures of constructors", L"SIGNATURES", [&](const std::string& text) -> std::string {
    const GuardedText signature(text);
    const bool known = m_env->GetMethodID(m_echo, "<init>", (text.substr(0, 511) + "V").c_str()) != nullptr;
    const std::wstring expected = known ? L"" : TakePending();
    constexpr int64_t o = 0;
    qv_jobject made = nullptr;
    const int32_t status = Vm()->NewObject(&made, m_echo, signature, o, o, o, o, o, o, o, o, o, o);
    m_accepted = known;
    if (known) return status == QV_S_OK && made != nullptr ? "" : "no object";
    if (status != QV_E_FAIL || made != nullptr) return "status " + std::to_string(status);
    return TakePending() == expected ? "" : "another exception";
  });
}

}  // namespace
}  // namespace qvtest
