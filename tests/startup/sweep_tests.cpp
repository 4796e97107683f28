// Everything that can run out runs out: each allocation of a start-up fails in turn, alone or with all that follow, and
// each call of the host library fails in turn. Whatever happens, the call gives a status that it has, a JVM is started
// with the right options or not at all, nothing is left or freed twice, and with memory back the next call succeeds.
// Guard pages stand behind every block meanwhile.
#include <map>

#include "service/thread_registry.h"
#include "tests/startup/startup_world.h"
#include "tests/startup/whole_options.h"
#include "tests/support/reliability.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

constexpr wchar_t kOwnClassPath[] = L"C:\\own.jar";

// A start-up with everything that it depends on, and how it ends when nothing fails.
struct Scenario {
  const char* name;
  const char* title;
  const wchar_t* host;
  void (*prepare)(StartupWorld& world);
  int32_t status;
};

void PrepareRegistryOfUnknownHost(StartupWorld& world) {
  const std::wstring config = std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig";
  world.registry.SetList(Hive::Machine, config + L"\\QVJVMconfig", {L"-Xmx64m", L"-verbose"});
  world.registry.SetText(Hive::Machine, config + L"\\QVJVMprops", L"a", L"b");
}

void PrepareKnownHost(StartupWorld& world) {
  world.ConfigureKnownHost(kTableroRoot);
  const std::wstring config = std::wstring(kTableroRoot) + L"\\Java\\QVIDEConfig";
  world.registry.SetList(Hive::Machine, config + L"\\QVSysclasspath", {L"C:\\one.jar", L"C:\\two.jar"});
  world.registry.SetList(Hive::Machine, config + L"\\QVJVMconfig", {L"-Xmx64m"});
  world.registry.SetText(Hive::Machine, config + L"\\QVJVMprops", L"a", L"b");
  world.registry.SetList(Hive::User, std::wstring(kTableroRoot) + L"\\ClassPath", {L"C:\\user.jar"});
}

void PrepareKnownHostWithoutItsList(StartupWorld& world) {
  world.ConfigureKnownHost(kQuovantRoot);
  world.registry.DeleteKey(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig\\QVSysclasspath");
}

// A start whose JVM behaves so.
template <int32_t FakeJvmScript::*Field, int32_t Value>
void Script(StartupWorld& world) {
  world.jvm.Script().*Field = Value;
}
void PrepareNullVM(StartupWorld& world) {
  world.jvm.Script().existing = 1;
  world.jvm.Script().firstVmNull = 1;
}

constexpr auto kRunningVM = Script<&FakeJvmScript::existing, 2>;

const Scenario kScenarios[] = {
    {"UnknownHostCreates", "start, unknown host", nullptr, [](StartupWorld&) {}, 0},
    {"UnknownHostWithRegistryCreates", "start, unknown host with settings", nullptr, PrepareRegistryOfUnknownHost, 0},
    {"KnownHostCreates", "start, known host", L"C:\\hosts\\tk190.exe", PrepareKnownHost, 0},
    {"KnownHostWithoutItsListFails", "start, known host without its list", L"C:\\hosts\\qv190.exe",
     PrepareKnownHostWithoutItsList, QV_E_FAIL},
    {"JavaHostJoins", "start, joins in a Java host", L"C:\\java\\javaw.exe", kRunningVM, 0},
    {"UnknownHostJoins", "start, joins a JVM", nullptr, kRunningVM, 0},
    {"NullVMFails", "start, the JVM to join is null", nullptr, PrepareNullVM, QV_E_FAIL},
    {"FailingCreationFails", "start, the creation fails", nullptr, Script<&FakeJvmScript::createResult, -1>, QV_E_FAIL},
    {"CreationWithoutEnvironment", "start, a creation without an environment", nullptr,
     Script<&FakeJvmScript::createWithoutEnv, 1>, 0},
    {"RaisingCreationFails", "start, the creation raises", nullptr,
     Script<&FakeJvmScript::createRaises, kRaiseSoftware>, QV_E_FAIL},
    {"WebDeploymentCreates", "start in a web deployment", nullptr,
     [](StartupWorld&) { QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1); }, 0},
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

class StartUpSweep : public testing::TestWithParam<Scenario> {
 protected:
  StartUpSweep() : m_world(GetParam().host != nullptr ? GetParam().host : L"") {}

  // One start in a service as if just loaded, with the fault armed by `arm` right before the call; then the same again
  // without any fault. `arm` gives an object whose Fired tells whether the fault came to pass.
  template <class Arm, class Check>
  bool RunWith(Arm&& arm, Check&& check) {
    bool fired = false;
    m_world.service.UnloadAndForget();
    LedgerCheck ledger;
    {
      const EnvironmentScope path(L"PATH", kSystemPath);
      m_world.service.Restart();
      m_world.jvm.Reset();
      GetParam().prepare(m_world);
      Created created{};
      {
        const auto fault = arm();
        created = CreateVM(kOwnClassPath);
        fired = fault.Fired();
      }
      check(created.status, fired);
      ExpectUsable(created);
      created.vm.reset();
      ExpectNextCallSucceeds();
    }
    ledger.ExpectLeft(LeftByRaises(), kOptionsOfARaise);
    m_left += LeftByRaises();
    m_world.service.UnloadAndForget();
    ledger.Verify();
    return fired;
  }

  void ExpectUsable(const Created& created) {
    if (created.status < 0) return;
    EXPECT_NE(QV_AcquireThreadEnv(created.vm.get()), nullptr);
    EXPECT_NE(g_bJvmCreated != 0, g_bJvmJoined != 0) << "exactly one way in";
  }

  void ExpectNextCallSucceeds() {
    const Created next = CreateVM();
    EXPECT_EQ(next.status, GetParam().status) << "the next call, with memory";
    ExpectUsable(next);
  }

  // What a start without any fault gave the JVM; nothing when it does not come to that.
  Strings NormalOptions() {
    Strings options;
    RunWith([] { return FailAllocation(0, kQvshrFailOnce); },
            [&](int32_t status, bool) {
              EXPECT_EQ(status, GetParam().status);
              if (m_world.jvm.Count(kFakeCreateVM) != 0) options = m_world.jvm.OptionTexts();
            });
    return options;
  }

  // The array and the texts of each creation that raised.
  uint64_t LeftByRaises() const {
    uint64_t left = 0;
    if (m_world.jvm.Script().createRaises == kRaiseNothing) return left;
    for (const FakeJvmCall& call : m_world.jvm.Calls(kFakeCreateVM))
      left += 1 + static_cast<uint64_t>(call.optionCount);
    return left;
  }

  bool KnownHost() const { return GetParam().host != nullptr; }
  bool JavaHost() const { return GetParam().prepare == kRunningVM && KnownHost(); }

  void TearDown() override { m_world.ledger.ExpectLeft(m_left, kOptionsOfARaise); }

  static constexpr char kOptionsOfARaise[] = "a JVM that raised may have kept the array and its seven texts";
  StartupWorld m_world;
  uint64_t m_left = 0;
};

TEST_P(StartUpSweep, EachAllocationFails) {
  const GuardPages guard;
  const Strings normal = NormalOptions();
  std::map<int32_t, int> ends;
  uint64_t allocations = 0;
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    std::map<int32_t, int> seen;
    const auto check = [&](int32_t status, bool fired) {
      if (fired) {
        ++seen[status];
      } else {
        EXPECT_EQ(status, GetParam().status);
      }
      if (status == QV_E_FAIL && GetParam().status == 0) {
        EXPECT_EQ(m_world.jvm.Count(kFakeCreateVM), 0u) << "a JVM that was created is no failure";
        // A Java host's threads are never detached.
        if (!JavaHost()) {
          EXPECT_EQ(m_world.jvm.AttachedThreads(), 0) << "attached, but not registered";
        }
      }
      if (m_world.jvm.Count(kFakeCreateVM) != 0) {
        ExpectWholeOptions(m_world.jvm.OptionTexts(), normal, KnownHost());
      }
      // Memory that is out stays out: the object itself cannot be had either.
      if (fired && mode == kQvshrFailFromHere) {
        EXPECT_NE(status, 0);
      }
    };
    const uint64_t failed = SweepAllocations(
        [&](uint64_t n, QvshrLedgerMode how) { return RunWith([&] { return FailAllocation(n, how); }, check); },
        {mode});
    EXPECT_GT(failed, 8u) << "a start-up takes more allocations than that";
    if (mode == kQvshrFailOnce) {
      allocations = failed;
      if (GetParam().status == 0) {
        EXPECT_EQ(seen[QV_E_OUTOFMEMORY], 1) << "the service object is one allocation";
      }
    }
    for (const auto& [status, times] : seen) ends[status] += times;
  }
  std::string outcome;
  for (const auto& [status, name] :
       {std::pair{0, "started"}, {QV_E_FAIL, "`E_FAIL`"}, {QV_E_OUTOFMEMORY, "`E_OUTOFMEMORY`"}}) {
    if (ends[status] != 0) outcome += (outcome.empty() ? "" : ", ") + std::to_string(ends[status]) + " " + name;
    ends.erase(status);
  }
  EXPECT_TRUE(ends.empty()) << "a status that a start never has: " << testing::PrintToString(ends);
  RecordRow("allocations", std::string("1 ") + GetParam().name,
            {GetParam().title, allocations, 2 * allocations, outcome});
}

// A call whose failing is worth a sweep; the others cannot fail or are not part of a start.
constexpr QvshrCall kCalls[] = {kQvshrCallAlloc,           kQvshrCallCreateString,     kQvshrCallOpenRegistryKey,
                                kQvshrCallOpenDefaultTree, kQvshrCallWideToMultiByte,  kQvshrCallGetDirectory,
                                kQvshrCallGetFileName,     kQvshrCallGetSpecialFolder, kQvshrCallGetSetting,
                                kQvshrCallIsWebDeployment, kQvshrCallNoDetachQuery,    kQvshrCallConcat,
                                kQvshrCallOpenSubKey,      kQvshrCallEnumValue,        kQvshrCallQueryStringValue};

TEST_P(StartUpSweep, EachCallOfTheHostLibraryFails) {
  const GuardPages guard;
  const auto check = [&](int32_t status, bool fired) {
    if (!fired) {
      EXPECT_EQ(status, GetParam().status);
    }
    EXPECT_TRUE(status == 0 || status == QV_E_FAIL || status == QV_E_OUTOFMEMORY) << status;
    if (status == 0) {
      EXPECT_EQ(m_world.jvm.Count(kFakeCreateVM) + m_world.jvm.Count(kFakeAttach), 1u);
    }
  };
  for (const QvshrCall call : kCalls) {
    // Without its file name the host is an unknown one for good.
    if (call == kQvshrCallGetFileName && KnownHost()) continue;
    // The fault matrix has the first, the second and the last call with what becomes of each, and each allocation fails
    // above.
    if (call == kQvshrCallAlloc && !IsNightly()) continue;
    for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
      bool fired = true;
      for (uint64_t n = 1; fired && !HasFailure(); n += IsNightly() ? 1u : 4u) {
        SCOPED_TRACE(testing::Message() << "call " << n << " of operation " << call << " fails " << NameOf(mode));
        fired = RunWith([&] { return FailCall(call, n, mode); }, check);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, StartUpSweep, testing::ValuesIn(kScenarios),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- single operations ----

TEST(OperationSweep, LoadingTheService) {
  StartupWorld world;
  world.service.UnloadAndForget();
  SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    const LedgerCheck ledger;
    const FailAllocation fault(n, mode);
    world.service.Restart();
    const bool failed = fault.Fired();
    EXPECT_EQ(g_pThreadRegistry == nullptr, failed) << "without the registry there is no service";
    if (failed) {
      EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    }
    world.service.UnloadAndForget();
    return failed;
  });
}

TEST(OperationSweep, ThreadsFirstCall) {
  const JoinedWorld world;
  SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    const LedgerCheck ledger;
    bool fired = false;
    OnThread([&] {
      const FailAllocation fault(n, mode);
      const qv_jnienv env = QV_AcquireThreadEnv(world.vm.get());
      fired = fault.Fired();
      EXPECT_EQ(env == nullptr, fired);
      EXPECT_EQ(world.jvm.AttachedThreads(), env == nullptr ? 1 : 2) << "attached and registered, or neither";
    });
    EXPECT_EQ(world.jvm.AttachedThreads(), 1);
    // The record of a failure lives until the next thread attaches.
    OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(world.vm.get()), nullptr); });
    return fired;
  });
}

TEST(OperationSweep, RegisteringAClassPathAndALibrary) {
  StartupWorld world;
  SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    const LedgerCheck ledger;
    const FailAllocation fault(n, mode);
    const bool registered = g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), L"C:\\a.jar");
    EXPECT_EQ(!registered, fault.Fired());
    EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(GetCurrentThreadId()) != nullptr, registered);
    g_pThreadRegistry->OnThreadDetach();
    return !registered;
  });
  SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    world.service.Restart();
    LedgerCheck ledger;
    bool fired = false;
    {
      const FailAllocation fault(n, mode);
      const HMODULE loaded = g_pThreadRegistry->LoadModuleCached("jvm.dll");
      fired = fault.Fired();
      EXPECT_EQ(loaded == nullptr, fired);
    }
    if (fired) ledger.Verify();
    EXPECT_NE(g_pThreadRegistry->LoadModuleCached("jvm.dll"), nullptr) << "lack of memory is not remembered";
    ledger.ExpectLeft(3, "node, entry and name of the library");
    return fired;
  });
}

}  // namespace
}  // namespace qvtest
