// What Java throws becomes the record of the object: the exception's own text and the code of the operation, in every
// kind of call, with texts of every difficulty, and for classes, methods and constructors that are not there.
#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

constexpr wchar_t kRejected[] = L"QVJava Internal Exception";
constexpr wchar_t kUnknown[] = L"QVJava Unknown Exception";
constexpr char kWithText[] = "(Ljava/lang/String;)V";

class Errors : public RunningVmTest {
 protected:
  // E_FAIL with this record, or with one whose text begins so.
  testing::AssertionResult Says(int32_t status, const std::wstring& text, int32_t code = QV_CODE_CALL_FAILED) {
    return Fails(Vm(), status, {text, code});
  }
  testing::AssertionResult Begins(int32_t status, const std::wstring& text, int32_t code = QV_CODE_CALL_FAILED) {
    return FailsWith(Vm(), status, text, code);
  }
  // The record of a static method that throws.
  testing::AssertionResult Throws(const char* method, const char* signature, qv_jobject argument,
                                  const std::wstring& text) {
    return Says(Vm()->CallStaticVoidMethod(m_class, method, signature, argument), text);
  }

  const JavaClass m_class{Vm(), "qvtest/Faults"};
  const Local m_object = m_class.New();
};

TEST_F(Errors, EveryInstanceCallReportsWhatWasThrown) {
  ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto value) {
    SCOPED_TRACE(type.method);
    for (const auto call : {first, second}) {
      auto result = value;
      EXPECT_TRUE(Says((Vm()->*call)(&result, m_class, m_object, type.method, type.fromNothing),
                       std::wstring(L"java.lang.IllegalStateException: ") + type.name));
      EXPECT_EQ(result, decltype(result){}) << "what the call returned is stored before the exception is looked at";
      result = value;
      EXPECT_TRUE(Begins((Vm()->*call)(&result, m_class, m_object, "isNotThere", type.fromNothing),
                         L"java.lang.NoSuchMethodError"));
      EXPECT_EQ(result, value) << "without a method the result stays";
    }
  });
}

TEST_F(Errors, ObjectAndVoidCallsReportWhatWasThrown) {
  qv_jobject result = m_object;
  for (const auto slot : {&IQV_JavaVM::CallObjectMethod, &IQV_JavaVM::CallObjectMethod2}) {
    result = m_object;
    EXPECT_TRUE(Says((Vm()->*slot)(&result, m_class, m_object, "ofObject", "()Ljava/lang/Object;"),
                     L"java.lang.IllegalStateException: object"));
    EXPECT_EQ(result, nullptr);
  }
  for (const auto slot : {&IQV_JavaVM::CallVoidMethod, &IQV_JavaVM::CallVoidMethod2}) {
    EXPECT_TRUE(Says((Vm()->*slot)(m_class, m_object, "ofVoid", "()V"), L"java.lang.IllegalStateException: void"));
  }
}

TEST_F(Errors, StaticCallsReportWhatWasThrown) {
  int32_t flag = 7;
  qv_jobject result = m_object;
  EXPECT_TRUE(Says(Vm()->CallStaticBooleanMethod(&flag, m_class, "ofStaticBoolean", "()Z"),
                   L"java.lang.IllegalStateException: static boolean"));
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(Says(Vm()->CallStaticObjectMethod(&result, m_class, "ofStaticObject", "()Ljava/lang/Object;"),
                   L"java.lang.IllegalStateException: static object"));
  EXPECT_EQ(result, nullptr);
  EXPECT_TRUE(Says(Vm()->CallStaticVoidMethod(m_class, "ofStaticVoid", "()V"),
                   L"java.lang.IllegalStateException: static void"));
}

TEST_F(Errors, MissingMembersLeaveTheResult) {
  int32_t number = 7;
  int16_t shortNumber = 7;
  EXPECT_TRUE(
      Begins(Vm()->CallStaticBooleanMethod(&number, m_class, "isNotThere", "()Z"), L"java.lang.NoSuchMethodError"));
  EXPECT_TRUE(Begins(Vm()->CallStaticVoidMethod(m_class, "ofVoid", "()V"), L"java.lang.NoSuchMethodError"))
      << "an instance method is no static one";
  EXPECT_TRUE(Begins(Vm()->GetStaticIntField(&number, m_class, "isNotThere"), L"java.lang.NoSuchFieldError"));
  EXPECT_TRUE(
      Begins(Vm()->GetStaticShortField(&shortNumber, Find("qvtest/Echo"), "intLargest"), L"java.lang.NoSuchFieldError"))
      << "an int field is no short one";
  EXPECT_TRUE(
      Begins(Vm()->CallIntMethod(&number, m_class, m_object, "ofInt", "(I)I", 1), L"java.lang.NoSuchMethodError"))
      << "the signature counts";
  EXPECT_EQ(number, 7);
  EXPECT_EQ(shortNumber, 7);
}

TEST_F(Errors, NullArgumentsAreRejected) {
  int32_t number = 7;
  EXPECT_TRUE(Says(Vm()->CallIntMethod(&number, nullptr, m_object, "ofInt", "()I"), kRejected));
  EXPECT_TRUE(Says(Vm()->CallIntMethod(&number, m_class, nullptr, "ofInt", "()I"), kRejected));
  EXPECT_TRUE(Says(Vm()->CallIntMethod(&number, m_class, m_object, nullptr, "()I"), kRejected));
  EXPECT_TRUE(Says(Vm()->CallStaticBooleanMethod(&number, nullptr, "ofStaticBoolean", "()Z"), kRejected));
  EXPECT_TRUE(Says(Vm()->GetStaticIntField(&number, m_class, nullptr), kRejected));
  EXPECT_EQ(number, 7);
  // A success forgets the record.
  EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticIntField(&number, Find("qvtest/Echo"), "intMinusOne")));
  EXPECT_EQ(RecordOf(Vm()), std::nullopt);
}

TEST_F(Errors, TextsOfEveryDifficulty) {
  const std::wstring music = L"Gr\x00FC\x00DF \x6F22 \xD834\xDD1E \xD834!";
  EXPECT_TRUE(Throws("throwText", kWithText, String(music), music));
  EXPECT_TRUE(Throws("throwText", kWithText, String(L""), L""));
  EXPECT_TRUE(Throws("throwNullText", "()V", nullptr, kUnknown));
  EXPECT_TRUE(Throws("throwFailingText", "()V", nullptr, kUnknown));
  EXPECT_TRUE(Throws("throwWithCause", "()V", nullptr, L"java.lang.Exception: outer"));
}

TEST_F(Errors, LongTextsAreCutAtFiveHundredAndElevenUnits) {
  std::wstring digits;
  while (digits.size() < 600) digits += L"0123456789";
  for (const size_t length : {510U, 511U, 512U, 513U, 100000U}) {
    const std::wstring kept = digits.substr(0, std::min<size_t>(length, 511));
    EXPECT_TRUE(Throws("throwTextOfLength", kWithText, String(std::to_wstring(length)), kept)) << length;
  }
}

TEST_F(Errors, ErrorsOfTheMachineAreRecordsToo) {
  qv_jobject result = nullptr;
  EXPECT_TRUE(Begins(Vm()->CallStaticObjectMethod(&result, m_class, "exhaustMemory", "()Ljava/lang/Object;"),
                     L"java.lang.OutOfMemoryError"));
  EXPECT_TRUE(Throws("throwText", kWithText, String(L"still working"), L"still working"));
}

TEST_F(Errors, UnknownClasses) {
  Local cls(Vm());
  EXPECT_TRUE(Says(Vm()->FindClass(cls.Out(), "no/such/Thing"), L"java.lang.NoClassDefFoundError: no/such/Thing", 0));
  EXPECT_EQ(cls.Get(), nullptr);
  EXPECT_TRUE(Begins(Vm()->FindClass(cls.Out(), "java.lang.String"), L"java.lang.NoClassDefFoundError", 0))
      << "names are written with slashes";
  EXPECT_TRUE(Begins(Vm()->FindClass(cls.Out(), ""), L"java.lang.NoClassDefFoundError", 0));
  EXPECT_TRUE(Says(Vm()->FindClass(cls.Out(), "qvtest/Faults$BadStart"), L"java.lang.ExceptionInInitializerError", 0));
  EXPECT_TRUE(Begins(Vm()->FindClass(cls.Out(), "qvtest/Faults$BadStart"), L"java.lang.NoClassDefFoundError", 0))
      << "a class that failed to start stays unusable";
  EXPECT_TRUE(Ok(Vm(), Vm()->FindClass(cls.Out(), "[Ljava/lang/String;")));
}

TEST_F(Errors, AFoundClassLeavesTheRecordAlone) {
  EXPECT_TRUE(Throws("throwText", kWithText, String(L"earlier"), L"earlier"));
  Local cls(Vm());
  EXPECT_EQ(Vm()->FindClass(cls.Out(), "java/lang/String"), QV_S_OK);
  EXPECT_EQ(RecordOf(Vm()), (Record{L"earlier", QV_CODE_CALL_FAILED}));
}

TEST_F(Errors, AConstructorThatThrowsLeavesItsExceptionPending) {
  qv_jobject made = m_object;
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(&made, m_class, "(Ljava/lang/String;)", String(L"refused").Get())));
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
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(&made, m_class, "(Ljava/lang/String;)", String(L"refused").Get())));
  EXPECT_TRUE(
      Says(Vm()->GetStaticIntField(&number, echo, "intMinusOne"), L"java.lang.IllegalArgumentException: refused"))
      << "no record existed, so nothing cleared it";
}

TEST_F(Errors, ConstructorsThatAreNotThere) {
  qv_jobject made = m_object;
  EXPECT_EQ(Vm()->NewObject(&made, m_class, "(J)", int64_t{1}), QV_E_FAIL);
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
