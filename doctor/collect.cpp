#include "doctor/collect.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <new>

#include "base/lock.h"
#include "base/procedure.h"
#include "config/folders.h"
#include "config/host_recognition.h"
#include "config/jvm_config_info.h"
#include "config/path_list.h"
#include "config/runtime_choice.h"
#include "config/runtime_locate.h"
#include "doctor/file_checks.h"
#include "doctor/option_notes.h"
#include "doctor/runtime_parts.h"
#include "doctor/texts.h"
#include "service/process_events.h"
#include "store/config_store.h"
#include "store/default_tree.h"
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

// Hears what the service decides.
class Listener final : public qv::DecisionListener {
 public:
  struct Place {
    qv::RuntimeSource source;
    qv::RuntimeVerdict verdict;
    std::wstring home;
    std::wstring subFolder;
  };

  void OnRuntimePlace(const qv::RuntimePlace& place) noexcept override {
    places.push_back({place.source, place.verdict, std::wstring(place.home), std::wstring(place.subFolder)});
  }
  void OnListKey(const wchar_t* listName, qv::KeyOrigin origin) noexcept override {
    (std::wstring_view(listName) == qv::names::kPropertyKey ? origins.properties : origins.options) = origin;
  }
  void OnConfiguredOptions(int32_t count) noexcept override { configuredOptions = count; }
  void OnMissing(const qv::StoreMessage& message, const wchar_t*) noexcept override {
    messageBox = message.Text();
    std::replace(messageBox.begin(), messageBox.end(), L'\n', L' ');
  }

  std::vector<Place> places;
  ListOrigins origins;
  int32_t configuredOptions = 0;
  std::wstring messageBox;
};

// -- host and settings --

void CollectHost(Facts& facts, CQV_JVMConfigInfo& config) {
  const std::wstring file = std::filesystem::path(facts.question.host).filename().wstring();
  const qv::HostIdentity identity = qv::RecogniseHost(LowerCase(file));
  config.m_bHostKnown = identity.known;
  config.m_bQuovantHost = identity.quovant;
  config.m_bLoomhallHost = identity.loomhall;
  Host& host = facts.host;
  host.kind = !identity.known     ? HostKind::Unknown
              : identity.loomhall ? HostKind::JavaLauncher
              : identity.quovant  ? HostKind::Quovant
                                  : HostKind::Tablero;
  host.registryRoot = qv::RegistryRootFor(identity.quovant, identity.loomhall);
  qv::KeyRef root;
  host.rootExists = qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, host.registryRoot.c_str(), qv::kReadAccess, root);
}

std::optional<std::wstring> JavaKeyValue(const Host& host, const wchar_t* name) {
  qv::StringRef value;
  if (!qv::ReadJavaKeyValue(host.registryRoot.c_str(), name, value)) return std::nullopt;
  return Text(value);
}

// None when it is not there.
std::optional<std::wstring> RegistryValue(const wchar_t* key, const wchar_t* name) {
  std::wstring text(4096, L'\0');
  auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, text.data(), &bytes);
  if (status == ERROR_UNSUPPORTED_TYPE) return L"(no text)";
  if (status != ERROR_SUCCESS) return std::nullopt;
  text.resize(std::wcslen(text.c_str()));
  return text;
}

void CollectSettings(Facts& facts) {
  qv::HostText registered;
  const bool isRegistered = qv::ReadRegisteredHome(registered);
  facts.settings = {
      {SettingName::JavaHome, Variable(L"JAVA_HOME")},
      {SettingName::RegisteredVersion,
       RegistryValue(L"Software\\JavaSoft\\Java Runtime Environment", L"CurrentVersion")},
      {SettingName::RegisteredHome, isRegistered ? std::optional(std::wstring(registered.View())) : std::nullopt},
      {SettingName::NotCurrentRuntime, qv::ReadCurrentRuntimeSetting().text},
      {SettingName::JdkLocation, JavaKeyValue(facts.host, qv::names::kJDKLocation)},
      {SettingName::JreBinLocation, JavaKeyValue(facts.host, qv::names::kJREBinLocation)},
      {SettingName::ClassPath, Variable(L"CLASSPATH")},
      {SettingName::ToolOptions, Variable(L"JAVA_TOOL_OPTIONS")},
      {SettingName::LateOptions, Variable(L"_JAVA_OPTIONS")},
      {SettingName::LauncherOptions, Variable(L"JDK_JAVA_OPTIONS")}};
}

// -- candidates --

// The home of a source that the service had no reason to look at.
const std::wstring* HomeOf(const Facts& facts, qv::RuntimeSource source) {
  switch (source) {
    case qv::RuntimeSource::JavaHome:
      return facts.ValueOf(SettingName::JavaHome);
    case qv::RuntimeSource::Registry:
      return facts.ValueOf(SettingName::RegisteredHome);
    case qv::RuntimeSource::BesideTheService:
      return &facts.question.serviceFolder;
    case qv::RuntimeSource::Configured:
      return facts.ValueOf(SettingName::JreBinLocation);
  }
  return nullptr;
}

std::vector<std::wstring_view> FoldersOf(const Listener::Place& place) {
  if (!place.subFolder.empty() || place.source == qv::RuntimeSource::Configured) return {place.subFolder};
  if (place.source == qv::RuntimeSource::BesideTheService) {
    return {qv::kInstallFolders.begin(), qv::kInstallFolders.end()};
  }
  return {qv::kJavaHomeFolders.begin(), qv::kJavaHomeFolders.end()};
}

void CollectCandidates(Facts& facts, const std::vector<Listener::Place>& places) {
  for (const Listener::Place& place : places) {
    const std::wstring* const home = place.subFolder.empty() ? HomeOf(facts, place.source) : &place.home;
    if (home == nullptr) continue;
    for (const std::wstring_view folder : FoldersOf(place)) {
      std::wstring file = *home + std::wstring(folder) + std::wstring(qv::kJvmFile);
      facts.candidates.push_back({InspectLibrary(file), place.source, place.verdict});
    }
  }
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

// The system looks beside the executable and in its own folders before it looks along PATH.
std::wstring FindAsLoaded(const Facts& facts, const wchar_t* name) {
  wchar_t system[MAX_PATH];
  GetSystemDirectoryW(system, MAX_PATH);
  const std::wstring places = facts.question.hostFolder + L";" + system + L";" + facts.path;
  std::wstring found(4096, L'\0');
  found.resize(SearchPathW(places.c_str(), name, nullptr, static_cast<DWORD>(found.size()), found.data(), nullptr));
  return found;
}

void CollectRuntime(Facts& facts) {
  for (const wchar_t* const name : {L"jvm.dll", L"client\\jvm.dll"}) {
    const std::wstring found = FindAsLoaded(facts, name);
    if (found.empty()) continue;
    // ...\bin\server\jvm.dll
    const std::filesystem::path bin = std::filesystem::path(found).parent_path().parent_path();
    const std::filesystem::path home = bin.parent_path();
    Runtime& runtime = facts.runtime.emplace();
    runtime.jvm = InspectLibrary(found);
    runtime.home = home.wstring();
    runtime.version = ReleaseValue(home, "JAVA_VERSION");
    runtime.major = MajorOf(runtime.version);
    runtime.hasLib = std::filesystem::exists(home / L"lib");
    runtime.parts = InspectParts(runtime);
    runtime.foreign = FindForeign(runtime, facts.question.hostFolder);
    return;
  }
}

// -- class path --

bool IsBuiltIn(std::wstring_view path) {
  return std::any_of(std::begin(qv::g_DefaultConfigTree), std::end(qv::g_DefaultConfigTree),
                     [&](const DefaultConfigRecord& record) {
                       return record.kind == kStringValue && *record.value == L'\\' && path.ends_with(record.value);
                     });
}

void CollectClassPath(Facts& facts, CQV_JVMConfigInfo& config) {
  qv::StringRef classPath;
  qv::PathList entries;
  const std::wstring* const jdk = facts.host.Known() ? facts.ValueOf(SettingName::JdkLocation) : nullptr;
  facts.classPathBuilt = config.ComposeClassPath(classPath.Out()) && entries.TrySplit(qv::TextOf(classPath));
  entries.ForEach([&](const wchar_t* entry) {
    const bool ofJdk = jdk != nullptr && !jdk->empty() && std::wstring_view(entry).starts_with(*jdk);
    facts.classPath.push_back({entry, InspectArchive(entry), ofJdk || IsBuiltIn(entry), ArchiveContent(entry)});
  });
}

// -- options --

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

bool FitsCodePage(const std::wstring& text) {
  BOOL lost = FALSE;
  return WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, &lost) != 0 && lost == FALSE;
}

// The path up to the first of its names that does not fit: what lies below it has the same fault and is not named.
void CheckCodePage(Facts& facts, const std::wstring& path) {
  if (FitsCodePage(path)) return;
  size_t end = 0;
  while (end < path.size() && FitsCodePage(path.substr(0, end))) end = std::min(path.find(L'\\', end + 1), path.size());
  const std::wstring culprit = path.substr(0, end);
  std::vector<std::wstring>& known = facts.notInCodePage;
  if (std::find(known.begin(), known.end(), culprit) == known.end()) known.push_back(culprit);
}

void AddOption(Facts& facts, std::wstring text, qv::OptionSource source) {
  Option option = {std::move(text), source, {}, false};
  if (const auto note = NoteFor(option.text, facts.runtime ? facts.runtime->major : std::nullopt)) {
    option.note = note->text;
    option.fatal = note->fatal;
  }
  facts.options.push_back(std::move(option));
}

std::wstring Widen(const char* text) {
  const int units = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::wstring wide(static_cast<size_t>(std::max(units, 1)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), units);
  wide.resize(wide.size() - 1);
  return wide;
}

void CollectOptions(Facts& facts, CQV_JVMConfigInfo& config, const Listener& listener) {
  if (!facts.classPathBuilt) return;
  // Mapped without running any of its code; the boot class path wants to know where it lies.
  std::optional<LoadedLibrary> jvm;
  if (facts.runtime && facts.runtime->jvm.state == FileState::Sound) {
    jvm.emplace(facts.runtime->jvm.path, DONT_RESOLVE_DLL_REFERENCES);
  }
  g_inspectedJvm = jvm ? jvm->Get() : nullptr;
  config.m_pfnFindLoadedModule = FindInspectedJvm;
  JavaVMOption* options = nullptr;
  int32_t count = 0;
  facts.optionsBuilt = config.BuildJavaVMOptions(&options, &count, nullptr);
  for (int32_t i = 0; facts.optionsBuilt && i < count; ++i) {
    AddOption(facts, Widen(options[i].optionString), qv::SourceOfOption(i, listener.configuredOptions));
  }
  if (facts.optionsBuilt) qv::FreeOptions(options, count);
  for (const ClassPathEntry& entry : facts.classPath) CheckCodePage(facts, entry.path);
  if (facts.runtime) CheckCodePage(facts, facts.runtime->home);
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
      facts.log.state = LogState::NoFolder;
    } else if (!mayOpen(folder, FILE_ADD_FILE, FILE_FLAG_BACKUP_SEMANTICS)) {
      facts.log.state = LogState::FolderNotWritable;
    }
  } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    facts.log.state = LogState::IsFolder;
  } else if ((attributes & FILE_ATTRIBUTE_READONLY) != 0 || !mayOpen(facts.log.path, GENERIC_WRITE, 0)) {
    facts.log.state = LogState::NotWritable;
  }
}

// -- the host's file of settings --

void CollectSettingsFile(Facts& facts) {
  const std::filesystem::path path = std::filesystem::path(facts.question.hostFolder) / L"qvshr.ini";
  wchar_t own[32768];
  GetModuleFileNameW(nullptr, own, static_cast<DWORD>(std::size(own)));
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return;
  SettingsFile& file = facts.settingsFile.emplace();
  file.path = path.wstring();
  file.read = std::filesystem::equivalent(std::filesystem::path(own).parent_path(), facts.question.hostFolder, error);
  using GetBadLineFn = int32_t (*)(int32_t);
  using HasKeyFn = int32_t (*)(const wchar_t*);
  const HMODULE library = GetModuleHandleW(L"qvshr.dll");
  const auto badLine = qv::FindProcedure<GetBadLineFn>(library, "QvshrGetBadSettingsLine");
  const auto hasKey = qv::FindProcedure<HasKeyFn>(library, "QvshrHasApplicationKey");
  if (badLine == nullptr || hasKey == nullptr || !file.read) return;
  for (int32_t i = 0; const int32_t line = badLine(i); ++i) file.badLines.push_back(line);
  file.javaKey = hasKey(JavaKeyOf(facts.host).c_str()) == 1;
  file.options = hasKey(OptionKeyOf(facts.host).c_str()) == 1;
  file.properties = hasKey(PropertyKeyOf(facts.host).c_str()) == 1;
}

// -- the product's own libraries --

std::wstring FindHostLibrary(const Question& question) {
  for (const std::wstring& folder : {question.serviceFolder, question.hostFolder}) {
    std::wstring path = folder + L"\\qvshr.dll";
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return path;
  }
  std::wstring found(4096, L'\0');
  found.resize(SearchPathW(nullptr, L"qvshr.dll", nullptr, static_cast<DWORD>(found.size()), found.data(), nullptr));
  return found.empty() ? question.serviceFolder + L"\\qvshr.dll" : found;
}

// True when both are there, and the host library works.
bool CollectProducts(Facts& facts, LoadHost loadHost) {
  facts.products = {
      {.product = Product::HostLibrary, .library = InspectLibrary(FindHostLibrary(facts.question))},
      {.product = Product::Service, .library = InspectLibrary(facts.question.serviceFolder + L"\\qvjvm.dll")}};
  bool usable = true;
  for (ProductLibrary& each : facts.products) {
    each.version = FileVersion(each.library.path);
    // One of them under the other's name.
    const bool host = each.product == Product::HostLibrary;
    if (each.library.state == FileState::Sound && NameInside(each.library.path) == (host ? "qvjvm.dll" : "qvshr.dll")) {
      each.library.state = FileState::WrongKind;
    }
    usable = usable && each.library.state == FileState::Sound;
  }
  if (!usable) return false;
  ProductLibrary& host = facts.products[0];
  if (loadHost != nullptr) {
    const HostLibraryLoad load = loadHost(host.library.path);
    host.loadError = load.error;
    host.missingFunctions = load.missing;
    host.firstMissing = load.firstMissing;
  }
  return host.loadError == 0 && host.missingFunctions == 0;
}

// The service's code makes this lock before main, where the host library was not loaded yet.
void MakeConfigurationLock() {
  if (g_csConfigLoad != nullptr) return;
  if (void* const block = QvshrAlloc(sizeof(qv::CriticalSection))) g_csConfigLoad = new (block) qv::CriticalSection();
}

std::string Now() {
  SYSTEMTIME now = {};
  GetSystemTime(&now);
  char text[32];
  std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02uZ", now.wYear, now.wMonth, now.wDay, now.wHour,
                now.wMinute, now.wSecond);
  return text;
}

// Not GetVersionEx, which tells old programs what they want to hear.
std::string WindowsVersion() {
  using GetVersionFn = LONG(WINAPI*)(OSVERSIONINFOW*);
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  const auto getVersion = qv::FindProcedure<GetVersionFn>(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
  if (getVersion == nullptr || getVersion(&version) != 0) return {};
  return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
         std::to_string(version.dwBuildNumber);
}

}  // namespace

Facts Collect(const Question& question, LoadHost loadHost) {
  Facts facts;
  facts.question = question;
  if (facts.question.hostFolder.empty()) facts.question.hostFolder = question.serviceFolder;
  facts.time = Now();
  facts.windows = WindowsVersion();
  if (!CollectProducts(facts, loadHost)) return facts;
  // The service's code in this program looks for it by its name.
  const LoadedLibrary service(facts.products[1].library.path, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (service.Get() == nullptr) {
    facts.products[1].loadError = GetLastError();
    return facts;
  }
  MakeConfigurationLock();
  qv::OnModuleLoaded(GetModuleHandleW(nullptr));
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.Load()) return facts;
  facts.examined = true;
  Listener listener;
  config.m_pListener = &listener;
  CollectHost(facts, config);
  CollectSettings(facts);
  if (!facts.HostHasJvm()) {
    (void)config.LocateJavaRuntime();
    CollectCandidates(facts, listener.places);
  }
  facts.path = Variable(L"PATH").value_or(L"");
  if (!facts.HostHasJvm()) CollectRuntime(facts);
  CollectClassPath(facts, config);
  if (!facts.HostHasJvm()) CollectOptions(facts, config, listener);
  facts.origins = listener.origins;
  facts.messageBox = listener.messageBox;
  config.m_pListener = &qv::ServiceListener();
  CollectLog(facts, config);
  CollectSettingsFile(facts);
  return facts;
}

}  // namespace doctor
