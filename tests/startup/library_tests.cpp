// The very qvjvm.dll, loaded and freed by a host: what its loading needs, what FreeLibrary takes away, when it stays,
// and the ends of threads as the library's own entry routine and callback see them.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/handle.h"
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

class Library {
 public:
  Library() : m_module(LoadLibraryW((ProgramFolder() + L"\\..\\qvjvm.dll").c_str())) {
    EXPECT_NE(m_module, nullptr) << GetLastError();
  }
  ~Library() { Free(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

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
  EnvironmentScope m_path{L"PATH", L"C:\\windows\\system32;C:\\windows"};
  EnvironmentScope m_javaHome{L"JAVA_HOME", FakeJvm::Home()};
  EnvironmentScope m_classPath{L"CLASSPATH", std::nullopt};
};

uint64_t LiveBlocks() { return Books().liveBlocks; }

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
    EXPECT_EQ(RegQueryInfoKeyW(hive, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(keys, 0u) << "nothing was written";
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
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    bool fired = true;
    uint64_t n = 1;
    int loadsWithoutTheLock = 0;
    for (; fired; ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails " << NameOf(mode));
      LedgerCheck ledger;
      const uint64_t before = LiveBlocks();
      FailAllocation fault(n, mode);
      Library library;
      fired = fault.Fired();
      QvshrLedgerFailAt(0, kQvshrFailOnce);
      if (fired) {
        auto* vm = reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111});
        EXPECT_EQ(library.Create(&vm), kFail);
        EXPECT_EQ(vm, reinterpret_cast<IQV_JavaVM*>(uintptr_t{0x1111}));
      }
      library.Free();
      EXPECT_FALSE(Library::IsLoaded());
      const uint64_t left = LiveBlocks() - before;
      EXPECT_LE(left, 1u);
      if (left == 0) ++loadsWithoutTheLock;
      ledger.ExpectLeft(left, kLoadLock);
    }
    EXPECT_GT(n, 4u) << "two locks and the registry with its lists at least";
    if (mode == kQvshrFailOnce) {
      EXPECT_EQ(loadsWithoutTheLock, 1) << "the lock is one allocation";
    }
  }
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
  IQV_JavaVM* vm = nullptr;
  {
    const NoOptions fault;
    EXPECT_EQ(library.Create(&vm, L"C:\\mine.jar"), kFail);
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
    IQV_JavaVM* vm = nullptr;
    EXPECT_EQ(library.Create(&vm, L"C:\\mine.jar"), kFail);
    library.Free();
    EXPECT_FALSE(Library::IsLoaded());
  });  // its end must not call into what is gone
  ledger.ExpectLeft(1, kLoadLock);
}

TEST_F(LibraryTest, ManyLoadsAndFailedStartsLeaveNoSlotsBehind) {
  const FakeJvm jvm;
  const NoOptions fault;
  // More than a process has slots for the ends of threads.
  for (int round = 0; round < 300; ++round) {
    Library library;
    IQV_JavaVM* vm = nullptr;
    ASSERT_EQ(library.Create(&vm, L"C:\\mine.jar"), kFail) << round;
  }
  EXPECT_EQ(jvm.Count(kFakeGetCreatedVMs), 300u) << "every start got as far as the first";
  EXPECT_FALSE(Library::IsLoaded());
}

// It has the addresses of the hooks, and may use them the next time that anybody creates a JVM.
TEST_F(LibraryTest, JVMThatRefusedToStartKeepsTheLibrary) {
  const FakeJvm jvm;
  jvm.Script().createResult = -1;
  Library library;
  IQV_JavaVM* vm = nullptr;
  EXPECT_EQ(library.Create(&vm), kFail);
  const auto create = library.Function<QV_CreateJavaVMFn>("QV_CreateJavaVM");
  library.FreeToZero();
  ASSERT_TRUE(Library::IsLoaded());
  jvm.Script().createResult = 0;
  EXPECT_EQ(create(&vm, nullptr), 0) << "the next start works";
  EXPECT_EQ(vm->Release(), 0u);
}

// From the first attached thread on: created or joined, it makes no difference.
class StayingLibraryTest : public LibraryTest, public testing::WithParamInterface<int32_t> {};

TEST_P(StayingLibraryTest, FreedAfterTheStartItStaysAndGoesOnWorking) {
  const FakeJvm jvm;
  jvm.Script().existing = GetParam();
  Library library;
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  const auto create = library.Function<QV_CreateJavaVMFn>("QV_CreateJavaVM");
  library.FreeToZero();
  ASSERT_TRUE(Library::IsLoaded());
  EXPECT_EQ(jvm.Count(kFakeDetach), 0u);
  const DWORD threadId = OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(vm), nullptr); });
  ASSERT_EQ(jvm.Count(kFakeDetach), 1u);
  EXPECT_EQ(jvm.Calls(kFakeDetach)[0].threadId, threadId);
  IQV_JavaVM* second = nullptr;
  EXPECT_EQ(create(&second, L"C:\\late.jar"), GetParam() == 0 ? 8 : 0);
  EXPECT_EQ(second->Release(), 0u);
  EXPECT_EQ(vm->Release(), 0u);
  QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);  // the end of this process detaches nobody from a runtime gone
}
INSTANTIATE_TEST_SUITE_P(CreatedOrJoined, StayingLibraryTest, testing::Values(0, 1),
                         [](const auto& row) { return row.param == 0 ? "Created" : "Joined"; });

TEST_F(LibraryTest, ThreadsThatNeverCallCostNothing) {
  const FakeJvm jvm;
  Library library;
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  LedgerCheck ledger;
  for (int i = 0; i < 20; ++i) OnThread([] {});
  EXPECT_EQ(ledger.Allocations(), 0u);
  EXPECT_EQ(jvm.Count(kFakeAttach) + jvm.Count(kFakeDetach), 0u);
  ledger.Verify();
  vm->Release();
}

IQV_JavaVM* g_vm = nullptr;
DWORD g_lateSlot = FLS_OUT_OF_INDEXES;
void CALLBACK CallAgain(void*) { QV_AcquireThreadEnv(g_vm); }

TEST_F(LibraryTest, ThreadThatComesBackAfterItsCallbackIsDetachedByTheEntryRoutine) {
  const FakeJvm jvm;
  Library library;
  ASSERT_EQ(library.Create(&g_vm), 0);
  g_lateSlot = FlsAlloc(CallAgain);  // behind the service's, so its callback comes later
  OnThread([] {
    QV_AcquireThreadEnv(g_vm);
    FlsSetValue(g_lateSlot, &g_lateSlot);
  });
  EXPECT_EQ(jvm.Count(kFakeAttach), 2u) << "attached again by the late callback";
  EXPECT_EQ(jvm.Count(kFakeDetach), 2u);
  EXPECT_EQ(jvm.AttachedThreads(), 1) << "the main thread";
  FlsFree(g_lateSlot);
  g_vm->Release();
}

// Every slot that the process can still have is somebody else's.
TEST_F(LibraryTest, WithoutASlotForThreadEndsTheEntryRoutineDetaches) {
  const FakeJvm jvm;
  std::vector<DWORD> taken;
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
qv::Handle g_fiberThread;
qv::Handle g_loading;
bool g_fiberThreadEnded = false;
decltype(&LoadLibraryA) g_realLoad = nullptr;
HMODULE WINAPI LoadWhenTheFiberThreadIsGone(const char* name) {
  SetEvent(g_loading.Get());
  g_fiberThreadEnded = WaitForSingleObject(g_fiberThread.Get(), 5000) == WAIT_OBJECT_0;
  return g_realLoad(name);
}

TEST_F(LibraryTest, ThreadOfFibersThatEndsDuringTheLoadWaitsForNobody) {
  const FakeJvm jvm;
  static const Library* s_library;
  const Library library;
  s_library = &library;
  g_loading.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const qv::Handle failed(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  g_fiberThread.Reset(CreateThread(
      nullptr, 0,
      [](void* done) -> DWORD {
        ConvertThreadToFiber(nullptr);
        {
          const FailAllocation nothing(1, kQvshrFailFromHere);
          IQV_JavaVM* vm = nullptr;
          EXPECT_EQ(s_library->Create(&vm, L"C:\\mine.jar"), kFail);
        }
        SetEvent(done);
        WaitForSingleObject(g_loading.Get(), INFINITE);
        return 0;
      },
      failed.Get(), 0, nullptr));
  WaitForSingleObject(failed.Get(), INFINITE);
  const ImportHook hook(GetModuleHandleW(L"qvjvm.dll"), "LoadLibraryA", &LoadWhenTheFiberThreadIsGone);
  g_realLoad = hook.Original<decltype(g_realLoad)>();
  IQV_JavaVM* vm = nullptr;
  EXPECT_EQ(library.Create(&vm), 0);
  EXPECT_TRUE(g_fiberThreadEnded);
  vm->Release();
}

TEST_F(LibraryTest, DebugModeSilencesTheLogOfTheRunningJVM) {
  const EnvironmentScope script(L"FAKEJVM_SCRIPT", L"createPrints=1");
  const std::wstring log = m_folder.Path(L"vm.out");
  const Library library;
  library.Function<QV_SetJavaVMDebugModeFn>("QV_SetJavaVMDebugMode")(0);
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  EXPECT_FALSE(FileExists(log));
  vm->Release();
}

TEST_F(LibraryTest, OutputOfTheJVMReachesTheLog) {
  const EnvironmentScope script(L"FAKEJVM_SCRIPT", L"createPrints=1");
  const Library library;
  IQV_JavaVM* vm = nullptr;
  ASSERT_EQ(library.Create(&vm), 0);
  EXPECT_EQ(ReadWholeFile(m_folder.Path(L"vm.out")), "*** Starting JVM Logging ***\r\n\r\nfake output 42\r\n");
  vm->Release();
}

TEST_F(LibraryTest, JVMThatRaisesDoesNotTakeTheHostAlong) {
  const FakeJvm jvm;
  Library library;
  IQV_JavaVM* vm = nullptr;
  jvm.Script().createResult = -1;
  EXPECT_EQ(library.Create(&vm), kFail) << "the first start keeps what every one needs";
  jvm.Script().createResult = 0;
  for (const FakeJvmRaise raise : {kRaiseAccessViolation, kRaiseSoftware, kRaiseCpp}) {
    LedgerCheck ledger;
    jvm.Script().createRaises = raise;
    EXPECT_EQ(library.Create(&vm), kFail);
    ledger.ExpectLeft(8, "the options of a creation that raised: the array and seven texts");
  }
  library.Free();
  EXPECT_TRUE(Library::IsLoaded()) << "the JVM may have kept the addresses of the hooks";
}

}  // namespace
}  // namespace qvtest
