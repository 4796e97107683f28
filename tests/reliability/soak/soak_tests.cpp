// A long random walk over all operations of the service on a real JVM, from 1, 4 and 16 threads that come and go, and
// what is left of it: memory, handles, threads, references, blocks of the host library. After a walk that warms the JVM
// up the process is counted, then comes the long walk, and then it is counted again.
// QV_TEST_OPERATIONS says how many one runtime does, instead of the number that belongs to this form of the test.
// QV_SEED=number replays a run; QV_SOAK_LIFE=thread:life with it walks only one thread's one life.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "tests/real/running_vm.h"
#include "tests/reliability/soak/walker.h"
#include "tests/support/ledger_check.h"
#include "tests/support/process_counters.h"
#include "tests/support/threads.h"
#include "tests/support/watchdog.h"

namespace qvtest {
namespace {

constexpr DWORD kHangMs = 90000;
// What the JVM compiles of this work it has compiled then, almost all.
constexpr uint64_t kWarmUp = 25000;
constexpr uint64_t kWarmUpOfLongForm = 600000;
constexpr uint32_t kShortestLife = 200;
constexpr uint32_t kLongestLife = 2000;
// What millions of operations must not add up to, were it one byte in each.
constexpr double kMostGrowth = 4;  // MiB
// The JVM keeps an event for each monitor and compiler thread of its own that it has needed so far.
constexpr double kMoreHandles = 12;

// What is left in the process when nobody works.
struct Counter {
  const char* name;
  double value;
  double mostGrowth = 0;
};
using Rest = std::vector<Counter>;

class Soak : public testing::TestWithParam<unsigned> {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite() { delete std::exchange(g_world, nullptr); }

  void SetUp() override { ASSERT_NE(g_world, nullptr); }

  static void MeetInJava(unsigned threads);
  static void Walk(unsigned threads, uint64_t operations, uint64_t seed);
  static Rest Count();

  static inline World* g_world = nullptr;
  static inline IQV_JavaVM* g_vm = nullptr;
};

// The heap has its full size, and compiler and collector all their threads, from the start: what grows is none of them,
// and no collection waits for a thread that starts (see tests/reliability/threads/host_thread.h). The optimising
// compiler would keep some ten MiB of scratch memory whenever it first meets a large method.
void Soak::SetUpTestSuite() {
  IQV_JavaVM* const vm =
      StartVm({L"-Xms96m", L"-Xmx96m", L"-XX:+AlwaysPreTouch", L"-XX:-UseDynamicNumberOfCompilerThreads",
               L"-XX:-UseDynamicNumberOfGCThreads", L"-XX:TieredStopAtLevel=1"});
  ASSERT_NE(vm, nullptr);
  auto* const world = new World();
  world->create = LoadService().createJavaVM;
  world->shared = NewService();
  const auto cls = [&](const char* name) { return NewGlobal(vm, FindClass(vm, name)); };
  world->echo = cls("qvtest/Echo");
  world->faults = cls("qvtest/Faults");
  world->soak = cls("qvtest/Soak");
  world->tracked = cls("qvtest/Soak$Tracked");
  world->string = cls("java/lang/String");
  world->integer = cls("java/lang/Integer");
  world->number = cls("java/lang/Number");
  world->echoObject = NewGlobal(vm, NewDefaultObject(vm, world->echo));
  world->faultsObject = NewGlobal(vm, NewDefaultObject(vm, world->faults));
  Local integer(vm);
  EXPECT_EQ(vm->NewObject(integer.Out(), world->integer, "(I)", 42), QV_S_OK);
  world->integerObject = NewGlobal(vm, integer);
  world->classPath = PropertyOf(vm, L"java.class.path");
  world->javaVersion = PropertyOf(vm, L"java.version");
  world->logs[0] = InstallFolder() + L"\\soak.log";
  world->logs[1] = InstallFolder() + L"\\other soak.log";
  EXPECT_EQ(vm->SetLogFileName(world->logs[0].c_str()), QV_S_OK);
  EXPECT_EQ(vm->SetJvmLogEnabled(0), QV_S_OK);
  DropErrorOutput(vm);
  g_world = world;
  g_vm = vm;
}

// As many threads in Java at once as the walk can have. The JVM keeps the events of threads that ended for later ones,
// so their number follows the most that ever lived together, which a short warm-up leaves to the scheduler.
void Soak::MeetInJava(unsigned threads) {
  std::vector<std::unique_ptr<WaitingThread>> all;
  for (unsigned number = 0; number < threads; ++number) {
    all.push_back(std::make_unique<WaitingThread>([] { EXPECT_NE(QV_AcquireThreadEnv(g_vm), nullptr); }));
  }
}

// Every thread of the walk is a row of host threads, one after the other, each with a life of its own.
void Soak::Walk(unsigned threads, uint64_t operations, uint64_t seed) {
  const std::wstring only = ReadVariable(L"QV_SOAK_LIFE").value_or(L"");
  const Watchdog watchdog(g_world->progress, kHangMs, [] {
    std::string text;
    for (const Walker* const walker : g_world->walkers) text += walker->Where() + "\n";
    return text;
  });
  OnThreads(static_cast<int>(threads), [&](int number) {
    Random lives(Mixed(seed, Mixed(threads, static_cast<uint64_t>(number))));
    uint64_t left = operations / threads;
    for (unsigned life = 0; left > 0; ++life) {
      const auto length =
          static_cast<uint32_t>(std::min<uint64_t>(left, kShortestLife + lives.Below(kLongestLife - kShortestLife)));
      const uint64_t lifeSeed = lives.Next();
      left -= length;
      if (!only.empty() && only != std::to_wstring(number) + L":" + std::to_wstring(life)) continue;
      OnThread([&] {
        Walker(*g_world, lifeSeed,
               "seed " + std::to_string(seed) + ", " + std::to_string(threads) + " threads, life " +
                   std::to_string(number) + ":" + std::to_string(life))
            .Walk(length);
      });
    }
  });
}

Rest Soak::Count() {
  // A failure of the walk's may have left its record in the shared object: a block, or none.
  ForgetRecord(g_world->shared);
  const JavaClass soak(g_vm, "qvtest/Soak");
  const auto ask = [&](const char* method) -> int64_t { return soak.CallInt(soak.New(), method); };
  const int64_t objects = ask("keptObjects");
  const int64_t threads = ThreadsInJava(g_vm);
  const QvshrLedgerState books = Books();
  EXPECT_EQ(books.errors, 0U);
  // Threads of the JVM's own come and go, and its compiler holds a global reference now and then.
  int64_t handles = INT64_MAX;
  int64_t globals = INT64_MAX;
  int64_t privateBytes = INT64_MAX;
  for (int i = 0; i < 10; ++i, Sleep(50)) {
    globals = std::min(globals, ask("globalReferences"));
    const ProcessCounters now = CountProcess();
    handles = std::min<int64_t>(handles, now.handles);
    privateBytes = std::min(privateBytes, static_cast<int64_t>(now.privateBytes));
  }
  return {{"private MiB", std::round(static_cast<double>(privateBytes) / (1 << 20) * 10) / 10, kMostGrowth},
          {"handles", static_cast<double>(handles), kMoreHandles},
          {"Java threads", static_cast<double>(threads)},
          {"blocks", static_cast<double>(books.liveBlocks)},
          {"global references", static_cast<double>(globals)},
          {"objects", static_cast<double>(objects)}};
}

TEST_P(Soak, EveryOperationGivesWhatItMustAndNothingIsLeft) {
  const unsigned threads = GetParam();
  const uint64_t seed = SeedOfThisRun();
  // 1 : 3 : 6 for 1, 4 and 16 threads; all of them together are what one runtime does.
  const uint64_t share = threads == 1 ? 1 : (threads == 4 ? 3 : 6);
  const uint64_t operations = TimesOfThisRun(L"QV_TEST_OPERATIONS", 10000000, 50000) / 10 * share;
  std::printf("seed %llu, %u threads, %llu operations\n", static_cast<unsigned long long>(seed), threads,
              static_cast<unsigned long long>(operations));
  std::fflush(stdout);

  MeetInJava(threads);
  Walk(threads, IsNightly() ? kWarmUpOfLongForm : kWarmUp, Mixed(seed, 1) % 1000000);
  const Rest before = Count();
  const uint64_t doneBefore = g_world->progress;
  const uint64_t failedBefore = g_world->failed;
  Walk(threads, operations, seed);
  const Rest after = Count();

  const uint64_t done = g_world->progress - doneBefore;
  EXPECT_EQ(done, ReadVariable(L"QV_SOAK_LIFE") ? done : operations / threads * threads);
  EXPECT_EQ(g_world->failed, 0U);
  for (const std::string& failure : std::exchange(g_world->failures, {})) ADD_FAILURE() << failure;
  std::vector<Cell> cells = {RuntimeOf(g_vm), threads, done, g_world->failed - failedBefore};
  for (size_t i = 0; i < before.size(); ++i) {
    const Counter& counter = before[i];
    EXPECT_LE(after[i].value - counter.value, counter.mostGrowth) << counter.name;
    EXPECT_TRUE(counter.mostGrowth != 0 || after[i].value == counter.value) << counter.name;
    std::ostringstream between;
    between << counter.value << " → " << after[i].value;
    cells.emplace_back(between.str());
    std::printf("%s: %s\n", counter.name, between.str().c_str());
  }
  EXPECT_EQ(after.back().value, 0) << "somebody still refers to objects of the walk";
  cells.back() = static_cast<int64_t>(after.back().value);
  RecordRow("soak", RuntimeOf(g_vm) + "/" + std::to_string(threads), cells);

  // The rarest one comes once in some thousand operations, so that is known after the last walk.
  const bool all = threads == 16 && !ReadVariable(L"QV_SOAK_LIFE");
  for (size_t slot = 0; all && slot < g_world->used.size(); ++slot) {
    EXPECT_GT(g_world->used[slot], 0U) << "slot " << slot << " was never called";
  }
}

INSTANTIATE_TEST_SUITE_P(From, Soak, testing::Values(1U, 4U, 16U),
                         [](const auto& row) { return std::to_string(row.param) + "Threads"; });

}  // namespace
}  // namespace qvtest
