// qvjvm-train: makes an archive of the Java classes that a host's own job loads, proves that the host's JVM takes it,
// and enters it into the qvshr.ini beside the host. Nothing but that file, the archive and what lies beside it changes,
// and on any failure nothing does.
// Exit codes: 0 done, or --check finds all in order; 1 no archive, or one that no longer fits; 2 the host's job failed;
// 3 wrong usage; 4 stopped by Ctrl+C.
#include <windows.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cwctype>
#include <filesystem>
#include <functional>

#include "config/host_recognition.h"
#include "store/default_tree.h"
#include "store/names.h"
#include "store/product.h"
#include "train/files.h"
#include "train/processes.h"
#include "train/settings_text.h"
#include "train/vm_report.h"

namespace train {
namespace {

namespace fs = std::filesystem;
using List = std::vector<std::wstring>;

enum ExitCode { kDone = 0, kNoArchive = 1, kJobFailed = 2, kUsage = 3, kStopped = 4 };

constexpr std::wstring_view kArchiveOption = L"-XX:SharedArchiveFile=";
constexpr std::wstring_view kBootOption = L"-Xbootclasspath/a:";

std::string ToUtf8(const std::wstring& text) {
  const std::u8string bytes = fs::path(text).u8string();
  return {bytes.begin(), bytes.end()};
}

void Say(const std::wstring& text) {
  std::printf("qvjvm-train: %s\n", ToUtf8(text).c_str());
  std::fflush(stdout);
}

// A JVM has options in the system's ANSI code page.
std::string Narrow(const std::wstring& text) {
  const int units = static_cast<int>(text.size());
  std::string bytes(
      static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  return bytes;
}
std::wstring Wide(const std::string& bytes) {
  const int size = static_cast<int>(bytes.size());
  std::wstring text(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), static_cast<int>(text.size()));
  return text;
}

// Takes back what was done when a failure comes before it is kept; Ctrl+C makes programs fail.
class Undo {
 public:
  Undo() = default;
  ~Undo() { Run(); }
  Undo(const Undo&) = delete;
  Undo& operator=(const Undo&) = delete;

  void Add(std::function<void()> step) { m_steps.push_back(std::move(step)); }
  void Keep() { m_steps.clear(); }
  void Run() {
    for (; !m_steps.empty(); m_steps.pop_back()) m_steps.back()();
  }

 private:
  std::vector<std::function<void()>> m_steps;
};

// A folder for what is gone in the end.
class Scratch {
 public:
  Scratch() : m_path(fs::temp_directory_path() / (L"qvjvm-train-" + std::to_wstring(GetCurrentProcessId()))) {
    fs::create_directories(m_path);
  }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  [[nodiscard]] std::wstring File(const wchar_t* name) const { return (m_path / name).wstring(); }

 private:
  fs::path m_path;
};

struct Host {
  explicit Host(const fs::path& executable, List jobArguments)
      : program(executable.wstring()), arguments(std::move(jobArguments)) {
    const std::wstring folder = executable.parent_path().wstring() + L"\\";
    const std::wstring stem = executable.stem().wstring();
    settings = folder + L"qvshr.ini";
    archive = folder + stem + L".jsa";
    report = archive + L".txt";
    emptyJar = folder + stem + L"-empty.jar";
    std::wstring name = executable.filename().wstring();
    for (wchar_t& unit : name) unit = static_cast<wchar_t>(std::towlower(unit));
    const qv::HostIdentity identity = qv::RecogniseHost(name);
    key = std::wstring(qv::RegistryRootFor(identity.quovant, identity.loomhall)) + L"\\" +
          (identity.known ? qv::names::kDevelopmentConfigKey : qv::names::kRuntimeConfigKey) + L"\\" +
          qv::names::kOptionList;
  }

  std::wstring program;
  List arguments;
  std::wstring settings;
  std::wstring archive;
  std::wstring report;    // what the JVM that was trained with said of itself
  std::wstring emptyJar;  // for the boot class path
  std::wstring key;       // of the options
};

// One run of the job.
struct JobRun {
  std::optional<unsigned long> code;
  std::optional<VmReport> vm;
  std::string text;  // of the report

  [[nodiscard]] bool Succeeded() const { return code == 0UL; }
  [[nodiscard]] bool Has(const std::wstring& option) const {
    return vm && vm->arguments.find(Narrow(option)) != std::string::npos;
  }
};

JobRun RunJob(const Host& host, const Scratch& scratch, List javaOptions) {
  const std::wstring log = scratch.File(L"vm.log");
  RemoveFile(log);
  javaOptions.insert(javaOptions.end(),
                     {L"-XX:+UnlockDiagnosticVMOptions", L"-XX:+LogVMOutput", L"-XX:LogFile=" + log});
  JobRun run;
  run.code = RunProgram(host.program, host.arguments, javaOptions);
  run.text = ReadFile(log).value_or("");
  run.vm = ReadVmReport(run.text);
  return run;
}

List BuiltInOptions() {
  List list;
  bool inList = false;
  for (const DefaultConfigRecord& record : qv::g_DefaultConfigTree) {
    if (record.kind == kOpenKey) inList = _wcsicmp(record.name, qv::names::kOptionList) == 0;
    if (record.kind == kCloseKey) inList = false;
    if (inList && record.kind == kStringValue && std::wcscmp(record.name, L"Count") != 0) {
      list.emplace_back(record.value);
    }
  }
  return list;
}

// The options that the host starts with, but for those of an archive.
List ConfiguredOptions(const Host& host, const SettingsText& settings) {
  List list;
  if (const auto own = ReadList(settings, host.key)) {
    list = *own;
  } else {
    const auto read = [&](const std::wstring& name) -> std::optional<std::wstring> {
      wchar_t text[32768];
      DWORD bytes = sizeof text;
      const LSTATUS status =
          RegGetValueW(HKEY_LOCAL_MACHINE, host.key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text, &bytes);
      return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
    };
    const auto count = read(L"Count");
    if (count) {
      for (long at = 0; at < std::wcstol(count->c_str(), nullptr, 10); ++at) {
        list.push_back(read(std::to_wstring(at)).value_or(L""));
      }
    } else {
      list = BuiltInOptions();
    }
  }
  std::erase_if(list, [&](const std::wstring& option) {
    return option.starts_with(kArchiveOption) || option.starts_with(L"-Xshare:") ||
           option == std::wstring(kBootOption) + host.emptyJar;
  });
  return list;
}

// A jar of nothing.
std::string EmptyJar() { return "PK\5\6" + std::string(18, '\0'); }

class Training {
 public:
  explicit Training(const Host& host) : m_host(host) {}

  int Run() {
    const auto before = ReadFile(m_host.settings);
    if (!before && FileExists(m_host.settings)) return Fail(m_host.settings + L" cannot be read");
    const auto decoded = DecodeSettings(before.value_or(""));
    if (!decoded) return Fail(m_host.settings + L" is neither UTF-8 nor UTF-16");
    m_before = before;
    m_settings = *decoded;
    m_options = ConfiguredOptions(m_host, m_settings);

    Say(L"the job, for the classes that it loads");
    const std::wstring classes = m_scratch.File(L"classes.txt");
    const JobRun recorded = RunJob(m_host, m_scratch, {L"-Xshare:off", L"-XX:DumpLoadedClassList=" + classes});
    if (!recorded.code) return Fail(m_host.program + L" does not start", kJobFailed);
    if (!recorded.Succeeded()) {
      return Fail(L"the job ended with exit code " + std::to_wstring(*recorded.code) + L"; it has to end with 0",
                  kJobFailed);
    }
    if (!recorded.vm || !FileExists(classes)) return Fail(L"the job started no Java VM", kJobFailed);
    Say(L"Java " + Wide(recorded.vm->version) + L" in " + Wide(recorded.vm->home));

    // Java 17 takes no archive with the host's classes while the boot class path names files and none of them is there.
    for (const Plan plan : {Plan{true, false}, Plan{true, true}, Plan{false, false}}) {
      if (!plan.hostClasses) Say(L"this runtime does not take the host's classes; Java's own alone");
      if (Try(plan, *recorded.vm, classes)) return kDone;
      m_undo.Run();
      if (Stopped()) break;
    }
    return Fail(L"this runtime takes no archive; everything is as it was");
  }

 private:
  struct Plan {
    bool hostClasses;
    bool emptyJar;
  };

  static int Fail(const std::wstring& why, int code = kNoArchive) {
    Say(Stopped() ? L"stopped; everything is as it was" : why);
    return Stopped() ? kStopped : code;
  }

  bool Try(const Plan& plan, const VmReport& vm, const std::wstring& classes) {
    List added = {std::wstring(kArchiveOption) + m_host.archive};
    if (plan.emptyJar) {
      m_undo.Add([this] { RemoveFile(m_host.emptyJar); });
      if (!WriteFile(m_host.emptyJar, EmptyJar())) return false;
      added.push_back(std::wstring(kBootOption) + m_host.emptyJar);
    }
    if (!MakeArchive(plan, vm, classes)) return false;
    m_undo.Add([this] { RestoreSettings(); });
    List all = m_options;
    all.insert(all.end(), added.begin(), added.end());
    if (!WriteFile(m_host.settings, EncodeSettings(WithList(m_settings, m_host.key, all)))) {
      Say(m_host.settings + L" cannot be written");
      return false;
    }
    Say(L"the job again, with the archive and no way without it");
    JobRun proof = RunJob(m_host, m_scratch, {L"-Xshare:on"});
    bool reaches = !proof.vm || proof.Has(added[0]);
    if (!reaches) {
      RestoreSettings();
      List javaOptions = added;
      javaOptions.push_back(L"-Xshare:on");
      proof = RunJob(m_host, m_scratch, javaOptions);
    }
    if (!proof.Succeeded() || !proof.Has(added[0])) return false;
    if (!WriteFile(m_host.report, proof.text)) return false;
    m_undo.Keep();
    RemoveFile(m_host.archive + L".old");
    if (!plan.emptyJar) RemoveFile(m_host.emptyJar);
    if (reaches) {
      Say(L"done: " + m_host.archive + L" is used; the setting is in " + m_host.settings);
    } else {
      Say(L"done: " + m_host.archive + L" is used when the program asks for it, which sets its options itself:");
      for (const std::wstring& option : added) Say(L"  " + option);
    }
    return true;
  }

  bool MakeArchive(const Plan& plan, const VmReport& vm, const std::wstring& classes) {
    const std::wstring made = m_host.archive + L".new";
    RemoveFile(made);
    std::string boot = vm.bootClassPath;
    if (plan.emptyJar) boot += (boot.empty() ? "" : ";") + Narrow(m_host.emptyJar);
    std::string options = "-Xshare:dump\n-Xlog:disable\n-XX:SharedClassListFile=" + Narrow(classes) +
                          "\n-XX:SharedArchiveFile=" + Narrow(made) + "\n";
    if (!boot.empty()) options += Narrow(std::wstring(kBootOption)) + boot + "\n";
    if (plan.hostClasses) options += "-Djava.class.path=" + ClassPathOfArchive(vm.classPath) + "\n";
    for (const std::wstring& option : m_options) {
      if (option.starts_with(L"-XX:+Use") || option.starts_with(L"-XX:-Use")) options += Narrow(option) + "\n";
    }
    const std::wstring file = m_scratch.File(L"options.txt");
    wchar_t own[32768];
    GetModuleFileNameW(nullptr, own, static_cast<DWORD>(std::size(own)));
    const bool written = WriteFile(file, options);
    // What a JVM tells while it makes an archive is thousands of lines.
    if (written) (void)RunProgram(own, {L"--create", Wide(vm.home), file}, {}, Output::Dropped);
    m_undo.Add([this] { RemoveFile(m_host.archive + L".new"); });
    if (!FileExists(made)) {
      Say(L"Java made no archive");
      return false;
    }
    const std::wstring old = m_host.archive + L".old";
    if (FileExists(m_host.archive)) {
      if (!MoveFileTo(m_host.archive, old)) {
        Say(m_host.archive + L" is in use; end the programs that have it");
        return false;
      }
      m_undo.Add([this, old] { (void)MoveFileTo(old, m_host.archive); });
    } else {
      m_undo.Add([this] { RemoveFile(m_host.archive); });
    }
    SetFileAttributesW(made.c_str(), FILE_ATTRIBUTE_NORMAL);  // a JVM may make it read-only, which uninstallers mind
    return MoveFileTo(made, m_host.archive);
  }

  void RestoreSettings() {
    if (m_before) {
      if (ReadFile(m_host.settings) != m_before) (void)WriteFile(m_host.settings, *m_before);
    } else {
      RemoveFile(m_host.settings);
    }
  }

  const Host& m_host;
  Scratch m_scratch;
  std::optional<std::string> m_before;
  SettingsText m_settings;
  List m_options;
  Undo m_undo;
};

// Whether the host's JVM still takes its archive, and what has changed since when it does not.
int Check(const Host& host) {
  const auto trained = ReadVmReport(ReadFile(host.report).value_or(""));
  if (!trained || !FileExists(host.archive)) {
    Say(L"there is no archive of this host's classes");
    return kNoArchive;
  }
  const Scratch scratch;
  const std::wstring option = std::wstring(kArchiveOption) + host.archive;
  const JobRun now = RunJob(host, scratch, {L"-Xshare:on"});
  if (Stopped()) {
    Say(L"stopped");
    return kStopped;
  }
  if (now.Succeeded() && now.Has(option)) {
    Say(host.archive + L" fits and is used");
    return kDone;
  }
  if (!now.code) {
    Say(host.program + L" does not start");
    return kJobFailed;
  }
  const auto changed = [](const wchar_t* what, const std::string& before, const std::string& after) {
    if (before != after) Say(std::wstring(what) + L": was " + Wide(before) + L", is " + Wide(after));
    return before != after;
  };
  bool found = false;
  if (now.vm) {
    found = changed(L"the runtime is another", trained->version, now.vm->version) || found;
    found = changed(L"the runtime is in another folder", trained->home, now.vm->home) || found;
    found = changed(L"the class path is another", trained->classPath, now.vm->classPath) || found;
    found = changed(L"the boot class path is another", trained->bootClassPath, now.vm->bootClassPath) || found;
    if (!now.Has(option)) {
      Say(L"the JVM's options do not name the archive");
      found = true;
    }
  }
  if (!found) Say(L"the JVM does not take the archive: a jar, the runtime or an option has changed, or the job fails");
  Say(L"train it again");
  return kNoArchive;
}

int Main(int argc, wchar_t** argv) {
  if (argc == 4 && std::wstring_view(argv[1]) == L"--create") return CreateJvm(argv[2], argv[3]);
  CLI::App app(
      "Makes an archive of the Java classes that a host's job loads, and enters it into the qvshr.ini beside it.",
      "qvjvm-train");
  bool check = false;
  std::vector<std::string> words;
  app.add_flag("--check", check, "run the job and tell whether the archive still fits; change nothing");
  app.add_option("job", words, "-- HOST.EXE ARGUMENT...: the job, which has to end with exit code 0")->required();
  app.footer(
      "Exit codes: 0 done, 1 no archive or one that does not fit, 2 the job failed, 3 wrong usage, 4 "
      "stopped by Ctrl+C.");
  std::vector<std::string> line;
  for (int i = argc - 1; i > 0; --i) line.push_back(ToUtf8(argv[i]));
  try {
    app.parse(std::move(line));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  List job;
  for (const std::string& word : words) job.push_back(fs::path(std::u8string(word.begin(), word.end())).wstring());
  const fs::path executable = fs::absolute(job.front());
  if (!FileExists(executable.wstring())) {
    Say(executable.wstring() + L" is not there");
    return kUsage;
  }
  StopProgramsAtCtrlC();
  const Host host(executable, List(job.begin() + 1, job.end()));
  return check ? Check(host) : Training(host).Run();
}

}  // namespace
}  // namespace train

int wmain(int argc, wchar_t** argv) { return train::Main(argc, argv); }
