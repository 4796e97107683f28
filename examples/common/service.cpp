// Loading the service, and what becomes of a failed operation.
#include "common/service.h"

#include <windows.h>

namespace example {
namespace {

/// The host library frees what it allocated; it is known by ordinals.
constexpr WORD kQvshrFreeOrdinal = 2;
using QvshrFreeFn = void (*)(void* block);

template <class Function>
Function FindExport(HMODULE library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

std::wstring Hex(int32_t status) {
  wchar_t text[16];
  swprintf(text, 16, L"0x%08X", static_cast<unsigned>(status));
  return text;
}

}  // namespace

Service::Service(const std::wstring& folder) {
  const std::wstring path = folder + L"\\qvjvm.dll";
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library == nullptr) {
    throw Failure{kNoService, path + L" could not be loaded: error " + std::to_wstring(GetLastError())};
  }
  const auto createJavaVM = FindExport<QV_CreateJavaVMFn>(library, "QV_CreateJavaVM");
  if (createJavaVM == nullptr) throw Failure{kNoService, path + L" has no QV_CreateJavaVM"};
  IQV_JavaVM* vm = nullptr;
  const int32_t status = createJavaVM(&vm, nullptr);
  if (status < 0 || vm == nullptr) {
    throw Failure{kNoService, L"the JVM could not be started: status " + Hex(status) +
                                  L". A Java runtime is looked for in JAVA_HOME, in the registry and in " + folder +
                                  L"\\JRE."};
  }
  m_vm.reset(vm);
}

void Service::Check(int32_t status, const char* operation) const {
  if (status >= 0) return;
  IQvString* text = nullptr;
  int32_t code = 0;
  if (m_vm->GetErrorCode(&code) < 0 || m_vm->GetErrorText(&text) < 0) {
    throw Failure{kJavaFailed, Widen(operation) + L": status " + Hex(status) + L", without an error record"};
  }
  throw Failure{kJavaFailed, Widen(operation) + L": " + TakeText(text) + L" (code " + std::to_wstring(code) + L")"};
}

Ref Service::FindClass(const char* name) const {
  Ref cls = Empty();
  Check(m_vm->FindClass(cls.Out(), name), name);
  return cls;
}

Ref Service::NewString(const std::wstring& text) const {
  Ref string = Empty();
  Check(m_vm->NewString(string.Out(), text.c_str()), "NewString");
  return string;
}

std::wstring Service::TextOf(qv_jstring string) const {
  if (string == nullptr) return {};
  IQvString* text = nullptr;
  Check(m_vm->GetStringValue(&text, string), "GetStringValue");
  return TakeText(text);
}

/// Constructors leave their exception pending, without a record; capturing makes one, which is then ours to free.
void Service::FailWithPendingException(const char* operation) const {
  std::wstring text = L"no object and no exception";
  ErrorRecord* record = nullptr;
  m_vm->CaptureException(&record, QV_AcquireThreadEnv(m_vm.get()));
  if (record != nullptr) {
    text = record->text;
    FindExport<QvshrFreeFn>(GetModuleHandleW(L"qvshr.dll"), MAKEINTRESOURCEA(kQvshrFreeOrdinal))(record);
  }
  throw Failure{kJavaFailed, Widen(operation) + L": " + text};
}

std::wstring TakeText(IQvString* string) {
  std::wstring text = string->GetText();
  string->Release();
  return text;
}

}  // namespace example
