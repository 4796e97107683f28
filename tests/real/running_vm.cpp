// One JVM and one service object for the process; they live until it ends, as they would in a host.
// Texts are compared whole, and long ones are not printed.
// The registry is replaced during creation only: the Java runtime reads it as well.
#include "tests/real/running_vm.h"

#include <iomanip>
#include <memory>
#include <sstream>

#include "tests/support/environment.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

HMODULE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const wchar_t*>(&OwnModule), &module);
  return module;
}

std::string Hex(int32_t status) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(status));
  return text;
}

testing::AssertionResult Unexpected(IQV_JavaVM* vm, int32_t status) {
  testing::AssertionResult failure = testing::AssertionFailure() << "status " << Hex(status);
  if (const std::optional<Record> record = RecordOf(vm)) return failure << ", " << *record;
  return failure << ", no record";
}

// What QV_TEST_JVM_OPTIONS names, separated by blanks: the same tests with other options.
std::vector<std::wstring> OptionsOfTheRun() {
  std::wistringstream words(ReadVariable(L"QV_TEST_JVM_OPTIONS").value_or(L""));
  return {std::istream_iterator<std::wstring, wchar_t>(words), {}};
}

}  // namespace

std::wstring InstallFolder() {
  std::wstring path(1024, L'\0');
  path.resize(GetModuleFileNameW(OwnModule(), path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path().wstring();
}

std::wstring DefaultArchives(const std::wstring& hostFolder) {
  std::wstring joined;
  for (const std::wstring entry : kBuiltInArchives) {
    const std::wstring installed = InstallFolder() + entry;
    joined += (joined.empty() ? L"" : L";") + (FileExists(installed) ? installed : hostFolder + L"\\IDE" + entry);
  }
  return joined;
}

const ServiceExports& LoadService() {
  static const ServiceExports exports = [] {
    ServiceExports loaded;
    const std::wstring path = InstallFolder() + L"\\qvjvm.dll";
    loaded.module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    EXPECT_NE(loaded.module, nullptr) << ToUtf8(path) << ": error " << GetLastError();
    if (loaded.module != nullptr) {
      loaded.createJavaVM = reinterpret_cast<QV_CreateJavaVMFn>(
          reinterpret_cast<void*>(GetProcAddress(loaded.module, "QV_CreateJavaVM")));
    }
    return loaded;
  }();
  return exports;
}

IQV_JavaVM* NewService(const wchar_t* classPath) {
  const ServiceExports& service = LoadService();
  if (service.createJavaVM == nullptr) return nullptr;
  IQV_JavaVM* vm = nullptr;
  const int32_t status = service.createJavaVM(&vm, classPath);
  EXPECT_GE(status, 0) << "QV_CreateJavaVM gave " << Hex(status);
  return status >= 0 ? vm : nullptr;
}

std::ostream& operator<<(std::ostream& out, const Record& record) {
  return out << "record \"" << ToUtf8(record.text) << "\" with code " << record.code;
}

std::optional<Record> RecordOf(IQV_JavaVM* vm) {
  Record record;
  IQvString* text = nullptr;
  const int32_t textStatus = vm->GetErrorText(&text);
  const int32_t codeStatus = vm->GetErrorCode(&record.code);
  EXPECT_EQ(textStatus, codeStatus);
  if (textStatus < 0) return std::nullopt;
  record.text = TakeText(text);
  return record;
}

void ForgetRecord(IQV_JavaVM* vm) {
  EXPECT_TRUE(Ok(vm, vm->NewByteArray(Local(vm).Out(), 0)));
  EXPECT_EQ(RecordOf(vm), std::nullopt);
}

testing::AssertionResult Ok(IQV_JavaVM* vm, int32_t status) {
  return status == QV_S_OK ? testing::AssertionSuccess() : Unexpected(vm, status);
}

testing::AssertionResult Fails(IQV_JavaVM* vm, int32_t status, const Record& record) {
  if (status == QV_E_FAIL && RecordOf(vm) == record) return testing::AssertionSuccess();
  return Unexpected(vm, status) << "; expected E_FAIL and " << record;
}

testing::AssertionResult FailsWith(IQV_JavaVM* vm, int32_t status, const std::wstring& beginning, int32_t code) {
  const std::optional<Record> record = RecordOf(vm);
  if (status == QV_E_FAIL && record && record->code == code && record->text.starts_with(beginning)) {
    return testing::AssertionSuccess();
  }
  return Unexpected(vm, status) << "; expected E_FAIL and a text that begins \"" << ToUtf8(beginning) << "\", code "
                                << code;
}

Local FindClass(IQV_JavaVM* vm, const char* name) {
  Local cls(vm);
  EXPECT_TRUE(Ok(vm, vm->FindClass(cls.Out(), name))) << name;
  return cls;
}

Local NewString(IQV_JavaVM* vm, const std::wstring& text) {
  Local string(vm);
  EXPECT_TRUE(Ok(vm, vm->NewString(string.Out(), text.c_str())));
  return string;
}

Local NewDefaultObject(IQV_JavaVM* vm, qv_jclass cls) {
  Local object(vm);
  EXPECT_TRUE(Ok(vm, vm->NewDefaultObject(object.Out(), cls)));
  EXPECT_NE(object.Get(), nullptr);
  return object;
}

std::wstring TextOf(IQV_JavaVM* vm, qv_jstring string) {
  int32_t length = 0;
  EXPECT_TRUE(Ok(vm, vm->GetStringLength(&length, string)));
  std::wstring text(static_cast<size_t>(length), L'\0');
  EXPECT_TRUE(Ok(vm, vm->GetStringChars(text.data(), &length, string)));
  return text;
}

qv_jobject NewGlobal(IQV_JavaVM* vm, qv_jobject local) {
  qv_jobject global = nullptr;
  EXPECT_TRUE(Ok(vm, vm->NewGlobalRef(&global, local)));
  return global;
}

bool CreatedTheJvm(IQV_JavaVM* vm) {
  int32_t created = -1;
  EXPECT_EQ(vm->IsJVMCreated(&created), QV_S_OK);
  return created == 1;
}

int32_t ThreadsInJava(IQV_JavaVM* vm) {
  const JavaClass thread(vm, "java/lang/Thread");
  const Local current = thread.CallStatic("currentThread", "()Ljava/lang/Thread;");
  const Local group = thread.Call(current, "getThreadGroup", "()Ljava/lang/ThreadGroup;");
  return JavaClass(vm, "java/lang/ThreadGroup").CallInt(group, "activeCount");
}

void DropErrorOutput(IQV_JavaVM* vm) {
  EXPECT_TRUE(Ok(vm, vm->CallStaticVoidMethod(FindClass(vm, "qvtest/Threads"), "dropErrorOutput", "()V")));
}

std::wstring PropertyOf(IQV_JavaVM* vm, const wchar_t* name) {
  const Local value = JavaClass(vm, "java/lang/System")
                          .CallStatic("getProperty", "(Ljava/lang/String;)Ljava/lang/String;", NewString(vm, name));
  return value.Get() != nullptr ? TextOf(vm, value) : L"<null>";
}

std::string RuntimeOf(IQV_JavaVM* vm) {
  IQvString* version = nullptr;
  EXPECT_EQ(vm->GetJavaVersion(&version), QV_S_OK);
  const std::wstring text = TakeText(version);
  return ToUtf8(text.substr(0, text.find(L'.')));
}

IQV_JavaVM* StartVm(const std::vector<std::wstring>& options) {
  static IQV_JavaVM* const vm = [&]() -> IQV_JavaVM* {
    const std::vector<std::wstring> jvmOptions = options.empty() ? OptionsOfTheRun() : options;
    std::optional<RegistrySandbox> registry;
    if (!jvmOptions.empty()) {
      registry.emplace();
      const std::wstring config = std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig";
      registry->SetList(Hive::Machine, config + L"\\QVJVMconfig", jvmOptions);
      registry->CreateKey(Hive::Machine, config + L"\\QVJVMprops");
    }
    IQV_JavaVM* const made = NewService((InstallFolder() + L"\\qvtests.jar").c_str());
    if (made == nullptr) return nullptr;
    const std::string suite = testing::UnitTest::GetInstance()->current_test_suite()->name();
    EXPECT_EQ(made->SetLogFileName((InstallFolder() + L"\\" + ToWide(suite) + L".log").c_str()), QV_S_OK);
    return made;
  }();
  return vm;
}

}  // namespace qvtest
