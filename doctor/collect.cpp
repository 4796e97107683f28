#include "doctor/collect.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "config/folders.h"
#include "config/host_recognition.h"
#include "config/jvm_config_info.h"
#include "config/path_list.h"
#include "config/runtime_choice.h"
#include "config/runtime_locate.h"
#include "doctor/image_file.h"
#include "doctor/option_notes.h"
#include "service/process_events.h"
#include "store/config_store.h"
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

void CollectSettings(Facts& facts) {
  qv::HostText registered;
  const bool isRegistered = qv::ReadRegisteredHome(registered);
  facts.settings = {
      {SettingName::JavaHome, Variable(L"JAVA_HOME")},
      {SettingName::RegisteredHome, isRegistered ? std::optional(std::wstring(registered.View())) : std::nullopt},
      {SettingName::NotCurrentRuntime, qv::ReadCurrentRuntimeSetting().text},
      {SettingName::JdkLocation, JavaKeyValue(facts.host, qv::names::kJDKLocation)},
      {SettingName::JreBinLocation, JavaKeyValue(facts.host, qv::names::kJREBinLocation)},
      {SettingName::ClassPath, Variable(L"CLASSPATH")}};
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

void CollectRuntime(Facts& facts) {
  wchar_t found[4096];
  for (const wchar_t* const name : {L"jvm.dll", L"client\\jvm.dll"}) {
    if (SearchPathW(facts.path.c_str(), name, nullptr, 4096, found, nullptr) == 0) continue;
    // ...\bin\server\jvm.dll
    const std::filesystem::path bin = std::filesystem::path(found).parent_path().parent_path();
    const std::filesystem::path home = bin.parent_path();
    const std::filesystem::path lib = home / L"lib";
    Runtime& runtime = facts.runtime.emplace();
    runtime.jvm = InspectLibrary(found);
    runtime.home = home.wstring();
    runtime.version = ReleaseValue(home, "JAVA_VERSION");
    runtime.major = MajorOf(runtime.version);
    runtime.hasLib = std::filesystem::exists(lib);
    runtime.hasClassLibrary = std::filesystem::exists(lib / L"modules") || std::filesystem::exists(lib / L"rt.jar");
    runtime.hasJavaDll = std::filesystem::exists(bin / L"java.dll");
    return;
  }
}

// -- class path --

void CollectClassPath(Facts& facts, CQV_JVMConfigInfo& config) {
  qv::StringRef classPath;
  qv::PathList entries;
  facts.classPathBuilt = config.ComposeClassPath(classPath.Out()) && entries.TrySplit(qv::TextOf(classPath));
  entries.ForEach([&](const wchar_t* entry) { facts.classPath.push_back({entry, qv::FileExists(entry)}); });
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

void CheckCodePage(Facts& facts, const std::wstring& text) {
  BOOL lost = FALSE;
  const int bytes = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, &lost);
  if (bytes == 0 || lost != FALSE) facts.notInCodePage.push_back(text);
}

void AddOption(Facts& facts, std::wstring text, qv::OptionSource source) {
  Option option = {std::move(text), source, {}, false};
  if (const auto note = NoteFor(option.text, facts.runtime ? facts.runtime->major : std::nullopt)) {
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

void CollectOptions(Facts& facts, CQV_JVMConfigInfo& config, const Listener& listener) {
  if (!facts.classPathBuilt) return;
  // Mapped without running any of its code; the boot class path wants to know where it lies.
  std::optional<LoadedLibrary> jvm;
  if (facts.runtime && facts.runtime->jvm.machine == Machine::Right) {
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
  return facts;
}

}  // namespace doctor
