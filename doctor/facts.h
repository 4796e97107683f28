// What the doctor found out, as plain data: collected once, judged, then printed as text or JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace doctor {

struct Question {
  std::wstring host;           // file name of the host's executable, as given
  bool joined = false;         // the host runs a JVM of its own
  std::wstring serviceFolder;  // where qvjvm.dll lies
};

struct Host {
  std::wstring kind;  // "Quovant", "Tablero", "Java launcher", "unknown"
  bool known = false;
  bool launcher = false;
  std::wstring registryRoot;
  bool rootExists = false;
};

// A setting and where it came from.
struct Setting {
  std::wstring name;
  std::optional<std::wstring> value;  // none: not there
  std::wstring origin;                // "registry HKLM\...", "environment", "default tree", "host setting"
};

enum class Machine { Missing, Unreadable, NotAnImage, Wrong, Right };

struct Library {
  std::wstring path;
  Machine machine = Machine::Missing;
  std::wstring architecture;  // "x64", "x86", "ARM64", ...; empty when it cannot be told
};

struct Candidate {
  Library library;
  std::wstring origin;  // "JAVA_HOME", "registry", "beside the service", "configured JREBinLocation"
  std::wstring verdict;
  bool chosen = false;
};

struct ClassPathEntry {
  std::wstring path;
  bool exists = false;
};

struct Option {
  std::wstring text;
  std::wstring origin;
  std::wstring note;   // what this runtime does with it, where that is worth a word
  bool fatal = false;  // this runtime refuses it and does not start
};

struct Log {
  std::wstring path;
  std::wstring problem;  // empty: it can be written
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
  std::vector<Candidate> candidates;
  bool discoverySucceeded = false;
  std::wstring path;           // the process's PATH as the service would set it
  std::optional<Library> jvm;  // what loading "jvm.dll" would take
  std::optional<int> javaMajor;
  std::wstring javaVersion;  // of the runtime's release file
  std::wstring messageBox;   // the text of the box that the start-up would show
  bool classPathBuilt = false;
  std::vector<ClassPathEntry> classPath;
  bool optionsBuilt = false;
  std::vector<Option> options;
  std::vector<std::wstring> notInCodePage;
  Log log;
  std::vector<Finding> findings;
  std::optional<StartResult> start;

  // A Java launcher's process has a JVM of its own; the service joins it.
  [[nodiscard]] bool HostHasJvm() const { return question.joined || host.launcher; }
};

}  // namespace doctor
