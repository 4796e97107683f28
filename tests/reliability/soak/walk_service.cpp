// Slots 0 to 6 and 48 to 60: identity, lifetime, the error record, configuration and log, the environment.
#include <windows.h>

#include <algorithm>

#include "host/qvshr.h"
#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr GUID kJavaVM = QV_IID_JAVAVM_INIT;

}  // namespace

void Walker::QueryInterface() {
  const uint32_t variant = m_random.Below(4);
  Begin(0, "variant %u", variant);
  void* out = this;
  if (variant == 3) {
    GUID other = kJavaVM;
    other.Data4[m_random.Below(8)] ^= static_cast<unsigned char>(1U << m_random.Below(8));
    StatusIs(m_vm->QueryInterface(other, &out), QV_E_NOINTERFACE);
    Is(out == this, "the out-pointer was touched");
    return;
  }
  Succeeds(m_vm->QueryInterface(variant == 0 ? kUnknown : kJavaVM, &out));
  Is(out == m_vm, "the object itself");
  const uint32_t left = m_vm->Release();
  Is(OnOwn() ? left == m_references : left >= 1, "the references that are left");
}

void Walker::AddRefAndRelease() {
  if (!OnOwn() || (m_references > 1 && m_random.OneIn(2))) {
    Begin(OnOwn() ? 2 : 1, "%u references", m_references);
    if (!OnOwn()) Is(m_vm->AddRef() >= 2, "a count");
    const uint32_t left = m_vm->Release();
    Is(OnOwn() ? left == --m_references : left >= 1, "the references that are left");
    return;
  }
  if (m_references >= 20) return;
  Begin(1, "%u references", m_references);
  Is(m_vm->AddRef() == ++m_references, "the count after one more");
}

// On an object made for it: the last hold ends it, whatever its reference count.
void Walker::Holds() {
  const uint32_t holds = 1 + m_random.Below(3);
  Begin(3, "%u holds of a new object", holds);
  IQV_JavaVM* made = nullptr;
  StatusIs(m_world.create(&made, nullptr), QV_S_OK);
  if (made == nullptr) return;
  for (uint32_t i = 0; i < holds; ++i) {
    IQV_JavaVM* out = nullptr;
    Succeeds(made->AcquireService(&out));
    Is(out == made, "the object itself");
  }
  Begin(4, "%u holds of a new object", holds);
  for (uint32_t i = 0; i < holds; ++i) {
    int32_t created = 7;
    Is(made->IsJVMCreated(&created) == QV_S_OK && created == 1, "the object lives until its last hold");
    IQV_JavaVM* given = made;
    Succeeds(made->ReleaseService(&given));
    Is(given == nullptr, "the pointer was not cleared");
  }
}

void Walker::GetErrorText() {
  Begin(5, "%s", m_record ? "a record" : "no record");
  if (m_random.OneIn(8)) return StatusIs(m_vm->GetErrorText(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  const int32_t status = m_vm->GetErrorText(&text);
  if (OnOwn()) StatusIs(status, m_record ? QV_S_OK : QV_E_FAIL);
  if (status != QV_S_OK) {
    Is(status == QV_E_FAIL && text == nullptr, "E_FAIL and null");
    return;
  }
  const std::wstring seen = TakeText(text);
  Is(!OnOwn() || (m_record->whole ? seen == m_record->text : seen.starts_with(m_record->text)), "another text");
}

void Walker::GetErrorCode() {
  Begin(6, "%s", m_record ? "a record" : "no record");
  if (m_random.OneIn(8)) return StatusIs(m_vm->GetErrorCode(nullptr), QV_E_INVALIDARG);
  int32_t code = 7;
  const int32_t status = m_vm->GetErrorCode(&code);
  if (OnOwn()) {
    StatusIs(status, m_record ? QV_S_OK : QV_E_FAIL);
    Is(code == (m_record ? m_record->code : 0), "another code");
  } else {
    Is(status == QV_S_OK ? code == 0 || code == QV_CODE_CALL_FAILED : status == QV_E_FAIL && code == 0, "a known code");
  }
}

void Walker::GetJNIEnv() {
  Begin(48, "%s", m_pending ? "an exception pending" : "nothing pending");
  if (m_random.OneIn(8)) return StatusIs(m_vm->GetJNIEnv(nullptr), QV_E_INVALIDARG);
  qv_jnienv env = nullptr;
  Succeeds(m_vm->GetJNIEnv(&env));
  Is(env == m_env, "another environment");
  NothingPending();
}

void Walker::AcquireThreadEnv() {
  Begin(60, "nothing");
  Is(QV_AcquireThreadEnv(m_vm) == m_env, "another environment");
}

// Nothing is configured on the machines of the tests.
void Walker::Locations() {
  const bool jdk = m_random.OneIn(2);
  Begin(jdk ? 49 : 50, "nothing");
  const auto get = jdk ? &IQV_JavaVM::GetJDKLocation : &IQV_JavaVM::GetJREBinLocation;
  if (m_random.OneIn(4)) return StatusIs((m_vm->*get)(nullptr), QV_E_INVALIDARG);
  auto* text = reinterpret_cast<IQvString*>(this);
  FailsSilently((m_vm->*get)(&text));
  Is(text == nullptr, "null without a value");
}

void Walker::LogFileName() {
  if (m_random.OneIn(50)) {
    const std::wstring& name = m_random.OneOf(m_world.logs);
    Begin(52, "\"%ls\"", name.c_str());
    Succeeds(m_vm->SetLogFileName(name.c_str()));
    return;
  }
  Begin(51, "nothing");
  if (m_random.OneIn(4)) return StatusIs(m_vm->GetLogFileName(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  Succeeds(m_vm->GetLogFileName(&text));
  const std::wstring seen = TakeText(text);
  Is(std::find(std::begin(m_world.logs), std::end(m_world.logs), seen) != std::end(m_world.logs), "a name of ours");
}

void Walker::LogEnabled() {
  const int32_t enabled = m_random.OneIn(50) ? 1 : 0;
  Begin(53, "%d", static_cast<int>(enabled));
  Succeeds(m_vm->SetJvmLogEnabled(enabled));
}

void Walker::IsCreated() {
  Begin(54, "nothing");
  if (m_random.OneIn(4)) return StatusIs(m_vm->IsJVMCreated(nullptr), QV_E_INVALIDARG);
  int32_t created = 7;
  Succeeds(m_vm->IsJVMCreated(&created));
  Is(created == 1, "this service has created the JVM");
}

void Walker::GetClassPath() {
  Begin(55, "nothing");
  if (m_random.OneIn(4)) return StatusIs(m_vm->GetClassPath(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  Prologue();
  Succeeds(m_vm->GetClassPath(&text));
  Is(TakeText(text) == m_world.classPath, "another class path");
}

void Walker::GetJavaVersion() {
  Begin(56, "nothing");
  IQvString* text = nullptr;
  Prologue();
  Succeeds(m_vm->GetJavaVersion(&text));
  Is(TakeText(text) == m_world.javaVersion, "another version");
}

void Walker::Destroy() {
  const bool freed = m_random.OneIn(2);
  Begin(57, "flag %d, of a new object", freed ? 1 : 0);
  IQV_JavaVM* made = nullptr;
  StatusIs(m_world.create(&made, nullptr), QV_S_OK);
  if (made == nullptr) return;
  if (m_random.OneIn(2)) Is(made->CallVoidMethod(nullptr, nullptr, "", "") == QV_E_FAIL, "a record to go with it");
  IQV_JavaVM* const same = made;
  const void* const given = made->Destroy(freed ? 1 : 0);
  Is(given == static_cast<void*>(same), "the object's own address");
  if (!freed) QvshrFree(same);
}

void Walker::ExceptionClear() {
  const bool withEnvironment = !m_random.OneIn(4);
  Begin(58, "%s, %s", withEnvironment ? "the environment" : "null", m_pending ? "an exception" : "no exception");
  m_vm->ExceptionClear(withEnvironment ? m_env : nullptr);
  if (withEnvironment) NothingPending();
}

// Into a record of the caller's: the object's own one stays.
void Walker::CaptureException() {
  const bool withEnvironment = !m_random.OneIn(4);
  Begin(59, "%s, %s", withEnvironment ? "the environment" : "null", m_pending ? "an exception" : "no exception");
  auto* record = reinterpret_cast<ErrorRecord*>(this);
  const int32_t captured = m_vm->CaptureException(&record, withEnvironment ? m_env : nullptr);
  Is(captured == (m_pending || !withEnvironment ? 1 : 0), "whether there was one");
  if (captured != 1) {
    Is(record == nullptr, "a record of nothing");
    return;
  }
  if (!Is(record != nullptr, "a record")) return;
  const std::wstring text = record->text;
  Is(record->code == 0, "code 0");
  QvshrFree(record);
  if (!withEnvironment) {
    Is(text == L"QVJava Exception JNI Environment not available", "the text without an environment");
  } else {
    Is(m_pending->whole ? text == m_pending->text : text.starts_with(m_pending->text), "the exception's text");
    NothingPending();
  }
}

}  // namespace qvtest
