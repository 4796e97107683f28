// A host program that tells what the service made of it: loads the qvjvm.dll that lies beside it, calls QV_CreateJavaVM
// and prints what came of it as one line of JSON. Tests copy it to the names of real hosts.
// Arguments, each with a value:
//   machine, user   the key below the real HKEY_CURRENT_USER that stands for the hive
//   classpath       the second argument of QV_CreateJavaVM
//   heap, option, property, compiled, classes, runtime, logfile
//                   the start is that of qvjvm/options.h; of a property also its value, behind "="
//   running         1: a JVM that Java made runs before the start
//   threads         so many more threads are attached, and idle when the process ends
//   nodetach        what the ledger build's QvshrNoDetachQuery answers, at process end too
//   end             return (the default), exitprocess, freelibrary
#include <nlohmann/json.hpp>

#include <cstdio>
#include <map>

#include "base/procedure.h"
#include "hostlib/calls.h"
#define QVJVM_OPTIONS_IMPLEMENTATION
#include "qvjvm/options.h"
#include "tests/fakejvm/fake_jvm.h"
#include "tests/support/environment.h"
#include "tests/support/message_box.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace {

using nlohmann::json;
using namespace qvtest;

std::vector<std::string> g_keysOpened;
decltype(&RegOpenKeyExW) g_realOpenKey = nullptr;

LSTATUS WINAPI NoteKey(HKEY parent, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) {
  const char* const hive = parent == HKEY_LOCAL_MACHINE ? "machine:" : parent == HKEY_CURRENT_USER ? "user:" : "below:";
  g_keysOpened.push_back(hive + ToUtf8(path != nullptr ? path : L""));
  return g_realOpenKey(parent, path, options, access, key);
}

json ShownBoxes(const MessageBoxCatcher& boxes) {
  json shown = json::array();
  for (const ShownBox& box : boxes.Shown()) {
    shown.push_back({{"text", ToUtf8(box.text)}, {"title", ToUtf8(box.title)}, {"style", box.style}});
  }
  return shown;
}

// What the fake JVM was started with; null when it is not there or was never asked to create.
json CreationOptions() {
  const auto getState = qv::FindProcedure<FakeJvmGetStateFn>(GetModuleHandleW(L"jvm.dll"), "FakeJvmGetState");
  if (getState == nullptr) return nullptr;
  const FakeJvmState& state = *getState(0);
  for (int32_t i = 0; i < state.callCount; ++i) {
    if (state.calls[i].entry != kFakeCreateVM) continue;
    json options = json::array();
    for (int32_t k = 0; k < state.calls[i].optionCount; ++k) options.push_back(state.calls[i].options[k].text);
    return options;
  }
  return nullptr;
}

void OverrideNoDetach(const std::wstring& value) {
  using OverrideInt = void (*)(uint32_t call, int32_t value);
  constexpr WORD kOrdinal = 110;  // of the ledger build alone
  const auto override = qv::FindProcedure<OverrideInt>(GetModuleHandleW(L"qvshr.dll"), MAKEINTRESOURCEA(kOrdinal));
  if (override != nullptr) override(kQvshrCallNoDetachQuery, std::stoi(value));
}

bool AsksForOptions(const std::map<std::wstring, std::wstring>& arguments) {
  for (const wchar_t* name : {L"heap", L"option", L"property", L"compiled", L"classes", L"runtime", L"logfile"}) {
    if (arguments.count(name) != 0) return true;
  }
  return false;
}

int32_t StartWithOptions(const std::map<std::wstring, std::wstring>& arguments, IQV_JavaVM** vm, json& report) {
  const auto text = [&](const wchar_t* name) -> const wchar_t* {
    const auto found = arguments.find(name);
    return found != arguments.end() ? found->second.c_str() : nullptr;
  };
  const wchar_t* const option = text(L"option");
  const wchar_t* const classes = text(L"classes");
  const std::wstring property = text(L"property") != nullptr ? text(L"property") : L"";
  const std::wstring name = property.substr(0, property.find(L'='));
  const qv_property value = {name.c_str(), name.size() < property.size() ? property.c_str() + name.size() + 1 : L""};
  qv_options options{};
  if (text(L"heap") != nullptr) options.heap = std::stoull(text(L"heap"));
  options.options = &option;
  options.optionCount = option != nullptr ? 1 : 0;
  options.properties = &value;
  options.propertyCount = property.empty() ? 0 : 1;
  options.compiled = text(L"compiled") != nullptr ? 1 : 0;
  options.classPath = &classes;
  options.classPathCount = classes != nullptr ? 1 : 0;
  options.runtime = text(L"runtime");
  options.logFile = text(L"logfile");
  options.logFilesKept = 2;
  uint32_t ignored = 0;
  wchar_t why[600];
  const int32_t status = qv_start((ProgramFolder() + L"\\qvjvm.dll").c_str(), &options, vm, &ignored, why,
                                  static_cast<int32_t>(std::size(why)));
  report["why"] = ToUtf8(why);
  report["ignored"] = ignored;
  report["home"] = ToUtf8(ReadVariable(L"JAVA_HOME").value_or(L"<none>"));
  return status;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::map<std::wstring, std::wstring> arguments;
  for (int i = 1; i + 1 < argc; i += 2) arguments[argv[i]] = argv[i + 1];
  const auto has = [&](const wchar_t* name) { return arguments.count(name) != 0; };
  if (has(L"machine") && !OverrideHive(Hive::Machine, arguments[L"machine"])) return 90;
  if (has(L"user") && !OverrideHive(Hive::User, arguments[L"user"])) return 91;

  HMODULE const service = LoadLibraryW((ProgramFolder() + L"\\qvjvm.dll").c_str());
  const auto createVM = qv::FindProcedure<QV_CreateJavaVMFn>(service, "QV_CreateJavaVM");
  if (createVM == nullptr) return 92;
  const MessageBoxCatcher boxes(service);
  const ImportHook openKey(GetModuleHandleW(L"qvshr.dll"), "RegOpenKeyExW", &NoteKey);
  g_realOpenKey = openKey.Original<decltype(&RegOpenKeyExW)>();
  if (has(L"nodetach")) OverrideNoDetach(arguments[L"nodetach"]);

  IQV_JavaVM* vm = nullptr;
  json report;
  if (has(L"running")) {
    // As Java has loaded it; it stays.
    const auto getState = qv::FindProcedure<FakeJvmGetStateFn>(LoadLibraryW(L"jvm.dll"), "FakeJvmGetState");
    if (getState == nullptr) return 93;
    getState(0)->script.existing = 1;
  }
  report["status"] = AsksForOptions(arguments)
                         ? StartWithOptions(arguments, &vm, report)
                         : createVM(&vm, has(L"classpath") ? arguments[L"classpath"].c_str() : nullptr);
  report["path"] = ToUtf8(ReadVariable(L"PATH").value_or(L"<none>"));
  report["keys"] = g_keysOpened;
  report["boxes"] = ShownBoxes(boxes);
  report["options"] = CreationOptions();
  if (vm != nullptr) {
    IQvString* text = nullptr;
    int32_t created = -1;
    vm->GetLogFileName(&text);
    vm->IsJVMCreated(&created);
    report["log"] = ToUtf8(TakeText(text));
    report["created"] = created;
    const int threads = has(L"threads") ? std::stoi(arguments[L"threads"]) : 0;
    for (int i = 0; i < threads; ++i) new WaitingThread([vm] { QV_AcquireThreadEnv(vm); });  // nobody lets it go
    vm->Release();
  }
  std::puts(report.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
  std::fflush(stdout);
  if (arguments[L"end"] == L"freelibrary") {
    FreeLibrary(service);
    return GetModuleHandleW(L"qvjvm.dll") != nullptr ? 10 : 11;
  }
  if (arguments[L"end"] == L"exitprocess") ExitProcess(7);
  return 5;
}
