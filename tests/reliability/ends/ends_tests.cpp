// Processes that end while the JVM runs: by every way out, with idle and with busy threads. None hangs, none crashes
// unless a crash was the way, each keeps its exit code. Several at a time, each with a time limit of its own.
// QV_TEST_RUNTIME names the runtime of the installation; QV_TEST_ENDS says how often each is tried, instead of the
// number that belongs to this form of the test.
#include <algorithm>
#include <atomic>
#include <mutex>

#include "tests/support/child_process.h"
#include "tests/support/reliability.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr DWORD kExitCode = 87;
constexpr DWORD kAbortCode = 3;            // the C runtime's
constexpr DWORD kJvmAbortCode = 1;         // HotSpot's, whatever it gave up for
constexpr DWORD kFirstCrash = 0xC0000000;  // from here on a process was ended by an exception
// An assertion of Wine's own failed: rarely it confuses file handles when a process ends while its threads open files.
constexpr DWORD kWineAssertion = 0x80000101;

enum class Output { Exact, Free };    // whether the C runtime or the JVM adds words of its own
enum class Report { None, Written };  // of the JVM about its own end, in the current folder

struct WayOut {
  int number;  // its place in the table
  const char* test;
  std::string name;  // as the page shows it
  std::wstring way;
  DWORD exitCode = kExitCode;
  std::string output = "ending\n";
  Output compare = Output::Exact;
  Report report = Report::None;
  std::wstring jvmOptions = {};
  bool elsewhere = false;  // not from the main thread
};
void PrintTo(const WayOut& way, std::ostream* out) { *out << way.name; }

std::vector<WayOut> WaysOut() {
  const std::string detached = "ending\ndetached\n";
  const std::wstring noDump = L"-XX:-CreateCoredumpOnCrash";
  std::vector<WayOut> ways = {
      {1, "Return", "return from main", L"return"},
      {2, "ExitProcess", "ExitProcess", L"ExitProcess"},
      {4, "Exit", "exit of the C runtime", L"exit"},
      {6, "ExitProcessInADetach", "ExitProcess in a DLL's detach", L"detach-ExitProcess", kExitCode, detached},
      {7, "ExitInADetach", "exit of the C runtime in a DLL's detach", L"detach-exit", kExitCode, detached},
      {8, "ReleaseInADetach", "object released in a detach before the service's", L"release-before", kExitCode,
       detached},
      {9, "UseInADetach", "object used and released in a detach after the service's", L"use-after", kExitCode,
       detached},
      {10, "SystemExit", "System.exit in a call", L"System.exit"},
      {12, "Halt", "Runtime.halt in a call", L"halt"},
      {14, "Abort", "abort of the C runtime", L"abort", kAbortCode, "ending\n", Output::Free},
      {16, "FatalError", "JNI's FatalError", L"FatalError", kJvmAbortCode, "ending\n", Output::Free},
      {18, "Crash", "the JVM crashes in a call", L"crash", kJvmAbortCode, "ending\n", Output::Free, Report::Written,
       noDump},
      {20, "OutOfMemory", "out of memory with CrashOnOutOfMemoryError", L"out-of-memory", kJvmAbortCode, "ending\n",
       Output::Free, Report::Written, noDump + L" -Xmx32m -XX:+CrashOnOutOfMemoryError"},
      {21, "TerminateProcess", "TerminateProcess of itself", L"TerminateProcess"},
      {23, "Terminated", "TerminateProcess by another process", L"terminated"},
      {24, "ReadTextInADetach", "error text read in a detach, after threads that read it were ended", L"read-text",
       kExitCode, detached},
      {25, "ReturnDuringCallbacks", "return from main, Java's threads in callbacks", L"callbacks-return"},
      {26, "ExitProcessDuringCallbacks", "ExitProcess, Java's threads in callbacks", L"callbacks-ExitProcess"},
      {27, "ExitDuringCallbacks", "exit of the C runtime, Java's threads in callbacks", L"callbacks-exit"},
      {28, "SystemExitDuringCallbacks", "System.exit, Java's threads in callbacks", L"callbacks-System.exit"},
  };
  // Those that a thread of its own can go, too.
  for (const int number : {2, 4, 10, 12, 14, 16, 18, 21}) {
    WayOut way = *std::find_if(ways.begin(), ways.end(), [&](const WayOut& one) { return one.number == number; });
    ++way.number;
    way.name += ", not the main thread";
    way.elsewhere = true;
    ways.push_back(way);
  }
  return ways;
}

struct Tally {
  int ends = 0;
  int hung = 0;
  int crashed = 0;
  int otherCodes = 0;
  int lostByWine = 0;  // and repeated
  std::vector<std::string> troubles;
};

bool IsReport(const std::filesystem::path& file) {
  return file.filename().wstring().starts_with(L"hs_err_pid") && file.extension() == L".log";
}

// Before "ending" the JVM warns about its options.
std::string OutputSinceEnding(std::string text) {
  std::erase(text, '\r');
  text.erase(std::unique(text.begin(), text.end(), [](char left, char right) { return left == '\n' && right == '\n'; }),
             text.end());
  const size_t ending = text.find("ending\n");
  return ending != std::string::npos ? text.substr(ending) : std::string();
}

// One end, counted. False when there is nothing to count.
bool CountOneEnd(const WayOut& way, const std::wstring& load, Tally& tally, std::mutex& lock) {
  const TempFolder folder;
  ChildOptions options;
  options.arguments = {way.way, way.elsewhere ? L"other" : L"main", load, std::to_wstring(kExitCode)};
  options.workFolder = folder.Path();
  options.limitMs = 180000;
  // Later JVMs ask for the number of processors ever again, from any thread, and each time complain that Wine lacks a
  // function, in the middle of what the host prints.
  const std::wstring processors = std::to_wstring(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
  options.environment[L"JAVA_TOOL_OPTIONS"] = L"-XX:ActiveProcessorCount=" + processors + L" " + way.jvmOptions;
  const ChildResult child = RunChild(ProgramFolder() + L"\\end_host.exe", options);
  const std::string said = OutputSinceEnding(child.output);
  int reports = 0;
  int others = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder.Path()))
    ++(IsReport(file.path()) ? reports : others);
  const int wantedReports = way.report == Report::Written ? 1 : 0;

  std::string wrong;
  if (child.hung) wrong += "hung; ";
  if (!child.hung && child.exitCode != way.exitCode) wrong += "exit code " + std::to_string(child.exitCode) + "; ";
  if (way.compare == Output::Exact ? said != way.output : said.empty()) wrong += "printed something else; ";
  if (reports != wantedReports || others != 0) {
    wrong += std::to_string(reports) + " reports and " + std::to_string(others) + " other files left; ";
  }
  const std::lock_guard guard(lock);
  if (!child.hung && child.exitCode == kWineAssertion) {
    ++tally.lostByWine;
    return false;
  }
  ++tally.ends;
  if (child.hung) ++tally.hung;
  if (!child.hung && (child.exitCode >= kFirstCrash || reports > wantedReports)) ++tally.crashed;
  if (!child.hung && child.exitCode != way.exitCode) ++tally.otherCodes;
  if (!wrong.empty()) tally.troubles.push_back(wrong + "with " + ToUtf8(load) + " threads: " + child.output);
  return true;
}

// Every other one has busy threads, beginning with the first.
int NumberOfEnds(const std::wstring& runtime) {
  return static_cast<int>(TimesOfThisRun(L"QV_TEST_ENDS", 100, runtime == L"17" ? 2 : 1));
}

// The long form goes every way on every runtime. Each run does so with 17; with the others it goes the ways that are
// the JVM's own doing, and of the rest a sixth that is none of the other runtimes'.
bool IsOfThisRun(const WayOut& way, const std::wstring& runtime) {
  if (IsNightly() || runtime == L"17" || ReadVariable(L"QV_TEST_ENDS")) return true;
  if (way.exitCode == kJvmAbortCode || way.way.ends_with(L"System.exit") || way.way == L"halt") return true;
  return way.number % 6 == (runtime == L"11" ? 0 : runtime == L"21" ? 2 : 4);
}

class Ends : public testing::TestWithParam<WayOut> {};

TEST_P(Ends, NeitherHangNorCrashAndKeepTheirExitCode) {
  const std::wstring runtime = ReadVariable(L"QV_TEST_RUNTIME").value_or(L"?");
  if (!IsOfThisRun(GetParam(), runtime)) GTEST_SKIP() << "in the long form, and with another runtime";
  const int ends = NumberOfEnds(runtime);
  std::atomic<int> begun = 0;
  Tally tally;
  std::mutex lock;
  OnThreads(4, [&](int) {
    for (int number = begun++; number < ends; number = begun++) {
      const wchar_t* const load = number % 2 == 0 ? L"busy" : L"idle";
      for (int attempt = 0; attempt < 3 && !CountOneEnd(GetParam(), load, tally, lock); ++attempt) continue;
    }
  });

  const std::string of = " of " + std::to_string(tally.ends);
  EXPECT_EQ(tally.ends, ends);
  EXPECT_EQ(tally.hung, 0) << of;
  EXPECT_EQ(tally.crashed, 0) << of;
  EXPECT_TRUE(tally.troubles.empty()) << tally.troubles.size() << of
                                      << " went wrong, the first: " << tally.troubles.front();
  const std::string code = std::to_string(GetParam().exitCode);
  const std::string lost = tally.lostByWine == 0 ? "" : " and " + std::to_string(tally.lostByWine) + " that Wine lost";
  RecordRow("process-ends", std::to_string(GetParam().number) + " " + ToUtf8(runtime),
            {GetParam().name, std::to_string((ends + 1) / 2) + " × busy, " + std::to_string(ends / 2) + " × idle",
             ToUtf8(runtime), std::to_string(tally.ends) + lost, tally.hung, tally.crashed,
             tally.otherCodes == 0 ? code : code + ", but " + std::to_string(tally.otherCodes) + " others"});
}

INSTANTIATE_TEST_SUITE_P(Ways, Ends, testing::ValuesIn(WaysOut()), [](const auto& row) {
  return row.param.test + std::string(row.param.elsewhere ? "Elsewhere" : "");
});

}  // namespace
}  // namespace qvtest
