// The host program on a broken machine: calls QV_CreateJavaVM of the qvjvm.dll beside it, tells what came of it, lets
// the test repair the machine and calls again. When no JVM was made it unloads the service, tells what is left, loads
// it anew and calls a last time. A line of JSON after each step, so that what was done stays known when the JVM ends
// the process.
// Arguments, each with a value:
//   machine, user   the key below the real HKEY_CURRENT_USER that stands for the hive
//   log             the folder for vm.out
//   setting         what the host's setting QVJRENOTUSECURRENT is
//   classpath, classpath-units
//                   the second argument of QV_CreateJavaVM; or that many characters of it, made here
//   repair          the name of two events, NAME.asked and NAME.done, that stand between the two calls
//   reload          with any value: loads the service anew at the end
//   set, unset      NAME=VALUE, NAME: done to the environment between the two calls
//   find            a class that the JVM is asked for
//   search          where libraries are not searched: current (folder), or path (and the current folder)
#include <nlohmann/json.hpp>

#include <cstdio>

#include "base/procedure.h"
#include "qvjvm/qvjvm.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/message_box.h"
#include "tests/support/process_counters.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace {

using nlohmann::json;
using namespace qvtest;

void Print(const json& line) {
  std::puts(line.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
  std::fflush(stdout);
}

// What the JVM answers; empty when it does not.
std::string JavaVersion(IQV_JavaVM* vm) {
  IQvString* version = nullptr;
  return vm->GetJavaVersion(&version) == QV_S_OK ? ToUtf8(TakeText(version)) : "";
}

// A system property of the JVM; empty when it cannot be had.
std::string Property(IQV_JavaVM* vm, const wchar_t* name) {
  qv_jclass system = nullptr;
  qv_jstring key = nullptr;
  qv_jobject value = nullptr;
  IQvString* text = nullptr;
  const bool had = vm->FindClass(&system, "java/lang/System") == QV_S_OK && vm->NewString(&key, name) == QV_S_OK &&
                   vm->CallStaticObjectMethod(&value, system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;",
                                              key) == QV_S_OK &&
                   value != nullptr && vm->GetStringValue(&text, value) == QV_S_OK;
  return had ? ToUtf8(TakeText(text)) : "";
}

struct Arguments {
  std::vector<std::pair<std::wstring, std::wstring>> all;

  [[nodiscard]] const wchar_t* Find(std::wstring_view name) const {
    for (const auto& [key, value] : all) {
      if (key == name) return value.c_str();
    }
    return nullptr;
  }
};

struct Service {
  HMODULE module;
  QV_CreateJavaVMFn createVM;
};

Service LoadService() {
  const HMODULE module = LoadLibraryW((ProgramFolder() + L"\\qvjvm.dll").c_str());
  return {module, qv::FindProcedure<QV_CreateJavaVMFn>(module, "QV_CreateJavaVM")};
}

// True when a JVM runs.
bool Call(const Arguments& arguments, const Service& service) {
  std::wstring made;
  const wchar_t* classPath = arguments.Find(L"classpath");
  if (const wchar_t* const units = arguments.Find(L"classpath-units")) {
    while (made.size() < std::stoul(units)) made += L"C:\\lib\\archive" + std::to_wstring(made.size()) + L".jar;";
    made.resize(std::stoul(units), L'x');
    classPath = made.c_str();
  }
  const MessageBoxCatcher boxes(service.module);
  const ULONGLONG begin = GetTickCount64();
  auto* vm = reinterpret_cast<IQV_JavaVM*>(1);
  const int32_t status = service.createVM(&vm, classPath);
  json report = {{"status", status}, {"ms", GetTickCount64() - begin}, {"boxes", boxes.Shown().size()}};
  report["outUntouched"] = vm == reinterpret_cast<IQV_JavaVM*>(1);
  report["path"] = ToUtf8(ReadVariable(L"PATH").value_or(L"<none>"));
  report["dllFolder"] = ToUtf8(DllFolder());
  report["library"] = GetModuleHandleW(L"jvm.dll") != nullptr;
  if (status >= 0 && vm != nullptr) {
    report["java"] = JavaVersion(vm);
    report["mode"] = Property(vm, L"java.vm.info");
    qv_jclass cls = nullptr;
    const wchar_t* const name = arguments.Find(L"find");
    report["found"] = name != nullptr && vm->FindClass(&cls, ToUtf8(name).c_str()) == QV_S_OK;
    vm->Release();
  }
  Print(report);
  return status >= 0;
}

// What the system's libraries make when they are first used stays for the life of a process.
void WarmUp() {
  FreeLibrary(LoadService().module);
  for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(hive, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS) RegCloseKey(key);
  }
  LoadLibraryW(L"no such library.dll");
  OpenFileMappingW(FILE_MAP_READ, FALSE, L"no such mapping");
}

void WaitForRepair(const std::wstring& name) {
  Event((name + L".asked").c_str()).Set();
  Event((name + L".done").c_str()).Wait();
}

void RepairEnvironment(const Arguments& arguments) {
  for (const auto& [key, value] : arguments.all) {
    const size_t equals = value.find(L'=');
    if (key == L"set") SetEnvironmentVariableW(value.substr(0, equals).c_str(), value.c_str() + equals + 1);
    if (key == L"unset") SetEnvironmentVariableW(value.c_str(), nullptr);
  }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Arguments arguments;
  for (int i = 1; i + 1 < argc; i += 2) arguments.all.emplace_back(argv[i], argv[i + 1]);
  if (!OverrideHive(Hive::Machine, arguments.Find(L"machine"))) return 90;
  if (!OverrideHive(Hive::User, arguments.Find(L"user"))) return 91;
  for (int32_t useDefault : {0, 1}) QvshrLedgerOverrideFolder(useDefault, arguments.Find(L"log"));
  if (const wchar_t* const setting = arguments.Find(L"setting")) {
    QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", setting);
  }

  if (const wchar_t* const search = arguments.Find(L"search")) {
    if (search == std::wstring_view(L"current")) SetDllDirectoryW(ProgramFolder().c_str());
    if (search == std::wstring_view(L"path")) SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
  }
  WarmUp();
  Print({{"dllFolder", ToUtf8(DllFolder())}});
  const int64_t handlesBefore = CountProcess().handles;
  const QvshrLedgerState before = Books();

  Service service = LoadService();
  if (service.createVM == nullptr) return 92;
  bool running = Call(arguments, service);
  const wchar_t* const repair = arguments.Find(L"repair");
  if (repair != nullptr) {
    WaitForRepair(repair);
    RepairEnvironment(arguments);
    running = Call(arguments, service);
  }
  if (running) return 5;
  FreeLibrary(service.module);
  const QvshrLedgerState left = Books();
  // The lock of the configuration's load is never deleted; that is one block for each load of the service.
  Print({{"blocks", left.liveBlocks - before.liveBlocks},
         {"strings", left.liveStrings},
         {"keys", left.liveKeys},
         {"errors", left.errors},
         {"handles", CountProcess().handles - handlesBefore},
         {"service", GetModuleHandleW(L"qvjvm.dll") != nullptr},
         {"library", GetModuleHandleW(L"jvm.dll") != nullptr}});
  if (arguments.Find(L"reload") == nullptr) return 6;
  service = LoadService();
  return Call(arguments, service) ? 7 : 8;
}
