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
  int m_wholeRoom = 0;

 protected:
  IQV_JavaVM* m_vm = nullptr;
  JNIEnv* m_env = nullptr;
  qv_jclass m_echo = nullptr;
  qv_jclass m_faults = nullptr;
  qv_jobject m_object = nullptr;
  qv_jstring m_text = nullptr;
};

TEST_F(References, AreCountedByTheJvm) {
  EXPECT_EQ(LeftBy([] {}), 0);
  EXPECT_EQ(LeftBy([&] {
              for (int i = 0; i < 7; ++i) m_env->NewLocalRef(static_cast<jobject>(m_text));
            }),
            7);
}

TEST_F(References, EachOperationLeavesExactlySoMany) {
  struct Row {
    const char* name;
    int left;
    std::function<int32_t()> run;
    int32_t status = QV_S_OK;
  };
  char bytes[4] = {};
  int32_t result = 0;
  Local array(m_vm);
  EXPECT_TRUE(Ok(m_vm, m_vm->NewByteArray(array.Out(), 4)));
  const auto throwBy = [&](const char* method) { return m_vm->CallStaticVoidMethod(m_faults, method, "()V"); };
  const auto readText = [&](auto query, auto... of) {
    IQvString* text = nullptr;
    const int32_t status = (m_vm->*query)(&text, of...);
    TakeText(text);
    return status;
  };
  const Row rows[] = {
      {"FindClass", 0, [&] { return m_vm->FindClass(Local(m_vm).Out(), "java/util/ArrayList"); }},
      {"FindClass of a missing class", kCaptured, [&] { return m_vm->FindClass(Local(m_vm).Out(), "no/such/Thing"); },
       QV_E_FAIL},
      {"NewString", 0, [&] { return m_vm->NewString(Local(m_vm).Out(), L"text"); }},
      {"GetStringLength and GetStringChars", 0, [&] { return TextOf(m_vm, m_text) == L"some text" ? QV_S_OK : 1; }},
      {"GetStringValue", 0, [&] { return readText(&IQV_JavaVM::GetStringValue, m_text); }},
      {"NewObject", 0, [&] { return m_vm->NewObject(Local(m_vm).Out(), m_echo, "()"); }},
      {"NewDefaultObject", 0, [&] { return m_vm->NewDefaultObject(Local(m_vm).Out(), m_echo); }},
      {"NewObject with a constructor that throws", kUnfinished,
       [&] {
         const int32_t status = m_vm->NewObject(Local(m_vm).Out(), m_faults, "(Ljava/lang/String;)", m_text);
         m_vm->ExceptionClear(m_env);
         return status;
       }},
      {"NewGlobalRef", 0,
       [&] {
         qv_jobject global = nullptr;
         EXPECT_EQ(m_vm->NewGlobalRef(&global, m_text), QV_S_OK);
         return m_vm->DeleteGlobalRef(global);
       }},
      {"CallIntMethod", 0, [&] { return m_vm->CallIntMethod(&result, m_echo, m_object, "ofInt", "(I)I", 1); }},
      {"CallObjectMethod", 0,
       [&] { return m_vm->CallObjectMethod(Local(m_vm).Out(), m_echo, m_object, "ofString", kTextToText, m_text); }},
      {"CallStaticObjectMethod", 0,
       [&] {
         return m_vm->CallStaticObjectMethod(Local(m_vm).Out(), m_echo, "staticKeepAndTell", kTextToText, m_text);
       }},
      {"CallStaticVoidMethod", 0,
       [&] { return m_vm->CallStaticVoidMethod(m_echo, "staticKeep", kTextToVoid, m_text); }},
      {"CallStaticVoidMethod of a method with a result", 1,
       [&] { return m_vm->CallStaticVoidMethod(m_echo, "staticKeepAndTell", kTextToText, m_text); }},
      {"GetStaticIntField", 0, [&] { return m_vm->GetStaticIntField(&result, m_echo, "intLargest"); }},
      {"a method that throws", kCaptured, [&] { return throwBy("ofStaticVoid"); }, QV_E_FAIL},
      {"a method that is missing", kCaptured, [&] { return throwBy("isNotThere"); }, QV_E_FAIL},
      {"a rejected call", 0, [&] { return m_vm->CallVoidMethod(nullptr, nullptr, "", ""); }, QV_E_FAIL},
      {"an exception without a text", kCapturedWithoutText, [&] { return throwBy("throwNullText"); }, QV_E_FAIL},
      {"an exception whose text throws", kCapturedWithoutText, [&] { return throwBy("throwFailingText"); }, QV_E_FAIL},
      {"NewStringArray", 1, [&] { return m_vm->NewStringArray(Local(m_vm).Out(), 3); }},
      {"NewByteArray", 0, [&] { return m_vm->NewByteArray(Local(m_vm).Out(), 3); }},
      {"SetByteArrayData", 0, [&] { return m_vm->SetByteArrayData(array, 0, bytes, 4); }},
      {"GetByteArrayData", 0, [&] { return m_vm->GetByteArrayData(array, 0, 4, bytes); }},
      {"GetClassPath", 3, [&] { return readText(&IQV_JavaVM::GetClassPath); }},
      {"GetJavaVersion", 3, [&] { return readText(&IQV_JavaVM::GetJavaVersion); }},
  };
  constexpr int kTimes = 10;
  for (const Row& row : rows) {
    const int left = LeftBy([&] {
      for (int i = 0; i < kTimes; ++i) EXPECT_EQ(row.run(), row.status) << row.name;
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
    if (number % 1000 == 0) return expect(m_vm->FindClass(Local(m_vm).Out(), "no/such/Thing") == QV_E_FAIL);
    if (number % 1000 == 1) {
      return expect(m_vm->CallIntMethod(&result, m_echo, m_object, "isNotThere", "()I") == QV_E_FAIL);
    }

    if (number % 10 == 2) {
      Local string(m_vm);
      IQvString* text = nullptr;
      expect(m_vm->NewString(string.Out(), L"there and back") == QV_S_OK);
      expect(m_vm->GetStringValue(&text, string) == QV_S_OK);
      return expect(TakeText(text) == L"there and back");
    }
    if (number % 10 == 3) {
      return expect(m_vm->CallObjectMethod(Local(m_vm).Out(), m_echo, m_object, "ofString", kTextToText, m_text) ==
                    QV_S_OK);
    }
    expect(m_vm->CallIntMethod(&result, m_echo, m_object, "ofInt", "(I)I", number) == QV_S_OK && result == number);
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
