// Every call that the service makes outside itself fails in turn, in every operation that reaches it: its first, its
// second and its last call. The operation ends as its row says, what it had is given back, and the next one works.
#include <algorithm>
#include <map>

#include "tests/reliability/faults/expectations.h"
#include "tests/reliability/faults/scenario.h"
#include "tests/reliability/faults/tally.h"
#include "tests/startup/whole_options.h"
#include "tests/support/process_counters.h"
#include "tests/support/watchdog.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

struct Ending {
  int32_t status = 0;
  int32_t next = 0;
  Strings options;  // of the JVM that the operation created
  size_t created = 0;
  size_t attached = 0;
  int boxes = 0;
  bool pathWhole = false;
  bool pathKept = false;
  bool dllFolderKept = false;
  bool errorModeKept = false;
  int64_t blocksLeft = 0;
  uint64_t heapErrors = 0;
  int64_t objectsLeft = 0;
  int64_t handlesLeft = 0;
};

// Which rows the calls of a run can be the last of: "1", "2", "last", each once.
std::set<uint64_t> Occurrences(uint64_t count) { return {1, std::min<uint64_t>(2, count), count}; }

bool Fits(std::string_view pattern, std::string_view text) { return pattern == "*" || text == pattern; }

bool Fits(const Expectation& row, const Scenario& scenario, const Point& point, uint64_t n, bool last,
          const std::string& purpose) {
  const bool which = row.which == 0 || (row.which == kLast ? last : n == static_cast<uint64_t>(row.which));
  const bool where = row.scenario == "*" || scenario.name.starts_with(row.scenario);
  return which && where && row.call == point.call && Fits(row.fault, point.fault) && Fits(row.purpose, purpose);
}

// What is known about one function.
struct CallTally : Tally {
  PointKind kind = PointKind::Windows;
  bool never = false;
  bool buildDependent = false;
};

// Whether the compiler decides that there is such a call: which of the first two it takes for the log's header, and
// what its own library looks for.
bool InSomeBuilds(const Expectation& row) {
  return row.call == "fwrite" || row.call == "fputs" || row.purpose == "GetTickCount64" ||
         row.purpose == "GetSystemTimePreciseAsFileTime";
}

int FailuresOfThisTest() { return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count(); }

class FaultMatrix : public testing::Test {
 protected:
  FaultMatrix() {
    std::set<const PointCalls*> counters = {nullptr};
    for (const Point& point : m_points) {
      EXPECT_TRUE(counters.insert(point.calls).second || point.calls == nullptr) << point.call << " has another's hook";
    }
    HookEveryService(m_points);
  }

  // One run of the scenario in which the n-th call of the point fails (0: none).
  Ending Run(const Scenario& scenario, Point* faulty, uint64_t n) {
    Ending end;
    for (Point& point : m_points) {
      if (point.calls != nullptr) point.calls->Reset(&point == faulty ? n : 0);
    }
    const int64_t handlesBefore = CountProcess().handles;
    const QvshrLedgerState before = Books();
    {
      Disturbed run(scenario, m_site);
      TakeBoxes();
      const std::wstring path = ReadVariable(L"PATH").value_or(L"");
      const std::wstring folder = DllFolder();
      const DWORD mode = GetThreadErrorMode();
      const size_t createdBefore = run.jvm.Count(kFakeCreateVM);
      const size_t attachedBefore = run.jvm.Count(kFakeAttach);
      for (Point& point : m_points) {
        if (point.count) m_before[point.call] = point.count();
      }
      if (faulty != nullptr && faulty->script) faulty->script(true);
      g_counting = true;
      end.status = scenario.operate(run);
      g_counting = false;
      for (Point& point : m_points) {
        m_counts[&point] = point.calls != nullptr || point.count ? point.Count() - Before(point) : 0;
      }
      m_purpose = faulty != nullptr && faulty->calls != nullptr ? faulty->calls->purpose : "";
      if (faulty != nullptr && faulty->script) {
        faulty->script(false);
        run.jvm.Script() = scenario.script;
      }
      if (scenario.judge != nullptr && end.status == scenario.status) end.status = scenario.judge(run);
      end.created = run.jvm.Count(kFakeCreateVM) - createdBefore;
      end.attached = run.jvm.Count(kFakeAttach) - attachedBefore;
      if (end.created != 0) end.options = run.jvm.OptionTexts(createdBefore);
      end.boxes = TakeBoxes();
      const std::wstring pathNow = ReadVariable(L"PATH").value_or(L"");
      end.pathKept = pathNow == path;
      end.pathWhole = pathNow.ends_with(path);
      end.dllFolderKept = DllFolder() == folder;
      end.errorModeKept = GetThreadErrorMode() == mode;
      SetThreadErrorMode(mode, nullptr);
      SetDllDirectoryW(folder.c_str());
      SetEnvironmentVariableW(L"PATH", path.c_str());
      end.next = scenario.next != nullptr ? scenario.next(run) : scenario.operate(run);
      m_loads = run.Loads();
    }
    const QvshrLedgerState after = Books();
    end.blocksLeft = static_cast<int64_t>(after.liveBlocks - before.liveBlocks);
    end.objectsLeft = static_cast<int64_t>(after.liveStrings + after.liveKeys - before.liveStrings - before.liveKeys);
    end.heapErrors = after.errors - before.errors;
    end.handlesLeft = CountProcess().handles - handlesBefore;
    return end;
  }

  uint64_t Before(const Point& point) { return point.count ? m_before[point.call] : 0; }
  // A run takes hundredths of a second.
  void Begin(std::string run) {
    m_running = std::move(run);
    ++m_progress;
  }

  // As it is when nothing fails.
  Ending Undisturbed(const Scenario& scenario) {
    const Ending end = Run(scenario, nullptr, 0);
    EXPECT_EQ(end.status, scenario.status);
    EXPECT_EQ(end.next, scenario.status == kFail ? kFail : NextStatus(scenario));
    EXPECT_EQ(end.blocksLeft, m_loads);
    EXPECT_EQ(end.handlesLeft, 0);
    EXPECT_TRUE(end.dllFolderKept && end.errorModeKept && end.pathWhole);
    return end;
  }
  static int32_t NextStatus(const Scenario& scenario) { return scenario.next != nullptr ? kDone : scenario.status; }

  void Compare(const Scenario& scenario, const Point& point, const Expectation& row, const Ending& normal,
               const Ending& end) {
    const int32_t status = row.status == kSame ? scenario.status : row.status;
    EXPECT_EQ(end.status, status);
    int32_t next = NextStatus(scenario);
    if ((row.left & kForGood) != 0) next = kFail;
    if ((row.left & kUnknown) != 0) next = kDone;
    EXPECT_EQ(end.next, next) << "the next one, with nothing failing";

    EXPECT_EQ(end.pathWhole, (row.left & kPathWithoutOld) == 0) << "PATH";
    // A host whose file name cannot be had is an unknown one, for which a runtime is looked for.
    const bool nameless = point.call == "QvshrGetFileName";
    EXPECT_TRUE(end.pathKept || !normal.pathKept || nameless) << "PATH, which else is kept";
    const bool oneFails = point.call == "JavaVM::AttachCurrentThread";
    EXPECT_LE(end.attached, normal.attached + (oneFails ? 1 : 0)) << "threads are attached that are not else";
    EXPECT_TRUE(end.dllFolderKept) << "the process's DLL folder";
    EXPECT_EQ(end.errorModeKept, (row.left & kErrorMode) == 0) << "the thread's error mode";
    EXPECT_LE(end.boxes, point.call == "MessageBoxW" ? 0 : normal.boxes);
    const int64_t raised = (row.left & kOptions) != 0 ? 1 + static_cast<int64_t>(normal.options.size()) : 0;
    const bool lockNotMade = !scenario.loaded && point.call == "QvshrAlloc";
    EXPECT_LE(end.blocksLeft, m_loads + raised) << "blocks of the host library";
    EXPECT_GE(end.blocksLeft, m_loads + raised - (lockNotMade ? 1 : 0)) << "blocks of the host library";
    EXPECT_EQ(end.objectsLeft, 0) << "texts and keys of the host library";
    EXPECT_EQ(end.heapErrors, 0u);
    EXPECT_EQ(end.handlesLeft, 0);
    ExpectStarted(scenario, row, normal, end);
  }

  void ExpectStarted(const Scenario& scenario, const Expectation& row, const Ending& normal, const Ending& end) {
    switch (row.started) {
      case Started::AsEver:
        EXPECT_EQ(end.options, normal.options);
        break;
      case Started::Whole:
        EXPECT_EQ(end.created, normal.created);
        if (normal.created != 0) ExpectWholeOptions(end.options, normal.options, scenario.host != nullptr);
        break;
      case Started::BareBoot: {
        Strings want = normal.options;
        want.at(1) = "-Xbootclasspath/a:\\deploy.jar;\\javaws.jar;\\plugin.jar";
        EXPECT_EQ(end.options, want);
        break;
      }
      case Started::NoProperty: {
        Strings want = normal.options;
        want.back() = "-D=";
        EXPECT_EQ(end.options, want);
        break;
      }
      case Started::LikeUnknown:
        // The class path begins in the folder of the host, which is another one.
        ASSERT_GT(end.options.size(), 1u);
        EXPECT_EQ(Strings(end.options.begin() + 1, end.options.end()), Strings(m_unknown.begin() + 1, m_unknown.end()));
        break;
      case Started::Anew:
        EXPECT_EQ(normal.created, 0u);
        EXPECT_GE(end.created, 1u);
        break;
      case Started::Elsewhere:
      case Started::Nothing:
        EXPECT_EQ(end.created, 0u);
        break;
    }
  }

  // Some handles are made once and stay: the system's folder of named objects, and what the C++ runtime of the recorded
  // JVM, which stays loaded, makes for the first exception of a thread.
  void WarmUp() {
    const std::vector<Scenario> scenarios = Scenarios();
    const auto start = std::find_if(scenarios.begin(), scenarios.end(),
                                    [](const Scenario& scenario) { return scenario.name == "start, unknown host"; });
    const auto throwing = std::find_if(m_points.begin(), m_points.end(), [](const Point& point) {
      return point.call == "JNI_CreateJavaVM" && point.fault == "C++ exception";
    });
    ASSERT_NE(start, scenarios.end());
    ASSERT_NE(throwing, m_points.end());
    const RegistrySandbox registry(RegistrySandbox::Override::MachineAndUser);
    Run(*start, &*throwing, 1);
  }

  // The n-th call of the point fails.
  void Disturb(const Scenario& scenario, const Ending& normal, Point& point, uint64_t n, bool last) {
    const std::string what = std::string(scenario.name) + ": " + point.call + ", call " + std::to_string(n);
    Begin(what);
    const Ending end = Run(scenario, &point, n);
    const std::string purpose = point.calls != nullptr ? m_purpose : "";
    SCOPED_TRACE(what + " (" + purpose + ") fails: " + point.fault);
    const auto& rows = Expectations();
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Expectation& known) {
      return Fits(known, scenario, point, n, last, purpose);
    });
    Tally& tally = m_tallies[point.call];
    if (row == rows.end()) {
      ADD_FAILURE() << "no row says how this ends";
      ++tally.otherwise;
      return;
    }
    m_used.insert(&*row);
    const int failures = FailuresOfThisTest();
    Compare(scenario, point, *row, normal, end);
    const bool asStated = FailuresOfThisTest() == failures;
    const bool goesOn = row->status == kSame || row->status == scenario.status;
    ++(!asStated ? tally.otherwise : (row->left & kForGood) != 0 ? tally.forGood : goesOn ? tally.goOn : tally.fail);
  }

  void RunScenario(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    RegistrySandbox registry(RegistrySandbox::Override::MachineAndUser);
    scenario.prepare(registry);
    Begin(scenario.name);
    const Ending normal = Undisturbed(scenario);
    if (scenario.name == "start, unknown host") m_unknown = normal.options;
    const std::map<const Point*, uint64_t> counts = m_counts;
    for (Point& point : m_points) {
      CallTally& tally = m_tallies[point.call];
      tally.kind = point.kind;
      if (!point.fault.empty()) tally.faults.insert(point.fault);
      tally.steady = point.steady;
      tally.never = point.never;
      tally.buildDependent = point.buildDependent;
      const uint64_t count = counts.at(&point);
      if (count == 0) continue;
      tally.operations.insert(scenario.name);
      if (!point.CanFail()) continue;
      // What is scripted fails for as long as the operation lasts.
      for (const uint64_t n : point.script ? std::set<uint64_t>{1} : Occurrences(count)) {
        Disturb(scenario, normal, point, n, n == count);
      }
    }
  }

  const GuardPages m_guard;
  std::string m_purpose;  // of the call that failed
  Site m_site;
  std::vector<Point> m_points = AllPoints(m_site.jvm);
  std::map<const Point*, uint64_t> m_counts;
  std::map<std::string, uint64_t> m_before;
  int m_loads = 0;
  Strings m_unknown;
  std::set<const Expectation*> m_used;
  std::map<std::string, CallTally> m_tallies;
  std::string m_running;
  std::atomic<uint64_t> m_progress{0};
  Watchdog m_watchdog{m_progress, 60000, [this] { return m_running; }};
};

TEST_F(FaultMatrix, EachCallFailsInEachOperationThatReachesIt) {
  WarmUp();
  for (const Scenario& scenario : Scenarios()) RunScenario(scenario);
  for (const Expectation& row : Expectations()) {
    EXPECT_TRUE(m_used.contains(&row) || InSomeBuilds(row))
        << "a row fits no call: " << row.call << ", " << row.fault << ", " << row.purpose << ", " << row.which << ", "
        << row.scenario;
  }
  for (const auto& [call, tally] : m_tallies) {
    const bool reached = !tally.operations.empty() || tally.buildDependent || !tally.steady.empty();
    EXPECT_TRUE(reached) << call << " is reached by no operation";
    EXPECT_TRUE(!tally.never || tally.operations.empty()) << call << " is called all the same";
    if (tally.buildDependent && tally.steady.empty() && tally.operations.empty()) continue;
    const char kind = static_cast<char>('1' + static_cast<int>(tally.kind));
    tally.Record(std::string(1, kind) + " " + call, "`" + call + "`", NameOf(tally.kind));
  }
}

}  // namespace
}  // namespace qvtest
