// The very qvjvm.dll, loaded and freed by a host: what its loading needs, what FreeLibrary takes away, when it stays,
// and the ends of threads as the library's own entry routine and callback see them.
#include "base/procedure.h"
#include "qvjvm/qvjvm.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/support/environment.h"
#include "tests/support/import_hook.h"
#include "tests/support/ledger_check.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr int32_t kFail = static_cast<int32_t>(0x80004005);

// What every load leaves: one block.
constexpr char kLoadLock[] = "the lock of the configuration's load is never deleted";

class Library : private Pinned {
 public:
  Library() : m_module(LoadLibraryW((ProgramFolder() + L"\\..\\qvjvm.dll").c_str())) {
    EXPECT_NE(m_module, nullptr) << GetLastError();
  }
  ~Library() { Free(); }

  void Free() {
    if (m_module != nullptr) FreeLibrary(m_module);
    m_module = nullptr;
  }
  // More often than it was loaded.
  void FreeToZero() {
    Free();
    for (int more = 0; more < 5 && IsLoaded(); ++more) FreeLibrary(GetModuleHandleW(L"qvjvm.dll"));
  }
  [[nodiscard]] int32_t Create(IQV_JavaVM** vm, const wchar_t* classPath = nullptr) const {
    return Function<QV_CreateJavaVMFn>("QV_CreateJavaVM")(vm, classPath);
  }
  // A start that fails, and makes no object.
  void FailToCreate(const wchar_t* classPath = nullptr) const {
    auto* vm = reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111});
    EXPECT_EQ(Create(&vm, classPath), kFail);
    EXPECT_EQ(vm, reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111}));
  }
  template <class Type>
  [[nodiscard]] Type Function(const char* name) const {
    const Type function = qv::FindProcedure<Type>(m_module, name);
    EXPECT_NE(function, nullptr) << name;
    return function;
  }
  static bool IsLoaded() { return GetModuleHandleW(L"qvjvm.dll") != nullptr; }

 private:
  HMODULE m_module;
};

class LibraryTest : public testing::Test {
 protected:
  LibraryTest() { QvshrLedgerOverrideFolder(0, m_folder.Path().c_str()); }

  TempFolder m_folder;
  RegistrySandbox m_registry{RegistrySandbox::Override::MachineAndUser};
  EnvironmentScope m_path{L"PATH", kSystemPath};
  EnvironmentScope m_javaHome{L"JAVA_HOME", FakeJvm::Home()};
  EnvironmentScope m_classPath{L"CLASSPATH", std::nullopt};
};

// With the fake runtime's record in hand and the library loaded.
class LoadedLibraryTest : public LibraryTest {
 protected:
  // The service object of a start that works, which the test's end releases.
  IQV_JavaVM* Start() {
    EXPECT_EQ(m_library.Create(&m_vm), 0);
    return m_vm;
  }
  void TearDown() override {
    if (m_vm != nullptr) {
      EXPECT_EQ(m_vm->Release(), 0u);
    }
  }

  FakeJvm m_jvm;
  Library m_library;
  IQV_JavaVM* m_vm = nullptr;
};

TEST_F(LibraryTest, RegistrationExportsAreOneFunctionThatReturns0) {
  const Library library;
  using Register = int32_t (*)();
  const auto registerServer = library.Function<Register>("DllRegisterServer");
  const auto unregisterServer = library.Function<Register>("DllUnregisterServer");
  EXPECT_EQ(registerServer, unregisterServer);
  EXPECT_EQ(registerServer(), 0);
  EXPECT_EQ(unregisterServer(), 0);
  for (HKEY const hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
    DWORD keys = 1;
    DWORD values = 1;
    EXPECT_EQ(RegQueryInfoKeyW(hive, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                               nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(keys + values, 0u) << "nothing was written";
  }
}

TEST_F(LibraryTest, FreedBeforeAnyStartItIsGoneWithAllItHad) {
  for (int round = 0; round < 3; ++round) {
    LedgerCheck ledger;
    Library library;
    EXPECT_GT(ledger.Allocations(), 1u);
    library.Free();
    EXPECT_FALSE(Library::IsLoaded());
    ledger.ExpectLeft(1, kLoadLock);
  }
}

TEST_F(LibraryTest, WithoutMemoryWhileLoadingItLoadsAndStartsNothing) {
  const FakeJvm jvm;
  int loadsWithoutTheLock = 0;
  const uint64_t failed = SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    LedgerCheck ledger;
    const uint64_t before = Books().liveBlocks;
    FailAllocation fault(n, mode);
    Library library;
    const bool fired = fault.Fired();
    QvshrLedgerFailAt(0, kQvshrFailOnce);
    if (fired) library.FailToCreate();
    library.Free();
    EXPECT_FALSE(Library::IsLoaded());
    const uint64_t left = Books().liveBlocks - before;
    EXPECT_LE(left, 1u);
    if (left == 0 && mode == kQvshrFailOnce) ++loadsWithoutTheLock;
    ledger.ExpectLeft(left, kLoadLock);
    return fired;
  });
  EXPECT_GT(failed, 2 * 3u) << "two locks and the registry with its lists at least";
  EXPECT_EQ(loadsWithoutTheLock, 1) << "the lock is one allocation";
  EXPECT_EQ(jvm.Count(kFakeCreateVM), 0u);
}

// The runtime is loaded, and no JVM gets to know the service.
class NoOptions : public FailCall {
 public:
  NoOptions() : FailCall(kQvshrCallWideToMultiByte, 1, kQvshrFailFromHere) {}
};

TEST_F(LibraryTest, FreedAfterAFailedStartItIsGoneAndTakesTheRuntimeAlong) {
  LedgerCheck ledger;
  Library library;
  {
    const NoOptions fault;
    library.FailToCreate(L"C:\\mine.jar");
  }
  EXPECT_NE(GetModuleHandleW(L"jvm.dll"), nullptr);
  library.Free();
  EXPECT_FALSE(Library::IsLoaded());
  EXPECT_EQ(GetModuleHandleW(L"jvm.dll"), nullptr) << "cached libraries are freed with the service";
  ledger.ExpectLeft(1, kLoadLock);
}

TEST_F(LibraryTest, ThreadWithAClassPathOutlivesTheFreedLibrary) {
  LedgerCheck ledger;
  const FakeJvm jvm;
  Library library;
  OnThread([&] {
    const NoOptions fault;
    library.FailToCreate(L"C:\\mine.jar");
    library.Free();
    EXPECT_FALSE(Library::IsLoaded());
  });  // its end must not call into what is gone
  ledger.ExpectLeft(1, kLoadLock);
}

TEST_F(LibraryTest, ManyLoadsAndFailedStartsLeaveNoSlotsBehind) {
  const FakeJvm jvm;
  const NoOptions fault;
  // More than a process has slots for the ends of threads.
  for (int round = 0; round < 300 && !HasFailure(); ++round) Library().FailToCreate(L"C:\\mine.jar");
  EXPECT_EQ(jvm.Count(kFakeGetCreatedVMs), 300u) << "every start got as far as the first";
  EXPECT_FALSE(Library::IsLoaded());
}

// It has the addresses of the hooks, and may use them the next time that anybody creates a JVM.
TEST_F(LoadedLibraryTest, JVMThatRefusedToStartKeepsTheLibrary) {
  m_jvm.Script().createResult = -1;
  m_library.FailToCreate();
  const auto create = m_library.Function<QV_CreateJavaVMFn>("QV_CreateJavaVM");
  m_library.FreeToZero();
  ASSERT_TRUE(Library::IsLoaded());
  m_jvm.Script().createResult = 0;
  EXPECT_EQ(create(&m_vm, nullptr), 0) << "the next start works";
}

// From the first attached thread on: created or joined, it makes no difference.
class StayingLibraryTest : public LoadedLibraryTest, public testing::WithParamInterface<int32_t> {};

TEST_P(StayingLibraryTest, FreedAfterTheStartItStaysAndGoesOnWorking) {
  m_jvm.Script().existing = GetParam();
  Start();
  const auto create = m_library.Function<QV_CreateJavaVMFn>("QV_CreateJavaVM");
  m_library.FreeToZero();
  ASSERT_TRUE(Library::IsLoaded());
  EXPECT_EQ(m_jvm.Count(kFakeDetach), 0u);
  const DWORD threadId = OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(m_vm), nullptr); });
  ASSERT_EQ(m_jvm.Count(kFakeDetach), 1u);
  EXPECT_EQ(m_jvm.Calls(kFakeDetach)[0].threadId, threadId);
  IQV_JavaVM* second = nullptr;
  EXPECT_EQ(create(&second, L"C:\\late.jar"), GetParam() == 0 ? 8 : 0);
  EXPECT_EQ(second->Release(), 0u);
  QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);  // the end of this process detaches nobody from a runtime gone
}
INSTANTIATE_TEST_SUITE_P(CreatedOrJoined, StayingLibraryTest, testing::Values(0, 1),
                         [](const auto& row) { return row.param == 0 ? "Created" : "Joined"; });

TEST_F(LoadedLibraryTest, ThreadsThatNeverCallCostNothing) {
  Start();
  const LedgerCheck ledger;
  for (int i = 0; i < 20; ++i) OnThread([] {});
  EXPECT_EQ(ledger.Allocations(), 0u);
  EXPECT_EQ(m_jvm.Count(kFakeAttach) + m_jvm.Count(kFakeDetach), 0u);
}

IQV_JavaVM* g_vm = nullptr;

TEST_F(LoadedLibraryTest, ThreadThatComesBackAfterItsCallbackIsDetachedByTheEntryRoutine) {
  g_vm = Start();
  const DWORD lateSlot = FlsAlloc([](void*) -> void { QV_AcquireThreadEnv(g_vm); });  // called behind the service's
  OnThread([&] {
    QV_AcquireThreadEnv(m_vm);
    FlsSetValue(lateSlot, m_vm);
  });
  EXPECT_EQ(m_jvm.Count(kFakeAttach), 2u) << "attached again by the late callback";
  EXPECT_EQ(m_jvm.Count(kFakeDetach), 2u);
  EXPECT_EQ(m_jvm.AttachedThreads(), 1) << "the main thread";
  FlsFree(lateSlot);
}

TEST_F(LibraryTest, WithoutASlotForThreadEndsTheEntryRoutineDetaches) {
  const FakeJvm jvm;
  std::vector<DWORD> taken;  // all that the process can still have
  for (DWORD slot = FlsAlloc(nullptr); slot != FLS_OUT_OF_INDEXES; slot = FlsAlloc(nullptr)) taken.push_back(slot);
  const Library library;
  for (const DWORD slot : taken) FlsFree(slot);
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  const DWORD threadId = OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(vm), nullptr); });
  ASSERT_EQ(jvm.Count(kFakeDetach), 1u);
  EXPECT_EQ(jvm.Calls(kFakeDetach)[0].threadId, threadId);
  vm->Release();
}

// A thread of fibres that asked for a class path and whose start failed before anything was loaded; it ends, under the
// loader lock, while another one loads the runtime under the registry's lock.
TEST_F(LoadedLibraryTest, ThreadOfFibersThatEndsDuringTheLoadWaitsForNobody) {
  const Event failed;
  const Event loading;
  const HostThread thread([&] {
    ConvertThreadToFiber(nullptr);
    {
      const FailAllocation nothing(1, kQvshrFailFromHere);
      IQV_JavaVM* vm = nullptr;
      EXPECT_EQ(m_library.Create(&vm, L"C:\\mine.jar"), kFail);
    }
    failed.Set();
    loading.Wait();
  });
  failed.Wait();
  bool ended = false;
  const auto loadWhenItIsGone = [&](const char* name) {
    loading.Set();
    ended = thread.Join(5000);
    return LoadLibraryA(name);
  };
  const FunctionHook<decltype(&LoadLibraryA)> hook("LoadLibraryA", loadWhenItIsGone, GetModuleHandleW(L"qvjvm.dll"));
  Start();
  EXPECT_TRUE(ended);
}

class LogOfALibraryTest : public LibraryTest, public testing::WithParamInterface<bool> {};

TEST_P(LogOfALibraryTest, HasTheOutputOfTheJVMUnlessDebugModeIsOff) {
  const EnvironmentScope script(L"FAKEJVM_SCRIPT", L"createPrints=1");
  const Library library;
  if (!GetParam()) library.Function<QV_SetJavaVMDebugModeFn>("QV_SetJavaVMDebugMode")(0);
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  const std::wstring log = m_folder.Path(L"vm.out");
  EXPECT_EQ(FileExists(log) ? ReadWholeFile(log) : "<none>",
            GetParam() ? "*** Starting JVM Logging ***\r\n\r\nfake output 42\r\n" : "<none>");
  vm->Release();
}
INSTANTIATE_TEST_SUITE_P(DebugMode, LogOfALibraryTest, testing::Bool());

TEST_F(LoadedLibraryTest, JVMThatRaisesDoesNotTakeTheHostAlong) {
  m_jvm.Script().createResult = -1;
  m_library.FailToCreate();  // the first start keeps what every one needs
  m_jvm.Script().createResult = 0;
  for (const FakeJvmRaise raise : {kRaiseAccessViolation, kRaiseSoftware, kRaiseCpp}) {
    LedgerCheck ledger;
    m_jvm.Script().createRaises = raise;
    m_library.FailToCreate();
    ledger.ExpectLeft(8, "the options of a creation that raised: the array and seven texts");
  }
  m_library.Free();
  EXPECT_TRUE(Library::IsLoaded()) << "the JVM may have kept the addresses of the hooks";
}

}  // namespace
}  // namespace qvtest
