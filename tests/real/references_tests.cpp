// Local references: how many each operation leaves on its thread when the host deletes what it received. The JVM itself
// counts: under -Xcheck:jni it reports when the live references of a frame exceed the capacity that was planned for it,
// so the room that is left tells how many live. The numbers are the interface's; an attached thread keeps what is left
// until it ends.
#include <jni.h>

#include <functional>

#include "tests/real/checked_jni.h"
#include "tests/real/running_vm.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";
constexpr char kTextToVoid[] = "(Ljava/lang/String;)V";

// An exception whose text could not be had.
constexpr int kCapturedWithoutText = 2;
// The JVM's own: the object whose constructor threw.
constexpr int kUnfinished = 1;

class References : public testing::Test {
 protected:
  void SetUp() override {
    m_vm = StartVm({L"-Xcheck:jni", L"-Xmx128m"});
    ASSERT_NE(m_vm, nullptr);
    m_env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(m_vm));
    m_echo = Global("qvtest/Echo");
    m_faults = Global("qvtest/Faults");
    ASSERT_EQ(m_env->PushLocalFrame(1), JNI_OK);
    m_object = m_env->NewGlobalRef(static_cast<jobject>(NewDefaultObject(m_vm, m_echo).Get()));
    m_text = m_env->NewGlobalRef(m_env->NewStringUTF("some text"));
    m_env->PopLocalFrame(nullptr);
    EXPECT_TRUE(Ok(m_vm, m_vm->CallStaticVoidMethod(Global("qvtest/Threads"), "dropErrorOutput", "()V")));
    m_wholeRoom = RoomAfter([] {});
  }
  void TearDown() override {
    if (m_vm != nullptr) m_vm->SetJvmLogEnabled(0);
  }

  // How many references live in a frame of their own after `work`.
  int LeftBy(const std::function<void()>& work) { return m_wholeRoom - RoomAfter(work); }

  [[nodiscard]] IQV_JavaVM* Vm() const { return m_vm; }
  [[nodiscard]] JNIEnv* Env() const { return m_env; }
  [[nodiscard]] qv_jclass Echo() const { return m_echo; }
  [[nodiscard]] qv_jclass Faults() const { return m_faults; }
  [[nodiscard]] qv_jobject Object() const { return m_object; }
  [[nodiscard]] qv_jstring Text() const { return m_text; }

 private:
  int RoomAfter(const std::function<void()>& work) {
    const std::wstring report = m_folder.Path(L"report.log");
    const ReportWatch watch{[&] {
                              DeleteFileW(report.c_str());
                              EXPECT_EQ(m_vm->SetLogFileName(report.c_str()), QV_S_OK);
                            },
                            [&] { return FileExists(report); }};
    m_vm->SetJvmLogEnabled(0);
    return qvtest::RoomAfter(m_env, watch, work);
  }

  qv_jobject Global(const char* className) {
    qv_jobject global = nullptr;
    EXPECT_TRUE(Ok(m_vm, m_vm->NewGlobalRef(&global, FindClass(m_vm, className))));
    return global;
  }

  TempFolder m_folder;
  IQV_JavaVM* m_vm = nullptr;
  JNIEnv* m_env = nullptr;
  qv_jclass m_echo = nullptr;
  qv_jclass m_faults = nullptr;
  qv_jobject m_object = nullptr;
  qv_jstring m_text = nullptr;
  int m_wholeRoom = 0;
};

TEST_F(References, AreCountedByTheJvm) {
  EXPECT_EQ(LeftBy([] {}), 0);
  EXPECT_EQ(LeftBy([&] {
              for (int i = 0; i < 7; ++i) Env()->NewLocalRef(static_cast<jobject>(Text()));
            }),
            7);
}

TEST_F(References, EachOperationLeavesExactlySoMany) {
  struct Row {
    const char* name;
    int left;
    std::function<void()> run;
  };
  char bytes[4] = {};
  int32_t result = 0;
  const Local array = [&] {
    Local made(Vm());
    EXPECT_TRUE(Ok(Vm(), Vm()->NewByteArray(made.Out(), 4)));
    return made;
  }();
  const auto throwBy = [&](const char* method) {
    EXPECT_EQ(Vm()->CallStaticVoidMethod(Faults(), method, "()V"), QV_E_FAIL);
  };
  const auto readText = [&](int32_t (IQV_JavaVM::*query)(IQvString**) noexcept) {
    IQvString* text = nullptr;
    EXPECT_EQ((Vm()->*query)(&text), QV_S_OK);
    TakeText(text);
  };
  const Row rows[] = {
      {"FindClass", 0, [&] { FindClass(Vm(), "java/util/ArrayList"); }},
      {"FindClass of a missing class", kCaptured,
       [&] { EXPECT_EQ(Vm()->FindClass(Local(Vm()).Out(), "no/such/Thing"), QV_E_FAIL); }},
      {"NewString", 0, [&] { NewString(Vm(), L"text"); }},
      {"GetStringLength and GetStringChars", 0, [&] { EXPECT_EQ(TextOf(Vm(), Text()), L"some text"); }},
      {"GetStringValue", 0,
       [&] {
         IQvString* text = nullptr;
         EXPECT_EQ(Vm()->GetStringValue(&text, Text()), QV_S_OK);
         TakeText(text);
       }},
      {"NewObject", 0, [&] { EXPECT_EQ(Vm()->NewObject(Local(Vm()).Out(), Echo(), "()"), QV_S_OK); }},
      {"NewDefaultObject", 0, [&] { NewDefaultObject(Vm(), Echo()); }},
      {"NewObject with a constructor that throws", kUnfinished,
       [&] {
         EXPECT_EQ(Vm()->NewObject(Local(Vm()).Out(), Faults(), "(Ljava/lang/String;)", Text()), QV_S_OK);
         Vm()->ExceptionClear(Env());
       }},
      {"NewGlobalRef", 0,
       [&] {
         qv_jobject global = nullptr;
         EXPECT_EQ(Vm()->NewGlobalRef(&global, Text()), QV_S_OK);
         EXPECT_EQ(Vm()->DeleteGlobalRef(global), QV_S_OK);
       }},
      {"CallIntMethod", 0,
       [&] { EXPECT_EQ(Vm()->CallIntMethod(&result, Echo(), Object(), "ofInt", "(I)I", 1), QV_S_OK); }},
      {"CallObjectMethod", 0,
       [&] {
         EXPECT_EQ(Vm()->CallObjectMethod(Local(Vm()).Out(), Echo(), Object(), "ofString", kTextToText, Text()),
                   QV_S_OK);
       }},
      {"CallStaticObjectMethod", 0,
       [&] {
         EXPECT_EQ(Vm()->CallStaticObjectMethod(Local(Vm()).Out(), Echo(), "staticKeepAndTell", kTextToText, Text()),
                   QV_S_OK);
       }},
      {"CallStaticVoidMethod", 0,
       [&] { EXPECT_EQ(Vm()->CallStaticVoidMethod(Echo(), "staticKeep", kTextToVoid, Text()), QV_S_OK); }},
      {"CallStaticVoidMethod of a method with a result", 1,
       [&] { EXPECT_EQ(Vm()->CallStaticVoidMethod(Echo(), "staticKeepAndTell", kTextToText, Text()), QV_S_OK); }},
      {"GetStaticIntField", 0, [&] { EXPECT_EQ(Vm()->GetStaticIntField(&result, Echo(), "intLargest"), QV_S_OK); }},
      {"a method that throws", kCaptured, [&] { throwBy("ofStaticVoid"); }},
      {"a method that is missing", kCaptured, [&] { throwBy("isNotThere"); }},
      {"a rejected call", 0, [&] { EXPECT_EQ(Vm()->CallVoidMethod(nullptr, nullptr, "", ""), QV_E_FAIL); }},
      {"an exception without a text", kCapturedWithoutText, [&] { throwBy("throwNullText"); }},
      {"an exception whose text throws", kCapturedWithoutText, [&] { throwBy("throwFailingText"); }},
      {"NewStringArray", 1, [&] { EXPECT_EQ(Vm()->NewStringArray(Local(Vm()).Out(), 3), QV_S_OK); }},
      {"NewByteArray", 0, [&] { EXPECT_EQ(Vm()->NewByteArray(Local(Vm()).Out(), 3), QV_S_OK); }},
      {"SetByteArrayData", 0, [&] { EXPECT_EQ(Vm()->SetByteArrayData(array, 0, bytes, 4), QV_S_OK); }},
      {"GetByteArrayData", 0, [&] { EXPECT_EQ(Vm()->GetByteArrayData(array, 0, 4, bytes), QV_S_OK); }},
      {"GetClassPath", 3, [&] { readText(&IQV_JavaVM::GetClassPath); }},
      {"GetJavaVersion", 3, [&] { readText(&IQV_JavaVM::GetJavaVersion); }},
  };
  constexpr int kTimes = 10;
  for (const Row& row : rows) {
    const int left = LeftBy([&] {
      for (int i = 0; i < kTimes; ++i) row.run();
    });
    EXPECT_EQ(left, row.left * kTimes) << row.name << ", " << kTimes << " times";
  }
}

TEST_F(References, AMillionOperationsLeaveWhatTheirFailuresLeave) {
  constexpr int kOperations = 1000000;
  constexpr int kPerFrame = 50000;
  constexpr int kFailuresPerFrame = 100;
  int wrong = 0;
  const auto operate = [&](int number) {
    int32_t result = 0;
    const auto expect = [&](bool right) { wrong += right ? 0 : 1; };
    switch (number % 1000) {
      case 0:
        return expect(Vm()->FindClass(Local(Vm()).Out(), "no/such/Thing") == QV_E_FAIL);
      case 1:
        return expect(Vm()->CallIntMethod(&result, Echo(), Object(), "isNotThere", "()I") == QV_E_FAIL);
      default:
        break;
    }
    if (number % 10 == 2) {
      Local string(Vm());
      IQvString* text = nullptr;
      expect(Vm()->NewString(string.Out(), L"there and back") == QV_S_OK);
      expect(Vm()->GetStringValue(&text, string) == QV_S_OK);
      return expect(TakeText(text) == L"there and back");
    }
    if (number % 10 == 3) {
      return expect(Vm()->CallObjectMethod(Local(Vm()).Out(), Echo(), Object(), "ofString", kTextToText, Text()) ==
                    QV_S_OK);
    }
    expect(Vm()->CallIntMethod(&result, Echo(), Object(), "ofInt", "(I)I", number) == QV_S_OK && result == number);
  };
  for (int done = 0; done < kOperations; done += kPerFrame) {
    const int left = LeftBy([&] {
      for (int i = 0; i < kPerFrame; ++i) operate(done + i);
    });
    ASSERT_EQ(left, kFailuresPerFrame * kCaptured) << "after " << done << " operations";
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace qvtest
