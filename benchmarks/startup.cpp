// What QV_CreateJavaVM adds to the start of a JVM: a process for each start, in turn one with the service and one that
// loads jvm.dll and calls JNI_CreateJavaVM itself with the very same options.
//   bench_startup [--quick] [--json FILE]        the driver; JAVA_HOME is the Java runtime
//   qv190.exe options|service|bare FILE log|silent [alike]   one start; the copy's name makes it a known host
// "alike": before anything is measured both processes load the modules that the service brings along.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "base/compiler.h"
#include "benchmarks/host.h"
#include "benchmarks/registry_keys.h"
#include "config/jvm_config_info.h"
#include "service/output_log.h"
#include "service/process_events.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr char kVfprintf[] = "vfprintf";
constexpr char kExit[] = "exit";

fs::path JavaHome() {
  const wchar_t* const home = _wgetenv(L"JAVA_HOME");
  return bench::Need(home, "JAVA_HOME");
}

fs::path OwnProgram() {
  wchar_t path[1024];
  GetModuleFileNameW(nullptr, path, 1024);
  return path;
}

std::wstring Variable(const wchar_t* name) {
  std::wstring value(32767, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

// -- one start --

// The configuration of the known host: the runtime, and the options with or without the JVM's own chatter.
void Configure(const bench::PrivateMachine& machine, bool log) {
  std::vector<std::wstring> options = {L"-Xmx128m"};
  if (log) options.emplace_back(L"-verbose:jni");
  machine.SetText(bench::kQuovantJava, L"JDKLocation", JavaHome().wstring());
  machine.SetText(bench::kQuovantJava, L"JREBinLocation", (JavaHome() / L"bin" / L"server").wstring());
  machine.SetList(bench::kKnownHostConfig + L"\\QVJVMconfig", options);
  machine.SetList(bench::kKnownHostConfig + L"\\QVSysclasspath", {L"\\one.jar", L"\\two.jar"});
  machine.SetText(bench::kKnownHostConfig + L"\\QVJVMprops", L"bench.property", L"1");
}

HMODULE FindModule(const char* name) { return GetModuleHandleA(name); }

// Writes the options that the service would use and the PATH that it would set.
void WriteOptions(const fs::path& file) {
  qv::OnModuleLoaded(GetModuleHandleW(nullptr));
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.Load() || !config.LocateJavaRuntime()) bench::Die("no Java runtime");
  SetDllDirectoryW((JavaHome() / L"bin").c_str());
  bench::Need(LoadLibraryA("jvm.dll"), "jvm.dll");
  config.m_pfnFindLoadedModule = [](const char* name) noexcept { return FindModule(name); };
  JavaVMOption* options = nullptr;
  int32_t count = 0;
  if (!config.BuildJavaVMOptions(&options, &count, nullptr)) bench::Die("no options");
  json texts = json::array();
  for (int32_t i = 0; i < count; ++i) texts.push_back(options[i].optionString);
  qv::FreeOptions(options, count);
  const std::u8string path = fs::path(Variable(L"PATH")).u8string();
  std::ofstream(file) << json{{"options", texts}, {"path", std::string(path.begin(), path.end())}}.dump(1);
}

// How long the start took, and what the host spends before it.
struct Times {
  double start = 0;
  double load = 0;
};

Times StartWithService(bool log) {
  const double loading = bench::NowNs();
  const HMODULE library = bench::Need(LoadLibraryW(L"qvjvm.dll"), "qvjvm.dll");
  const auto find = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(library, name)); };
  if (!log) reinterpret_cast<QV_SetJavaVMDebugModeFn>(find("QV_SetJavaVMDebugMode"))(0);
  const auto create = reinterpret_cast<QV_CreateJavaVMFn>(find("QV_CreateJavaVM"));
  IQV_JavaVM* vm = nullptr;
  const double begin = bench::NowNs();
  if (create(&vm, nullptr) < 0) bench::Die("QV_CreateJavaVM");
  return {bench::NowNs() - begin, begin - loading};
}

std::wstring g_twinLog;
bool g_twinLogStarted = false;

QV_PRINTF(2, 0) jint JNICALL TwinHook(FILE*, const char* format, va_list arguments) {
  if (g_twinLog.empty()) return 1;
  FILE* const file = _wfopen(g_twinLog.c_str(), g_twinLogStarted ? L"a" : L"w");
  if (file == nullptr) return -1;
  g_twinLogStarted = true;
  const jint written = __mingw_vfprintf(file, format, arguments);
  std::fclose(file);
  return written;
}

void JNICALL TwinExit(jint) {}

Times StartBare(const fs::path& file, bool log) {
  std::ifstream stream(file);
  const json recorded = json::parse(stream);
  auto texts = recorded.at("options").get<std::vector<std::string>>();
  std::vector<JavaVMOption> options;
  for (std::string& text : texts) {
    void* hook = nullptr;
    if (text == kVfprintf) hook = reinterpret_cast<void*>(&TwinHook);
    if (text == kExit) hook = reinterpret_cast<void*>(&TwinExit);
    options.push_back({text.data(), hook});
  }
  const auto path = recorded.at("path").get<std::string>();
  SetEnvironmentVariableW(L"PATH", fs::path(std::u8string(path.begin(), path.end())).c_str());
  if (log) g_twinLog = (fs::temp_directory_path() / L"qv-bench-twin.out").wstring();

  const double begin = bench::NowNs();
  SetDllDirectoryW((JavaHome() / L"bin").c_str());
  const HMODULE library = bench::Need(LoadLibraryA("jvm.dll"), "jvm.dll");
  using CreateJavaVM = jint(JNICALL*)(JavaVM**, void**, void*);
  const auto create =
      reinterpret_cast<CreateJavaVM>(reinterpret_cast<void*>(GetProcAddress(library, "JNI_CreateJavaVM")));
  JavaVMInitArgs arguments = {JNI_VERSION_1_2, static_cast<jint>(options.size()), options.data(), JNI_FALSE};
  JavaVM* vm = nullptr;
  void* env = nullptr;
  if (create(&vm, &env, &arguments) != JNI_OK) bench::Die("JNI_CreateJavaVM");
  SetDllDirectoryW(nullptr);
  return {bench::NowNs() - begin};
}

// Prints both in nanoseconds and ends without waiting for the JVM.
[[noreturn]] void OneStart(const std::string& way, const fs::path& file, bool log, bool alike) {
  const bench::PrivateMachine machine(L"startup-" + std::to_wstring(GetCurrentProcessId()));
  for (const char* const module : {"qvjvm.dll", "shell32.dll"}) {
    if (alike) bench::Need(LoadLibraryA(module), module);
  }
  Configure(machine, log);
  if (way == "options") {
    WriteOptions(file);
  } else {
    const Times times = way == "service" ? StartWithService(log) : StartBare(file, log);
    std::printf("%.0f %.0f\n", times.start, times.load);
  }
  std::fflush(stdout);
  machine.~PrivateMachine();
  std::_Exit(0);
}

// -- the driver --

std::string RunChild(const std::wstring& commandLine) {
  std::optional<std::string> output = bench::RunChild(commandLine);
  if (!output) bench::Die("a start failed");
  return *std::move(output);
}

struct Setting {
  const char* name;
  double limit;
  bool log;
  bool alike;
};

void CompareStarts(bench::Report& report, const fs::path& folder, const Setting& setting) {
  const auto start = [&](const wchar_t* way) {
    return RunChild(L"\"" + (folder / L"qv190.exe").wstring() + L"\" " + way + L" \"" +
                    (folder / L"options.json").wstring() + (setting.log ? L"\" log" : L"\" silent") +
                    (setting.alike ? L" alike" : L""));
  };
  start(L"options");
  std::vector<double> service;
  std::vector<double> twin;
  std::vector<double> ratios;
  std::vector<double> loads;
  const auto startService = [&] {
    Times times;
    std::istringstream(start(L"service")) >> times.start >> times.load;
    service.push_back(times.start);
    loads.push_back(times.load);
  };
  const size_t rounds = report.Options().quick ? 1 : 21;
  for (size_t round = 0; round < rounds; ++round) {
    if (round % 2 == 0) startService();
    twin.push_back(std::stod(start(L"bare")));
    if (round % 2 != 0) startService();
    ratios.push_back(service.back() / twin.back());
  }
  report.Compared(setting.name, setting.limit, service, twin, ratios, 1);
  if (!setting.log && !setting.alike)
    report.Note("loading qvjvm.dll and qvshr.dll before it", bench::Summarize(loads).median / 1000, "µs");
}

int Drive(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  const fs::path folder = OwnProgram().parent_path() / L"bench-startup";
  fs::create_directories(folder);
  const auto copy = [&](const wchar_t* from, const wchar_t* to) {
    if (!CopyFileW((OwnProgram().parent_path() / from).c_str(), (folder / to).c_str(), FALSE)) bench::Die("no copy");
  };
  copy(OwnProgram().filename().c_str(), L"qv190.exe");
  copy(L"qvjvm.dll", L"qvjvm.dll");
  copy(L"qvshr.dll", L"qvshr.dll");
  bench::Report report("startup", line.settings);
  report.Fact("java", JavaHome().filename().string());
  for (const Setting& setting : {Setting{"first QV_CreateJavaVM, without -verbose:jni", 1.03, false, false},
                                 Setting{"the same, as many modules loaded in the twin", 1.03, false, true},
                                 Setting{"first QV_CreateJavaVM, -verbose:jni and log on", 1.05, true, false},
                                 Setting{"the same, as many modules loaded in the twin, log on", 1.05, true, true}}) {
    CompareStarts(report, folder, setting);
  }
  return report.Write(line.json) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 4 && OwnProgram().filename() == L"qv190.exe") {
    OneStart(argv[1], argv[2], std::string(argv[3]) == "log", argc == 5);
  }
  return Drive(argc, argv);
}
