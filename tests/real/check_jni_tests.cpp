// Every operation under -Xcheck:jni, row by row: what the JVM reports about the service's use of JNI, and how many
// local references the operation leaves on its thread when the host deletes what it received. The few reports that stay
// come from sequences that the interface promises; each has its reason, and one that no longer comes fails the test as
// a new one does. The JVM itself counts the references: it reports when those of a frame exceed the capacity that was
// planned for it, so the room that is left tells how many live.
#include <thread>

#include "tests/real/checked_jni.h"
#include "tests/real/running_vm.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";
constexpr char kTextToVoid[] = "(Ljava/lang/String;)V";
constexpr char kTextAlone[] = "(Ljava/lang/String;)";

// An exception whose text could not be had.
constexpr int kCapturedWithoutText = 2;
// The JVM's own: the object whose constructor threw.
constexpr int kUnfinished = 1;

const JniReports kNothing{};
const JniReports kOneText = {{kTextUnchecked, 1}};

struct Row {
  const char* name;
  int left;
  JniReports reports;
  std::function<int32_t()> run;
  int32_t status = QV_S_OK;
};

// What the rows work on is global, so that each may run on a thread of its own.
class CheckJni : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(m_vm, nullptr);
    Local made(m_vm);
    EXPECT_TRUE(Ok(m_vm, m_vm->NewByteArray(made.Out(), 4)));
    m_bytes = NewGlobal(m_vm, made);
    EXPECT_TRUE(Ok(m_vm, m_vm->NewStringArray(made.Out(), 1)));
    m_strings = NewGlobal(m_vm, made);
    DropErrorOutput(m_vm);
  }
  void TearDown() override {
    if (m_vm != nullptr) m_vm->SetJvmLogEnabled(0);
  }

  std::vector<Row> Rows();

  IQV_JavaVM* const m_vm = StartVm({L"-Xcheck:jni", L"-Xmx128m"});
  const qv_jclass m_echo = NewGlobal(m_vm, FindClass(m_vm, "qvtest/Echo"));
  const qv_jclass m_faults = NewGlobal(m_vm, FindClass(m_vm, "qvtest/Faults"));
  const qv_jobject m_object = NewGlobal(m_vm, NewDefaultObject(m_vm, m_echo));
  const qv_jobject m_faulty = NewGlobal(m_vm, NewDefaultObject(m_vm, m_faults));
  const qv_jstring m_text = NewGlobal(m_vm, NewString(m_vm, L"some text"));
  qv_jarray m_bytes = nullptr;
  qv_jarray m_strings = nullptr;
  TempFolder m_folder;
};

std::vector<Row> CheckJni::Rows() {
  static int32_t result = 0;
  static int16_t shortResult = 0;
  static char bytes[4] = {};
  IQV_JavaVM* const vm = m_vm;
  const auto throwBy = [=, this](const char* method) { return vm->CallStaticVoidMethod(m_faults, method, "()V"); };
  const auto callBoolean = [=](qv_jclass cls, const char* method, const char* signature) {
    return vm->CallStaticBooleanMethod(&result, cls, method, signature, 1);
  };
  const auto readText = [=](auto query, auto... of) {
    IQvString* text = nullptr;
    const int32_t status = (vm->*query)(&text, of...);
    TakeText(text);
    return status;
  };
  const auto deleteBy = [=](auto remove) {
    qv_jobject string = nullptr;
    EXPECT_EQ(vm->NewString(&string, L""), QV_S_OK);
    return (vm->*remove)(string);
  };
  const auto construct = [=](qv_jclass cls, const char* signature, auto... arguments) {
    return vm->NewObject(Local(vm).Out(), cls, signature, arguments...);
  };
  return {
      {"FindClass", 0, kNothing, [=] { return vm->FindClass(Local(vm).Out(), "java/util/ArrayList"); }},
      {"FindClass of a missing class", kCaptured, kOneText,
       [=] { return vm->FindClass(Local(vm).Out(), "no/such/Thing"); }, QV_E_FAIL},
      {"NewString", 0, kNothing, [=] { return vm->NewString(Local(vm).Out(), L"text"); }},
      {"GetStringLength and GetStringChars", 0, kNothing,
       [=, this] { return TextOf(vm, m_text) == L"some text" ? QV_S_OK : QV_E_FAIL; }},
      {"GetStringValue", 0, kNothing, [=, this] { return readText(&IQV_JavaVM::GetStringValue, m_text); }},
      {"DeleteLocalRef2", 0, kNothing, [=] { return deleteBy(&IQV_JavaVM::DeleteLocalRef2); }},
      {"DeleteLocalRef3", 0, kNothing, [=] { return deleteBy(&IQV_JavaVM::DeleteLocalRef3); }},
      {"DeleteLocalRef of null", 0, kNothing, [=] { return vm->DeleteLocalRef(nullptr); }},
      {"DeleteGlobalRef of null", 0, kNothing, [=] { return vm->DeleteGlobalRef(nullptr); }},
      {"NewGlobalRef", 0, kNothing,
       [=, this] {
         qv_jobject global = nullptr;
         EXPECT_EQ(vm->NewGlobalRef(&global, m_text), QV_S_OK);
         return vm->DeleteGlobalRef(global);
       }},
      {"NewObject", 0, kNothing, [=, this] { return construct(m_echo, "()"); }},
      {"NewObject with every kind of argument", 0, kNothing,
       [=, this] {
         return construct(m_echo, "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)", 1, 2, 3, 4, 5, int64_t{6}, 7.0, 8.0,
                          nullptr, m_text);
       }},
      {"NewDefaultObject", 0, kNothing, [=, this] { return vm->NewDefaultObject(Local(vm).Out(), m_echo); }},
      {"NewObject with a constructor that throws", kUnfinished, kNothing,
       [=, this] {
         const int32_t status = construct(m_faults, kTextAlone, m_text);
         vm->ExceptionClear(QV_AcquireThreadEnv(vm));
         return status;
       }},
      {"calls of the primitive types", 0, kNothing,
       [=, this] {
         ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto value) {
           for (const auto call : {first, second}) {
             EXPECT_TRUE(Ok(vm, (vm->*call)(&value, m_echo, m_object, type.method, type.toItself, value)));
           }
         });
         return QV_S_OK;
       }},
      {"CallObjectMethod", 0, kNothing,
       [=, this] { return vm->CallObjectMethod(Local(vm).Out(), m_echo, m_object, "ofString", kTextToText, m_text); }},
      {"CallObjectMethod2", 0, kNothing,
       [=, this] { return vm->CallObjectMethod2(Local(vm).Out(), m_echo, m_object, "ofString", kTextToText, m_text); }},
      {"CallVoidMethod", 0, kNothing,
       [=, this] { return vm->CallVoidMethod(m_echo, m_object, "keep", kTextToVoid, m_text); }},
      {"CallVoidMethod2", 0, kNothing,
       [=, this] { return vm->CallVoidMethod2(m_echo, m_object, "keep", kTextToVoid, m_text); }},
      {"CallStaticBooleanMethod", 0, kNothing, [=, this] { return callBoolean(m_echo, "staticBoolean", "(Z)Z"); }},
      {"CallStaticObjectMethod", 0, kNothing,
       [=, this] {
         return vm->CallStaticObjectMethod(Local(vm).Out(), m_echo, "staticKeepAndTell", kTextToText, m_text);
       }},
      {"CallStaticVoidMethod", 0, kNothing,
       [=, this] { return vm->CallStaticVoidMethod(m_echo, "staticKeep", kTextToVoid, m_text); }},
      {"CallStaticVoidMethod of a method with a result", 1, kNothing,
       [=, this] { return vm->CallStaticVoidMethod(m_echo, "staticKeepAndTell", kTextToText, m_text); }},
      {"GetStaticIntField", 0, kNothing, [=, this] { return vm->GetStaticIntField(&result, m_echo, "intLargest"); }},
      {"GetStaticShortField", 0, kNothing,
       [=, this] { return vm->GetStaticShortField(&shortResult, m_echo, "shortLargest"); }},
      {"an instance method that throws", kCaptured, kOneText,
       [=, this] { return vm->CallIntMethod(&result, m_faults, m_faulty, "ofInt", "()I"); }, QV_E_FAIL},
      {"a void method that throws", kCaptured, kOneText,
       [=, this] { return vm->CallVoidMethod(m_faults, m_faulty, "ofVoid", "()V"); }, QV_E_FAIL},
      {"a boolean method that throws", kCaptured, kOneText,
       [=, this] { return callBoolean(m_faults, "ofStaticBoolean", "()Z"); }, QV_E_FAIL},
      {"a static method that throws", kCaptured, kOneText, [=] { return throwBy("ofStaticVoid"); }, QV_E_FAIL},
      {"an instance method that is missing", kCaptured, kOneText,
       [=, this] { return vm->CallIntMethod(&result, m_faults, m_faulty, "isNotThere", "()I"); }, QV_E_FAIL},
      {"a static method that is missing", kCaptured, kOneText, [=] { return throwBy("isNotThere"); }, QV_E_FAIL},
      {"a boolean method that is missing", kCaptured, kOneText,
       [=, this] { return callBoolean(m_faults, "isNotThere", "()Z"); }, QV_E_FAIL},
      {"a field that is missing", kCaptured, kOneText,
       [=, this] { return vm->GetStaticIntField(&result, m_faults, "isNotThere"); }, QV_E_FAIL},
      {"a rejected call", 0, kNothing, [=] { return vm->CallVoidMethod(nullptr, nullptr, "", ""); }, QV_E_FAIL},
      {"an exception without a text", kCapturedWithoutText, kNothing, [=] { return throwBy("throwNullText"); },
       QV_E_FAIL},
      {"an exception whose text throws", kCapturedWithoutText, kNothing, [=] { return throwBy("throwFailingText"); },
       QV_E_FAIL},
      {"an exception with a long text", kCaptured, kOneText,
       [=, this] {
         return vm->CallStaticVoidMethod(m_faults, "throwTextOfLength", kTextToVoid, NewString(vm, L"5000").Get());
       },
       QV_E_FAIL},
      {"NewStringArray", 1, kNothing, [=] { return vm->NewStringArray(Local(vm).Out(), 3); }},
      {"SetObjectArrayElement", 0, kNothing, [=, this] { return vm->SetObjectArrayElement(m_strings, 0, m_text); }},
      {"SetObjectArrayElement out of bounds", kCaptured, kOneText,
       [=, this] { return vm->SetObjectArrayElement(m_strings, 1, nullptr); }, QV_E_FAIL},
      {"SetObjectArrayElement of another type", kCaptured, kOneText,
       [=, this] { return vm->SetObjectArrayElement(m_strings, 0, m_echo); }, QV_E_FAIL},
      {"NewByteArray", 0, kNothing, [=] { return vm->NewByteArray(Local(vm).Out(), 3); }},
      {"NewByteArray of negative length", kCaptured, kOneText, [=] { return vm->NewByteArray(Local(vm).Out(), -1); },
       QV_E_FAIL},
      {"SetByteArrayData", 0, kNothing, [=, this] { return vm->SetByteArrayData(m_bytes, 0, bytes, 4); }},
      {"GetByteArrayData", 0, kNothing, [=, this] { return vm->GetByteArrayData(m_bytes, 0, 4, bytes); }},
      {"GetByteArrayData of no bytes", 0, kNothing, [=, this] { return vm->GetByteArrayData(m_bytes, 0, 0, bytes); }},
      {"GetClassPath", 3, kNothing, [=] { return readText(&IQV_JavaVM::GetClassPath); }},
      {"GetJavaVersion", 3, kNothing, [=] { return readText(&IQV_JavaVM::GetJavaVersion); }},
      {"the environment", 0, kNothing,
       [=] {
         qv_jnienv env = nullptr;
         const int32_t status = vm->GetJNIEnv(&env);
         ErrorRecord* record = nullptr;
         EXPECT_EQ(vm->CaptureException(&record, env), 0);
         vm->ExceptionClear(env);
         return status;
       }},
      // What is pending when a record exists is cleared; without one it stays.
      {"a pending exception and a record", kUnfinished, kNothing,
       [=, this] {
         EXPECT_EQ(vm->CallVoidMethod(nullptr, nullptr, "", ""), QV_E_FAIL);
         EXPECT_EQ(construct(m_faults, kTextAlone, m_text), QV_S_OK);
         return callBoolean(m_echo, "staticBoolean", "(Z)Z");
       }},
      {"a pending exception and no record",
       kUnfinished + kCaptured,
       {{kTextUnchecked, 1}, {kPending, 2}},
       [=, this] {
         ForgetRecord(vm);
         EXPECT_EQ(construct(m_faults, kTextAlone, m_text), QV_S_OK);
         return callBoolean(m_echo, "staticBoolean", "(Z)Z");
       },
       QV_E_FAIL},
      {"a missing constructor",
       kCaptured,
       {{kTextUnchecked, 1}, {kPending, 2}},
       [=, this] {
         ForgetRecord(vm);
         EXPECT_EQ(construct(m_faults, "(J)", int64_t{0}), QV_E_FAIL);
         return callBoolean(m_faults, "ofStaticBoolean", "()Z");
       },
       QV_E_FAIL},
      {"a string array of negative length, reported by the next operation",
       1 + kCaptured,
       {{kTextUnchecked, 1}, {kPending, 1}},
       [=] {
         ForgetRecord(vm);
         EXPECT_EQ(vm->NewStringArray(Local(vm).Out(), -1), QV_S_OK);
         return vm->NewByteArray(Local(vm).Out(), 0);
       },
       QV_E_FAIL},
  };
}

TEST_F(CheckJni, ReportsExactlyWhatTheInterfacePromises) {
  const std::wstring log = m_folder.Path(L"jvm.log");
  for (const Row& row : Rows()) {
    m_folder.WriteFile(L"jvm.log");
    EXPECT_EQ(m_vm->SetLogFileName(log.c_str()), QV_S_OK);
    std::thread([&] { EXPECT_EQ(row.run(), row.status) << row.name; }).join();
    EXPECT_EQ(ReportsIn(ReadWholeFile(log)), row.reports) << row.name;
  }
}

class References : public CheckJni {
 protected:
  // How many references live in a frame of their own after `work`.
  int LeftBy(const std::function<void()>& work) {
    if (m_wholeRoom == 0) m_wholeRoom = RoomAfter([] {});
    return m_wholeRoom - RoomAfter(work);
  }

  JNIEnv* const m_env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(m_vm));

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

  int m_wholeRoom = 0;
};

TEST_F(References, AreCountedByTheJvm) {
  EXPECT_EQ(LeftBy([] {}), 0);
  EXPECT_EQ(LeftBy([&] {
              for (int i = 0; i < 7; ++i) m_env->NewLocalRef(static_cast<jobject>(m_text));
            }),
            7);
}

TEST_F(References, EachOperationLeavesExactlySoMany) {
  constexpr int kTimes = 10;
  for (const Row& row : Rows()) {
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
