// One machine: the host program in a process of its own, the repair between its two calls, the comparison, the row.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/reliability/machines/machine.h"
#include "tests/support/reliability.h"
#include "tests/support/text.h"
#include "tests/support/threads.h"

namespace qvtest {

using nlohmann::json;

namespace {

constexpr int32_t kFail = static_cast<int32_t>(0x80004005);

// The host's exit codes.
constexpr DWORD kRuns = 5;
constexpr DWORD kNeverRan = 6;
constexpr DWORD kRunsAfterReloading = 7;

// How a JVM says that it ends the process; after the first two the reason follows in a line of its own.
const std::string kLastWords[] = {"Error occurred during initialization of VM",
                                  "Error occurred during initialization of boot layer",
                                  "There is insufficient memory for the Java Runtime Environment to continue",
                                  "A fatal error has been detected by the Java Runtime Environment"};

// The line in which the JVM says why it gives up, without the names of this run's folders; empty when it does not.
std::string LastWords(std::string text, const std::string& folder) {
  for (const std::string& words : kLastWords) {
    size_t at = text.find(words);
    if (at == std::string::npos) continue;
    if (words.starts_with("Error occurred")) at = text.find_first_not_of("\r\n", at + words.size());
    text = text.substr(at, text.find_first_of("\r\n", at) - at);
    for (size_t place = text.find(folder); place != std::string::npos; place = text.find(folder)) {
      text.replace(place, folder.size() + 1, "");
    }
    // Names outside ASCII come out of some JVMs as nothing that can be read.
    const auto foreign =
        std::find_if(text.begin(), text.end(), [](char unit) { return static_cast<unsigned char>(unit) >= 0x80; });
    text.erase(foreign, text.end());
    return text.size() <= 90 ? text : text.substr(0, text.rfind(' ', 90)) + " …";
  }
  return "";
}

// What a row of the page says; equal rows of several runtimes are one.
struct Row {
  struct Told {
    std::string result;
    std::string process;
    std::string left;
    std::string after;
    friend bool operator==(const Told&, const Told&) = default;
  } told{};
  std::vector<int> runtimes{};
  std::optional<uint64_t> ms{};
};

const char* Why(Second second) {
  switch (second) {
    case Second::NotTriedAgain:
      return "fails, a library is tried once; starts with the service loaded anew";
    case Second::WrongLibrary:
      return "fails, the wrong library is loaded; starts with the service loaded anew";
    case Second::OptionKept:
      return "fails, the JVM keeps the option";
    case Second::EnvironmentKept:
      return "fails, the JVM's C library keeps the environment";
    case Second::Starts:
      return "starts";
    case Second::NotCalled:
      break;
  }
  return "-";
}

}  // namespace

class MachineRun {
 public:
  MachineRun(const Machine& machine, int runtime)
      : m_machine(machine),
        m_first(runtime >= machine.startsFrom ? First::Starts : machine.first),
        m_world(runtime, machine.host) {}

  Row Run() {
    Row row{.runtimes = {m_world.version}};
    m_machine.breakIt(m_world);
    m_oldPath = m_world.environment[L"PATH"];
    RunHost();
    EXPECT_FALSE(m_child.hung);
    m_lines = ReportsIn(m_child.output);
    EXPECT_FALSE(m_lines.empty()) << "exit code " << m_child.exitCode << "\n" << m_child.output;
    if (m_lines.empty()) return row;
    m_log = m_world.Log();
    row.told.after = Why(m_machine.second);
    CheckFirst(row);
    if (!testing::Test::HasFatalFailure()) CheckSecond();
    if (!testing::Test::HasFatalFailure()) CheckLeft(row);
    if (m_first != First::Starts) {
      EXPECT_THAT(m_log + m_child.output, testing::HasSubstr(m_machine.says));
    }
    if (testing::Test::HasFailure()) {
      row.told.after = "failed";
      ADD_FAILURE() << "Java " << m_world.version << "\n" << m_child.output << "\n" << m_log.substr(0, 2000);
    }
    return row;
  }

 private:
  [[nodiscard]] bool CallsTwice() const { return m_machine.second != Second::NotCalled; }

  // Whether a JVM's own code ran.
  [[nodiscard]] bool HadJvm() const {
    return m_machine.second == Second::OptionKept || m_machine.second == Second::EnvironmentKept;
  }

  // Whether the service is loaded anew at the end: in the short form not after every library that did not load.
  [[nodiscard]] bool Reloads() const {
    return m_machine.second == Second::WrongLibrary || (m_machine.second == Second::NotTriedAgain && IsNightly());
  }

  void RunHost() {
    const std::wstring name = L"qvtests-" + std::to_wstring(GetCurrentProcessId());
    const Event asked((name + L".asked").c_str());
    const Event done((name + L".done").c_str());
    const Event ended;
    ChildOptions options = m_world.Child();
    if (CallsTwice()) options.arguments.insert(options.arguments.end(), {L"repair", name});
    if (Reloads()) options.arguments.insert(options.arguments.end(), {L"reload", L"1"});
    const HostThread host([&] {
      m_child = RunChild(m_world.Program(), options);
      ended.Set();
    });
    const HANDLE either[] = {ended.Handle(), asked.Handle()};
    if (WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      for (auto step = m_world.repairs.rbegin(); step != m_world.repairs.rend(); ++step) (*step)();
      done.Set();
    }
  }

  [[nodiscard]] std::string PathWith(const std::wstring& front) const {
    if (!m_oldPath || m_oldPath->empty()) {
      // Discovery writes its separator always, the configured folders none at the end.
      if (front.empty()) return m_oldPath ? "" : "<none>";
      return ToUtf8(m_world.host.kind == Host::Known ? front.substr(0, front.size() - 1) : front);
    }
    return ToUtf8(front + *m_oldPath);
  }

  void CheckCall(const json& call, int32_t status, const std::wstring& front) {
    EXPECT_EQ(call.value("status", -1), status);
    EXPECT_EQ(call.value("path", "?"), PathWith(front));
    EXPECT_EQ(call.value("dllFolder", "?"), m_lines[0].value("dllFolder", "??"));
    EXPECT_EQ(call.value("outUntouched", false), status != 0);
    if (status == 0) {
      EXPECT_EQ(call.value("java", "").substr(0, 2), std::to_string(m_world.version));
    }
  }

  void CheckFirst(Row& row) {
    if (m_first == First::EndsTheProcess) {
      EXPECT_EQ(m_lines.size(), 1u) << "the call came back";
      EXPECT_EQ(m_child.exitCode, 1u);
      row.told.result = "-";
      const std::string folder = ToUtf8(m_world.folder.Path());
      const std::string inLog = LastWords(m_log, folder);
      const std::string onConsole = LastWords(m_child.output, folder);
      EXPECT_FALSE(inLog.empty() && onConsole.empty()) << "the JVM did not say why";
      row.told.process =
          "ended by the JVM with 1, " + (inLog.empty() ? "on the console: " + onConsole : "in the log: " + inLog);
      return;
    }
    ASSERT_GE(m_lines.size(), 2u) << "the call did not come back; exit code " << m_child.exitCode << "\n" << m_log;
    const bool starts = m_first == First::Starts;
    CheckCall(m_lines[1], starts ? 0 : kFail, m_world.front);
    EXPECT_EQ(m_lines[1].value("boxes", 99u), m_machine.boxes);
    const int32_t status = m_lines[1].value("status", -1);
    row.told.result = status == 0 ? "S_OK" : status == kFail ? "E_FAIL" : std::to_string(status);
    row.told.process = "goes on";
    row.ms = m_lines[1].value("ms", uint64_t{0});
  }

  void CheckSecond() {
    if (!CallsTwice()) return;
    ASSERT_GE(m_lines.size(), 3u) << "the second call did not come back; exit code " << m_child.exitCode;
    const bool starts = m_machine.second == Second::Starts;
    const std::wstring& front = m_world.front.empty() ? m_world.frontAfterRepair : m_world.front;
    CheckCall(m_lines[2], starts ? 0 : kFail, front);
  }

  // By the first call, as long as the service stays.
  [[nodiscard]] std::string LeftBehind() const {
    if (m_first == First::Starts) return "the JVM";
    const bool library = m_lines.at(1).value("library", false);
    if (m_world.front.empty()) return library ? "the library" : "nothing";
    return library ? "PATH, the library" : "PATH";
  }

  // Nothing, when the start-up got to no JVM: the service is unloaded, and with it everything that it had.
  void CheckLeft(Row& row) {
    const bool running = m_first == First::Starts || m_machine.second == Second::Starts;
    if (m_first == First::EndsTheProcess) {
      row.told.left = "-";
      return;
    }
    EXPECT_EQ(m_child.exitCode, running ? kRuns : Reloads() ? kRunsAfterReloading : kNeverRan);
    row.told.left = LeftBehind();
    if (running) return;
    const size_t at = CallsTwice() ? 3 : 2;
    ASSERT_GT(m_lines.size(), at);
    const json& left = m_lines[at];
    EXPECT_EQ(left.value("errors", 99u), 0u);
    // A JVM that has the addresses of the hooks keeps the service, and with it all that it had.
    EXPECT_EQ(left.value("service", !HadJvm()), HadJvm());
    EXPECT_EQ(left.value("library", !HadJvm()), HadJvm());
    if (HadJvm()) {
      row.told.left += ", the service, handles of the JVM's own";
      return;
    }
    // The lock of the configuration's load, which is never deleted.
    EXPECT_EQ(left.value("blocks", 99u), 1u);
    for (const char* what : {"strings", "keys"}) EXPECT_EQ(left.value(what, 99u), 0u) << what;
    EXPECT_EQ(left.value("handles", 99), 0);
  }

  const Machine& m_machine;
  First m_first;
  World m_world;
  ChildResult m_child;
  std::optional<std::wstring> m_oldPath;
  std::vector<json> m_lines;
  std::string m_log;
};

void RunMachine(const Machine& machine, const std::string& order) {
  if (!machine.everyRun && !IsNightly()) GTEST_SKIP() << "in the long form";
  std::vector<int> runtimes = {17};
  if (machine.dependsOnRuntime && IsNightly()) runtimes = {11, 17, 21, 25};
  std::vector<Row> rows;
  for (const int runtime : runtimes) {
    const Row row = MachineRun(machine, runtime).Run();
    const auto same = std::find_if(rows.begin(), rows.end(), [&](const Row& other) { return row.told == other.told; });
    if (same == rows.end()) {
      rows.push_back(row);
    } else {
      same->runtimes.push_back(runtime);
      same->ms = std::max(same->ms, row.ms);
    }
  }
  for (const Row& row : rows) {
    std::string name = machine.name;
    if (rows.size() > 1) {
      name += ", Java";
      for (const int runtime : row.runtimes)
        name += (runtime == row.runtimes[0] ? " " : ", ") + std::to_string(runtime);
    }
    if (*machine.note != '\0') name += std::string(" (") + machine.note + ")";
    RecordRow("machines", order + "." + std::to_string(row.runtimes[0]),
              {name, row.told.result, row.told.process, row.told.left, row.told.after,
               row.ms ? std::to_string(*row.ms) + " ms" : "-"});
  }
}

std::string TestName(std::string_view machine) {
  std::string name;
  bool upper = true;
  for (const char letter : machine) {
    const bool word = std::isalnum(static_cast<unsigned char>(letter)) != 0;
    if (word) name += upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
    upper = !word;
  }
  return name;
}

}  // namespace qvtest
