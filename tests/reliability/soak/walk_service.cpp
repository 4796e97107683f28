// Slots 0 to 6 and 48 to 60: identity, lifetime, the error record, configuration and log, the environment.
#include <algorithm>

#include "host/qvshr.h"
#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr GUID kJavaVM = QV_IID_JAVAVM_INIT;

void QueryInterface(Walker& w) {
  const uint32_t variant = w.random.Below(4);
  w.Begin(0, "variant %u", variant);
  void* out = &w;
  if (variant == 3) {
    GUID other = kJavaVM;
    other.Data4[w.random.Below(8)] ^= static_cast<unsigned char>(1U << w.random.Below(8));
    w.StatusIs(w.vm->QueryInterface(other, &out), QV_E_NOINTERFACE);
    w.Is(out == &w, "the out-pointer was touched");
    return;
  }
  w.Succeeds(w.vm->QueryInterface(variant == 0 ? kUnknown : kJavaVM, &out));
  w.Is(out == w.vm, "the object itself");
  const uint32_t left = w.vm->Release();
  w.Is(w.OnOwn() ? left == w.references : left >= 1, "the references that are left");
}

void AddRefAndRelease(Walker& w) {
  if (!w.OnOwn() || (w.references > 1 && w.random.OneIn(2))) {
    w.Begin(w.OnOwn() ? 2 : 1, "%u references", w.references);
    if (!w.OnOwn()) w.Is(w.vm->AddRef() >= 2, "a count");
    const uint32_t left = w.vm->Release();
    w.Is(w.OnOwn() ? left == --w.references : left >= 1, "the references that are left");
    return;
  }
  if (w.references >= 20) return;
  w.Begin(1, "%u references", w.references);
  w.Is(w.vm->AddRef() == ++w.references, "the count after one more");
}

// On an object made for it: the last hold ends it, whatever its reference count.
void Holds(Walker& w) {
  const uint32_t holds = 1 + w.random.Below(3);
  w.Begin(3, "%u holds of a new object", holds);
  IQV_JavaVM* made = nullptr;
  w.StatusIs(w.world.create(&made, nullptr), QV_S_OK);
  if (made == nullptr) return;
  for (uint32_t i = 0; i < holds; ++i) {
    IQV_JavaVM* out = nullptr;
    w.Succeeds(made->AcquireService(&out));
    w.Is(out == made, "the object itself");
  }
  w.Begin(4, "%u holds of a new object", holds);
  for (uint32_t i = 0; i < holds; ++i) {
    int32_t created = 7;
    w.Is(made->IsJVMCreated(&created) == QV_S_OK && created == 1, "the object lives until its last hold");
    IQV_JavaVM* given = made;
    w.Succeeds(made->ReleaseService(&given));
    w.Is(given == nullptr, "the pointer was not cleared");
  }
}

void GetErrorText(Walker& w) {
  w.Begin(5, "%s", w.record ? "a record" : "no record");
  if (w.random.OneIn(8)) return w.StatusIs(w.vm->GetErrorText(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  const int32_t status = w.vm->GetErrorText(&text);
  if (w.OnOwn()) w.StatusIs(status, w.record ? QV_S_OK : QV_E_FAIL);
  if (status != QV_S_OK) {
    w.Is(status == QV_E_FAIL && text == nullptr, "E_FAIL and null");
    return;
  }
  const std::wstring seen = TakeText(text);
  w.Is(!w.OnOwn() || (w.record->whole ? seen == w.record->text : seen.starts_with(w.record->text)), "another text");
}

void GetErrorCode(Walker& w) {
  w.Begin(6, "%s", w.record ? "a record" : "no record");
  if (w.random.OneIn(8)) return w.StatusIs(w.vm->GetErrorCode(nullptr), QV_E_INVALIDARG);
  int32_t code = 7;
  const int32_t status = w.vm->GetErrorCode(&code);
  if (w.OnOwn()) {
    w.StatusIs(status, w.record ? QV_S_OK : QV_E_FAIL);
    w.Is(code == (w.record ? w.record->code : 0), "another code");
  } else {
    w.Is(status == QV_S_OK ? code == 0 || code == QV_CODE_CALL_FAILED : status == QV_E_FAIL && code == 0,
         "a known code");
  }
}

void GetJNIEnv(Walker& w) {
  w.Begin(48, "%s", w.pending ? "an exception pending" : "nothing pending");
  if (w.random.OneIn(8)) return w.StatusIs(w.vm->GetJNIEnv(nullptr), QV_E_INVALIDARG);
  qv_jnienv env = nullptr;
  w.Succeeds(w.vm->GetJNIEnv(&env));
  w.Is(env == w.env, "another environment");
  w.NothingPending();
}

void AcquireThreadEnv(Walker& w) {
  w.Begin(60, "nothing");
  w.Is(QV_AcquireThreadEnv(w.vm) == w.env, "another environment");
}

// Nothing is configured on the machines of the tests.
void Locations(Walker& w) {
  const bool jdk = w.random.OneIn(2);
  w.Begin(jdk ? 49 : 50, "nothing");
  const auto get = jdk ? &IQV_JavaVM::GetJDKLocation : &IQV_JavaVM::GetJREBinLocation;
  if (w.random.OneIn(4)) return w.StatusIs((w.vm->*get)(nullptr), QV_E_INVALIDARG);
  auto* text = reinterpret_cast<IQvString*>(&w);
  w.FailsSilently((w.vm->*get)(&text));
  w.Is(text == nullptr, "null without a value");
}

void LogFileName(Walker& w) {
  if (w.random.OneIn(50)) {
    const std::wstring& name = w.random.OneOf(w.world.logs);
    w.Begin(52, "\"%ls\"", name.c_str());
    w.Succeeds(w.vm->SetLogFileName(name.c_str()));
    return;
  }
  w.Begin(51, "nothing");
  if (w.random.OneIn(4)) return w.StatusIs(w.vm->GetLogFileName(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  w.Succeeds(w.vm->GetLogFileName(&text));
  const std::wstring seen = TakeText(text);
  w.Is(std::find(std::begin(w.world.logs), std::end(w.world.logs), seen) != std::end(w.world.logs), "a name of ours");
}

void LogEnabled(Walker& w) {
  const int32_t enabled = w.random.OneIn(50) ? 1 : 0;
  w.Begin(53, "%d", static_cast<int>(enabled));
  w.Succeeds(w.vm->SetJvmLogEnabled(enabled));
}

void IsCreated(Walker& w) {
  w.Begin(54, "nothing");
  if (w.random.OneIn(4)) return w.StatusIs(w.vm->IsJVMCreated(nullptr), QV_E_INVALIDARG);
  int32_t created = 7;
  w.Succeeds(w.vm->IsJVMCreated(&created));
  w.Is(created == 1, "this service has created the JVM");
}

void GetClassPath(Walker& w) {
  w.Begin(55, "nothing");
  if (w.random.OneIn(4)) return w.StatusIs(w.vm->GetClassPath(nullptr), QV_E_INVALIDARG);
  IQvString* text = nullptr;
  w.Prologue();
  w.Succeeds(w.vm->GetClassPath(&text));
  w.Is(TakeText(text) == w.world.classPath, "another class path");
}

void GetJavaVersion(Walker& w) {
  w.Begin(56, "nothing");
  IQvString* text = nullptr;
  w.Prologue();
  w.Succeeds(w.vm->GetJavaVersion(&text));
  w.Is(TakeText(text) == w.world.javaVersion, "another version");
}

void Destroy(Walker& w) {
  const bool freed = w.random.OneIn(2);
  w.Begin(57, "flag %d, of a new object", freed ? 1 : 0);
  IQV_JavaVM* made = nullptr;
  w.StatusIs(w.world.create(&made, nullptr), QV_S_OK);
  if (made == nullptr) return;
  if (w.random.OneIn(2)) w.Is(made->CallVoidMethod(nullptr, nullptr, "", "") == QV_E_FAIL, "a record to go with it");
  IQV_JavaVM* const same = made;
  const void* const given = made->Destroy(freed ? 1 : 0);
  w.Is(given == static_cast<void*>(same), "the object's own address");
  if (!freed) QvshrFree(same);
}

void ExceptionClear(Walker& w) {
  const bool withEnvironment = !w.random.OneIn(4);
  w.Begin(58, "%s, %s", withEnvironment ? "the environment" : "null", w.pending ? "an exception" : "no exception");
  w.vm->ExceptionClear(withEnvironment ? w.env : nullptr);
  if (withEnvironment) w.NothingPending();
}

// Into a record of the caller's: the object's own one stays.
void CaptureException(Walker& w) {
  const bool withEnvironment = !w.random.OneIn(4);
  w.Begin(59, "%s, %s", withEnvironment ? "the environment" : "null", w.pending ? "an exception" : "no exception");
  auto* record = reinterpret_cast<ErrorRecord*>(&w);
  const int32_t captured = w.vm->CaptureException(&record, withEnvironment ? w.env : nullptr);
  w.Is(captured == (w.pending || !withEnvironment ? 1 : 0), "whether there was one");
  if (captured != 1) {
    w.Is(record == nullptr, "a record of nothing");
    return;
  }
  if (!w.Is(record != nullptr, "a record")) return;
  const std::wstring text = record->text;
  w.Is(record->code == 0, "code 0");
  QvshrFree(record);
  if (!withEnvironment) {
    w.Is(text == L"QVJava Exception JNI Environment not available", "the text without an environment");
  } else {
    w.Is(w.pending->whole ? text == w.pending->text : text.starts_with(w.pending->text), "the exception's text");
    w.NothingPending();
  }
}

}  // namespace

std::vector<OperationRow> ServiceRows() {
  return {
      {2, true, QueryInterface},  {2, true, AddRefAndRelease}, {1, false, Holds},           {4, true, GetErrorText},
      {4, true, GetErrorCode},    {3, true, GetJNIEnv},        {3, true, AcquireThreadEnv}, {2, true, Locations},
      {1, true, LogFileName},     {2, true, LogEnabled},       {2, true, IsCreated},        {1, false, GetClassPath},
      {1, false, GetJavaVersion}, {1, false, Destroy},         {3, true, ExceptionClear},   {4, true, CaptureException},
  };
}

}  // namespace qvtest
