// Hooks and the registry contents that several tests start from.
#include "tests/startup/startup_world.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "service/error_record.h"
#include "tests/ledger/ledger.h"

namespace qvtest {

namespace {

std::wstring g_hostPath;
decltype(&GetModuleFileNameW) g_realGetModuleFileName = nullptr;

// As Windows does it: cut at the capacity and terminated when the path is too long, the capacity returned then.
DWORD WINAPI AnswerHostPath(HMODULE module, wchar_t* buffer, DWORD capacity) {
  if (module != nullptr) return g_realGetModuleFileName(module, buffer, capacity);
  if (capacity == 0) return 0;
  const DWORD copied = std::min(capacity - 1, static_cast<DWORD>(g_hostPath.size()));
  *std::copy_n(g_hostPath.data(), copied, buffer) = L'\0';
  if (copied == g_hostPath.size()) return copied;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return capacity;
}

IQV_JavaVM* Unwritten() { return reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111}); }

}  // namespace

HostPath::HostPath(std::wstring path) : m_hook(nullptr, "GetModuleFileNameW", &AnswerHostPath) {
  g_hostPath = std::move(path);
  g_realGetModuleFileName = m_hook.Original<decltype(&GetModuleFileNameW)>();
}

HostPath::~HostPath() = default;

StartupScene::StartupScene(const std::wstring& hostPath) {
  QvshrLedgerOverrideFolder(0, folder.Path().c_str());
  if (!hostPath.empty()) m_host.emplace(hostPath);
}

StartupScene::~StartupScene() { service.UnloadAndForget(); }

void StartupScene::ConfigureKnownHost(const std::wstring& root) {
  registry.SetText(Hive::Machine, root + L"\\Java", L"JDKLocation", L"C:\\jdk");
  registry.SetText(Hive::Machine, root + L"\\Java", L"JREBinLocation", L"C:\\jre\\bin");
  registry.SetList(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVSysclasspath", {});
  registry.SetList(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVJVMconfig", {});
  registry.CreateKey(Hive::Machine, root + L"\\Java\\QVIDEConfig\\QVJVMprops");
}

std::wstring BuiltInClassPath(const std::wstring& folder) {
  std::wstring path;
  for (const wchar_t* entry :
       {L"\\fop-0.20.5\\build\\fop.jar", L"\\fop-0.20.5\\lib\\batik.jar", L"\\fop-0.20.5\\lib\\xalan-2.4.1.jar",
        L"\\fop-0.20.5\\lib\\xercesImpl-2.2.1.jar", L"\\fop-0.20.5\\lib\\xml-apis.jar",
        L"\\fop-0.20.5\\lib\\avalon-framework-cvs-20020806.jar", L"\\fop-0.20.5\\lib\\logkit-1.0.jar",
        L"\\fop-0.20.5\\lib\\jimi-1.0.jar", L"\\qvejbclient.jar", L"\\qvjdbc12.jar"}) {
    if (!path.empty()) path += L';';
    path += folder + entry;
  }
  return path;
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
