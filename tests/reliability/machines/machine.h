// A machine that is broken in one way, and what the start-up makes of it: the world around a host program (an
// installation, a runtime of its own, environment, registry), the break with its repair, and the expectation.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <ostream>
#include <utility>

#include "base/handle.h"
#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"

namespace qvtest {

// A host program: its file name, what the service takes it for, and where its settings are.
struct Host {
  enum Kind { Unknown, Known, JavaProgram };

  const wchar_t* name;
  Kind kind;
  const wchar_t* root;
};
inline constexpr Host kUnknownHost{L"report.exe", Host::Unknown, kQuovantRoot};
inline constexpr Host kQuovantHost{L"qv190.exe", Host::Known, kQuovantRoot};
inline constexpr Host kTableroHost{L"tk190.exe", Host::Known, kTableroRoot};
inline constexpr Host kJavaHost{L"javaw.exe", Host::JavaProgram, kLoomhallRoot};

inline const std::wstring kJavaSoft = L"Software\\JavaSoft\\Java Runtime Environment";

using Bytes = std::vector<unsigned char>;
// UTF-16 without a terminating null.
Bytes Unterminated(std::wstring_view text);

// A sound machine until it is broken. Each break brings its own repair, which the host is given between its two calls.
class World : private Pinned {
 public:
  World(int runtime, const Host& host);
  ~World();

  // ---- the runtime ----
  // Makes a runtime that may be broken and uses it from now on (JAVA_HOME, the settings of a known host). Breaking a
  // file makes one by itself.
  std::wstring OwnRuntime() { return OwnRuntimeAt(folder.Path(L"java")); }
  std::wstring OwnRuntimeAt(const std::wstring& place);
  void MakeRuntime(const std::wstring& place) const;
  [[nodiscard]] static std::wstring InstalledRuntime(int version);
  [[nodiscard]] std::wstring JvmDll() const { return runtime + L"\\bin\\server\\jvm.dll"; }

  // ---- files, below the runtime in use ----
  void Remove(const std::wstring& relative);
  void Replace(const std::wstring& relative, const std::string& content);
  void ReplaceByFolder(const std::wstring& relative);
  void Copy(const std::wstring& source, const std::wstring& relative);
  // Nobody else can open the file.
  void Lock(const std::wstring& relative);

  // ---- environment, registry, arguments ----
  void Variable(const std::wstring& name, const std::optional<std::wstring>& value) { environment[name] = value; }
  // A break of the environment that is repaired: `sound` is what the host sets before its second call.
  void Break(const std::wstring& name, const std::optional<std::wstring>& value,
             const std::optional<std::wstring>& sound);
  // A JAVA_HOME that leads to no runtime until it is repaired.
  void BreakHome(const std::optional<std::wstring>& home) {
    Break(L"JAVA_HOME", home, runtime);
    NotFound();
  }
  // The key of the folders, and the lists below it.
  [[nodiscard]] std::wstring ProductKey() const { return std::wstring(host.root) + L"\\Java"; }
  [[nodiscard]] std::wstring ConfigKey(const std::wstring& list) const;
  // Sound settings in the registry. A known host has them from the start.
  void Configure();
  void ConfigureFolders() { registry.SetLocations(host.root, runtime, runtime + L"\\bin\\server"); }
  // For a break of these settings, which Configure repairs.
  RegistrySandbox& Spoil();
  void Options(const std::vector<std::wstring>& options);
  void Argument(const std::wstring& name, const std::wstring& value) { arguments.emplace_back(name, value); }

  // ---- what PATH begins with after the calls; without a front it is as it was ----
  void PathFront(const std::wstring& begin) { front = frontAfterRepair = begin; }
  void NotFound() { front.clear(); }

  // How machine_host.exe is started on this machine, and what the JVM wrote to its log.
  [[nodiscard]] std::wstring Program() const { return InstallFolder() + L"\\" + host.name; }
  [[nodiscard]] ChildOptions Child() const;
  [[nodiscard]] std::string Log() const;
  [[nodiscard]] std::wstring InstallFolder() const { return folder.Path(L"host"); }

  const int version;
  const Host host;
  TempFolder folder;
  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
  std::wstring runtime;  // the one in use
  std::wstring front;
  std::wstring frontAfterRepair;
  std::wstring workFolder;  // where the program starts
  std::map<std::wstring, std::optional<std::wstring>> environment;
  std::vector<std::pair<std::wstring, std::wstring>> arguments;
  std::vector<std::function<void()>> repairs;

 private:
  void UseRuntime(const std::wstring& home);

  std::vector<qv::Handle> m_locked;
  bool m_ownRuntime = false;
  int m_hidden = 0;
};

// The lines of JSON that the host program printed; every other line is added to `others`.
std::vector<nlohmann::json> ReportsIn(const std::string& output, std::string* others = nullptr);

// What the first call gives.
enum class First { Starts, Fails, EndsTheProcess };

// What the call after the repair gives, and why.
enum class Second {
  NotCalled,        // nothing was broken enough, or the process is gone
  Starts,           //
  NotTriedAgain,    // a library that did not load is not looked for again
  WrongLibrary,     // a library is loaded, and it is none of a JVM
  OptionKept,       // the JVM keeps what it understood of the options before
  EnvironmentKept,  // the JVM's C library keeps the environment that it found when it was loaded
};

using Break = std::function<void(World&)>;

struct Machine {
  const char* name;
  Break breakIt;
  First first;
  Second second = Second::NotCalled;
  std::string says{};     // what the JVM's log must hold
  const char* note = "";  // for the page: what a reader could not guess
  uint32_t boxes = 0;     // message boxes of the first call
  Host host = kUnknownHost;
  bool dependsOnRuntime = false;  // what happens is the runtime's doing: measured with all of them
  int startsFrom = 1000;          // from this Java on nothing is missed
  bool everyRun = true;           // else in the long form alone

  friend void PrintTo(const Machine& machine, std::ostream* out) { *out << machine.name; }
};

// The service finds a jvm.dll, or none, and the system cannot load it.
inline Machine NotLoaded(const char* name, Break breakIt) {
  return {.name = name, .breakIt = std::move(breakIt), .first = First::Fails, .second = Second::NotTriedAgain};
}
// The JVM is created, says why it cannot start and ends the process.
inline Machine Ended(const char* name, Break breakIt, int startsFrom = 1000) {
  return {.name = name,
          .breakIt = std::move(breakIt),
          .first = First::EndsTheProcess,
          .dependsOnRuntime = true,
          .startsFrom = startsFrom};
}
// Nothing is missed.
inline Machine Works(const char* name, Break breakIt, const char* note = "", const Host& host = kUnknownHost) {
  return {.name = name, .breakIt = std::move(breakIt), .first = First::Starts, .note = note, .host = host};
}
// What happens is the runtime's doing: measured with each.
inline Machine OnEach(Machine machine) {
  machine.dependsOnRuntime = true;
  return machine;
}

// In the long form alone: another machine of the same kind is there in every run, and what the service makes of this
// one's value is a unit test's.
inline Machine Rarely(Machine machine) {
  machine.everyRun = false;
  return machine;
}

// Breaks of one step.
inline Break Remove(const wchar_t* relative) {
  return [=](World& world) { world.Remove(relative); };
}
inline Break Replace(const wchar_t* relative, const std::string& content) {
  return [=](World& world) { world.Replace(relative, content); };
}
inline Break Options(const std::vector<std::wstring>& options) {
  return [=](World& world) { world.Options(options); };
}
inline Break Variable(const wchar_t* name, const std::optional<std::wstring>& value) {
  return [=](World& world) { world.Variable(name, value); };
}
inline Break Argument(const wchar_t* name, const std::wstring& value) {
  return [=](World& world) { world.Argument(name, value); };
}
inline Break ClassPath(const std::wstring& path) { return Argument(L"classpath", path); }
inline Break WorkFolder(const std::wstring& path) {
  return [=](World& world) { world.workFolder = path; };
}
inline void NotFound(World& world) { world.NotFound(); }
// One after the other.
inline Break operator+(const Break& first, const Break& second) {
  return [=](World& world) {
    first(world);
    second(world);
  };
}

// Breaks, runs, repairs, compares, and records the row; `order` is its place in the table.
void RunMachine(const Machine& machine, const std::string& order);

// A group of machines as a suite of tests; `chapter` is where its rows stand in the table.
#define QV_MACHINES(suite, chapter, machines)                                                       \
  class suite : public testing::TestWithParam<size_t> {};                                           \
  TEST_P(suite, BehavesAsExpected) {                                                                \
    RunMachine((machines)[GetParam()], std::to_string(chapter) + "." + std::to_string(GetParam())); \
  }                                                                                                 \
  INSTANTIATE_TEST_SUITE_P(Machines, suite, testing::Range(size_t{0}, std::size(machines)),         \
                           [](const auto& one) { return TestName((machines)[one.param].name); })

std::string TestName(std::string_view machine);

}  // namespace qvtest
