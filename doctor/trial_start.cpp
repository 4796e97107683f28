#include "doctor/trial_start.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "doctor/print.h"
#include "qvjvm/qvjvm.h"

namespace doctor {

namespace {

constexpr size_t kLogLines = 10;
constexpr size_t kOutputLines = 40;
constexpr int kStartFailed = 10;
constexpr int kWorkFailed = 11;

std::vector<std::wstring> LinesOf(const std::string& text, size_t most) {
  std::vector<std::wstring> lines;
  size_t begin = 0;
  while (begin < text.size()) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    std::string line = text.substr(begin, end - begin);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) {
      const int bytes = static_cast<int>(line.size());
      std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, line.data(), bytes, nullptr, 0)), L'\0');
      MultiByteToWideChar(CP_ACP, 0, line.data(), bytes, wide.data(), static_cast<int>(wide.size()));
      lines.push_back(std::move(wide));
    }
    begin = end + 1;
  }
  if (lines.size() > most) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(most));
  return lines;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Gone at the end, whatever happens. On a machine whose folder for temporary files is gone it is none, and copying
// there fails.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    wchar_t base[MAX_PATH + 1] = {};
    GetTempPathW(static_cast<DWORD>(std::size(base)), base);
    m_path = std::filesystem::path(base) / (L"qvjvm-doctor-" + std::to_wstring(GetCurrentProcessId()));
    std::error_code ignored;
    std::filesystem::create_directory(m_path, ignored);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

struct Child {
  bool created = false;
  bool inTime = false;
  DWORD exitCode = 0;
};

Child Run(const std::filesystem::path& program, const std::filesystem::path& outputFile, unsigned limitSeconds) {
  Child child;
  SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE output = CreateFileW(outputFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = output;
  startup.hStdError = output;
  PROCESS_INFORMATION process = {};
  std::wstring line = L"\"" + program.wstring() + L"\"";
  child.created = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                                 &process) != FALSE;
  if (child.created) {
    child.inTime = WaitForSingleObject(process.hProcess, limitSeconds * 1000) == WAIT_OBJECT_0;
    if (!child.inTime) {
      TerminateProcess(process.hProcess, 1);
      WaitForSingleObject(process.hProcess, 10000);
    }
    GetExitCodeProcess(process.hProcess, &child.exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(output);
  return child;
}

// What the host finds beside itself: its settings, its host library unless that lies beside the service, and what hides
// libraries of the runtime.
bool CopyNeighbours(const Facts& facts, const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const ProductLibrary& each : facts.products) {
    const std::filesystem::path path = each.library.path;
    if (each.product == Product::HostLibrary && path.parent_path() != facts.question.serviceFolder)
      files.push_back(path);
  }
  const std::filesystem::path settings = std::filesystem::path(facts.question.hostFolder) / L"qvshr.ini";
  if (std::filesystem::exists(settings)) files.push_back(settings);
  if (facts.runtime) {
    for (const Library& each : facts.runtime->foreign) files.emplace_back(each.path);
  }
  return std::all_of(files.begin(), files.end(), [&](const std::filesystem::path& file) {
    return CopyFileW(file.c_str(), (folder / file.filename()).c_str(), TRUE) != FALSE;
  });
}

std::wstring Describe(const Child& child, unsigned limitSeconds) {
  if (!child.created) return L"the trial could not be run";
  if (!child.inTime) return L"no end within " + std::to_wstring(limitSeconds) + L" seconds; it was ended";
  if (child.exitCode == 0) return L"the JVM started";
  if (child.exitCode == kStartFailed) return L"QV_CreateJavaVM failed";
  if (child.exitCode == kWorkFailed) return L"the JVM started, but parts of it do not work";
  wchar_t code[16];
  std::swprintf(code, std::size(code), L"0x%lX", child.exitCode);
  return std::wstring(L"the JVM ended the process, exit code ") + code;
}

// One call for each part of a runtime that a start does not touch. Not for the network: not every Wine has what newer
// runtimes ask of it, and its libraries are judged by their files.
struct Work {
  const char* part;
  const char* type;
  const char* method;
  const char* signature;
};
constexpr Work kWork[] = {
    {"conf\\security\\java.security", "java/security/Security", "getProviders", "()[Ljava/security/Provider;"},
    {"lib\\tzdb.dat", "java/time/ZoneId", "getAvailableZoneIds", "()Ljava/util/Set;"},
};

// Told in a line of its own, which the parent takes out of the output. The clock is the system's, so it is the same in
// both.
constexpr char kStepMark[] = "step: ";
void TellStep(const char* name) {
  std::printf("%s%llu %s\n", kStepMark, static_cast<unsigned long long>(GetTickCount64()), name);
  std::fflush(stdout);
}

void TakeSteps(StartResult& result, uint64_t begin, uint64_t end) {
  const std::wstring mark(std::begin(kStepMark), std::end(kStepMark) - 1);
  uint64_t before = begin;
  const auto add = [&](const std::string& name, uint64_t now) {
    result.steps.push_back({name, before - begin, std::max(now, before) - begin});
    before = std::max(now, before);
  };
  std::erase_if(result.output, [&](const std::wstring& line) {
    if (!line.starts_with(mark)) return false;
    wchar_t* rest = nullptr;
    const uint64_t now = std::wcstoull(line.c_str() + mark.size(), &rest, 10);
    add(ToUtf8(rest + 1), now);
    return true;
  });
  add(result.started ? "the process ends" : "until it ended", end);
}

bool DoWork(IQV_JavaVM* vm) {
  bool all = true;
  for (const Work& work : kWork) {
    qv_jclass type = nullptr;
    qv_jobject result = nullptr;
    if (vm->FindClass(&type, work.type) == QV_S_OK &&
        vm->CallStaticObjectMethod(&result, type, work.method, work.signature) == QV_S_OK) {
      continue;
    }
    std::printf("trial: %s does not work, by %s.%s\n", work.part, work.type, work.method);
    all = false;
  }
  return all;
}

}  // namespace

std::filesystem::file_time_type WrittenAt(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::file_time_type time = std::filesystem::last_write_time(path, error);
  return error ? std::filesystem::file_time_type::min() : time;
}

std::vector<std::wstring> LogTail(const std::filesystem::path& path, std::filesystem::file_time_type before) {
  if (WrittenAt(path) == before) return {};
  return LinesOf(ReadFile(path), kLogLines);
}

StartResult TryStart(const Facts& facts, unsigned limitSeconds) {
  const TemporaryFolder folder;
  const std::filesystem::path host = folder.Path() / std::filesystem::path(facts.question.host).filename();
  wchar_t own[32768];
  GetModuleFileNameW(nullptr, own, static_cast<DWORD>(std::size(own)));
  StartResult result;
  if (!CopyFileW(own, host.c_str(), TRUE) || !CopyNeighbours(facts, folder.Path())) {
    result.outcome = L"the trial's copy cannot be made in " + folder.Path().wstring();
    return result;
  }
  const std::filesystem::file_time_type before = WrittenAt(facts.log.path);
  SetEnvironmentVariableW(kTrialVariable, facts.question.serviceFolder.c_str());
  const uint64_t begin = GetTickCount64();
  const Child child = Run(host, folder.Path() / L"output.txt", limitSeconds);
  SetEnvironmentVariableW(kTrialVariable, nullptr);
  result.started = child.created && child.inTime && child.exitCode == 0;
  result.outcome = Describe(child, limitSeconds);
  result.output = LinesOf(ReadFile(folder.Path() / L"output.txt"), kOutputLines);
  TakeSteps(result, begin, GetTickCount64());
  if (!result.started) result.logTail = LogTail(facts.log.path, before);
  return result;
}

void RunAsHost(const wchar_t* serviceFolder) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  TellStep("the program is loaded");
  const std::wstring dll = std::wstring(serviceFolder) + L"\\qvjvm.dll";
  const HMODULE service = LoadLibraryExW(dll.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  const auto create =
      service != nullptr
          ? reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")))
          : nullptr;
  if (create == nullptr) {
    std::printf("qvjvm.dll cannot be loaded, Windows error %lu\n", GetLastError());
    std::fflush(stdout);
    std::_Exit(kStartFailed);
  }
  TellStep("qvjvm.dll is loaded");
  IQV_JavaVM* vm = nullptr;
  const int32_t status = create(&vm, nullptr);
  std::printf("QV_CreateJavaVM: 0x%08lX\n", static_cast<unsigned long>(status));
  TellStep("QV_CreateJavaVM");
  IQvString* version = nullptr;
  if (status >= 0 && vm->GetJavaVersion(&version) >= 0) std::printf("java.version: %ls\n", version->GetText());
  const bool works = status >= 0 && DoWork(vm);
  if (works) TellStep("calls to its parts");
  std::fflush(stdout);
  std::_Exit(status < 0 ? kStartFailed : works ? 0 : kWorkFailed);
}

}  // namespace doctor
