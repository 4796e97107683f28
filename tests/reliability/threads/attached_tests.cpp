// Whose a thread is: threads that the host attached itself, threads of Java's own that call the service, and threads
// that end while another one keeps the system's loader lock and waits for Java.
#include <jni.h>

#include <cstdio>

#include "tests/real/running_vm.h"
#include "tests/reliability/threads/host_thread.h"
#include "tests/reliability/threads/loader_lock.h"
#include "tests/support/reliability.h"
#include "tests/support/watchdog.h"

namespace qvtest {
namespace {

constexpr DWORD kHangMs = 60000;

std::atomic<uint64_t> g_progress = 0;

class ThreadOwners : public RunningVmTest {
 protected:
  // Interpreted: the compiler has native methods looked up when it pleases, on whatever thread and with whatever
  // monitor that thread holds, and a look-up needs the loader lock.
  static void SetUpTestSuite() {
    std::vector<std::wstring> options(std::begin(kCrowdOptions), std::end(kCrowdOptions));
    options.emplace_back(L"-Xint");
    StartVm(options);
  }

  void SetUp() override {
    RunningVmTest::SetUp();
    auto* const env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(Vm()));
    ASSERT_EQ(env->GetJavaVM(&m_java), JNI_OK);
    m_attached = NewGlobal(Vm(), Find("qvtest/Attached"));
    EXPECT_TRUE(Ok(Vm(), Vm()->SetJvmLogEnabled(0)));
  }

  // The environment that the JVM itself knows for the calling thread; null when it is not attached.
  JNIEnv* KnownToJava() {
    void* env = nullptr;
    return m_java->GetEnv(&env, JNI_VERSION_1_2) == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
  }
  [[nodiscard]] Local CurrentThread() const {
    return JavaClass(Vm(), "java/lang/Thread").CallStatic("currentThread", "()Ljava/lang/Thread;");
  }
  [[nodiscard]] std::wstring NameOfThread() const {
    const JavaClass thread(Vm(), "java/lang/Thread");
    return TextOf(Vm(), thread.Call(CurrentThread(), "getName", "()Ljava/lang/String;"));
  }
  // As a host does it that knows JNI.
  JNIEnv* AttachByHost(const char* name) {
    JavaVMAttachArgs arguments{JNI_VERSION_1_2, const_cast<char*>(name), nullptr};
    void* env = nullptr;
    EXPECT_EQ(m_java->AttachCurrentThread(&env, &arguments), JNI_OK);
    return static_cast<JNIEnv*>(env);
  }
  // `work` on so many threads, one after the other, some before anything is counted. Then nothing of them is left.
  void Flat(const std::function<void()>& work) {
    for (int i = 0; i < 20; ++i) OnThread(work);
    const Remains before = CountRemains(Vm());
    for (int i = 0; i < kThreads; ++i, ++g_progress) OnThread(work);
    ExpectFlat(before, CountRemains(Vm()));
  }
  // How many of this run's threads it was.
  [[nodiscard]] std::string Of(int count) const {
    return ": " + std::to_string(count) + " of " + std::to_string(kThreads);
  }
  void Tell(const char* key, const char* what, const std::string& result) {
    const std::string runtime = RuntimeOf(Vm());
    RecordRow("thread-owners", std::string(key) + "/" + runtime, {what, runtime, HasFailure() ? "failed" : result});
  }

  const int kThreads = IsNightly() ? 200 : 50;
  const Watchdog m_watchdog{g_progress, kHangMs};
  JavaVM* m_java = nullptr;
  qv_jclass m_attached = nullptr;
};

TEST_F(ThreadOwners, AHostsOwnAttachmentIsUsedAndStaysUntilTheThreadEnds) {
  Flat([&] {
    JNIEnv* const env = AttachByHost("the host's own");
    EXPECT_EQ(QV_AcquireThreadEnv(Vm()), env);
    IQV_JavaVM* const own = NewService();
    EXPECT_EQ(FindClass(own, "java/lang/String").Get() != nullptr, true);
    EXPECT_EQ(NameOfThread(), L"the host's own") << "the attachment is the host's";
    EXPECT_EQ(own->Release(), 0U);
    EXPECT_EQ(KnownToJava(), env) << "the end of an object detaches nobody";
    EXPECT_NE(env->FindClass("java/lang/String"), nullptr);
  });
  Tell("1", "the host attached it, then it called the service",
       "stays attached while it lives, detached when it ends" + Of(kThreads));
}

TEST_F(ThreadOwners, AHostThatDetachesByItselfIsLeftAlone) {
  Flat([&] {
    AttachByHost("comes and goes");
    EXPECT_NE(QV_AcquireThreadEnv(Vm()), nullptr);
    EXPECT_EQ(m_java->DetachCurrentThread(), JNI_OK);
    EXPECT_EQ(KnownToJava(), nullptr);
  });
  Tell("2", "the host attached it and detached it again", "its end does no harm" + Of(kThreads));
}

TEST_F(ThreadOwners, AttachingWhatTheServiceHasJoinedChangesNothing) {
  Flat([&] {
    qv_jnienv const joined = QV_AcquireThreadEnv(Vm());
    const std::wstring name = NameOfThread();
    EXPECT_EQ(AttachByHost("too late"), joined);
    EXPECT_EQ(NameOfThread(), name);
  });
  Tell("3", "the service joined it, then the host attached it too", "one attachment, gone at its end" + Of(kThreads));
}

TEST_F(ThreadOwners, AThreadThatTheServiceNeverSawIsNotItsBusiness) {
  Flat([&] {
    JNIEnv* const env = AttachByHost("never calls");
    Vm()->AddRef();
    Vm()->Release();
    EXPECT_EQ(KnownToJava(), env);
    EXPECT_EQ(m_java->DetachCurrentThread(), JNI_OK);
  });
}

// -- Java's own --

IQV_JavaVM* g_service = nullptr;

jboolean JNICALL CallService(JNIEnv* env, jclass, jint number) {
  int32_t result = 0;
  const Local echo = FindClass(g_service, "qvtest/Echo");
  const Local object = NewDefaultObject(g_service, echo);
  const bool right = QV_AcquireThreadEnv(g_service) == env &&
                     g_service->CallIntMethod(&result, echo, object, "ofInt", "(I)I", number) == QV_S_OK &&
                     result == number;
  IQV_JavaVM* const own = NewService();
  const bool gone = own != nullptr && own->Release() == 0;
  return right && gone ? JNI_TRUE : JNI_FALSE;
}

// Gives Java the native method of `attached` that calls the service.
void RegisterCallService(IQV_JavaVM* vm, qv_jclass attached) {
  g_service = vm;
  auto* const env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(vm));
  char name[] = "callService";
  char signature[] = "(I)Z";
  const JNINativeMethod method{name, signature, reinterpret_cast<void*>(CallService)};
  ASSERT_EQ(env->RegisterNatives(static_cast<jclass>(static_cast<jobject>(attached)), &method, 1), JNI_OK);
}

// The handler runs while the thread leaves the JVM.
TEST_F(ThreadOwners, TheHandlerOfAnUncaughtExceptionMayCallTheService) {
  RegisterCallService(Vm(), m_attached);
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(m_attached, "handleUncaught", "()V")));
  Flat([&] {
    qv_jobject object = nullptr;
    const Local faults = FindClass(Vm(), "qvtest/Faults");
    EXPECT_EQ(Vm()->NewObject(&object, faults, "(Ljava/lang/String;)", static_cast<qv_jobject>(nullptr)), QV_S_OK);
    EXPECT_EQ(object, nullptr) << "the constructor throws, and nobody asks for its exception";
  });
  auto* const env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(Vm()));
  auto* const cls = static_cast<jclass>(static_cast<jobject>(m_attached));
  const jint handled = env->CallStaticIntMethod(cls, env->GetStaticMethodID(cls, "handled", "()I"));
  EXPECT_EQ(handled, kThreads + 20);
  Tell("6", "ends with an exception, whose handler in Java calls the service",
       "the handler's calls work, nothing is left" + Of(handled - 20));
}

TEST_F(ThreadOwners, JavasOwnThreadsCallTheServiceAndGoOnInJava) {
  RegisterCallService(Vm(), m_attached);
  const Local object = NewDefaultObject(Vm(), m_attached);
  const auto run = [&](int count) {
    int32_t right = -1;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallIntMethod(&right, m_attached, object, "runJavaThreads", "(I)I", count)));
    EXPECT_EQ(right, count);
    ++g_progress;
  };
  // Java knows of a thread's end a moment before the system has ended it.
  run(20);
  Remains before = CountRemains(Vm());
  for (Remains next; (next = CountRemains(Vm())).blocks != before.blocks;) before = next;
  for (int round = 0; round < kThreads / 10; ++round) run(10);
  Remains after = CountRemains(Vm());
  for (int i = 0; i < 200 && !IsFlat(before, after); ++i, Sleep(50)) after = CountRemains(Vm());
  ExpectFlat(before, after);
  Tell("4", "Java's own, calls the service from a native method", "goes on in Java, leaves nothing" + Of(kThreads));
}

// -- the loader lock --

TEST_F(ThreadOwners, AThreadLeavesTheJvmWhileAnotherKeepsTheLoaderLockAndWaitsForJava) {
  const int rounds = IsNightly() ? 100 : 10;
  wchar_t heldName[64];
  wchar_t goName[64];
  swprintf(heldName, 64, kLoaderLockHeld, GetCurrentProcessId());
  swprintf(goName, 64, kLoaderLockGo, GetCurrentProcessId());
  const std::wstring library = InstallFolder() + L"\\loader_lock.dll";
  int ended = 0;
  Remains before;
  for (int round = -1; round < rounds; ++round) {
    if (round == 0) before = CountRemains(Vm());  // the first round loads what Java needs for all this
    const Event held(heldName);
    const Event go(goName);
    const Event mayEnd;
    qv_jobject thread = nullptr;
    const WaitingThread leaver([&] { thread = NewGlobal(Vm(), CurrentThread()); }, [&] { mayEnd.Wait(); });
    leaver.Go();
    // Java tells when the leaver is no longer attached; its thread is attached before the lock is taken.
    const WaitingThread watcher(
        [&] { EXPECT_NE(QV_AcquireThreadEnv(Vm()), nullptr); },
        [&] {
          EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(m_attached, "awaitEnd", "(Ljava/lang/Thread;)V", thread)));
          go.Set();
        });
    watcher.Go();
    HMODULE loaded = nullptr;
    const HostThread holder([&] { loaded = LoadLibraryW(library.c_str()); });
    held.Wait();
    mayEnd.Set();
    if (!go.Wait(kLoaderLockLimitMs / 2)) ADD_FAILURE() << "round " << round << "\n" << StacksOfOtherThreads();
    holder.Join();
    leaver.LetGo();
    watcher.LetGo();
    EXPECT_NE(loaded, nullptr) << "while the loader lock was held, the thread that ended stayed attached";
    if (loaded != nullptr) FreeLibrary(loaded);
    EXPECT_EQ(Vm()->DeleteGlobalRef(thread), QV_S_OK);
    ended += round >= 0 && loaded != nullptr ? 1 : 0;
    ++g_progress;
    if (loaded == nullptr) break;  // each would wait its whole time
  }
  ExpectFlat(before, CountRemains(Vm()));
  Tell("5", "ends while another keeps the loader lock and waits in Java for this end",
       "detached in time: " + std::to_string(ended) + " of " + std::to_string(rounds));
}

}  // namespace
}  // namespace qvtest
