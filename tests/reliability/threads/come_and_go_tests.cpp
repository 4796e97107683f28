// Thousands of host threads that come, call and go, sixteen at a time, on a real JVM: the first of them find a machine
// on which the JVM cannot start, then it is repaired while they come. Each checks what it gets; afterwards nothing of
// them is left. QV_TEST_THREADS says how many come in the short form.
#include <cstdio>

#include "tests/real/running_vm.h"
#include "tests/reliability/threads/host_thread.h"
#include "tests/support/ledger_check.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/reliability.h"
#include "tests/support/watchdog.h"

namespace qvtest {
namespace {

constexpr DWORD kHangMs = 30000;
constexpr int kAtATime = 16;
constexpr int kFailingStarts = 48;
constexpr wchar_t kRuntimeConfig[] = L"Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig";

std::atomic<uint64_t> g_progress = 0;

// So many threads, sixteen at a time, each as new as the last; `life(number)` is what one does.
void RunThreads(int count, const std::function<void(int)>& life) {
  std::atomic<int> next = 0;
  OnThreads(kAtATime, [&](int) {
    for (int number = next++; number < count; number = next++) {
      OnThread([&] { life(number); });
      ++g_progress;
    }
  });
}

std::wstring ClassPath() { return InstallFolder() + L"\\qvtests.jar"; }

// One thread's life with an object that others use as well.
class Lives {
 public:
  static inline std::atomic<int> wrong = 0;

  Lives(IQV_JavaVM* shared, int number) : m_shared(shared), m_number(number) {}

  void Live() {
    switch (m_number % 8) {
      case 0:
        return Expect(QV_AcquireThreadEnv(m_shared) != nullptr, "an environment");
      case 1:
        return Call(m_shared, false);
      case 2:
        return WithAnObjectOfItsOwn(nullptr, QV_S_OK);
      case 3:
        return WithAnObjectOfItsOwn(ClassPath().c_str(), QV_S_CLASSPATH_IGNORED);
      case 4:  // never comes near Java
        m_shared->AddRef();
        return Expect(m_shared->Release() >= 1, "a reference that is left");
      case 5:
        return EndWithAnException();
      case 6:
        Call(m_shared, false);
        ExitThread(0);
      default:
        return GiveAway();
    }
  }

 private:
  void Expect(bool right, const char* what) {
    if (!right && ++wrong <= 10) ADD_FAILURE() << "thread " << m_number << ": " << what;
  }

  // Right calls, a failing one, references that are left to the thread's end.
  void Call(IQV_JavaVM* vm, bool own) {
    qv_jclass echo = nullptr;
    qv_jobject object = nullptr;
    int32_t result = 0;
    Expect(vm->FindClass(&echo, "qvtest/Echo") == QV_S_OK && echo != nullptr, "a class");
    Expect(vm->NewDefaultObject(&object, echo) == QV_S_OK && object != nullptr, "an object");
    Expect(vm->CallIntMethod(&result, echo, object, "ofInt", "(I)I", m_number) == QV_S_OK && result == m_number,
           "the number back");
    Expect(vm->CallIntMethod(&result, echo, object, "isNotThere", "()I") == QV_E_FAIL, "a failure");
    qv_jclass faults = nullptr;
    qv_jstring text = nullptr;
    const std::wstring message = L"of thread " + std::to_wstring(m_number);
    Expect(vm->FindClass(&faults, "qvtest/Faults") == QV_S_OK, "a class");
    Expect(vm->NewString(&text, message.c_str()) == QV_S_OK, "a string");
    Expect(vm->CallStaticVoidMethod(faults, "throwText", "(Ljava/lang/String;)V", text) == QV_E_FAIL, "an exception");
    if (own) Expect(RecordOf(vm) == Record{message, QV_CODE_CALL_FAILED}, "its own text");
  }

  void WithAnObjectOfItsOwn(const wchar_t* classPath, int32_t wanted) {
    IQV_JavaVM* own = nullptr;
    Expect(LoadService().createJavaVM(&own, classPath) == wanted && own != nullptr, "an object");
    Expect(LoadService().createJavaVM(nullptr, classPath) == QV_E_INVALIDARG, "a rejected start");
    if (own == nullptr) return;
    Call(own, true);
    Expect(own->Release() == 0, "the last reference");
  }

  void EndWithAnException() {
    qv_jclass faults = nullptr;
    qv_jobject object = nullptr;
    Expect(m_shared->FindClass(&faults, "qvtest/Faults") == QV_S_OK, "a class");
    Expect(m_shared->NewObject(&object, faults, "(Ljava/lang/String;)", static_cast<qv_jobject>(nullptr)) == QV_S_OK,
           "a constructor that throws");
    Expect(object == nullptr, "null of it");
  }

  // What this thread makes is given back by a thread that has never called the service.
  void GiveAway() {
    IQV_JavaVM* own = nullptr;
    qv_jstring text = nullptr;
    qv_jobject global = nullptr;
    Expect(LoadService().createJavaVM(&own, nullptr) == QV_S_OK && own != nullptr, "an object");
    if (own == nullptr) return;
    Expect(own->NewString(&text, L"given away") == QV_S_OK, "a string");
    Expect(own->NewGlobalRef(&global, text) == QV_S_OK, "a global reference");
    Expect(own->CallVoidMethod(nullptr, nullptr, "", "") == QV_E_FAIL, "a record to give away");
    OnThread([&] {
      Expect(own->DeleteGlobalRef(global) == QV_S_OK, "a global reference of another thread");
      Expect(own->Release() == 0, "an object of another thread");
    });
  }

  IQV_JavaVM* m_shared;
  int m_number;
};

// Before the JVM: every call fails, and a thread that asked for a class path takes it along. What fails lies before the
// JVM: one that has refused its options once starts later, but with an empty class path.
void FailToStart() {
  RunThreads(kFailingStarts, [&](int number) {
    IQV_JavaVM* vm = nullptr;
    EXPECT_EQ(LoadService().createJavaVM(&vm, number % 2 == 0 ? ClassPath().c_str() : nullptr), QV_E_FAIL) << number;
    EXPECT_EQ(vm, nullptr) << number;
  });
}

TEST(ComeAndGo, ThreadsThatCallAndGoLeaveNothing) {
  const int count = IsNightly() ? 10000 : std::stoi(ReadVariable(L"QV_TEST_THREADS").value_or(L"1000"));
  const Watchdog watchdog(g_progress, kHangMs);
  std::optional<RegistrySandbox> registry(std::in_place);
  registry->SetList(Hive::Machine, std::wstring(kRuntimeConfig) + L"\\QVJVMconfig",
                    {std::begin(kCrowdOptions), std::end(kCrowdOptions)});
  registry->CreateKey(Hive::Machine, std::wstring(kRuntimeConfig) + L"\\QVJVMprops");
  {
    const FailCall noOptions(kQvshrCallWideToMultiByte, 1, kQvshrFailFromHere);
    FailToStart();
    const LedgerCheck ledger;  // starts that failed leave nothing
    FailToStart();
  }
  // Repaired: all come at once, and one of them makes the JVM.
  std::atomic<int> created = 0;
  RunThreads(kAtATime * 2, [&](int number) {
    IQV_JavaVM* made = nullptr;
    const int32_t status = LoadService().createJavaVM(&made, ClassPath().c_str());
    created += status == QV_S_OK ? 1 : 0;
    EXPECT_TRUE(made != nullptr && status >= 0) << number << " gets no object";
    EXPECT_TRUE(made == nullptr || made->Release() == 0) << number << " has not the last reference";
  });
  EXPECT_GE(created, 1) << "nobody was told that its class path was used";
  registry.reset();
  IQV_JavaVM* const vm = NewService();
  ASSERT_NE(vm, nullptr);
  EXPECT_EQ(vm->SetJvmLogEnabled(0), QV_S_OK);
  DropErrorOutput(vm);

  const auto life = [&](int number) { Lives(vm, number).Live(); };
  // A lone thread first ends with an exception, so that the JVM links what it prints with (see kCrowdOptions).
  for (int number = 0; number < 8; ++number) OnThread([&] { life(number); });
  RunThreads(400, life);
  const Remains before = CountRemains(vm);
  RunThreads(count, life);
  const Remains after = CountRemains(vm);
  EXPECT_EQ(Lives::wrong, 0) << "of which the first ten are told";
  ExpectFlat(before, after);

  const std::string runtime = RuntimeOf(vm);
  const auto between = [](int64_t from, int64_t to) { return std::to_string(from) + " → " + std::to_string(to); };
  std::printf("threads %d, wrong %d, handles %s, Java threads %s, blocks %s\n", count, Lives::wrong.load(),
              between(before.handles, after.handles).c_str(), between(before.javaThreads, after.javaThreads).c_str(),
              between(before.blocks, after.blocks).c_str());
  RecordRow("threads", runtime,
            {runtime, count, Lives::wrong.load(), between(before.handles, after.handles),
             between(before.javaThreads, after.javaThreads), between(before.blocks, after.blocks)});
}

}  // namespace
}  // namespace qvtest
