// FreeLibrary of the service, to zero and beyond, in every state and by every way that it came into the process, with a
// real runtime and the ledger build of the host library. Each test is a process of its own. Before the first thread of
// the service's joins the JVM it goes and can come again; from then on it stays.
#include <atomic>

#include "base/procedure.h"
#include "tests/real/joined_host.h"
#include "tests/real/running_vm.h"
#include "tests/reliability/unload/other_libraries.h"
#include "tests/support/ledger_check.h"
#include "tests/support/process_counters.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/reliability.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr wchar_t kOptions[] = L"Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMconfig";
constexpr wchar_t kProperties[] = L"Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMprops";
// What every load leaves: one block.
constexpr char kLoadLock[] = "the lock of the configuration's load is never deleted";

template <class Function>
Function Find(HMODULE module, const char* name) {
  const auto function = qv::FindProcedure<Function>(module, name);
  EXPECT_NE(function, nullptr) << name;
  return function;
}

HMODULE Load(const std::wstring& path) {
  const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  EXPECT_NE(module, nullptr) << ToUtf8(path) << ": error " << GetLastError();
  return module;
}

bool IsLoaded(const std::wstring& path) { return GetModuleHandleW(path.c_str()) != nullptr; }

const std::wstring& ServicePath() {
  static const std::wstring path = InstallFolder() + L"\\qvjvm.dll";
  return path;
}

// As often as it takes, and more often than that; it stays.
void ExpectStays(const std::wstring& path = ServicePath()) {
  for (int i = 0; i < 10 && IsLoaded(path); ++i) FreeLibrary(GetModuleHandleW(path.c_str()));
  EXPECT_TRUE(IsLoaded(path));
}

// The same library in a folder of its own.
std::wstring SecondPath() { return InstallFolder() + L"\\second\\qvjvm.dll"; }

int32_t Create(HMODULE service, IQV_JavaVM** vm) {
  return Find<QV_CreateJavaVMFn>(service, "QV_CreateJavaVM")(vm, nullptr);
}

// The object of a start that must work; null when it does not.
IQV_JavaVM* Start(HMODULE service) {
  IQV_JavaVM* vm = nullptr;
  EXPECT_EQ(Create(service, &vm), QV_S_OK);
  return vm;
}
IQV_JavaVM* StartThrough(HMODULE other) {
  IQV_JavaVM* vm = nullptr;
  EXPECT_EQ(Find<OtherCreateFn>(other, "OtherCreate")(&vm), QV_S_OK);
  return vm;
}

void ExpectJavaWorks(IQV_JavaVM* vm) {
  ASSERT_NE(vm, nullptr);
  int32_t largest = 0;
  EXPECT_TRUE(Ok(vm, vm->GetStaticIntField(&largest, FindClass(vm, "java/lang/Integer"), "MAX_VALUE")));
  EXPECT_EQ(largest, 2147483647);
}

// Loads the service as if for the first time and uses it.
void ExpectLoadsAndWorks() { ExpectJavaWorks(Start(Load(ServicePath()))); }

// Threads come, call and end; the JVM must know none of them afterwards.
void ExpectThreadsComeAndGo(const std::vector<IQV_JavaVM*>& vms) {
  const int32_t before = ThreadsInJava(vms.front());
  for (int i = 0; i < 10; ++i) {
    OnThread([&] {
      for (IQV_JavaVM* vm : vms) ExpectJavaWorks(vm);
    });
  }
  EXPECT_EQ(ThreadsInJava(vms.front()), before);
}

// What the work leaves: a block for each load of the service, and no more.
template <class Work>
std::string LeftBy(Work&& work, uint64_t loads = 1) {
  LedgerCheck ledger;
  const uint64_t before = Books().liveBlocks;
  work();
  ledger.ExpectLeft(loads, kLoadLock);
  const uint64_t left = Books().liveBlocks - before;
  return std::to_string(left) + (left == 1 ? " block" : " blocks");
}

const char* StateOf(const std::wstring& path) { return IsLoaded(path) ? "stays" : "gone"; }

// The last thing of a case: what failed before is on the page as well.
void Record(const char* key, const std::string& name, const std::string& module, const std::string& left,
            const char* later) {
  if (testing::Test::HasFailure()) later = "failed";
  RecordRow("unload", key, {name, module, left, later});
}

constexpr char kNothing[] = "nothing: it is in use";
constexpr char kAgain[] = "loaded again, it starts Java";
constexpr char kGoesOn[] = "goes on working";

TEST(Unload, BeforeAnyStartUp) {
  const int rounds = IsNightly() ? 1000 : 50;
  int64_t handlesBefore = 0;
  std::string left;
  for (int round = 0; round < rounds; ++round) {
    if (round == 1) handlesBefore = CountProcess().handles;  // the first may make what the system keeps
    left = LeftBy([&] {
      EXPECT_EQ(FreeLibrary(Load(ServicePath())), TRUE);
      EXPECT_FALSE(IsLoaded(ServicePath())) << "round " << round;
    });
    ASSERT_FALSE(HasFailure());
  }
  const int64_t handles = CountProcess().handles - handlesBefore;
  EXPECT_EQ(handles, 0);
  const char* const state = StateOf(ServicePath());
  ExpectLoadsAndWorks();
  Record("01", "before any start-up, " + std::to_string(rounds) + " times", state,
         left + " each time, " + (handles == 0 ? "no" : std::to_string(handles)) + " handles", kAgain);
}

TEST(Unload, AfterAStartUpWithoutARuntime) {
  const std::wstring lonely = SecondPath();  // no private runtime lies beside it
  const std::string left = LeftBy([&] {
    const RegistrySandbox registry;
    const EnvironmentScope home(L"JAVA_HOME", std::nullopt);
    const HMODULE service = Load(lonely);
    IQV_JavaVM* vm = nullptr;
    EXPECT_EQ(Create(service, &vm), QV_E_FAIL);
    FreeLibrary(service);
    EXPECT_FALSE(IsLoaded(lonely));
  });
  ExpectLoadsAndWorks();
  Record("02", "after a start-up that found no runtime", StateOf(lonely), left, kAgain);
}

// The runtime knows the hooks already when it meets the option that it refuses, and prints through them the next time.
TEST(Unload, AfterAStartUpThatTheRuntimeRefused) {
  {
    RegistrySandbox registry;
    registry.SetList(Hive::Machine, kOptions, {L"-XX:NoSuchOption"});
    registry.CreateKey(Hive::Machine, kProperties);
    const HMODULE service = Load(ServicePath());
    IQV_JavaVM* vm = nullptr;
    EXPECT_EQ(Create(service, &vm), QV_E_FAIL);
    EXPECT_TRUE(IsLoaded(L"jvm.dll"));
  }
  ExpectStays();
  const EnvironmentScope printed(L"JAVA_TOOL_OPTIONS", L"-Dprinted=before the new hooks are known");
  ExpectLoadsAndWorks();
  const std::string runtime = ToUtf8(ReadVariable(L"QV_TEST_RUNTIME").value_or(L"?"));
  Record(("03 " + runtime).c_str(), "after a start-up that runtime " + runtime + " refused", StateOf(ServicePath()),
         kNothing, kGoesOn);
}

TEST(Unload, AfterCreation) {
  const HMODULE service = Load(ServicePath());
  const auto create = Find<QV_CreateJavaVMFn>(service, "QV_CreateJavaVM");
  IQV_JavaVM* const vm = Start(service);
  const LedgerCheck ledger;
  ExpectStays();
  ExpectJavaWorks(vm);
  ExpectThreadsComeAndGo({vm});
  IQV_JavaVM* second = nullptr;
  EXPECT_EQ(create(&second, L"C:\\late.jar"), QV_S_CLASSPATH_IGNORED);
  EXPECT_EQ(second->Release(), 0u);
  Record("04", "after it created the JVM", StateOf(ServicePath()), kNothing, kGoesOn);
}

TEST(Unload, AfterCreationWhileThreadsCall) {
  const HMODULE service = Load(ServicePath());
  IQV_JavaVM* const vm = Start(service);
  std::atomic<bool> stop = false;
  {
    const Crew callers(4, [&](int) {
      while (!stop) ExpectJavaWorks(vm);
    });
    for (int i = 0; i < 200; ++i) {
      FreeLibrary(service);
      Load(ServicePath());
      if (i % 20 == 0) ExpectStays();
    }
    stop = true;
  }
  ExpectStays();
  ExpectJavaWorks(vm);
  Record("05", "after it created the JVM, while four threads call", StateOf(ServicePath()), kNothing, kGoesOn);
}

TEST(Unload, AfterAJoin) {
  ASSERT_NE(HostVm(), nullptr);
  IQV_JavaVM* const vm = Start(Load(ServicePath()));
  EXPECT_FALSE(CreatedTheJvm(vm));
  ExpectStays();
  ExpectJavaWorks(vm);
  ExpectThreadsComeAndGo({vm});
  Record("06", "after it joined the host's JVM", StateOf(ServicePath()), kNothing, kGoesOn);
}

TEST(Unload, LoadedTwice) {
  const std::string left = LeftBy([] {
    const HMODULE first = Load(ServicePath());
    const HMODULE second = Load(L"qvjvm.dll");
    EXPECT_EQ(first, second);
    FreeLibrary(second);
    EXPECT_TRUE(IsLoaded(ServicePath())) << "one load is left";
    EXPECT_EQ(Find<int32_t (*)()>(first, "DllRegisterServer")(), 0);
    FreeLibrary(first);
    EXPECT_FALSE(IsLoaded(ServicePath()));
  });
  const char* const state = StateOf(ServicePath());
  ExpectLoadsAndWorks();
  Record("07", "loaded twice: the same module, two counts", state, left, kAgain);
}

TEST(Unload, FromAnotherLibrary) {
  const std::wstring path = InstallFolder() + L"\\own_life_library.dll";
  const std::string left = LeftBy([&] {
    const HMODULE other = Load(path);
    EXPECT_TRUE(IsLoaded(ServicePath()));
    FreeLibrary(other);
    EXPECT_FALSE(IsLoaded(path));
    EXPECT_FALSE(IsLoaded(ServicePath()));
  });
  const char* const state = StateOf(ServicePath());
  const HMODULE other = Load(path);
  IQV_JavaVM* const vm = StartThrough(other);
  FreeLibrary(other);
  EXPECT_FALSE(IsLoaded(path));
  ASSERT_TRUE(IsLoaded(ServicePath()));
  ExpectJavaWorks(vm);
  ExpectThreadsComeAndGo({vm});
  Record("08", "loaded and freed in another DLL's attach and detach", state, left, kAgain);
  Record("09", "the same, after the other DLL created the JVM", StateOf(ServicePath()), kNothing, kGoesOn);
}

TEST(Unload, DelayLoaded) {
  const HMODULE other = Load(InstallFolder() + L"\\delay_library.dll");
  EXPECT_FALSE(IsLoaded(ServicePath())) << "nothing called it yet";
  const std::string left = LeftBy([&] {
    Find<OtherTouchFn>(other, "OtherTouch")();
    EXPECT_TRUE(IsLoaded(ServicePath())) << "the first call loads it";
    FreeLibrary(GetModuleHandleW(ServicePath().c_str()));
    EXPECT_FALSE(IsLoaded(ServicePath()));
  });
  const char* const state = StateOf(ServicePath());
  ExpectLoadsAndWorks();  // the import itself still has the address of what is gone
  Record("10", "linked with a delay, before any start-up", state, left, kAgain);
}

TEST(Unload, DelayLoadedAndStarted) {
  const HMODULE other = Load(InstallFolder() + L"\\delay_library.dll");
  IQV_JavaVM* const vm = StartThrough(other);
  ExpectStays();
  ExpectJavaWorks(vm);
  EXPECT_EQ(StartThrough(other)->Release(), 0u);
  Record("11", "linked with a delay, after it created the JVM", StateOf(ServicePath()), kNothing, kGoesOn);
}

TEST(Unload, TwoPaths) {
  const std::wstring copy = SecondPath();
  const std::string left = LeftBy(
      [&] {
        const HMODULE spare = Load(copy);
        const HMODULE service = Load(ServicePath());
        EXPECT_NE(spare, service);
        FreeLibrary(spare);
        EXPECT_FALSE(IsLoaded(copy));
        EXPECT_TRUE(IsLoaded(ServicePath())) << "the other module is none of its business";
        FreeLibrary(service);
      },
      2);
  const char* const state = StateOf(copy);
  IQV_JavaVM* const creator = Start(Load(ServicePath()));
  IQV_JavaVM* const joiner = Start(Load(copy));
  EXPECT_TRUE(CreatedTheJvm(creator));
  EXPECT_FALSE(CreatedTheJvm(joiner)) << "it joined the first one's";
  ExpectStays(copy);
  ExpectStays();
  ExpectJavaWorks(creator);
  ExpectJavaWorks(joiner);
  ExpectThreadsComeAndGo({creator, joiner});
  ExpectThreadsComeAndGo({joiner, creator});
  EXPECT_EQ(joiner->Release(), 0u);
  ExpectJavaWorks(creator);
  Record("12", "a second one from another folder, neither started", state, left + " for two", kAgain);
  Record("13", "a second one from another folder, which joins the first one's JVM", StateOf(copy), kNothing, kGoesOn);
}

}  // namespace
}  // namespace qvtest
