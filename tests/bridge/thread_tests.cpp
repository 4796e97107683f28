// One service object on several threads: texts may get lost, memory may not; each thread has its own environment.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "tests/bridge/bridge_test.h"
#include "tests/support/import_hook.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr int kThreads = 4;
constexpr DWORD kLimitMs = 60000;

class Threads : public BridgeTest {
 protected:
  Threads() { SetCreated(true); }

  static ptrdiff_t Count(const Lines& log, const std::string& line) { return std::count(log.begin(), log.end(), line); }
};

TEST_F(Threads, EachIsAttachedOnceAndDetachedWhenItEnds) {
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < 3; ++i) {
      qv_jstring string = nullptr;
      EXPECT_EQ(Api().NewString(&string, L"x"), S_OK);
      EXPECT_EQ(Api().DeleteLocalRef(string), S_OK);
    }
  });
  const Lines log = Log();
  EXPECT_EQ(Count(log, "AttachCurrentThread()"), kThreads);
  EXPECT_EQ(Count(log, "DetachCurrentThread()"), kThreads);
}

TEST_F(Threads, RecordsThatReplaceEachOtherAreFreedOnceAndNeverReadAfterwards) {
  Java().missingMembers = {"m"};
  const std::vector<std::wstring> known = {kInternal, L"java.lang.NoSuchMethodError: m",
                                           L"java.lang.NoClassDefFoundError: a/B"};
  OnThreads(kThreads, [&](int) {
    const jclass cls = Jni().GivenClass("a/B");
    const jobject object = Jni().GivenObject("it");
    for (int i = 0; i < 400; ++i) {
      int32_t result = 0;
      qv_jclass found = nullptr;
      EXPECT_EQ(Api().CallIntMethod(&result, cls, object, "m", "()I"), E_FAIL);
      EXPECT_EQ(Api().CallIntMethod(&result, nullptr, object, "m", "()I"), E_FAIL);
      EXPECT_EQ(Api().FindClass(&found, "a/B"), E_FAIL);
      IQvString* text = nullptr;
      if (Api().GetErrorText(&text) == S_OK) {
        const std::wstring taken = TakeText(text);
        EXPECT_NE(std::find(known.begin(), known.end(), taken), known.end()) << ToUtf8(taken);
      }
      int32_t code = 0;
      if (Api().GetErrorCode(&code) == S_OK) {
        EXPECT_TRUE(code == 0 || code == -1001) << code;
      }
    }
  });
}

TEST_F(Threads, TheExchangeOfRecordsLosesNone) {
  // Nothing but the exchange, often, and without guard pages, so that the threads meet in it.
  const GuardPages none(false);
  OnThreads(kThreads, [&](int) {
    int32_t result = 0;
    for (int i = 0; i < 50000; ++i) Api().CallIntMethod(&result, nullptr, nullptr, "m", "()I");
  });
  QvshrLedgerState state{};
  QvshrLedgerSnapshot(&state);
  EXPECT_EQ(state.errors, 0u) << "a record was freed twice";
  EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
}

TEST_F(Threads, ARecordIsNotReadOnceItIsFreed) {
  // Half of the threads replace it, half read it; behind the guard pages a freed record cannot be read.
  OnThreads(kThreads, [&](int thread) {
    int32_t result = 0;
    for (int i = 0; i < 10000; ++i) {
      if (thread % 2 == 0) {
        Api().CallIntMethod(&result, nullptr, nullptr, "m", "()I");
        continue;
      }
      IQvString* text = nullptr;
      if (Api().GetErrorText(&text) == S_OK) {
        EXPECT_EQ(TakeText(text), kInternal);
      }
      int32_t code = 0;
      if (Api().GetErrorCode(&code) == S_OK) {
        EXPECT_EQ(code, -1001);
      }
    }
  });
}

// How often the service has taken a slim lock, and how many it holds; the test runs on one thread.
int g_taken = 0;
int g_held = 0;
int g_hostCalls = 0;
int g_hostCallsUnderLock = 0;
void (*g_free)(void*) = nullptr;
void* (*g_alloc)(size_t) = nullptr;
int32_t (*g_createString)(const wchar_t*, IQvString**) = nullptr;
void(WINAPI* g_acquire)(SRWLOCK*) = nullptr;
void(WINAPI* g_release)(SRWLOCK*) = nullptr;

void CountHostCall() {
  ++g_hostCalls;
  if (g_held > 0) ++g_hostCallsUnderLock;
}
void WINAPI Acquire(SRWLOCK* lock) {
  ++g_taken;
  ++g_held;
  g_acquire(lock);
}
void WINAPI Release(SRWLOCK* lock) {
  --g_held;
  g_release(lock);
}
void Free(void* block) {
  CountHostCall();
  g_free(block);
}
void* Alloc(size_t bytes) {
  CountHostCall();
  return g_alloc(bytes);
}
int32_t CreateString(const wchar_t* text, IQvString** out) {
  CountHostCall();
  return g_createString(text, out);
}

TEST_F(Threads, RecordsAreReplacedAndReadUnderALockThatNeitherTheHostNorJavaSees) {
  int javaCallsUnderLock = 0;
  Java().answers["m"] = [&](FakeJni& jni, const Thing&, const std::vector<jvalue>&) {
    if (g_held > 0) ++javaCallsUnderLock;
    jni.SetPending(Throwable("exception", L"thrown"));
    return ValueOf(nullptr);
  };
  const jclass cls = Jni().GivenClass("a/B");
  const ImportHook acquire(nullptr, "AcquireSRWLockExclusive", Acquire);
  const ImportHook release(nullptr, "ReleaseSRWLockExclusive", Release);
  const ImportHook free(nullptr, "qvshr.dll", 2, reinterpret_cast<void*>(&Free));
  const ImportHook alloc(nullptr, "qvshr.dll", 1, reinterpret_cast<void*>(&Alloc));
  const ImportHook create(nullptr, "qvshr.dll", 3, reinterpret_cast<void*>(&CreateString));
  g_acquire = acquire.Original<decltype(g_acquire)>();
  g_release = release.Original<decltype(g_release)>();
  g_free = free.Original<decltype(g_free)>();
  g_alloc = alloc.Original<decltype(g_alloc)>();
  g_createString = create.Original<decltype(g_createString)>();
  const auto locksOf = [](const auto& call) {
    g_taken = 0;
    call();
    EXPECT_EQ(g_held, 0);
    return g_taken;
  };
  for (int round = 0; round < 2; ++round) {
    EXPECT_GT(locksOf([&] { EXPECT_EQ(Api().CallStaticVoidMethod(cls, "m", "()V"), E_FAIL); }), 0);
    IQvString* text = nullptr;
    EXPECT_GT(locksOf([&] { EXPECT_EQ(Api().GetErrorText(&text), S_OK); }), 0);
    EXPECT_EQ(TakeText(text), L"thrown");
    int32_t code = 0;
    EXPECT_GT(locksOf([&] { EXPECT_EQ(Api().GetErrorCode(&code), S_OK); }), 0);
    EXPECT_EQ(code, -1001);
    // The old record goes and a new one comes.
    EXPECT_GE(locksOf([&] { EXPECT_EQ(Api().CallStaticVoidMethod(nullptr, "m", "()V"), E_FAIL); }), 2);
  }
  EXPECT_GT(g_hostCalls, 0);
  EXPECT_EQ(g_hostCallsUnderLock, 0);
  EXPECT_EQ(javaCallsUnderLock, 0);
}

TEST_F(Threads, OfTwoLoadersBuiltAtOnceOneStaysAndTheOtherIsDeleted) {
  static std::atomic<int> arrived;
  static Event* both;
  Event event;
  both = &event;
  arrived = 0;
  SetCreated(false);
  Java().loaderClasses = {"a.B"};
  Watch().Replace(
      55, +[](void*, IQvString** text) -> int32_t {
        if (++arrived == 2) both->Set();
        EXPECT_TRUE(both->Wait(kLimitMs));
        return QvshrCreateString(L"a.jar", text);
      });
  OnThreads(2, [&](int) {
    qv_jclass found = nullptr;
    EXPECT_EQ(Api().FindClass(&found, "a/B"), S_OK);
    EXPECT_EQ(Java().Label(found), "a/B");
  });
  EXPECT_EQ(arrived, 2);
  EXPECT_EQ(Java().Counts().globalsMade, 2);
  EXPECT_EQ(Java().Counts().globalsDeleted, 1);
  // The one that stays is good.
  qv_jclass found = nullptr;
  EXPECT_EQ(Api().FindClass(&found, "a/B"), S_OK);
  EXPECT_EQ(arrived, 2);
}

TEST_F(Threads, ACaptureDoesNotKeepAnotherThreadFromItsText) {
  Event inside;
  Event over;
  const auto toString = Java().answers["toString"];
  Java().answers["toString"] = [&](FakeJni& jni, const Thing& target, const std::vector<jvalue>& arguments) {
    if (target->text == L"first") {
      inside.Set();
      EXPECT_TRUE(over.Wait(kLimitMs));
    }
    return toString(jni, target, arguments);
  };
  const auto capture = [&](const wchar_t* text) {
    LeavePending(text);
    ErrorRecord* record = nullptr;
    EXPECT_EQ(Api().CaptureException(&record, &Jni()), 1);
    EXPECT_EQ(ViewOf(record), Record(text, 0));
    QvshrFree(record);
  };
  const HostThread first([&] { capture(L"first"); });
  EXPECT_TRUE(inside.Wait(kLimitMs));
  capture(L"second");
  over.Set();
  first.Join();
}

TEST_F(Threads, NestedCapturesEndOnEveryThread) {
  Java().classes.clear();
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < 50; ++i) {
      LeavePending();
      ErrorRecord* record = nullptr;
      EXPECT_EQ(Api().CaptureException(&record, &Jni()), 1);
      EXPECT_EQ(ViewOf(record), Record(kUnknown, 0));
      QvshrFree(record);
    }
  });
}

TEST_F(Threads, AnObjectWithALoaderMayEndOnAThreadThatNeverCalledIt) {
  SetCreated(false);
  Java().loaderClasses = {"a.B"};
  ServeClassPath(L"a.jar");
  qv_jclass found = nullptr;
  EXPECT_EQ(Api().FindClass(&found, "a/B"), S_OK);
  Log();
  OnThread([&] { Api().Destroy(0); });
  EXPECT_EQ(Log(), (Lines{"slot 57 Destroy", "slot 11 DeleteGlobalRef", kEnvironment, "AttachCurrentThread()",
                          "DeleteGlobalRef(global java/net/URLClassLoader(array))", "DetachCurrentThread()"}));
  EXPECT_EQ(GlobalsLeft(), 0);
}

}  // namespace
}  // namespace qvtest
