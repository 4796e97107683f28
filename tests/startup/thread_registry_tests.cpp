// Which threads are attached, which libraries were tried, which class path a thread asked for; what happens when a
// thread ends and when the service goes.
#include "base/procedure.h"
#include "service/java_vm_manager.h"
#include "service/jni_initializer.h"
#include "service/thread_end.h"
#include "service/thread_registry.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

JNIEnv* Environment(int number) { return reinterpret_cast<JNIEnv*>(static_cast<uintptr_t>(number) * 16); }

// An initializer that writes its number down when it is terminated.
class NumberedInitializer final : public CQV_JNIInitializer {
 public:
  NumberedInitializer(uint32_t threadId, int number, std::vector<int>& terminated)
      : m_number(number), m_terminated(terminated) {
    m_dwThreadId = threadId;
  }
  JNIEnv* GetEnv() noexcept override { return Environment(m_number); }
  // The second time there is nothing left to do.
  void Terminate() noexcept override {
    if (std::exchange(m_alive, false)) m_terminated.push_back(m_number);
  }

 private:
  ~NumberedInitializer() = default;
  int m_number;
  bool m_alive = true;
  std::vector<int>& m_terminated;
};

void Register(uint32_t threadId, int number, std::vector<int>& terminated) {
  g_pThreadRegistry->RegisterInitializer(g_pThreadRegistry->ReservePlace(),
                                         new NumberedInitializer(threadId, number, terminated));
}

constexpr uint32_t kSomeThread = 0xFFFF0001;  // no thread of the system has it
constexpr uint32_t kOtherThread = 0xFFFF0005;

// ---- environments ----

TEST(ThreadRegistry, ThreadThatAsksTwiceGetsTheSameEnvironmentAndOneInitializer) {
  const JoinedWorld world;
  const Created other = CreateVM();
  OnThread([&] {
    const qv_jnienv first = QV_AcquireThreadEnv(world.vm.get());
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), first);
    EXPECT_EQ(QV_AcquireThreadEnv(other.vm.get()), first) << "it is the thread's, not the object's";
    EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(GetCurrentThreadId()), first);
  });
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 2u) << "the main thread's and this one's";
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
}

TEST(ThreadRegistry, FirstInitializerOfAThreadIsTheOneThatCounts) {
  const StartupWorld world;
  std::vector<int> terminated;
  Register(kOtherThread, 1, terminated);
  Register(GetCurrentThreadId(), 2, terminated);
  Register(GetCurrentThreadId(), 3, terminated);
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(GetCurrentThreadId()), Environment(2));
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(kOtherThread), Environment(1));
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(kSomeThread), nullptr);
  g_pThreadRegistry->OnThreadDetach();
  EXPECT_EQ(terminated, std::vector<int>{2}) << "the end of a thread takes its first one alone";
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(GetCurrentThreadId()), Environment(3));
}

// ---- class paths ----

TEST(ThreadRegistry, SecondClassPathOfAThreadIsKeptButNotFound) {
  const StartupWorld world;
  wchar_t text[] = L"C:\\first.jar";
  const uint32_t threadId = GetCurrentThreadId();
  ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(threadId, text));
  ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(threadId, L"C:\\second.jar"));
  text[0] = L'X';
  const wchar_t* const found = g_pThreadRegistry->FindThreadClassPath(threadId);
  EXPECT_STREQ(found, L"C:\\first.jar") << "a copy of its own";
  EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(threadId), found) << "the stored copy itself";
  EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(kSomeThread), nullptr);
  ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(kSomeThread, L""));
  EXPECT_STREQ(g_pThreadRegistry->FindThreadClassPath(kSomeThread), L"") << "an empty one is one too";
  g_pThreadRegistry->OnThreadDetach();
  EXPECT_STREQ(g_pThreadRegistry->FindThreadClassPath(threadId), L"C:\\second.jar")
      << "the thread's end frees the first; the rest goes with the service, as the world's books show";
}

// ---- libraries ----

HMODULE Handle(uintptr_t number) { return reinterpret_cast<HMODULE>(number); }

// Loads nothing: "1.dll" gives the handle 1, and so on; any other name fails.
class FakeLoader {
 public:
  [[nodiscard]] const Strings& Story() const { return m_story; }

 private:
  Strings m_story;
  FunctionHook<decltype(&LoadLibraryA)> m_load{"LoadLibraryA", [this](const char* name) {
                                                 m_story.push_back(std::string("load ") + name);
                                                 return Handle(static_cast<uintptr_t>(std::atoi(name)));
                                               }};
  FunctionHook<decltype(&FreeLibrary)> m_free{
      "FreeLibrary", [this](HMODULE module) {
        m_story.push_back("free " + std::to_string(reinterpret_cast<uintptr_t>(module)));
        return TRUE;
      }};
};

TEST(ModuleCache, NameIsTriedOnceAndComparedByteByByteAndTeardownFreesHeadFirst) {
  StartupWorld world;
  const FakeLoader loader;
  char name[] = "2.dll";
  EXPECT_EQ(g_pThreadRegistry->LoadModuleCached(name), Handle(2));
  for (int time = 0; time < 2; ++time) EXPECT_EQ(g_pThreadRegistry->LoadModuleCached("missing.dll"), nullptr);
  EXPECT_EQ(g_pThreadRegistry->LoadModuleCached("2.dll"), Handle(2));
  EXPECT_EQ(g_pThreadRegistry->LoadModuleCached("2.DLL"), Handle(2)) << "another name, loaded for itself";
  EXPECT_EQ(g_pThreadRegistry->LoadModuleCached("1.dll"), Handle(1));
  name[0] = '9';
  EXPECT_EQ(g_pThreadRegistry->FindModule("2.dll"), Handle(2)) << "the name was copied";
  EXPECT_EQ(g_pThreadRegistry->FindModule("9.dll"), nullptr) << "finding loads nothing";
  world.service.Unload();
  EXPECT_EQ(loader.Story(),
            (Strings{"load 2.dll", "load missing.dll", "load 2.DLL", "load 1.dll", "free 2", "free 2", "free 1"}));
}

TEST(ModuleCache, BrokenLibraryStopsNobodyAtADialog) {
  const StartupWorld world;
  const std::wstring broken = world.folder.WriteFile(L"broken.dll", "MZ, and nothing of a library");
  DWORD modeOfTheLoad = 0;
  const FunctionHook<decltype(&LoadLibraryA)> load("LoadLibraryA", [&](const char* name) {
    modeOfTheLoad = GetThreadErrorMode();
    return load.Real(name);
  });
  SetThreadErrorMode(SEM_NOGPFAULTERRORBOX, nullptr);
  EXPECT_EQ(g_pThreadRegistry->LoadModuleCached(ToUtf8(broken).c_str()), nullptr);
  EXPECT_EQ(modeOfTheLoad, DWORD{SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX});
  EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_NOGPFAULTERRORBOX}) << "the thread's error mode is the host's again";
  SetThreadErrorMode(0, nullptr);
}

// ---- the end of a thread ----

TEST(ThreadEnd, DetachesTheThreadOnItselfUnlessTheHostForbidsItAndForgetsIt) {
  for (const bool forbidden : {false, true}) {
    const JoinedWorld world;
    if (forbidden) QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);
    const DWORD threadId = OnThread([&] {
      EXPECT_NE(QV_AcquireThreadEnv(world.vm.get()), nullptr);
      EXPECT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), L"C:\\thread.jar"));
    });
    QvshrLedgerClearInt(kQvshrCallNoDetachQuery);
    EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(threadId), nullptr);
    EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(threadId), nullptr);
    const std::vector<FakeJvmCall> detached = world.jvm.Calls(kFakeDetach);
    ASSERT_EQ(detached.size(), forbidden ? 0u : 1u);
    if (forbidden) continue;
    EXPECT_EQ(detached[0].threadId, threadId);
    EXPECT_NE(detached[0].env, nullptr) << "it was attached until then";
    EXPECT_EQ(world.jvm.AttachedThreads(), 1) << "the main thread";
  }
}

TEST(ThreadEnd, ThreadThatNeverJoinedLeavesTheRegistryUnchanged) {
  const JoinedWorld world;
  const qv_jnienv mine = QV_AcquireThreadEnv(world.vm.get());
  LedgerCheck ledger;
  OnThread([] { QvshrFree(QvshrAlloc(1)); });
  EXPECT_EQ(ledger.Allocations(), 1u) << "the thread's own";
  OnThread([] { g_pThreadRegistry->OnThreadDetach(); });
  ledger.Verify();
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u);
  EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), mine);
}

TEST(ThreadEnd, ClassPathOfAFailedStartGoesWithItsThread) {
  const StartupWorld world;
  world.jvm.Script().createResult = -1;
  const DWORD threadId = OnThread([&] {
    EXPECT_EQ(CreateVM(L"C:\\thread.jar").status, QV_E_FAIL);
    EXPECT_STREQ(g_pThreadRegistry->FindThreadClassPath(GetCurrentThreadId()), L"C:\\thread.jar");
  });
  EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(threadId), nullptr);
}

TEST(ThreadEnd, NotificationAndCallbackDetachOnceAndAThreadThatComesBackBetweenThemAgain) {
  const JoinedWorld world;
  OnThread([&] {
    QV_AcquireThreadEnv(world.vm.get());
    for (int time = 0; time < 2; ++time) {
      qv::OnThreadNotification();
      EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
    }
  });
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
  OnThread([&] {
    const qv_jnienv first = QV_AcquireThreadEnv(world.vm.get());
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), first) << "from here on it is remembered";
    qv::OnThreadNotification();
    const qv_jnienv second = QV_AcquireThreadEnv(world.vm.get());
    EXPECT_NE(second, nullptr);
    EXPECT_NE(second, first) << "the environment of before is dead";
  });
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 3u);
}

int g_ends = 0;

// It comes under the loader's lock, where nobody may ask for the registry's.
TEST(ThreadEnd, AfterTheCallbackTheNotificationHasNothingToDo) {
  const JoinedWorld world;
  g_ends = 0;
  ASSERT_TRUE(qv::PrepareThreadEnd([]() noexcept {
    ++g_ends;
    if (g_pThreadRegistry != nullptr) g_pThreadRegistry->OnThreadDetach();
  }));
  const DWORD afterwards = FlsAlloc([](void*) -> void { qv::OnThreadNotification(); });
  OnThread([&] {
    QV_AcquireThreadEnv(world.vm.get());
    FlsSetValue(afterwards, &g_ends);
  });
  FlsFree(afterwards);
  EXPECT_EQ(g_ends, 1);
}

int g_ownCallbacks = 0;

TEST(ThreadEnd, CallbackOnAnotherThreadDetachesNobodyButThatThread) {
  const JoinedWorld world;
  const qv_jnienv mine = QV_AcquireThreadEnv(world.vm.get());
  const DWORD ownSlot = FlsAlloc([](void*) -> void { ++g_ownCallbacks; });
  FlsSetValue(ownSlot, &g_ownCallbacks);
  WaitingThread attached([&] {
    QV_AcquireThreadEnv(world.vm.get());
    FlsSetValue(ownSlot, &g_ownCallbacks);
  });
  FlsFree(ownSlot);
  ASSERT_EQ(g_ownCallbacks, 2) << "freeing a slot runs every thread's callback on the thread that frees it";
  qv::ForgetThreadEnd();
  const std::vector<FakeJvmCall> detached = world.jvm.Calls(kFakeDetach);
  ASSERT_EQ(detached.size(), 1u);
  EXPECT_EQ(detached[0].env, mine);
  EXPECT_EQ(world.jvm.AttachedThreads(), 1) << "the other one";
  EXPECT_TRUE(qv::PrepareThreadEnd([]() noexcept { g_pThreadRegistry->OnThreadDetach(); }));
}

// The uncaught exception's handler of a thread that leaves the JVM is Java code.
TEST(ThreadEnd, ServiceCallsOfAThreadThatLeavesTheJvmLeaveNothingBehind) {
  const JoinedWorld world;
  qv_jnienv env = nullptr;
  int handled = 0;
  const Event begun;
  const Event ask;
  const Event answered;
  bool othersGoOn = false;
  std::function<void()> handle = [&] {
    ++handled;
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), env);
    EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), env) << "from here on it is remembered";
    ask.Set();
    othersGoOn = answered.Wait(60000);
  };
  world.jvm.Script().duringDetachContext = &handle;
  world.jvm.Script().duringDetach = [](void* context) { (*static_cast<std::function<void()>*>(context))(); };
  // Runs already when the first one ends: under Wine no thread can begin or end while such a callback waits.
  const HostThread other([&] {
    begun.Set();
    ask.Wait();
    g_pThreadRegistry->FindThreadEnv(kSomeThread);
    answered.Set();
  });
  begun.Wait();
  const DWORD threadId = OnThread([&] { env = QV_AcquireThreadEnv(world.vm.get()); });
  other.Join();
  world.jvm.Script().duringDetach = nullptr;
  EXPECT_EQ(handled, 1);
  EXPECT_TRUE(othersGoOn) << "the handler may wait for a thread that asks for its environment";
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 2u) << "the main thread's and this one's";
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(threadId), nullptr);
}

// Fibre-local storage has a lock of the system's that is held while a thread's end asks for the registry's.
TEST(ThreadEnd, NothingIsMarkedUnderTheRegistrysLock) {
  const JoinedWorld world;
  bool registryIsFree = false;
  const FunctionHook<decltype(&FlsSetValue)> hook("FlsSetValue", [&](DWORD slot, void* value) {
    const HostThread asking([&] { registryIsFree = g_pThreadRegistry->FindThreadEnv(0) == nullptr; });
    if (!asking.Join(5000)) std::_Exit(1);  // its end would be waited for without one
    return hook.Real(slot, value);
  });
  OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(world.vm.get()), nullptr); });
  EXPECT_TRUE(std::exchange(registryIsFree, false));
  OnThread([] { EXPECT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), L"C:\\own.jar")); });
  EXPECT_TRUE(registryIsFree);
}

TEST(ThreadEnd, AnUnloadWaitsForEndingThreadsBeforeTheRegistryGoes) {
  Strings story;
  const FunctionHook<decltype(&FlsFree)> slot("FlsFree", [&](DWORD number) {
    story.emplace_back(g_pThreadRegistry == nullptr ? "no more callbacks, nobody finds the registry" : "too early");
    return slot.Real(number);
  });
  const FunctionHook<decltype(&DeleteCriticalSection)> lock("DeleteCriticalSection", [&](CRITICAL_SECTION* section) {
    if (story.size() == 1) story.emplace_back("the registry goes");
    lock.Real(section);
  });
  {
    const StartupWorld world;
    story.clear();
  }
  EXPECT_EQ(story, (Strings{"no more callbacks, nobody finds the registry", "the registry goes"}));
}

// A thread of two fibres: the second calls the service and gives back; `rest` runs on the first one.
struct Fibers {
  IQV_JavaVM* vm;
  void* first = nullptr;
  void* second = nullptr;
  qv_jnienv env = nullptr;

  void RunSecond() {
    first = ConvertThreadToFiber(nullptr);
    second = CreateFiber(
        0,
        [](void* context) {
          auto& self = *static_cast<Fibers*>(context);
          self.env = QV_AcquireThreadEnv(self.vm);
          EXPECT_NE(self.env, nullptr);
          SwitchToFiber(self.first);
        },
        this);
    SwitchToFiber(second);
  }
};

TEST(ThreadEnd, ThreadOfFibersIsDetachedWhenItEndsAndNotBefore) {
  struct Row {
    const char* name;
    std::function<void(Fibers&)> rest;
  };
  for (const Row& row : {Row{"the fibre lives on", [](Fibers&) {}},
                         Row{"its own thread deletes the fibre", [](Fibers& fibers) { DeleteFiber(fibers.second); }},
                         Row{"and deletes it when it is no fibre any more", [](Fibers& fibers) {
                               ConvertFiberToThread();
                               DeleteFiber(fibers.second);
                             }}}) {
    SCOPED_TRACE(row.name);
    const JoinedWorld world;
    Fibers fibers{world.vm.get()};
    const DWORD threadId = OnThread([&] {
      fibers.RunSecond();
      row.rest(fibers);
      EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u) << "the thread lives";
      EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), fibers.env);
      // What the entry routine of the library is told at the thread's end; this program is none.
      qv::OnThreadNotification();
    });
    EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
    EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(threadId), nullptr);
  }
}

TEST(ThreadEnd, FiberOfAnotherThreadThatIsDeletedDetachesNobody) {
  const JoinedWorld world;
  const qv_jnienv mine = QV_AcquireThreadEnv(world.vm.get());
  Fibers fibers{world.vm.get()};
  WaitingThread owner([&] { fibers.RunSecond(); });
  DeleteFiber(fibers.second);  // callbacks for what it had run here, on this thread
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u);
  EXPECT_EQ(g_pThreadRegistry->FindThreadEnv(GetCurrentThreadId()), mine);
}

TEST(ThreadEnd, ThreadsThatComeAndGoLeaveNothing) {
  const JoinedWorld world;
  LedgerCheck ledger;
  OnThreads(8, [&](int) {
    for (int round = 0; round < 8; ++round) {
      OnThread([&] {
        const qv_jnienv env = QV_AcquireThreadEnv(world.vm.get());
        EXPECT_NE(env, nullptr);
        EXPECT_EQ(QV_AcquireThreadEnv(world.vm.get()), env);
      });
    }
  });
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 1u + 64);
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 64u);
  EXPECT_EQ(world.jvm.AttachedThreads(), 1);
}

// Loads of libraries that last until they are let go, with the registry's lock held.
class SlowLoad {
 public:
  Event inside;
  Event leave;
  bool loaderLockTaken = false;

 private:
  HMODULE Load() {
    inside.Set();
    leave.Wait();
    // The loader's own lock, which no ending thread may hold while it waits for the registry's.
    HMODULE const ntdll = GetModuleHandleW(L"ntdll.dll");
    using Lock = LONG(NTAPI*)(ULONG flags, ULONG * state, ULONG_PTR * cookie);
    using Unlock = LONG(NTAPI*)(ULONG flags, ULONG_PTR cookie);
    ULONG_PTR cookie = 0;
    const auto lock = qv::FindProcedure<Lock>(ntdll, "LdrLockLoaderLock");
    loaderLockTaken = lock != nullptr && lock(0, nullptr, &cookie) == 0;
    if (loaderLockTaken) qv::FindProcedure<Unlock>(ntdll, "LdrUnlockLoaderLock")(0, cookie);
    return nullptr;
  }

  FunctionHook<decltype(&LoadLibraryA)> m_hook{"LoadLibraryA", [this](const char*) { return Load(); }};
};

void LoadSlowly() { g_pThreadRegistry->LoadModuleCached("slow.dll"); }

TEST(ThreadEnd, ThreadThatEndsDuringALibraryLoadWaitsWithoutTheLoadersLock) {
  const JoinedWorld world;
  const SlowLoad load;
  {
    const WaitingThread ending([&] { QV_AcquireThreadEnv(world.vm.get()); });
    const HostThread loading(&LoadSlowly);
    // Runs already when the other thread ends: under Wine no thread can begin while such a callback waits.
    const WaitingThread release([&] { load.inside.Wait(); },
                                [&] {
                                  Sleep(100);  // for the other one to reach its end; too little would prove less
                                  load.leave.Set();
                                });
    ending.Go();
  }
  EXPECT_TRUE(load.loaderLockTaken);
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
}

// ---- the end of the service ----

TEST(Teardown, DestroysInitializersHeadFirstThenFreesTheLibrary) {
  StartupWorld world;
  std::vector<int> terminated;
  for (const int number : {3, 1, 2}) Register(0xFFFF0100 + static_cast<uint32_t>(number), number, terminated);
  ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(kSomeThread, L"a"));
  ASSERT_TRUE(g_pThreadRegistry->RegisterThreadClassPath(kSomeThread, L"b"));
  world.service.Unload();
  EXPECT_EQ(terminated, (std::vector<int>{3, 1, 2})) << "in the order of joining";
  EXPECT_EQ(g_pThreadRegistry, nullptr);
}

TEST(Teardown, DetachesOnTheThreadThatUnloadsAndOnlyOnce) {
  JoinedWorld world;
  WaitingThread attached([&] { QV_AcquireThreadEnv(world.vm.get()); });
  world.service.Unload();
  const std::vector<FakeJvmCall> detached = world.jvm.Calls(kFakeDetach);
  ASSERT_EQ(detached.size(), 2u);
  for (const FakeJvmCall& call : detached) EXPECT_EQ(call.threadId, GetCurrentThreadId());
  attached.LetGo();
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 2u) << "the thread's end finds no service";
}

TEST(Teardown, NeedsNoLockThatADeadThreadHeld) {
  JoinedWorld world;
  const SlowLoad load;
  const HostThread loading(&LoadSlowly);
  load.inside.Wait();
  TerminateThread(loading.Handle(), 0);  // as the end of a process does it
  loading.Join();
  world.service.Unload();
  EXPECT_EQ(g_pThreadRegistry, nullptr);
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
  world.ledger.ExpectLeft(2, "entry and name that the dead thread had in hand");
}

TEST(Loading, WithoutASlotForThreadEndsTheEntryRoutineDetaches) {
  StartupWorld world;
  world.service.UnloadAndForget();
  {
    const qv::Handle listener(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"DBWIN_BUFFER"));
    std::wstring line;
    const ImportHook noSlot(
        nullptr, "FlsAlloc", +[](PFLS_CALLBACK_FUNCTION) WINAPI { return FLS_OUT_OF_INDEXES; });
    const FunctionHook<decltype(&OutputDebugStringW)> output("OutputDebugStringW", [&](auto text) { line = text; });
    world.service.Restart();
    EXPECT_EQ(line,
              L"qvjvm: no slot of fibre-local storage is left; threads are detached under the loader lock when "
              L"they end\n");
  }
  const Created created = CreateVM();
  ASSERT_EQ(created.status, 0);
  OnThread([&] {
    EXPECT_NE(QV_AcquireThreadEnv(created.vm.get()), nullptr);
    qv::OnThreadNotification();  // this program has no entry routine of a library
  });
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u);
}

TEST(Loading, WithoutSlotsForTheThreadsNoStartButNoCrashEither) {
  StartupWorld world;
  world.service.UnloadAndForget();
  {
    const ImportHook hook(
        nullptr, "TlsAlloc", +[]() WINAPI { return TLS_OUT_OF_INDEXES; });
    world.service.Restart();
  }
  EXPECT_EQ(g_pThreadRegistry, nullptr);
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
}

}  // namespace
}  // namespace qvtest
