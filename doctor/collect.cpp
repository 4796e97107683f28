#include "doctor/collect.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "config/folders.h"
#include "config/host_recognition.h"
#include "config/jvm_config_info.h"
#include "config/runtime_choice.h"
#include "doctor/image_file.h"
#include "doctor/option_notes.h"
#include "service/process_events.h"
#include "store/config_store.h"
#include "store/counted_list.h"
#include "store/messages.h"
#include "store/names.h"

namespace doctor {

namespace {

std::wstring Text(const qv::StringRef& string) { return std::wstring(qv::TextOf(string)); }

std::optional<std::wstring> Variable(const wchar_t* name) {
  qv::HostArray<wchar_t> text;
  if (qv::ReadEnvironmentText(name, text) != qv::EnvironmentRead::Found) return std::nullopt;
  return std::wstring(text.get());
}

std::wstring LowerCase(std::wstring text) {
  CharLowerW(text.data());
  return text;
}

std::vector<std::wstring> Split(const std::wstring& text) {
  std::vector<std::wstring> pieces;
  size_t begin = 0;
  while (begin <= text.size()) {
    const size_t end = std::min(text.find(L';', begin), text.size());
    if (end > begin) pieces.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return pieces;
}

// -- host and settings --

void CollectHost(Facts& facts, CQV_JVMConfigInfo& config) {
  const std::wstring file = std::filesystem::path(facts.question.host).filename().wstring();
  const qv::HostIdentity identity = qv::RecogniseHost(LowerCase(file));
  config.m_bHostKnown = identity.known;
  config.m_bQuovantHost = identity.quovant;
  config.m_bLoomhallHost = identity.loomhall;
  Host& host = facts.host;
  host.known = identity.known;
  host.launcher = identity.loomhall;
  host.kind = !identity.known     ? L"unknown"
              : identity.loomhall ? L"Java launcher"
              : identity.quovant  ? L"Quovant"
                                  : L"Tablero";
  host.registryRoot = qv::RegistryRootFor(identity.quovant, identity.loomhall);
  qv::KeyRef root;
  host.rootExists = qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, host.registryRoot.c_str(), qv::kReadAccess, root);
}

Setting JavaKeySetting(const Host& host, const wchar_t* name) {
  Setting setting = {name, std::nullopt, L"registry HKLM\\" + host.registryRoot + L"\\" + qv::names::kJavaKey};
  qv::StringRef value;
  if (qv::ReadJavaKeyValue(host.registryRoot.c_str(), name, value)) setting.value = Text(value);
  return setting;
}

Setting RegisteredJavaHome() {
  Setting setting = {L"JavaHome", std::nullopt, L"registry HKLM\\Software\\JavaSoft\\Java Runtime Environment"};
  qv::KeyRef javaSoft;
  qv::KeyRef current;
  qv::StringRef version;
  qv::StringRef home;
  if (qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, L"Software\\JavaSoft\\Java Runtime Environment", qv::kReadAccess,
                           javaSoft) &&
      qv::QueryValue(*javaSoft, L"CurrentVersion", version) >= 0 && version &&
      qv::OpenSubKey(*javaSoft, version->GetText(), current) && qv::QueryValue(*current, L"JavaHome", home) >= 0) {
    setting.value = Text(home);
  }
  return setting;
}

bool CurrentRuntimeDisabled(Setting& setting) {
  wchar_t text[2] = {};
  const int32_t read = QvshrGetSetting(L"QV", L"QVJRENOTUSECURRENT", L"0", text, 2);
  setting = {L"QVJRENOTUSECURRENT", std::wstring(text), L"host setting, section QV"};
  return qv::CurrentRuntimeDisabled(read, text);
}

// -- candidates --

std::wstring VerdictOf(const Library& library) {
  switch (library.machine) {
    case Machine::Missing:
      return L"not there";
    case Machine::Unreadable:
      return L"taken, but it cannot be read";
    case Machine::NotAnImage:
      return L"taken, but it is not a DLL";
    case Machine::Wrong:
      return L"taken, but it is for " + library.architecture;
    case Machine::Right:
      return L"taken";
  }
  return {};
}

// Adds the folders in their order; the first that holds a jvm.dll is the service's choice unless one was made before.
void AddCandidates(Facts& facts, const std::wstring& home, std::span<const std::wstring_view> folders,
                   const std::wstring& origin, std::wstring whyNotTried) {
  for (const std::wstring_view folder : folders) {
    Candidate candidate = {InspectLibrary(home + std::wstring(folder) + std::wstring(qv::kJvmFile)), origin, {}, false};
    if (whyNotTried.empty()) {
      candidate.verdict = VerdictOf(candidate.library);
      candidate.chosen = candidate.library.machine != Machine::Missing;
      if (candidate.chosen) whyNotTried = L"not tried: one was found before";
    } else {
      candidate.verdict = whyNotTried;
    }
    facts.candidates.push_back(std::move(candidate));
  }
}

bool Chosen(const Facts& facts) {
  return std::any_of(facts.candidates.begin(), facts.candidates.end(),
                     [](const Candidate& each) { return each.chosen; });
}

void CollectCandidates(Facts& facts) {
  const Setting javaHome = {L"JAVA_HOME", Variable(L"JAVA_HOME"), L"environment"};
  const Setting registered = RegisteredJavaHome();
  const Setting jdk = JavaKeySetting(facts.host, qv::names::kJDKLocation);
  const Setting jreBin = JavaKeySetting(facts.host, qv::names::kJREBinLocation);
  Setting disabled;
  const bool notCurrent = CurrentRuntimeDisabled(disabled);
  facts.settings = {javaHome, registered, disabled,
                    jdk,      jreBin,     {L"CLASSPATH", Variable(L"CLASSPATH"), L"environment"}};

  if (facts.HostHasJvm()) return;
  if (facts.host.known) {
    if (!jreBin.value) return;
    Candidate candidate = {
        InspectLibrary(*jreBin.value + std::wstring(qv::kJvmFile)), L"configured JREBinLocation", {}, false};
    candidate.verdict = VerdictOf(candidate.library);
    candidate.chosen = candidate.library.machine != Machine::Missing;
    facts.candidates.push_back(std::move(candidate));
    return;
  }
  const std::wstring off = notCurrent ? L"not tried: QVJRENOTUSECURRENT is 1" : L"";
  if (javaHome.value) AddCandidates(facts, *javaHome.value, qv::kJavaHomeFolders, L"JAVA_HOME", off);
  if (registered.value) {
    AddCandidates(facts, *registered.value, qv::kJavaHomeFolders, L"registry",
                  javaHome.value ? L"not tried: JAVA_HOME is set" : off);
  }
  AddCandidates(facts, facts.question.serviceFolder, qv::kInstallFolders, L"beside the service",
                Chosen(facts) ? L"not tried: one was found before" : L"");
}

// -- the runtime that loading jvm.dll would take --

std::wstring ReleaseValue(const std::filesystem::path& home, const std::string& key) {
  std::ifstream file(home / L"release");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(key + "=", 0) != 0) continue;
    std::wstring value(line.begin() + static_cast<std::ptrdiff_t>(key.size()) + 1, line.end());
    std::erase_if(value, [](wchar_t unit) { return unit == L'"' || unit == L'\r'; });
    return value;
  }
  return {};
}

std::optional<int> MajorOf(const std::wstring& version) {
  int first = 0;
  int second = 0;
  const int read = std::swscanf(version.c_str(), L"%d.%d", &first, &second);
  if (read < 1) return std::nullopt;
  return first == 1 && read == 2 ? second : first;
}

void CollectJvm(Facts& facts) {
  wchar_t found[4096];
  for (const wchar_t* const name : {L"jvm.dll", L"client\\jvm.dll"}) {
    if (SearchPathW(facts.path.c_str(), name, nullptr, 4096, found, nullptr) != 0) {
      facts.jvm = InspectLibrary(found);
      break;
    }
  }
  if (!facts.jvm) return;
  // ...\bin\server\jvm.dll
  const std::filesystem::path home = std::filesystem::path(facts.jvm->path).parent_path().parent_path().parent_path();
  facts.javaVersion = ReleaseValue(home, "JAVA_VERSION");
  facts.javaMajor = MajorOf(facts.javaVersion);
}

// -- class path --

// The service shows a message box when a known host's list is missing; here its text is a finding.
bool ListWouldFail(Facts& facts, const std::wstring& list) {
  qv::KeyRef root;
  qv::KeyRef key;
  qv::StringRef count;
  const wchar_t* const rootPath = facts.host.registryRoot.c_str();
  if (!qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, rootPath, qv::kReadAccess, root)) {
    facts.messageBox = qv::StoreMessage::KeyNotFound(rootPath, L"").Text();
  } else if (!qv::OpenSubKey(*root, list.c_str(), key)) {
    facts.messageBox = qv::StoreMessage::KeyNotFound(rootPath, list.c_str()).Text();
  } else if (qv::QueryValue(*key, qv::names::kCount, count) < 0) {
    facts.messageBox = qv::StoreMessage::ValueNotFound(rootPath, list.c_str(), qv::names::kCount).Text();
  }
  std::replace(facts.messageBox.begin(), facts.messageBox.end(), L'\n', L' ');
  return !facts.messageBox.empty();
}

void CollectClassPath(Facts& facts, CQV_JVMConfigInfo& config) {
  const std::wstring list = std::wstring(qv::names::kDevelopmentConfigKey) + L"\\" + qv::names::kClassPathList;
  if (facts.host.known && !facts.host.launcher && ListWouldFail(facts, list)) return;
  qv::StringRef classPath;
  facts.classPathBuilt = config.ComposeClassPath(classPath.Out());
  for (const std::wstring& entry : Split(Text(classPath))) {
    facts.classPath.push_back({entry, qv::FileExists(entry.c_str())});
  }
}

// -- options --

std::wstring OriginOf(const Facts& facts, const wchar_t* listName) {
  const std::wstring path =
      std::wstring(facts.host.known ? qv::names::kDevelopmentConfigKey : qv::names::kRuntimeConfigKey) + L"\\" +
      listName;
  qv::KeyRef root;
  qv::KeyRef key;
  const bool inRegistry =
      qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, facts.host.registryRoot.c_str(), qv::kReadAccess, root) &&
      qv::OpenSubKey(*root, path.c_str(), key);
  return inRegistry ? L"registry " + path : L"default tree " + path;
}

class LoadedLibrary {
 public:
  LoadedLibrary(const std::wstring& path, DWORD flags) : m_module(LoadLibraryExW(path.c_str(), nullptr, flags)) {}
  ~LoadedLibrary() {
    if (m_module != nullptr) FreeLibrary(m_module);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  [[nodiscard]] HMODULE Get() const { return m_module; }

 private:
  HMODULE m_module;
};

HMODULE g_inspectedJvm = nullptr;
HMODULE FindInspectedJvm(const char*) noexcept { return g_inspectedJvm; }

void CheckCodePage(Facts& facts, const std::wstring& text) {
  BOOL lost = FALSE;
  const int bytes = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, &lost);
  if (bytes == 0 || lost != FALSE) facts.notInCodePage.push_back(text);
}

void AddOption(Facts& facts, std::wstring text, std::wstring origin) {
  Option option = {std::move(text), std::move(origin), {}, false};
  if (const auto note = NoteFor(option.text, facts.javaMajor)) {
    option.note = note->text;
    option.fatal = note->fatal;
  }
  CheckCodePage(facts, option.text);
  facts.options.push_back(std::move(option));
}

std::wstring Widen(const char* text) {
  const int units = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::wstring wide(static_cast<size_t>(std::max(units, 1)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), units);
  wide.resize(wide.size() - 1);
  return wide;
}

void CollectOptions(Facts& facts, CQV_JVMConfigInfo& config) {
  if (!facts.classPathBuilt) return;
  // Mapped without running any of its code; the boot class path wants to know where it lies.
  std::optional<LoadedLibrary> jvm;
  if (facts.jvm && facts.jvm->machine == Machine::Right) jvm.emplace(facts.jvm->path, DONT_RESOLVE_DLL_REFERENCES);
  g_inspectedJvm = jvm ? jvm->Get() : nullptr;
  config.m_pfnFindLoadedModule = FindInspectedJvm;
  JavaVMOption* options = nullptr;
  int32_t count = 0;
  facts.optionsBuilt = config.BuildJavaVMOptions(&options, &count, nullptr);
  wchar_t** properties = nullptr;
  int32_t propertyCount = 0;
  (void)config.ReadJVMProperties(&properties, &propertyCount);
  const qv::PropertyTexts propertyTexts(properties, propertyCount);
  for (int32_t i = 0; facts.optionsBuilt && i < count; ++i) {
    std::wstring origin = L"the service";
    if (i >= count - propertyCount) {
      origin = OriginOf(facts, qv::names::kPropertyKey);
    } else if (i >= qv::kFixedOptions) {
      origin = OriginOf(facts, qv::names::kOptionList);
    }
    AddOption(facts, Widen(options[i].optionString), std::move(origin));
  }
  if (facts.optionsBuilt) qv::FreeOptions(options, count);
  for (const ClassPathEntry& entry : facts.classPath) CheckCodePage(facts, entry.path);
}

// -- log --

void CollectLog(Facts& facts, CQV_JVMConfigInfo& config) {
  qv::StringRef path;
  config.GetLogFilePath(path.Out());
  facts.log.path = Text(path);
  const auto mayOpen = [](const std::wstring& name, DWORD access, DWORD flags) {
    const HANDLE file = CreateFileW(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    return true;
  };
  const DWORD attributes = GetFileAttributesW(facts.log.path.c_str());
  const std::wstring folder = std::filesystem::absolute(facts.log.path).parent_path().wstring();
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    if (!std::filesystem::is_directory(folder)) {
      facts.log.problem = L"its folder does not exist";
    } else if (!mayOpen(folder, FILE_ADD_FILE, FILE_FLAG_BACKUP_SEMANTICS)) {
      facts.log.problem = L"its folder cannot be written";
    }
  } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    facts.log.problem = L"it is a folder";
  } else if ((attributes & FILE_ATTRIBUTE_READONLY) != 0 || !mayOpen(facts.log.path, GENERIC_WRITE, 0)) {
    facts.log.problem = L"it cannot be written";
  }
}

}  // namespace

Facts Collect(const Question& question) {
  Facts facts;
  facts.question = question;
  const LoadedLibrary service(question.serviceFolder + L"\\qvjvm.dll", LOAD_WITH_ALTERED_SEARCH_PATH);
  if (service.Get() == nullptr) {
    throw std::runtime_error("qvjvm.dll cannot be loaded from the folder of the service");
  }
  qv::OnModuleLoaded(GetModuleHandleW(nullptr));
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.Load()) throw std::runtime_error("the path of this program cannot be had");
  CollectHost(facts, config);
  CollectCandidates(facts);
  facts.discoverySucceeded = facts.HostHasJvm() || config.LocateJavaRuntime();
  facts.path = Variable(L"PATH").value_or(L"");
  if (!facts.HostHasJvm()) CollectJvm(facts);
  CollectClassPath(facts, config);
  if (!facts.HostHasJvm()) CollectOptions(facts, config);
  CollectLog(facts, config);
  return facts;
}

}  // namespace doctor
