// What the doctor found out, as plain data: collected once, judged without a look at the machine, then printed as text
// or JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/decisions.h"
#include "store/option_plan.h"

namespace doctor {

struct Question {
  std::wstring host;           // file name of the host's executable
  std::wstring hostFolder;     // where it lies; empty: the service's folder
  bool joined = false;         // the host runs a JVM of its own
  std::wstring serviceFolder;  // where qvjvm.dll lies
};

enum class HostKind { Unknown, Quovant, Tablero, JavaLauncher };

struct Host {
  HostKind kind = HostKind::Unknown;
  std::wstring registryRoot;
  bool rootExists = false;

  [[nodiscard]] bool Known() const { return kind != HostKind::Unknown; }
};

enum class SettingName {
  JavaHome,
  RegisteredVersion,
  RegisteredHome,
  NotCurrentRuntime,
  JdkLocation,
  JreBinLocation,
  ClassPath,
  ToolOptions,      // JAVA_TOOL_OPTIONS, which every JVM reads
  LateOptions,      // _JAVA_OPTIONS, which HotSpot reads after its options
  LauncherOptions,  // JDK_JAVA_OPTIONS, which java.exe alone reads
};

struct Setting {
  SettingName name;
  std::optional<std::wstring> value;  // none: not there
};

// What a look at a file says. WrongKind: it is something else than its name says.
enum class FileState { Missing, Unreadable, Empty, Truncated, WrongKind, WrongArchitecture, Sound };

struct Library {
  std::wstring path;
  FileState state = FileState::Missing;
  std::wstring architecture;  // "x64", "x86", "ARM64", ...; empty when it cannot be told
};

// The product's own two libraries. The second may be the host product's.
enum class Product { Service, HostLibrary };

struct ProductLibrary {
  Product product;
  Library library;
  std::wstring version{};    // of its resource
  uint32_t loadError = 0;    // what Windows said when it was loaded
  int missingFunctions = 0;  // that the service calls and it lacks
  int firstMissing = 0;      // the ordinal of the first
};

// qvshr.ini beside the host. The host library reads the one beside the program that runs, so a doctor elsewhere does
// not.
struct SettingsFile {
  std::wstring path;
  bool read = false;
  std::vector<int> badLines{};  // that the host library skipped
  // Which of the keys that the service reads stand in it, and so in place of the registry's.
  bool javaKey = false;
  bool options = false;
  bool properties = false;
};

struct Candidate {
  Library library;
  qv::RuntimeSource source;
  qv::RuntimeVerdict verdict;  // the service's

  // Configured locations are taken by the service without a look.
  [[nodiscard]] bool Chosen() const {
    return verdict == qv::RuntimeVerdict::Taken && library.state != FileState::Missing;
  }
};

// A file of the runtime. Those that every start needs are listed also when they are missing; of the others those that
// are not sound.
struct RuntimePart {
  std::wstring path;
  FileState state = FileState::Missing;
  std::wstring architecture;
  bool needed = false;
};

// The runtime of the jvm.dll that would be loaded.
struct Runtime {
  Library jvm;
  std::wstring home;
  std::wstring version;  // of its release file
  std::optional<int> major;
  bool hasLib = false;
  std::vector<RuntimePart> parts;
  std::vector<Library> foreign;  // libraries of its names that lie where the system looks first
};

struct ClassPathEntry {
  std::wstring path;
  FileState state = FileState::Missing;
  bool builtIn = false;  // of the built-in list, or a configured JDK's
  uint64_t content = 0;  // the same for the same content; 0: not known

  [[nodiscard]] bool Exists() const { return state != FileState::Missing; }
};

struct Option {
  std::wstring text;
  qv::OptionSource source = qv::OptionSource::Service;
  std::wstring note;   // what this runtime does with it, where that is worth a word
  bool fatal = false;  // this runtime refuses it and does not start
};

// Where the two lists of options came from.
struct ListOrigins {
  qv::KeyOrigin options = qv::KeyOrigin::Registry;
  qv::KeyOrigin properties = qv::KeyOrigin::Registry;
};

enum class LogState { Writable, NoFolder, FolderNotWritable, IsFolder, NotWritable };

struct Log {
  std::wstring path;
  LogState state = LogState::Writable;
};

enum class Severity { Problem, Warning, Note };

// Each with its name in texts.cpp, in this order. The names are for scripts: they stay.
enum class FindingId {
  ProductMissing,
  ProductDamaged,
  ProductArchitecture,
  ProductUnreadable,
  ProductVersion,
  ProductNotLoaded,
  JavaHome,
  RegisteredRuntime,
  CurrentRuntimeOff,
  HostSettingsMissing,
  SettingsLine,
  SettingsNotRead,
  LocationMissing,
  LocationEmpty,
  RuntimeMissing,
  RuntimeArchitecture,
  RuntimeDamaged,
  RuntimeUnreadable,
  RuntimeIncomplete,
  RuntimeOld,
  ForeignLibrary,
  SettingMissing,
  ClassPathFailed,
  ClassPathMissing,
  ClassPathDamaged,
  ClassPathEqual,
  ClassPathSyntax,
  OptionsFailed,
  OptionRefused,
  OptionVariable,
  JavaInterpreted,
  CodePage,
  LogLost,
  StartRefused,
  StartFailed,
};

struct Finding {
  FindingId id = FindingId::StartFailed;
  Severity severity = Severity::Problem;
  std::wstring cause;
  std::wstring remedy;
};

struct StartStep {
  std::string name;
  uint64_t beginMs = 0;  // since the trial began
  uint64_t endMs = 0;
};

struct StartResult {
  std::wstring outcome;
  bool started = false;
  std::vector<StartStep> steps{};     // those that came to an end
  std::vector<std::wstring> output;   // what HotSpot and the child printed
  std::vector<std::wstring> logTail;  // the end of the JVM log
};

struct Facts {
  Question question;
  std::string time;     // of this examination, ISO 8601, UTC
  std::string windows;  // "10.0.19045"
  std::vector<ProductLibrary> products;
  bool examined = false;  // the service could be asked; else nothing below is known
  Host host;
  std::vector<Setting> settings;
  std::optional<SettingsFile> settingsFile;
  std::vector<Candidate> candidates;  // in the order of the search
  std::wstring path;                  // the process's PATH as the service would set it
  std::optional<Runtime> runtime;     // what loading "jvm.dll" would take
  std::wstring messageBox;            // the text of the box that the start-up would show
  bool classPathBuilt = false;
  std::vector<ClassPathEntry> classPath;
  bool optionsBuilt = false;
  ListOrigins origins;
  std::vector<Option> options;
  std::vector<std::wstring> notInCodePage;  // folders, each once
  Log log;
  std::vector<Finding> findings;
  std::optional<StartResult> start;

  // A Java launcher's process has a JVM of its own; the service joins it.
  [[nodiscard]] bool HostHasJvm() const { return question.joined || host.kind == HostKind::JavaLauncher; }
  // Null when it is not there.
  [[nodiscard]] const std::wstring* ValueOf(SettingName name) const {
    for (const Setting& setting : settings) {
      if (setting.name == name && setting.value) return &*setting.value;
    }
    return nullptr;
  }
};

}  // namespace doctor
