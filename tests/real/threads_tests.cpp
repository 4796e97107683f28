// Host threads: many through one object, many with an object each, threads that end, and objects that outlive the
// thread that made them.
// The JVM's own count of threads tells whether a thread that ended was detached.
#include <atomic>

#include "tests/real/running_vm.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr int kThreads = 16;

using Threads = RunningVmTest;

// A value goes to Java and back, as a number and as text.
bool RoundTrip(IQV_JavaVM* vm, qv_jclass cls, qv_jobject object, int32_t value) {
  int64_t number = 0;
  if (vm->CallLongMethod(&number, cls, object, "ofLong", "(J)J", int64_t{value} << 20) != QV_S_OK) return false;
  Local string(vm);
  Local back(vm);
  const std::wstring text = L"number " + std::to_wstring(value);
  if (vm->NewString(string.Out(), text.c_str()) != QV_S_OK) return false;
  if (vm->CallObjectMethod(back.Out(), cls, object, "ofString", "(Ljava/lang/String;)Ljava/lang/String;",
                           string.Get()) != QV_S_OK) {
    return false;
  }
  wchar_t buffer[64];
  int32_t size = 64;
  return vm->GetStringChars(buffer, &size, back) == QV_S_OK && number == int64_t{value} << 20 && text == buffer;
}

TEST_F(Threads, ManyThroughOneObject) {
  constexpr int kCalls = 2000;
  std::atomic<int> right = 0;
  OnThreads(kThreads, [&](int number) {
    const Local cls = Find("qvtest/Echo");
    const Local object = NewDefaultObject(Vm(), cls);
    for (int i = 0; i < kCalls; ++i) right += RoundTrip(Vm(), cls, object, number * kCalls + i) ? 1 : 0;
  });
  EXPECT_EQ(right, kThreads * kCalls);
}

TEST_F(Threads, FailingThroughOneObjectSharesItsRecordSafely) {
  constexpr int kCalls = 200;
  std::atomic<int> failed = 0;
  std::atomic<int> foreign = 0;
  OnThreads(kThreads, [&](int number) {
    const Local cls = Find("qvtest/Faults");
    const Local text = String(L"thread " + std::to_wstring(number));
    for (int i = 0; i < kCalls; ++i) {
      const int32_t status = Vm()->CallStaticVoidMethod(cls, "throwText", "(Ljava/lang/String;)V", text.Get());
      failed += status == QV_E_FAIL ? 1 : 0;
      IQvString* seen = nullptr;
      if (Vm()->GetErrorText(&seen) == QV_S_OK) foreign += TakeText(seen).starts_with(L"thread ") ? 0 : 1;
    }
  });
  EXPECT_EQ(failed, kThreads * kCalls);
  EXPECT_EQ(foreign, 0) << "texts that no thread threw";
}

TEST_F(Threads, RecordsOfObjectsOfTheirOwnNeverMix) {
  constexpr int kCalls = 200;
  std::atomic<int> right = 0;
  OnThreads(kThreads, [&](int number) {
    IQV_JavaVM* const own = NewService();
    {
      const Local cls = FindClass(own, "qvtest/Faults");
      for (int i = 0; i < kCalls; ++i) {
        const std::wstring message = std::to_wstring(number) + L" of " + std::to_wstring(i);
        const Local text = NewString(own, message);
        const int32_t status = own->CallStaticVoidMethod(cls, "throwText", "(Ljava/lang/String;)V", text.Get());
        right += Fails(own, status, {message, QV_CODE_CALL_FAILED}) ? 1 : 0;
      }
    }
    EXPECT_EQ(own->Release(), 0U);
  });
  EXPECT_EQ(right, kThreads * kCalls);
}

TEST_F(Threads, AThreadThatEndsIsDetached) {
  const int32_t before = ThreadsInJava(Vm());
  for (int round = 0; round < 3; ++round) {
    {
      std::vector<std::unique_ptr<WaitingThread>> threads;
      for (int i = 0; i < kThreads; ++i) {
        threads.push_back(std::make_unique<WaitingThread>([&] { EXPECT_NE(QV_AcquireThreadEnv(Vm()), nullptr); }));
      }
      EXPECT_EQ(ThreadsInJava(Vm()), before + kThreads);
      for (const auto& thread : threads) thread->Go();
    }
    EXPECT_EQ(ThreadsInJava(Vm()), before);
  }
}

TEST_F(Threads, AnAttachedThreadHasAnEnvironmentOfItsOwnAndNoContextClassLoader) {
  qv_jnienv ofMain = QV_AcquireThreadEnv(Vm());
  qv_jobject global = nullptr;
  OnThread([&] {
    qv_jnienv first = QV_AcquireThreadEnv(Vm());
    qv_jnienv second = nullptr;
    EXPECT_EQ(Vm()->GetJNIEnv(&second), QV_S_OK);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_NE(first, ofMain);
    const JavaClass threads(Vm(), "qvtest/Threads");
    int32_t has = -1;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallBooleanMethod(&has, threads, threads.New(), "hasContextLoader", "()Z")));
    EXPECT_EQ(has, 0);
    EXPECT_TRUE(Ok(Vm(), Vm()->NewGlobalRef(&global, String(L"made elsewhere"))));
  });
  EXPECT_EQ(QV_AcquireThreadEnv(Vm()), ofMain);
  EXPECT_EQ(TextOf(Vm(), global), L"made elsewhere") << "global references serve every thread";
  OnThread([&] { EXPECT_EQ(Vm()->DeleteGlobalRef(global), QV_S_OK); });
}

TEST_F(Threads, AnObjectMayBeReleasedWhereItWasNeverUsed) {
  const int32_t before = ThreadsInJava(Vm());
  IQV_JavaVM* const other = NewService();
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->FindClass(Local(other).Out(), "no/such/Thing"), QV_E_FAIL);
  OnThread([&] { EXPECT_EQ(other->Release(), 0U); });
  EXPECT_EQ(ThreadsInJava(Vm()), before);
}

TEST_F(Threads, ThreadsComeAndGoWhileOthersWork) {
  constexpr int kShortThreads = 100;
  const int32_t before = ThreadsInJava(Vm());
  std::atomic<bool> stop = false;
  std::atomic<int> wrong = 0;
  const HostThread worker([&] {
    const Local cls = Find("qvtest/Echo");
    const Local object = NewDefaultObject(Vm(), cls);
    for (int i = 0; !stop; ++i) wrong += RoundTrip(Vm(), cls, object, i) ? 0 : 1;
  });
  for (int i = 0; i < kShortThreads; ++i) {
    OnThread([&] {
      int32_t number = 0;
      wrong += Vm()->GetStaticIntField(&number, Find("qvtest/Echo"), "intMinusOne") == QV_S_OK ? 0 : 1;
    });
  }
  stop = true;
  worker.Join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(ThreadsInJava(Vm()), before);
}

}  // namespace
}  // namespace qvtest
