// One service object on several threads: texts may get lost, memory may not; each thread has its own environment.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/bridge/bridge_test.h"

namespace qvtest {

namespace {

constexpr int kThreads = 4;
constexpr DWORD kLimitMs = 60000;

class Event {
 public:
  Event() : m_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Event() { CloseHandle(m_handle); }
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  void Set() { SetEvent(m_handle); }
  // Fails the test when nobody sets it.
  void Wait() { EXPECT_EQ(WaitForSingleObject(m_handle, kLimitMs), WAIT_OBJECT_0); }

 private:
  HANDLE m_handle;
};

class Threads : public BridgeTest {
 protected:
  Threads() { SetCreated(true); }

  // The work on so many threads, all of which begin together.
  static void OnThreads(int count, const std::function<void(int)>& work) {
    Event go;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([&, i] {
        go.Wait();
        work(i);
      });
    }
    go.Set();
    for (std::thread& thread : threads) thread.join();
  }
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
  QvshrLedgerSetGuard(0);
  OnThreads(kThreads, [&](int) {
    int32_t result = 0;
    for (int i = 0; i < 50000; ++i) Api().CallIntMethod(&result, nullptr, nullptr, "m", "()I");
  });
  QvshrLedgerState state{};
  QvshrLedgerSnapshot(&state);
  EXPECT_EQ(state.errors, 0u) << "a record was freed twice";
  EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
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
        both->Wait();
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
      over.Wait();
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
  std::thread first([&] { capture(L"first"); });
  inside.Wait();
  capture(L"second");
  over.Set();
  first.join();
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
  Watch().Replace(
      55, +[](void*, IQvString** text) -> int32_t { return QvshrCreateString(L"a.jar", text); });
  qv_jclass found = nullptr;
  EXPECT_EQ(Api().FindClass(&found, "a/B"), S_OK);
  Log();
  std::thread([&] { Api().Destroy(0); }).join();
  EXPECT_EQ(Log(), (Lines{"slot 57 Destroy", "slot 11 DeleteGlobalRef", kEnvironment, "AttachCurrentThread()",
                          "DeleteGlobalRef(global java/net/URLClassLoader(array))", "DetachCurrentThread()"}));
  EXPECT_EQ(GlobalsLeft(), 0);
}

}  // namespace

}  // namespace qvtest
