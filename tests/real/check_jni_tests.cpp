// Every operation under -Xcheck:jni: what the JVM reports about the service's use of JNI is exactly what the table
// says, scenario by scenario. The few reports that stay come from sequences that the interface promises; each has its
// reason, and one that no longer comes fails the test as a new one does. A scenario has a thread and a log file of its
// own, so neither references nor reports of another one mix in.
#include <functional>
#include <thread>

#include "tests/real/checked_jni.h"
#include "tests/real/running_vm.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

struct Scenario {
  const char* name;
  JniReports reports;
  std::function<void(IQV_JavaVM*)> run;
};

constexpr char kTextToVoid[] = "(Ljava/lang/String;)V";
constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";

void CallAllInstanceMethods(IQV_JavaVM* vm) {
  const JavaClass cls(vm, "qvtest/Echo");
  const Local object = cls.New();
  const Local text = NewString(vm, L"text");
  Local reference(vm);
  ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto value) {
    for (const auto call : {first, second}) {
      EXPECT_TRUE(Ok(vm, (vm->*call)(&value, cls, object, type.method, type.toItself, value)));
    }
  });
  EXPECT_TRUE(Ok(vm, vm->CallObjectMethod(reference.Out(), cls, object, "ofString", kTextToText, text.Get())));
  EXPECT_TRUE(Ok(vm, vm->CallObjectMethod2(reference.Out(), cls, object, "ofString", kTextToText, text.Get())));
  EXPECT_TRUE(Ok(vm, vm->CallVoidMethod(cls, object, "keep", kTextToVoid, text.Get())));
  EXPECT_TRUE(Ok(vm, vm->CallVoidMethod2(cls, object, "keep", kTextToVoid, text.Get())));
}

void CallAllStaticMembers(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Echo");
  const Local text = NewString(vm, L"text");
  int16_t shortResult = 0;
  int32_t result = 0;
  Local reference(vm);
  EXPECT_TRUE(Ok(vm, vm->CallStaticBooleanMethod(&result, cls, "staticBoolean", "(Z)Z", 1)));
  EXPECT_TRUE(Ok(vm, vm->CallStaticObjectMethod(reference.Out(), cls, "staticObject",
                                                "(Ljava/lang/Object;)Ljava/lang/Object;", text.Get())));
  EXPECT_TRUE(Ok(vm, vm->CallStaticVoidMethod(cls, "staticKeep", kTextToVoid, text.Get())));
  EXPECT_TRUE(Ok(vm, vm->CallStaticVoidMethod(cls, "staticKeepAndTell", kTextToText, text.Get())));
  EXPECT_TRUE(Ok(vm, vm->GetStaticIntField(&result, cls, "intLargest")));
  EXPECT_TRUE(Ok(vm, vm->GetStaticShortField(&shortResult, cls, "shortLargest")));
}

void UseStringsAndReferences(IQV_JavaVM* vm) {
  const Local text = NewString(vm, L"text");
  EXPECT_EQ(TextOf(vm, text), L"text");
  IQvString* value = nullptr;
  EXPECT_TRUE(Ok(vm, vm->GetStringValue(&value, text)));
  EXPECT_EQ(TakeText(value), L"text");
  qv_jobject reference = nullptr;
  EXPECT_TRUE(Ok(vm, vm->NewGlobalRef(&reference, text)));
  EXPECT_TRUE(Ok(vm, vm->DeleteGlobalRef(reference)));
  EXPECT_TRUE(Ok(vm, vm->NewString(&reference, L"")));
  EXPECT_TRUE(Ok(vm, vm->DeleteLocalRef2(reference)));
  EXPECT_TRUE(Ok(vm, vm->NewString(&reference, L"")));
  EXPECT_TRUE(Ok(vm, vm->DeleteLocalRef3(reference)));
  EXPECT_TRUE(Ok(vm, vm->DeleteLocalRef(nullptr)));
  EXPECT_TRUE(Ok(vm, vm->DeleteGlobalRef(nullptr)));
}

void Construct(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Echo");
  const Local text = NewString(vm, L"text");
  Local object(vm);
  NewDefaultObject(vm, cls);
  EXPECT_TRUE(Ok(vm, vm->NewObject(object.Out(), cls, "()")));
  EXPECT_TRUE(Ok(vm, vm->NewObject(object.Out(), cls, "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)", 1, 2, 3, 4, 5,
                                   int64_t{6}, 7.0, 8.0, nullptr, text.Get())));
}

void UseArrays(IQV_JavaVM* vm) {
  const Local text = NewString(vm, L"text");
  Local array(vm);
  char bytes[3] = {};
  EXPECT_TRUE(Ok(vm, vm->NewStringArray(array.Out(), 3)));
  EXPECT_TRUE(Ok(vm, vm->SetObjectArrayElement(array, 0, text)));
  EXPECT_TRUE(Ok(vm, vm->NewByteArray(array.Out(), 3)));
  EXPECT_TRUE(Ok(vm, vm->SetByteArrayData(array, 0, bytes, 3)));
  EXPECT_TRUE(Ok(vm, vm->GetByteArrayData(array, 0, 3, bytes)));
  EXPECT_TRUE(Ok(vm, vm->GetByteArrayData(array, 0, 0, bytes)));
}

void AskForEnvironmentAndProperties(IQV_JavaVM* vm) {
  IQvString* text = nullptr;
  EXPECT_TRUE(Ok(vm, vm->GetClassPath(&text)));
  TakeText(text);
  EXPECT_TRUE(Ok(vm, vm->GetJavaVersion(&text)));
  TakeText(text);
  qv_jnienv env = nullptr;
  EXPECT_TRUE(Ok(vm, vm->GetJNIEnv(&env)));
  ErrorRecord* record = nullptr;
  EXPECT_EQ(vm->CaptureException(&record, env), 0);
  vm->ExceptionClear(env);
}

void MissMethodsAndFields(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Faults");
  const Local object = NewDefaultObject(vm, cls);
  int32_t result = 0;
  EXPECT_EQ(vm->CallIntMethod(&result, cls, object, "isNotThere", "()I"), QV_E_FAIL);
  EXPECT_EQ(vm->CallStaticBooleanMethod(&result, cls, "isNotThere", "()Z"), QV_E_FAIL);
  EXPECT_EQ(vm->GetStaticIntField(&result, cls, "isNotThere"), QV_E_FAIL);
}

void CallWhatThrows(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Faults");
  const Local object = NewDefaultObject(vm, cls);
  int32_t result = 0;
  EXPECT_EQ(vm->CallIntMethod(&result, cls, object, "ofInt", "()I"), QV_E_FAIL);
  EXPECT_EQ(vm->CallVoidMethod(cls, object, "ofVoid", "()V"), QV_E_FAIL);
  EXPECT_EQ(vm->CallStaticBooleanMethod(&result, cls, "ofStaticBoolean", "()Z"), QV_E_FAIL);
  EXPECT_EQ(vm->CallStaticVoidMethod(cls, "ofStaticVoid", "()V"), QV_E_FAIL);
}

template <class... Arguments>
void CallStatic(IQV_JavaVM* vm, const char* method, const char* signature, Arguments... arguments) {
  EXPECT_EQ(vm->CallStaticVoidMethod(FindClass(vm, "qvtest/Faults"), method, signature, arguments...), QV_E_FAIL);
}

// What is pending when a record exists is cleared; without one it stays.
void LeaveAnExceptionAndCall(IQV_JavaVM* vm, bool withRecord) {
  const Local cls = FindClass(vm, "qvtest/Faults");
  const Local echo = FindClass(vm, "qvtest/Echo");
  const Local text = NewString(vm, L"refused");
  Local object(vm);
  int32_t result = 0;
  EXPECT_TRUE(Ok(vm, vm->NewByteArray(object.Out(), 0)));
  if (withRecord) {
    EXPECT_EQ(vm->CallVoidMethod(nullptr, nullptr, "", ""), QV_E_FAIL);
  }
  EXPECT_TRUE(vm->NewObject(object.Out(), cls, "(Ljava/lang/String;)", text.Get()) == QV_S_OK);
  const int32_t status = vm->CallStaticBooleanMethod(&result, echo, "staticBoolean", "(Z)Z", 1);
  EXPECT_EQ(status, withRecord ? QV_S_OK : QV_E_FAIL);
}

void MissAConstructorAndCall(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Faults");
  Local object(vm);
  int32_t result = 0;
  EXPECT_TRUE(Ok(vm, vm->NewByteArray(object.Out(), 0)));
  EXPECT_EQ(vm->NewObject(object.Out(), cls, "(J)", int64_t{0}), QV_E_FAIL);
  EXPECT_EQ(vm->CallStaticBooleanMethod(&result, cls, "ofStaticBoolean", "()Z"), QV_E_FAIL);
}

void MakeAStringArrayOfNegativeLength(IQV_JavaVM* vm) {
  Local array(vm);
  EXPECT_TRUE(Ok(vm, vm->NewByteArray(array.Out(), 0)));
  EXPECT_TRUE(Ok(vm, vm->NewStringArray(array.Out(), -1)));
  EXPECT_EQ(vm->NewByteArray(array.Out(), 0), QV_E_FAIL) << "reports what was pending";
}

void FailWithArrays(IQV_JavaVM* vm) {
  const Local cls = FindClass(vm, "qvtest/Faults");
  Local array(vm);
  EXPECT_TRUE(Ok(vm, vm->NewStringArray(array.Out(), 1)));
  EXPECT_EQ(vm->SetObjectArrayElement(array, 1, nullptr), QV_E_FAIL);
  EXPECT_EQ(vm->SetObjectArrayElement(array, 0, cls), QV_E_FAIL);
  EXPECT_EQ(vm->NewByteArray(array.Out(), -1), QV_E_FAIL);
}

const Scenario kScenarios[] = {
    {"typed calls", {}, CallAllInstanceMethods},
    {"static members", {}, CallAllStaticMembers},
    {"strings and references", {}, UseStringsAndReferences},
    {"construction", {}, Construct},
    {"arrays", {}, UseArrays},
    {"environment and properties", {}, AskForEnvironmentAndProperties},
    {"a missing class",
     {{kTextUnchecked, 1}},
     [](IQV_JavaVM* vm) { EXPECT_EQ(vm->FindClass(Local(vm).Out(), "no/such/Thing"), QV_E_FAIL); }},
    {"missing methods and fields", {{kTextUnchecked, 3}}, MissMethodsAndFields},
    {"methods that throw", {{kTextUnchecked, 4}}, CallWhatThrows},
    {"an exception without a text", {}, [](IQV_JavaVM* vm) { CallStatic(vm, "throwNullText", "()V"); }},
    {"an exception whose text throws", {}, [](IQV_JavaVM* vm) { CallStatic(vm, "throwFailingText", "()V"); }},
    {"an exception with a long text",
     {{kTextUnchecked, 1}},
     [](IQV_JavaVM* vm) { CallStatic(vm, "throwTextOfLength", kTextToVoid, NewString(vm, L"5000").Get()); }},
    {"arrays that fail", {{kTextUnchecked, 3}}, FailWithArrays},
    {"a pending exception and a record", {}, [](IQV_JavaVM* vm) { LeaveAnExceptionAndCall(vm, true); }},
    {"a pending exception and no record",
     {{kTextUnchecked, 1}, {kPending, 2}},
     [](IQV_JavaVM* vm) { LeaveAnExceptionAndCall(vm, false); }},
    {"a missing constructor", {{kTextUnchecked, 1}, {kPending, 2}}, MissAConstructorAndCall},
    {"a string array of negative length", {{kTextUnchecked, 1}, {kPending, 1}}, MakeAStringArrayOfNegativeLength},
};

class CheckJni : public testing::Test {
 protected:
  void SetUp() override {
    m_vm = StartVm({L"-Xcheck:jni", L"-Xmx128m"});
    ASSERT_NE(m_vm, nullptr);
  }
  void TearDown() override {
    if (m_vm != nullptr) m_vm->SetJvmLogEnabled(0);
  }

  // What the JVM reports while `run` has a thread of its own.
  JniReports ReportsOf(const std::function<void(IQV_JavaVM*)>& run) {
    const std::wstring log = m_folder.WriteFile(L"jvm.log");
    EXPECT_EQ(m_vm->SetLogFileName(log.c_str()), QV_S_OK);
    std::thread([&] { run(m_vm); }).join();
    return ReportsIn(ReadWholeFile(log));
  }

 private:
  TempFolder m_folder;
  IQV_JavaVM* m_vm = nullptr;
};

TEST_F(CheckJni, ReportsExactlyWhatTheInterfacePromises) {
  for (const Scenario& scenario : kScenarios) EXPECT_EQ(ReportsOf(scenario.run), scenario.reports) << scenario.name;
}

}  // namespace
}  // namespace qvtest
