// What Java throws becomes the record of the object: the exception's own text and the code of the operation, in every
// kind of call, with texts of every difficulty, and for classes, methods and constructors that are not there.
#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

constexpr int32_t kFailed = QV_CODE_CALL_FAILED;
const Record kRejected{L"QVJava Internal Exception", kFailed};
const Record kUnknown{L"QVJava Unknown Exception", kFailed};
constexpr char kWithText[] = "(Ljava/lang/String;)V";

class Errors : public RunningVmTest {
 protected:
  void SetUp() override {
    RunningVmTest::SetUp();
    m_class.emplace(Find("qvtest/Faults"));
    m_object.emplace(NewDefaultObject(Vm(), *m_class));
  }

  [[nodiscard]] qv_jclass Class() const { return *m_class; }
  [[nodiscard]] qv_jobject Object() const { return *m_object; }

  // The record of a static method that throws.
  testing::AssertionResult Throws(const char* method, const char* signature, qv_jobject argument,
                                  const Record& record) {
    return Fails(Vm(), Vm()->CallStaticVoidMethod(Class(), method, signature, argument), record);
  }

 private:
  std::optional<Local> m_class;
  std::optional<Local> m_object;
};

TEST_F(Errors, EveryInstanceCallReportsWhatWasThrown) {
  ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto value) {
    SCOPED_TRACE(type.method);
    for (const auto call : {first, second}) {
      auto result = value;
      EXPECT_TRUE(Fails(Vm(), (Vm()->*call)(&result, Class(), Object(), type.method, type.fromNothing),
                        {std::wstring(L"java.lang.IllegalStateException: ") + type.name, kFailed}));
      EXPECT_EQ(result, decltype(result){}) << "what the call returned is stored before the exception is looked at";
      result = value;
      EXPECT_TRUE(FailsWith(Vm(), (Vm()->*call)(&result, Class(), Object(), "isNotThere", type.fromNothing),
                            L"java.lang.NoSuchMethodError", kFailed));
      EXPECT_EQ(result, value) << "without a method the result stays";
    }
  });
}

TEST_F(Errors, ObjectAndVoidCallsReportWhatWasThrown) {
  qv_jobject result = Object();
  for (const auto slot : {&IQV_JavaVM::CallObjectMethod, &IQV_JavaVM::CallObjectMethod2}) {
    result = Object();
    EXPECT_TRUE(Fails(Vm(), (Vm()->*slot)(&result, Class(), Object(), "ofObject", "()Ljava/lang/Object;"),
                      {L"java.lang.IllegalStateException: object", kFailed}));
    EXPECT_EQ(result, nullptr);
  }
  for (const auto slot : {&IQV_JavaVM::CallVoidMethod, &IQV_JavaVM::CallVoidMethod2}) {
    EXPECT_TRUE(Fails(Vm(), (Vm()->*slot)(Class(), Object(), "ofVoid", "()V"),
                      {L"java.lang.IllegalStateException: void", kFailed}));
  }
}

TEST_F(Errors, StaticCallsReportWhatWasThrown) {
  int32_t flag = 7;
  qv_jobject result = Object();
  EXPECT_TRUE(Fails(Vm(), Vm()->CallStaticBooleanMethod(&flag, Class(), "ofStaticBoolean", "()Z"),
                    {L"java.lang.IllegalStateException: static boolean", kFailed}));
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(Fails(Vm(), Vm()->CallStaticObjectMethod(&result, Class(), "ofStaticObject", "()Ljava/lang/Object;"),
                    {L"java.lang.IllegalStateException: static object", kFailed}));
  EXPECT_EQ(result, nullptr);
  EXPECT_TRUE(Fails(Vm(), Vm()->CallStaticVoidMethod(Class(), "ofStaticVoid", "()V"),
                    {L"java.lang.IllegalStateException: static void", kFailed}));
}

TEST_F(Errors, MissingStaticMethodsAndFields) {
  int32_t number = 7;
  int16_t shortNumber = 7;
  EXPECT_TRUE(FailsWith(Vm(), Vm()->CallStaticBooleanMethod(&number, Class(), "isNotThere", "()Z"),
                        L"java.lang.NoSuchMethodError", kFailed));
  EXPECT_TRUE(
      FailsWith(Vm(), Vm()->CallStaticVoidMethod(Class(), "ofVoid", "()V"), L"java.lang.NoSuchMethodError", kFailed))
      << "an instance method is no static one";
  EXPECT_TRUE(
      FailsWith(Vm(), Vm()->GetStaticIntField(&number, Class(), "isNotThere"), L"java.lang.NoSuchFieldError", kFailed));
  EXPECT_TRUE(FailsWith(Vm(), Vm()->GetStaticShortField(&shortNumber, Find("qvtest/Echo"), "intLargest"),
                        L"java.lang.NoSuchFieldError", kFailed))
      << "an int field is no short one";
  EXPECT_EQ(number, 7);
  EXPECT_EQ(shortNumber, 7);
}

TEST_F(Errors, WrongSignatureLeavesTheResult) {
  int32_t number = 7;
  EXPECT_TRUE(FailsWith(Vm(), Vm()->CallIntMethod(&number, Class(), Object(), "ofInt", "(I)I", 1),
                        L"java.lang.NoSuchMethodError", kFailed));
  EXPECT_EQ(number, 7);
}

TEST_F(Errors, NullArgumentsAreRejected) {
  int32_t number = 7;
  EXPECT_TRUE(Fails(Vm(), Vm()->CallIntMethod(&number, nullptr, Object(), "ofInt", "()I"), kRejected));
  EXPECT_TRUE(Fails(Vm(), Vm()->CallIntMethod(&number, Class(), nullptr, "ofInt", "()I"), kRejected));
  EXPECT_TRUE(Fails(Vm(), Vm()->CallIntMethod(&number, Class(), Object(), nullptr, "()I"), kRejected));
  EXPECT_TRUE(Fails(Vm(), Vm()->CallStaticBooleanMethod(&number, nullptr, "ofStaticBoolean", "()Z"), kRejected));
  EXPECT_TRUE(Fails(Vm(), Vm()->GetStaticIntField(&number, Class(), nullptr), kRejected));
  EXPECT_EQ(number, 7);
}

TEST_F(Errors, SuccessForgetsTheRecord) {
  int32_t number = 7;
  EXPECT_TRUE(Fails(Vm(), Vm()->CallIntMethod(&number, Class(), nullptr, "ofInt", "()I"), kRejected));
  EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticIntField(&number, Find("qvtest/Echo"), "intMinusOne")));
  EXPECT_EQ(RecordOf(Vm()), std::nullopt);
}

TEST_F(Errors, TextsOfEveryDifficulty) {
  const std::wstring music = L"Gr\x00FC\x00DF \x6F22 \xD834\xDD1E \xD834!";
  EXPECT_TRUE(Throws("throwText", kWithText, String(music), {music, kFailed}));
  EXPECT_TRUE(Throws("throwText", kWithText, String(L""), {L"", kFailed}));
  EXPECT_TRUE(Throws("throwNullText", "()V", nullptr, kUnknown));
  EXPECT_TRUE(Throws("throwFailingText", "()V", nullptr, kUnknown));
  EXPECT_TRUE(Throws("throwWithCause", "()V", nullptr, {L"java.lang.Exception: outer", kFailed}));
}

TEST_F(Errors, LongTextsAreCutAtFiveHundredAndElevenUnits) {
  std::wstring digits;
  while (digits.size() < 600) digits += L"0123456789";
  for (const size_t length : {510U, 511U, 512U, 513U, 100000U}) {
    const std::wstring kept = digits.substr(0, std::min<size_t>(length, 511));
    EXPECT_TRUE(Throws("throwTextOfLength", kWithText, String(std::to_wstring(length)), {kept, kFailed})) << length;
  }
}

TEST_F(Errors, ErrorsOfTheMachineAreRecordsToo) {
  qv_jobject result = nullptr;
  EXPECT_TRUE(FailsWith(Vm(), Vm()->CallStaticObjectMethod(&result, Class(), "exhaustMemory", "()Ljava/lang/Object;"),
                        L"java.lang.OutOfMemoryError", kFailed));
  EXPECT_TRUE(Throws("throwText", kWithText, String(L"still working"), {L"still working", kFailed}));
}

TEST_F(Errors, UnknownClasses) {
  Local cls(Vm());
  EXPECT_TRUE(
      Fails(Vm(), Vm()->FindClass(cls.Out(), "no/such/Thing"), {L"java.lang.NoClassDefFoundError: no/such/Thing", 0}));
  EXPECT_EQ(cls.Get(), nullptr);
  EXPECT_TRUE(FailsWith(Vm(), Vm()->FindClass(cls.Out(), "java.lang.String"), L"java.lang.NoClassDefFoundError", 0))
      << "names are written with slashes";
  EXPECT_TRUE(FailsWith(Vm(), Vm()->FindClass(cls.Out(), ""), L"java.lang.NoClassDefFoundError", 0));
  EXPECT_TRUE(
      Fails(Vm(), Vm()->FindClass(cls.Out(), "qvtest/Faults$BadStart"), {L"java.lang.ExceptionInInitializerError", 0}));
  EXPECT_TRUE(
      FailsWith(Vm(), Vm()->FindClass(cls.Out(), "qvtest/Faults$BadStart"), L"java.lang.NoClassDefFoundError", 0))
      << "a class that failed to start stays unusable";
  EXPECT_TRUE(Ok(Vm(), Vm()->FindClass(cls.Out(), "[Ljava/lang/String;")));
}

TEST_F(Errors, AFoundClassLeavesTheRecordAlone) {
  const Record thrown{L"earlier", kFailed};
  EXPECT_TRUE(Throws("throwText", kWithText, String(L"earlier"), thrown));
  Local cls(Vm());
  EXPECT_EQ(Vm()->FindClass(cls.Out(), "java/lang/String"), QV_S_OK);
  EXPECT_EQ(RecordOf(Vm()), thrown);
}

TEST_F(Errors, AConstructorThatThrowsLeavesItsExceptionPending) {
  qv_jobject made = Object();
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(&made, Class(), "(Ljava/lang/String;)", String(L"refused").Get())));
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(RecordOf(Vm()), std::nullopt);
  qv_jnienv const env = QV_AcquireThreadEnv(Vm());
  ErrorRecord* record = nullptr;
  ASSERT_EQ(Vm()->CaptureException(&record, env), 1);
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->text, L"java.lang.IllegalArgumentException: refused");
  EXPECT_EQ(record->code, 0);
  EXPECT_EQ(Vm()->CaptureException(&record, env), 0) << "captured means cleared";
  EXPECT_EQ(record, nullptr);
}

TEST_F(Errors, TheNextTypedCallReportsAPendingException) {
  qv_jobject made = nullptr;
  int32_t number = 7;
  const Local echo = Find("qvtest/Echo");
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(&made, Class(), "(Ljava/lang/String;)", String(L"refused").Get())));
  EXPECT_TRUE(Fails(Vm(), Vm()->GetStaticIntField(&number, echo, "intMinusOne"),
                    {L"java.lang.IllegalArgumentException: refused", kFailed}))
      << "no record existed, so nothing cleared it";
}

TEST_F(Errors, ConstructorsThatAreNotThere) {
  qv_jobject made = Object();
  EXPECT_EQ(Vm()->NewObject(&made, Class(), "(J)", int64_t{1}), QV_E_FAIL);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(RecordOf(Vm()), std::nullopt) << "constructors leave the record alone";
  EXPECT_EQ(Vm()->NewDefaultObject(&made, Find("java/lang/Integer")), QV_E_FAIL);
  EXPECT_EQ(Vm()->NewObject(&made, nullptr, "()"), QV_E_FAIL);
  EXPECT_EQ(Vm()->NewDefaultObject(&made, nullptr), QV_E_FAIL);
  qv_jnienv env = nullptr;
  EXPECT_EQ(Vm()->GetJNIEnv(&env), QV_S_OK) << "and clears what is pending";
  ErrorRecord* record = nullptr;
  EXPECT_EQ(Vm()->CaptureException(&record, env), 0);
}

}  // namespace
}  // namespace qvtest
