// The registry contents that several tests start from.
#include "tests/startup/startup_world.h"

#include "service/error_record.h"

namespace qvtest {

namespace {

IQV_JavaVM* Unwritten() { return reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111}); }

}  // namespace

StartupScene::StartupScene(const std::wstring& hostPath) {
  QvshrLedgerOverrideFolder(0, folder.Path().c_str());
  if (!hostPath.empty()) m_host.emplace(hostPath);
}

void StartupScene::ConfigureKnownHost(const std::wstring& root) {
  registry.SetLocations(root, L"C:\\jdk", L"C:\\jre\\bin");
  registry.SetList(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVSysclasspath", {});
  registry.SetList(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVJVMconfig", {});
  registry.CreateKey(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVJVMprops");
}

Created CreateVM(const wchar_t* classPath) {
  IQV_JavaVM* vm = Unwritten();
  const int32_t status = QV_CreateJavaVM(&vm, classPath);
  if (status >= 0) {
    EXPECT_NE(vm, Unwritten()) << "success without an object";
    EXPECT_NE(vm, nullptr) << "success without an object";
    return {status, VmOwner(vm)};
  }
  EXPECT_EQ(vm, status == QV_E_OUTOFMEMORY ? nullptr : Unwritten()) << "out pointer after a failure";
  return {status, nullptr};
}

std::wstring ErrorText(IQV_JavaVM& vm) {
  IQvString* text = nullptr;
  int32_t code = -1;
  if (vm.GetErrorText(&text) < 0) return L"<none>";
  EXPECT_EQ(vm.GetErrorCode(&code), 0);
  EXPECT_EQ(code, 0);
  return TakeText(text);
}

std::wstring TakeRecord(ErrorRecord* record, int32_t expectedCode) {
  if (record == nullptr) return L"<null>";
  EXPECT_EQ(record->code, expectedCode);
  EXPECT_EQ(record->text[511], L'\0');
  std::wstring text = record->text;
  QvshrFree(record);
  return text;
}

}  // namespace qvtest
