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
  std::wstring host;           // file name of the host's executable, as given
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

enum class SettingName { JavaHome, RegisteredHome, NotCurrentRuntime, JdkLocation, JreBinLocation, ClassPath };

struct Setting {
  SettingName name;
  std::optional<std::wstring> value;  // none: not there
};

enum class Machine { Missing, Unreadable, NotAnImage, Wrong, Right };

struct Library {
  std::wstring path;
  Machine machine = Machine::Missing;
  std::wstring architecture;  // "x64", "x86", "ARM64", ...; empty when it cannot be told
};

struct Candidate {
  Library library;
  qv::RuntimeSource source;
  qv::RuntimeVerdict verdict;  // the service's

  // Configured locations are taken by the service without a look.
  [[nodiscard]] bool Chosen() const {
    return verdict == qv::RuntimeVerdict::Taken && library.machine != Machine::Missing;
  }
};

// The runtime of the jvm.dll that would be loaded.
struct Runtime {
  Library jvm;
  std::wstring home;
  std::wstring version;  // of its release file
  std::optional<int> major;
  bool hasLib = false;
  bool hasClassLibrary = false;
  bool hasJavaDll = false;
};

struct ClassPathEntry {
  std::wstring path;
  bool exists = false;
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

enum class Severity { Problem, Warning };

struct Finding {
  Severity severity = Severity::Problem;
  std::wstring cause;
  std::wstring remedy;
};

struct StartResult {
  std::wstring outcome;
  bool started = false;
  std::vector<std::wstring> output;   // what HotSpot and the child printed
  std::vector<std::wstring> logTail;  // the end of the JVM log
};

struct Facts {
  Question question;
  Host host;
  std::vector<Setting> settings;
  std::vector<Candidate> candidates;  // in the order of the search
  std::wstring path;                  // the process's PATH as the service would set it
  std::optional<Runtime> runtime;     // what loading "jvm.dll" would take
  std::wstring messageBox;            // the text of the box that the start-up would show
  bool classPathBuilt = false;
  std::vector<ClassPathEntry> classPath;
  bool optionsBuilt = false;
  ListOrigins origins;
  std::vector<Option> options;
  std::vector<std::wstring> notInCodePage;
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
