// One service object on several threads: texts may get lost, memory may not; each thread has its own environment.
#include <algorithm>
#include <atomic>

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
  void Capture(const wchar_t* thrown, const wchar_t* text) {
    LeavePending(thrown);
    ErrorRecord* record = nullptr;
    EXPECT_EQ(Api().CaptureException(&record, &Jni()), 1);
    EXPECT_EQ(ViewOf(record), Record(text, 0));
    QvshrFree(record);
  }
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

// What reads a record finds one of the known ones; behind the guard pages a freed one cannot be read.
void ReadRecord(IQV_JavaVM& vm, const std::vector<std::wstring>& known) {
  IQvString* text = nullptr;
  if (vm.GetErrorText(&text) == S_OK) {
    const std::wstring taken = TakeText(text);
    EXPECT_NE(std::find(known.begin(), known.end(), taken), known.end()) << ToUtf8(taken);
  }
  int32_t code = 0;
  if (vm.GetErrorCode(&code) == S_OK) {
    EXPECT_TRUE(code == -1001 || (code == 0 && known.size() > 1)) << code;
  }
}

TEST_F(Threads, RecordsThatReplaceEachOtherAreFreedOnceAndNeverReadAfterwards) {
  Java().missingMembers = {"m"};
  OnThreads(kThreads, [&](int) {
    const jclass cls = Jni().GivenClass("a/B");
    const jobject object = Jni().GivenObject("it");
    for (int i = 0; i < 400; ++i) {
      int32_t result = 0;
      qv_jclass found = nullptr;
      EXPECT_EQ(Api().CallIntMethod(&result, cls, object, "m", "()I"), E_FAIL);
      EXPECT_EQ(Api().CallIntMethod(&result, nullptr, object, "m", "()I"), E_FAIL);
      EXPECT_EQ(Api().FindClass(&found, "a/B"), E_FAIL);
      ReadRecord(Api(), {kInternal, L"java.lang.NoSuchMethodError: m", L"java.lang.NoClassDefFoundError: a/B"});
    }
  });
  // Half of the threads replace it, half read it.
  OnThreads(kThreads, [&](int thread) {
    int32_t result = 0;
    Api().CallIntMethod(&result, nullptr, nullptr, "m", "()I");
    for (int i = 0; i < 10000; ++i) {
      if (thread % 2 == 0) {
        Api().CallIntMethod(&result, nullptr, nullptr, "m", "()I");
      } else {
        ReadRecord(Api(), {kInternal});
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
  EXPECT_EQ(Books().errors, 0u) << "a record was freed twice";
  EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
}

TEST_F(Threads, RecordsAreReplacedAndReadUnderALockThatNeitherTheHostNorJavaSees) {
  // The test runs on one thread.
  int taken = 0;
  int held = 0;
  int hostCalls = 0;
  int callsUnderLock = 0;
  const auto called = [&](auto& hook, auto... arguments) {
    ++hostCalls;
    if (held > 0) ++callsUnderLock;
    return hook.Real(arguments...);
  };
  const FunctionHook<decltype(&AcquireSRWLockExclusive)> acquire("AcquireSRWLockExclusive", [&](SRWLOCK* lock) {
    ++taken;
    ++held;
    acquire.Real(lock);
  });
  const FunctionHook<decltype(&ReleaseSRWLockExclusive), 1> release("ReleaseSRWLockExclusive", [&](SRWLOCK* lock) {
    --held;
    release.Real(lock);
  });
  const FunctionHook<void* (*)(size_t)> alloc("qvshr.dll", 1, [&](size_t bytes) { return called(alloc, bytes); });
  const FunctionHook<void (*)(void*)> free("qvshr.dll", 2, [&](void* block) { called(free, block); });
  const FunctionHook<int32_t (*)(const wchar_t*, IQvString**)> create(
      "qvshr.dll", 3, [&](const wchar_t* text, IQvString** out) { return called(create, text, out); });
  Java().answers["m"] = [&](FakeJni& jni, const Thing&, const std::vector<jvalue>&) {
    if (held > 0) ++callsUnderLock;
    jni.SetPending(Throwable("exception", L"thrown"));
    return ValueOf(nullptr);
  };
  const jclass cls = Jni().GivenClass("a/B");
  const auto locksOf = [&](const auto& call) {
    taken = 0;
    call();
    EXPECT_EQ(held, 0);
    return taken;
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
  EXPECT_GT(hostCalls, 0);
  EXPECT_EQ(callsUnderLock, 0);
}

TEST_F(Threads, OfTwoLoadersBuiltAtOnceOneStaysAndTheOtherIsDeleted) {
  std::atomic<int> arrived = 0;
  const Event both;
  SetCreated(false);
  Java().loaderClasses = {"a.B"};
  Watch().Replace<55>([&](void*, IQvString** text) {
    if (++arrived == 2) both.Set();
    EXPECT_TRUE(both.Wait(kLimitMs));
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
  const HostThread first([&] { Capture(L"first", L"first"); });
  EXPECT_TRUE(inside.Wait(kLimitMs));
  Capture(L"second", L"second");
  over.Set();
  first.Join();
}

TEST_F(Threads, NestedCapturesEndOnEveryThread) {
  Java().classes.clear();
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < 50; ++i) Capture(L"unreadable", kUnknown);
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
