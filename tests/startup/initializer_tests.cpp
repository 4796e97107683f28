// One thread's way into the JVM: the texts of its failures, which a host reads as the error record, and when a thread
// is detached.
#include "base/procedure.h"
#include "service/jni_initializer.h"
#include "service/thread_registry.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

constexpr wchar_t kConfigurationError[] = L"There was a JVM Service configuration error. Cannot proceed!!";
constexpr wchar_t kRaised[] = L"Java VM threw an unhandled exception on initialize. Cannot proceed!!";
constexpr wchar_t kNotInitialized[] = L"Java VM not initialized properly. Cannot proceed!!";
constexpr wchar_t kNoEnvironment[] = L"Java VM initialization error. Cannot proceed!!";

// A world whose runtime is loaded and whose JVM is not there yet.
class LoadedWorld : public StartupWorld {
 public:
  explicit LoadedWorld(const std::wstring& hostPath = {}) : StartupWorld(hostPath) {
    EXPECT_TRUE(JVMConfigInfo().Load());
    g_pfnGetCreatedJavaVMs = qv::FindProcedure<GetCreatedJavaVMsFn>(jvm.Module(), "JNI_GetCreatedJavaVMs");
    g_pfnCreateJavaVM = qv::FindProcedure<CreateJavaVMFn>(jvm.Module(), "JNI_CreateJavaVM");
  }
};

// An initializer and what its Initialize gave.
struct Joining {
  explicit Joining(uint32_t threadId = 1) : status(initializer->Initialize(threadId, &record)) {}

  const InitializerOwner initializer{new CQV_JNIInitializer()};
  ErrorRecord* record = reinterpret_cast<ErrorRecord*>(uintptr_t{0x3333});
  const int32_t status;
};

struct Outcome {
  const char* name;
  FakeJvmScript script;
  const wchar_t* text;
};

FakeJvmScript With(int32_t FakeJvmScript::*field, int32_t value, int32_t existing = 0) {
  FakeJvmScript script = {};
  script.existing = existing;
  script.*field = value;
  return script;
}

TEST(Initializer, FailureLeavesNoEnvironmentAndItsTextInANewRecord) {
  for (const Outcome& row : {
           Outcome{"access violation", With(&FakeJvmScript::createRaises, kRaiseAccessViolation), kRaised},
           Outcome{"structured exception", With(&FakeJvmScript::createRaises, kRaiseSoftware), kRaised},
           Outcome{"C++ exception", With(&FakeJvmScript::createRaises, kRaiseCpp), kRaised},
           Outcome{"creation answers -1", With(&FakeJvmScript::createResult, -1), kNotInitialized},
           Outcome{"creation answers the smallest number", With(&FakeJvmScript::createResult, INT32_MIN),
                   kNotInitialized},
           Outcome{"attaching answers -2", With(&FakeJvmScript::attachResult, -2, 1), kNotInitialized},
           Outcome{"attaching answers 1", With(&FakeJvmScript::attachResult, 1, 1), kNotInitialized},
           Outcome{"the first VM is null", With(&FakeJvmScript::firstVmNull, 1, 3), kNotInitialized},
       }) {
    SCOPED_TRACE(row.name);
    LoadedWorld world;
    world.jvm.Script() = row.script;
    const Joining joining(1234);
    EXPECT_EQ(static_cast<uint32_t>(joining.status), 0x80004005u);
    EXPECT_EQ(TakeRecord(joining.record), row.text);
    EXPECT_EQ(joining.initializer->GetEnv(), nullptr) << "whatever the JVM left in its out-values";
    EXPECT_EQ(joining.initializer->ThreadId(), 1234u);
    joining.initializer->Terminate();
    EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u) << "nothing to detach";
    EXPECT_EQ(g_bJvmCreated, 0);
    if (row.script.createRaises != 0) world.ledger.ExpectLeft(8, "the options of a creation that raised");
  }
}

TEST(Initializer, OptionsThatCannotBeBuiltAreAConfigurationError) {
  const LoadedWorld world(L"C:\\hosts\\qv190.exe");  // a known host without its settings
  const Joining joining;
  EXPECT_EQ(joining.status, QV_E_FAIL);
  EXPECT_EQ(TakeRecord(joining.record), kConfigurationError);
  EXPECT_EQ(joining.initializer->GetEnv(), nullptr);
  EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 0u);
}

TEST(Initializer, NullEntryPointsAreAFailedQueryAndANegativeResult) {
  const LoadedWorld world;
  g_pfnGetCreatedJavaVMs = nullptr;
  g_pfnCreateJavaVM = nullptr;
  const Joining joining;
  EXPECT_EQ(joining.status, QV_E_FAIL);
  EXPECT_EQ(TakeRecord(joining.record), kNotInitialized);
}

TEST(Initializer, NullRecordPointerIsRefusedBeforeAnythingElse) {
  const LoadedWorld world;
  const InitializerOwner initializer(new CQV_JNIInitializer());
  EXPECT_EQ(static_cast<uint32_t>(initializer->Initialize(99, nullptr)), 0x80070057u);
  EXPECT_EQ(initializer->ThreadId(), 0u);
  EXPECT_EQ(world.jvm.Story(), std::vector<std::string>());
}

TEST(Initializer, RecordPointerIsClearedFirst) {
  const LoadedWorld world;
  const Joining joining(GetCurrentThreadId());
  EXPECT_EQ(joining.status, 0);
  EXPECT_EQ(joining.record, nullptr);
  EXPECT_EQ(joining.initializer->GetEnv(), world.jvm.Calls(kFakeCreateVM).at(0).env);
  EXPECT_EQ(g_bJvmCreated, 1);
}

TEST(Initializer, RecordStaysNullWithoutMemoryForIt) {
  const LoadedWorld world;
  world.jvm.Script() = With(&FakeJvmScript::firstVmNull, 1, 1);
  const InitializerOwner initializer(new CQV_JNIInitializer());
  const FailAllocation fault(1, kQvshrFailFromHere);
  auto* record = reinterpret_cast<ErrorRecord*>(uintptr_t{0x3333});
  EXPECT_EQ(initializer->Initialize(1, &record), QV_E_FAIL);
  EXPECT_EQ(record, nullptr);
  EXPECT_TRUE(fault.Fired());
}

TEST(Initializer, JoiningDoesNotTouchTheFlagOfCreation) {
  const LoadedWorld world;
  world.jvm.Script().existing = 1;
  for (const int32_t before : {0, 1}) {
    g_bJvmCreated = before;
    EXPECT_EQ(Joining().status, 0);
    EXPECT_EQ(g_bJvmCreated, before);
  }
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 2u) << "the end of each detached its thread";
}

TEST(Initializer, TerminateDetachesOnceUnlessTheHostForbidsIt) {
  const struct {
    const char* name;
    int32_t noDetach;
    bool javaHost;
    size_t detached;
  } rows[] = {{"allowed", 0, false, 1},
              {"the host library forbids it", 1, false, 0},
              {"any other number forbids it too", -5, false, 0},
              {"a Java host", 0, true, 0},
              {"both", 1, true, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const LoadedWorld world;
    world.jvm.Script().existing = 1;
    QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, row.noDetach);
    JVMConfigInfo().m_bLoomhallHost = row.javaHost;
    {
      const InitializerOwner initializer(new CQV_JNIInitializer());
      initializer->Terminate();
      EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u) << "nothing before it was initialised";
      ErrorRecord* record = nullptr;
      EXPECT_EQ(initializer->Initialize(1, &record), 0);
      initializer->Terminate();
      EXPECT_EQ(world.jvm.Count(kFakeDetach), row.detached);
      EXPECT_EQ(initializer->GetEnv(), nullptr) << "forgotten in any case";
      initializer->Terminate();
    }
    EXPECT_EQ(world.jvm.Count(kFakeDetach), row.detached) << "its end finds nothing left to do";
    QvshrLedgerClearInt(kQvshrCallNoDetachQuery);
  }
}

// ---- the same as a host sees it, through slot 60 of a service object ----

TEST(AcquireThreadEnv, FailureOfAThreadIsTheObjectsRecord) {
  for (const Outcome& row : {
           Outcome{"attaching fails", With(&FakeJvmScript::attachResult, -1, 1), kNotInitialized},
           Outcome{"the VM is null", With(&FakeJvmScript::firstVmNull, 1, 1), kNotInitialized},
           Outcome{"no environment", With(&FakeJvmScript::attachWithoutEnv, 1, 1), kNoEnvironment},
           Outcome{"no VM any more, and the creation fails", With(&FakeJvmScript::createResult, -1), kNotInitialized},
           Outcome{"no VM any more, and the creation raises", With(&FakeJvmScript::createRaises, kRaiseSoftware),
                   kRaised},
       }) {
    SCOPED_TRACE(row.name);
    JoinedWorld world;
    world.jvm.Script() = row.script;
    OnThread([&] {
      EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), nullptr);
      EXPECT_EQ(ErrorText(*world.vm), row.text);
      world.jvm.Script() = With(&FakeJvmScript::existing, 1);
      EXPECT_NE(QV_AcquireThreadEnv(world.vm.get()), nullptr) << "tried again by the next call";
      EXPECT_EQ(ErrorText(*world.vm), L"<none>") << "the old record is gone";
    });
    if (row.script.createRaises != 0) world.ledger.ExpectLeft(8, "the options of a creation that raised");
  }
}

TEST(AcquireThreadEnv, FoundEnvironmentLeavesTheRecordAlone) {
  const JoinedWorld world;
  const qv_jnienv mine = QV_AcquireThreadEnv(world.vm.get());
  EXPECT_EQ(mine, world.jvm.Calls(kFakeAttach).at(0).env);
  world.jvm.Script().attachResult = -1;
  OnThread([&] { EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), nullptr); });
  EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), mine);
  EXPECT_EQ(ErrorText(*world.vm), kNotInitialized) << "the other thread's failure stays readable";
}

TEST(AcquireThreadEnv, WithoutMemoryTheOldRecordIsGoneAllTheSame) {
  const JoinedWorld world;
  world.jvm.Script().attachResult = -1;
  OnThread([&] {
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), nullptr);
    EXPECT_EQ(ErrorText(*world.vm), kNotInitialized);
    const FailAllocation fault(1, kQvshrFailOnce);
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), nullptr);
    EXPECT_TRUE(fault.Fired());
  });
  EXPECT_EQ(ErrorText(*world.vm), L"<none>");
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 2u) << "the last call had no initializer to attach with";
}

TEST(AcquireThreadEnv, ThreadThatFindsNoJVMCreatesItWithItsOwnClassPath) {
  const JoinedWorld world;
  ASSERT_EQ(g_bJvmCreated, 0);
  world.jvm.Script().existing = 0;
  OnThread([&] {
    ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), L"C:\\thread.jar"));
    EXPECT_NE(QV_AcquireThreadEnv(world.vm.get()), nullptr);
  });
  EXPECT_EQ(g_bJvmCreated, 1);
  EXPECT_EQ(world.jvm.OptionTexts().at(0).rfind("-Djava.class.path=C:\\thread.jar;", 0), 0u)
      << world.jvm.OptionTexts().at(0);
}

TEST(AcquireThreadEnv, WithoutARegistryThereIsNoEnvironment) {
  StartedWorld world;
  world.service.Unload();
  EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), nullptr);
}

}  // namespace
}  // namespace qvtest
