// A long random walk over all operations of the service on a real JVM, from 1, 4 and 16 threads that come and go, and
// what is left of it: memory, handles, threads, references, blocks of the host library. After a walk that warms the JVM
// up the process is counted, then comes the long walk, and then it is counted again.
// QV_TEST_OPERATIONS says how many one runtime does, instead of the number that belongs to this form of the test.
// QV_SEED=number replays a run; QV_SOAK_LIFE=thread:life with it walks only one thread's one life.
#include <algorithm>
#include <cstdio>
#include <thread>

#include "tests/real/running_vm.h"
#include "tests/reliability/soak/walker.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/process_counters.h"
#include "tests/support/reliability.h"
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
constexpr int64_t kMostGrowth = 4 << 20;
// The JVM keeps an event for each monitor and compiler thread of its own that it has needed so far.
constexpr int64_t kMoreHandles = 12;

// What is left in the process when nobody works.
struct Rest {
  int64_t privateBytes = 0;
  int64_t handles = 0;
  int64_t javaThreads = 0;
  int64_t blocks = 0;
  int64_t objects = 0;
  int64_t globals = 0;
  int64_t heapErrors = 0;
};

class Soak : public testing::TestWithParam<unsigned> {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite() { delete std::exchange(g_world, nullptr); }

  void SetUp() override { ASSERT_NE(g_world, nullptr); }

  static void Walk(unsigned threads, uint64_t operations, uint64_t seed);
  static Rest Count();

  static inline World* g_world = nullptr;
  static inline IQV_JavaVM* g_vm = nullptr;
};

qv_jobject Global(IQV_JavaVM* vm, qv_jobject local) {
  qv_jobject global = nullptr;
  EXPECT_TRUE(Ok(vm, vm->NewGlobalRef(&global, local)));
  return global;
}

std::wstring Property(IQV_JavaVM* vm, const wchar_t* key) {
  const Local system = FindClass(vm, "java/lang/System");
  const Local name = NewString(vm, key);
  Local value(vm);
  EXPECT_TRUE(Ok(vm, vm->CallStaticObjectMethod(value.Out(), system, "getProperty",
                                                "(Ljava/lang/String;)Ljava/lang/String;", name.Get())));
  return TextOf(vm, value);
}

// The heap has its full size, and compiler and collector all their threads, from the start: what grows is none of them,
// and no collection waits for a thread that starts (see tests/reliability/threads/host_thread.h). The optimising
// compiler would keep some ten MiB of scratch memory whenever it first meets a large method.
void Soak::SetUpTestSuite() {
  IQV_JavaVM* const vm =
      StartVm({.jvmOptions = {L"-Xms96m", L"-Xmx96m", L"-XX:+AlwaysPreTouch", L"-XX:-UseDynamicNumberOfCompilerThreads",
                              L"-XX:-UseDynamicNumberOfGCThreads", L"-XX:TieredStopAtLevel=1"}});
  ASSERT_NE(vm, nullptr);
  auto* const world = new World();
  world->create = LoadService().createJavaVM;
  world->shared = NewService();
  const auto cls = [&](const char* name) { return Global(vm, FindClass(vm, name)); };
  world->echo = cls("qvtest/Echo");
  world->faults = cls("qvtest/Faults");
  world->soak = cls("qvtest/Soak");
  world->tracked = cls("qvtest/Soak$Tracked");
  world->string = cls("java/lang/String");
  world->integer = cls("java/lang/Integer");
  world->number = cls("java/lang/Number");
  world->echoObject = Global(vm, NewDefaultObject(vm, world->echo));
  world->faultsObject = Global(vm, NewDefaultObject(vm, world->faults));
  Local integer(vm);
  EXPECT_EQ(vm->NewObject(integer.Out(), world->integer, "(I)", 42), QV_S_OK);
  world->integerObject = Global(vm, integer);
  world->classPath = Property(vm, L"java.class.path");
  world->javaVersion = Property(vm, L"java.version");
  world->logs[0] = InstallFolder() + L"\\soak.log";
  world->logs[1] = InstallFolder() + L"\\other soak.log";
  EXPECT_EQ(vm->SetLogFileName(world->logs[0].c_str()), QV_S_OK);
  EXPECT_EQ(vm->SetJvmLogEnabled(0), QV_S_OK);
  EXPECT_TRUE(Ok(vm, vm->CallStaticVoidMethod(FindClass(vm, "qvtest/Threads"), "dropErrorOutput", "()V")));
  g_world = world;
  g_vm = vm;
}

// Every thread of the walk is a row of host threads, one after the other, each with a life of its own.
void Soak::Walk(unsigned threads, uint64_t operations, uint64_t seed) {
  const std::wstring only = ReadVariable(L"QV_SOAK_LIFE").value_or(L"");
  const Watchdog watchdog(g_world->progress, kHangMs, [] {
    std::string text;
    for (const Walker* const walker : g_world->walkers) text += walker->Where() + "\n";
    return text;
  });
  std::vector<std::thread> rows;
  for (unsigned number = 0; number < threads; ++number) {
    rows.emplace_back([=] {
      Random lives(Mixed(seed, Mixed(threads, number)));
      uint64_t left = operations / threads;
      for (unsigned life = 0; left > 0; ++life) {
        const auto length =
            static_cast<uint32_t>(std::min<uint64_t>(left, kShortestLife + lives.Below(kLongestLife - kShortestLife)));
        const uint64_t lifeSeed = lives.Next();
        left -= length;
        if (!only.empty() && only != std::to_wstring(number) + L":" + std::to_wstring(life)) continue;
        std::thread([&] {
          Walker(*g_world, lifeSeed,
                 "seed " + std::to_string(seed) + ", " + std::to_string(threads) + " threads, life " +
                     std::to_string(number) + ":" + std::to_string(life))
              .Walk(length);
        }).join();
      }
    });
  }
  for (std::thread& row : rows) row.join();
}

Rest Soak::Count() {
  Rest rest;
  // A failure of the walk's may have left its record in the shared object: a block, or none.
  EXPECT_TRUE(Ok(g_world->shared, g_world->shared->NewByteArray(Local(g_vm).Out(), 0)));
  const auto ask = [&](const char* className, const char* method) {
    const Local cls = FindClass(g_vm, className);
    const Local object = NewDefaultObject(g_vm, cls);
    int32_t count = -1;
    EXPECT_TRUE(Ok(g_vm, g_vm->CallIntMethod(&count, cls, object, method, "()I"))) << method;
    return count;
  };
  rest.objects = ask("qvtest/Soak", "keptObjects");
  rest.javaThreads = ask("qvtest/Threads", "count");
  QvshrLedgerState books{};
  QvshrLedgerSnapshot(&books);
  rest.blocks = static_cast<int64_t>(books.liveBlocks);
  rest.heapErrors = static_cast<int64_t>(books.errors);
  // Threads of the JVM's own come and go, and its compiler holds a global reference now and then.
  rest.handles = INT64_MAX;
  rest.globals = INT64_MAX;
  rest.privateBytes = INT64_MAX;
  for (int i = 0; i < 10; ++i) {
    rest.globals = std::min<int64_t>(rest.globals, ask("qvtest/Soak", "globalReferences"));
    const ProcessCounters now = CountProcess();
    rest.handles = std::min<int64_t>(rest.handles, now.handles);
    rest.privateBytes = std::min(rest.privateBytes, static_cast<int64_t>(now.privateBytes));
    Sleep(50);
  }
  return rest;
}

std::string Between(int64_t before, int64_t after) { return std::to_string(before) + " → " + std::to_string(after); }

TEST_P(Soak, EveryOperationGivesWhatItMustAndNothingIsLeft) {
  const unsigned threads = GetParam();
  const uint64_t seed = SeedOfThisRun();
  // 1 : 3 : 6 for 1, 4 and 16 threads; all of them together are what one runtime does.
  const uint64_t share = threads == 1 ? 1 : (threads == 4 ? 3 : 6);
  const uint64_t operations = TimesOfThisRun(L"QV_TEST_OPERATIONS", 10000000, 50000) / 10 * share;
  std::printf("seed %llu, %u threads, %llu operations\n", static_cast<unsigned long long>(seed), threads,
              static_cast<unsigned long long>(operations));
  std::fflush(stdout);

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
  EXPECT_LE(after.handles, before.handles + kMoreHandles);
  EXPECT_EQ(after.javaThreads, before.javaThreads);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.heapErrors, 0);
  EXPECT_EQ(after.objects, 0);
  EXPECT_EQ(after.globals, before.globals);
  EXPECT_LE(after.privateBytes - before.privateBytes, kMostGrowth);

  // The rarest one comes once in some thousand operations, so that is known after the last walk.
  const bool all = threads == 16 && !ReadVariable(L"QV_SOAK_LIFE");
  for (size_t slot = 0; all && slot < g_world->used.size(); ++slot) {
    EXPECT_GT(g_world->used[slot], 0U) << "slot " << slot << " was never called";
  }

  const auto mebibytes = [](int64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", static_cast<double>(bytes) / (1 << 20));
    return std::string(text);
  };
  const std::string runtime = ToUtf8(g_world->javaVersion.substr(0, g_world->javaVersion.find(L'.')));
  std::printf(
      "private %s -> %s MiB, handles %lld -> %lld, Java threads %lld -> %lld, blocks %lld -> %lld, objects %lld, "
      "global references %lld -> %lld\n",
      mebibytes(before.privateBytes).c_str(), mebibytes(after.privateBytes).c_str(), before.handles, after.handles,
      before.javaThreads, after.javaThreads, before.blocks, after.blocks, after.objects, before.globals, after.globals);
  RecordRow("soak", runtime + "/" + std::to_string(threads),
            {runtime, threads, done, g_world->failed - failedBefore,
             mebibytes(before.privateBytes) + " → " + mebibytes(after.privateBytes),
             Between(before.handles, after.handles), Between(before.javaThreads, after.javaThreads),
             Between(before.blocks, after.blocks), Between(before.globals, after.globals), after.objects});
}

INSTANTIATE_TEST_SUITE_P(From, Soak, testing::Values(1U, 4U, 16U),
                         [](const auto& row) { return std::to_string(row.param) + "Threads"; });

}  // namespace
}  // namespace qvtest
