// Everything that can run out runs out: each allocation of a start-up fails in turn, alone or with all that follow, and
// each call of the host library fails in turn. Whatever happens, the call gives a status that it has, a JVM is started
// with the right options or not at all, nothing is left or freed twice, and with memory back the next call succeeds.
// Guard pages stand behind every block meanwhile.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "config/jvm_config_info.h"
#include "service/jvm_state.h"
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

void PrepareNothing(StartupWorld&) {}

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

void PrepareRunningVM(StartupWorld& world) { world.jvm.Script().existing = 2; }
void PrepareNullVM(StartupWorld& world) {
  world.jvm.Script().existing = 1;
  world.jvm.Script().firstVmNull = 1;
}
void PrepareFailingCreation(StartupWorld& world) { world.jvm.Script().createResult = -1; }
void PrepareCreationWithoutEnvironment(StartupWorld& world) { world.jvm.Script().createWithoutEnv = 1; }
void PrepareRaisingCreation(StartupWorld& world) { world.jvm.Script().createRaises = kRaiseSoftware; }
void PrepareWebDeployment(StartupWorld&) { QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1); }

const Scenario kScenarios[] = {
    {"UnknownHostCreates", "start, unknown host", nullptr, PrepareNothing, 0},
    {"UnknownHostWithRegistryCreates", "start, unknown host with settings", nullptr, PrepareRegistryOfUnknownHost, 0},
    {"KnownHostCreates", "start, known host", L"C:\\hosts\\tk190.exe", PrepareKnownHost, 0},
    {"KnownHostWithoutItsListFails", "start, known host without its list", L"C:\\hosts\\qv190.exe",
     PrepareKnownHostWithoutItsList, QV_E_FAIL},
    {"JavaHostJoins", "start, joins in a Java host", L"C:\\java\\javaw.exe", PrepareRunningVM, 0},
    {"UnknownHostJoins", "start, joins a JVM", nullptr, PrepareRunningVM, 0},
    {"NullVMFails", "start, the JVM to join is null", nullptr, PrepareNullVM, QV_E_FAIL},
    {"FailingCreationFails", "start, the creation fails", nullptr, PrepareFailingCreation, QV_E_FAIL},
    {"CreationWithoutEnvironment", "start, a creation without an environment", nullptr,
     PrepareCreationWithoutEnvironment, 0},
    {"RaisingCreationFails", "start, the creation raises", nullptr, PrepareRaisingCreation, QV_E_FAIL},
    {"WebDeploymentCreates", "start in a web deployment", nullptr, PrepareWebDeployment, 0},
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
      const EnvironmentScope path(L"PATH", L"C:\\windows\\system32;C:\\windows");
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
  bool JavaHost() const { return GetParam().prepare == PrepareRunningVM && KnownHost(); }

  void TearDown() override { m_world.ledger.ExpectLeft(m_left, kOptionsOfARaise); }

  static constexpr char kOptionsOfARaise[] = "a JVM that raised may have kept the array and its seven texts";
  StartupWorld m_world;
  uint64_t m_left = 0;
};

TEST_P(StartUpSweep, EachAllocationFails) {
  const GuardPages guard;
  const Strings normal = NormalOptions();
  uint64_t allocations = 0;
  std::map<int32_t, int> ends;
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    std::map<int32_t, int> seen;
    bool fired = true;
    uint64_t n = 1;
    for (; fired && !HasFailure(); ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails " << NameOf(mode));
      fired = RunWith([&] { return FailAllocation(n, mode); },
                      [&](int32_t status, bool didFire) {
                        ++seen[status];
                        if (!didFire) {
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
                        if (didFire && mode == kQvshrFailFromHere) {
                          EXPECT_NE(status, 0);
                        }
                      });
    }
    EXPECT_GT(n, 10u) << "a start-up takes more allocations than that";
    if (mode == kQvshrFailOnce) allocations = n - 2;  // the last run needed no more of them
    --seen[GetParam().status];
    for (const auto& [status, times] : seen) {
      ends[status] += times;
      EXPECT_TRUE(status == 0 || status == QV_E_FAIL || status == QV_E_OUTOFMEMORY)
          << status << ", " << times << " times";
    }
    if (GetParam().status == 0 && mode == kQvshrFailOnce) {
      EXPECT_EQ(seen[QV_E_OUTOFMEMORY], 1) << "the service object is one allocation";
    }
  }
  std::string outcome;
  for (const auto& [status, name] :
       {std::pair{0, "started"}, {QV_E_FAIL, "`E_FAIL`"}, {QV_E_OUTOFMEMORY, "`E_OUTOFMEMORY`"}}) {
    if (ends[status] != 0) outcome += (outcome.empty() ? "" : ", ") + std::to_string(ends[status]) + " " + name;
  }
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
  for (const QvshrCall call : kCalls) {
    // Without its file name the host is an unknown one for good.
    if (call == kQvshrCallGetFileName && KnownHost()) continue;
    for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
      bool fired = true;
      // The fault matrix has the first, the second and the last call with what becomes of each, and each allocation
      // fails above.
      if (call == kQvshrCallAlloc && !IsNightly()) break;
      const uint64_t step = IsNightly() ? 1 : 4;
      for (uint64_t n = 1; fired && !HasFailure(); n += step) {
        SCOPED_TRACE(testing::Message() << "call " << n << " of operation " << call << " fails " << NameOf(mode));
        fired = RunWith([&] { return FailCall(call, n, mode); },
                        [&](int32_t status, bool didFire) {
                          if (!didFire) {
                            EXPECT_EQ(status, GetParam().status);
                          }
                          EXPECT_TRUE(status == 0 || status == QV_E_FAIL || status == QV_E_OUTOFMEMORY) << status;
                          if (status == 0) {
                            EXPECT_EQ(m_world.jvm.Count(kFakeCreateVM) + m_world.jvm.Count(kFakeAttach), 1u);
                          }
                        });
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, StartUpSweep, testing::ValuesIn(kScenarios),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- what single failures of the host library mean for an unknown host that creates the JVM ----

struct CallFault {
  QvshrCall call;
  const char* name;
  uint64_t n;
  QvshrLedgerMode mode;
  int32_t status;
};

TEST(HostLibraryFault, GivesItsStatedResult) {
  for (const CallFault& row : {
           CallFault{kQvshrCallWideToMultiByte, "the class path option cannot be converted", 1, kQvshrFailOnce,
                     QV_E_FAIL},
           CallFault{kQvshrCallWideToMultiByte, "the boot class path option", 2, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallWideToMultiByte, "the hook vfprintf", 3, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallWideToMultiByte, "the hook exit", 4, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallWideToMultiByte, "the first configured option", 5, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallWideToMultiByte, "the last property", 7, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallOpenDefaultTree, "no built-in tree", 1, kQvshrFailFromHere, QV_E_FAIL},
           CallFault{kQvshrCallOpenDefaultTree, "no built-in tree for the properties", 2, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallOpenDefaultTree, "no built-in tree for the options", 3, kQvshrFailOnce, QV_E_FAIL},
           CallFault{kQvshrCallOpenSubKey, "no key in any tree", 1, kQvshrFailFromHere, QV_E_FAIL},
           CallFault{kQvshrCallCreateString, "no text at all", 1, kQvshrFailFromHere, QV_E_FAIL},
           CallFault{kQvshrCallGetFileName, "the executable has no name", 1, kQvshrFailFromHere, 0},
           CallFault{kQvshrCallGetSpecialFolder, "no folder for the log", 1, kQvshrFailFromHere, 0},
           CallFault{kQvshrCallGetSetting, "no setting", 1, kQvshrFailFromHere, 0},
           CallFault{kQvshrCallIsWebDeployment, "no answer about the deployment", 1, kQvshrFailFromHere, 0},
           CallFault{kQvshrCallEnumValue, "no properties", 1, kQvshrFailFromHere, 0},
           CallFault{kQvshrCallGetDirectory, "no folder of the service", 1, kQvshrFailFromHere, QV_E_FAIL},
       }) {
    SCOPED_TRACE(row.name);
    const StartupWorld world;
    const FailCall fault(row.call, row.n, row.mode);
    EXPECT_EQ(CreateVM().status, row.status);
    EXPECT_TRUE(fault.Fired());
    EXPECT_EQ(world.jvm.Count(kFakeCreateVM), row.status == 0 ? 1u : 0u);
  }
}

// ---- single operations ----

template <class Operation>
void SweepOperation(Operation&& operation) {
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    bool fired = true;
    for (uint64_t n = 1; fired && !testing::Test::HasFailure(); ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails " << NameOf(mode));
      LedgerCheck ledger;
      FailAllocation fault(n, mode);
      operation([&] { return fired = fault.Fired(); });
    }
  }
}

TEST(OperationSweep, LoadingTheService) {
  StartupWorld world;
  world.service.UnloadAndForget();
  SweepOperation([&](auto fired) {
    world.service.Restart();
    const bool failed = fired();
    EXPECT_EQ(g_pThreadRegistry == nullptr, failed) << "without the registry there is no service";
    if (failed) {
      EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    }
    world.service.UnloadAndForget();
  });
}

TEST(OperationSweep, ThreadsFirstCall) {
  const StartupWorld world;
  world.jvm.Script().existing = 1;
  const Created created = CreateVM();
  SweepOperation([&](auto fired) {
    OnThread([&] {
      const qv_jnienv env = QV_AcquireThreadEnv(created.vm.get());
      EXPECT_EQ(env == nullptr, fired());
      EXPECT_EQ(world.jvm.AttachedThreads(), env == nullptr ? 1 : 2) << "attached and registered, or neither";
    });
    EXPECT_EQ(world.jvm.AttachedThreads(), 1);
    // The record of a failure lives until the next thread attaches.
    QvshrLedgerFailAt(0, kQvshrFailOnce);
    OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(created.vm.get()), nullptr); });
  });
}

TEST(OperationSweep, NamingTheLog) {
  const StartupWorld world;
  const Created created = CreateVM();
  created.vm->SetLogFileName(L"C:\\first.log");
  IQvString* const first = JVMConfigInfo().m_pLogFilePath;
  ASSERT_NE(first, nullptr);
  {
    const FailAllocation fault(1, kQvshrFailOnce);
    EXPECT_EQ(created.vm->SetLogFileName(L"C:\\second.log"), 0);
    EXPECT_TRUE(fault.Fired());
  }
  EXPECT_EQ(JVMConfigInfo().m_pLogFilePath, nullptr) << "the old name is gone all the same";
  {
    const FailAllocation fault(1, kQvshrFailOnce);
    IQvString* name = first;
    EXPECT_EQ(created.vm->GetLogFileName(&name), 0);
    EXPECT_EQ(name, nullptr);
  }
}

TEST(OperationSweep, RegisteringAClassPathAndALibrary) {
  StartupWorld world;
  SweepOperation([&](auto fired) {
    const bool registered = g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), L"C:\\a.jar");
    EXPECT_EQ(!registered, fired());
    EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(GetCurrentThreadId()) != nullptr, registered);
    g_pThreadRegistry->OnThreadDetach();
  });
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    bool fired = true;
    for (uint64_t n = 1; fired; ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails " << NameOf(mode));
      world.service.Restart();
      LedgerCheck ledger;
      {
        const FailAllocation fault(n, mode);
        const HMODULE loaded = g_pThreadRegistry->LoadModuleCached("jvm.dll");
        fired = fault.Fired();
        EXPECT_EQ(loaded == nullptr, fired);
      }
      if (fired) ledger.Verify();
      EXPECT_NE(g_pThreadRegistry->LoadModuleCached("jvm.dll"), nullptr) << "lack of memory is not remembered";
      ledger.ExpectLeft(3, "node, entry and name of the library");
      if (!fired) ledger.Verify();
    }
  }
}

}  // namespace
}  // namespace qvtest
