// ExceptionClear and CaptureException: a pending Java exception becomes text in a record, and the thread is clean
// again. What each failing call leads to stands in the table of operations.
#include <algorithm>

#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

struct Captured {
  int32_t result;
  RecordView record;

  friend bool operator==(const Captured&, const Captured&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Captured& captured) {
    return out << captured.result << ", " << captured.record;
  }
};

class Capture : public BridgeTest {
 protected:
  Capture() { SetCreated(true); }

  // Into a pointer that holds something: it must be overwritten. Nothing is pending afterwards.
  Captured Take(qv_jnienv env) {
    auto* record = reinterpret_cast<ErrorRecord*>(this);
    const int32_t result = Api().CaptureException(&record, env);
    const RecordView view = ViewOf(record);
    EXPECT_TRUE(record == nullptr || record->text[511] == L'\0');
    QvshrFree(record);
    EXPECT_TRUE(env == nullptr || Jni().Pending() == nullptr);
    return {result, view};
  }
  Captured Take() { return Take(&Jni()); }
};

const Captured kUnknownException = {1, Record(kUnknown, 0)};

TEST_F(Capture, NothingPendingGivesZeroAndDescribesNothing) {
  EXPECT_EQ(Take(), (Captured{0, kNoRecord}));
  EXPECT_EQ(Log(), (Lines{"ExceptionOccurred()"}));
}

TEST_F(Capture, WithoutAnEnvironmentThereIsAFixedText) {
  Watch();
  EXPECT_EQ(Take(nullptr), (Captured{1, Record(kNoEnvironment, 0)}));
  EXPECT_EQ(Log(), (Lines{"slot 59 CaptureException"}));
}

TEST_F(Capture, TheExceptionTheClassAndTheTextStayAsReferences) {
  LeavePending(L"text");
  Take();
  EXPECT_EQ(Java().LiveReferences(), (Lines{"exception", "java/lang/Throwable", "\"text\""}));
}

TEST_F(Capture, AToStringThatThrowsIsAnUnknownExceptionAndClearedToo) {
  LeavePending();
  Java().answers["toString"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>&) {
    jni.SetPending(Throwable("second", L"second"));
    return ValueOf(nullptr);
  };
  EXPECT_EQ(Take(), kUnknownException);
}

TEST_F(Capture, AFailingCallWithinAToStringHasItsOwnText) {
  LeavePending(L"outer");
  Captured inner{};
  const auto readText = Java().answers["toString"];
  Java().answers["toString"] = [&](FakeJni& jni, const Thing& target, const std::vector<jvalue>& arguments) {
    if (target->text == L"outer") {
      jni.SetPending(Throwable("within", L"inner"));
      inner = Take();
    }
    return readText(jni, target, arguments);
  };
  EXPECT_EQ(Take(), (Captured{1, Record(L"outer", 0)}));
  EXPECT_EQ(inner, (Captured{1, Record(L"inner", 0)}));
}

TEST_F(Capture, ANestedCaptureHasNoTextAndTheNextOneReadsTextsAgain) {
  for (const bool created : {true, false}) {
    SetCreated(created);
    const std::set<std::string> known = std::exchange(Java().classes, {});
    LeavePending();
    EXPECT_EQ(Take(), kUnknownException);
    EXPECT_EQ(ObjectRecord(), Record(kUnknown, 0)) << "the failed look-up of java/lang/Throwable has its record";
    Java().classes = known;
    LeavePending(L"readable");
    EXPECT_EQ(Take(), (Captured{1, Record(L"readable", 0)}));
    Renew();
  }
}

TEST_F(Capture, TextsAreTakenUnitForUnitAndCutAt511) {
  std::vector<std::wstring> texts = {L"\xD83D\xDE00 \xD800 \x00E9\xFFFF", std::wstring(L"before\0after", 12),
                                     std::wstring(510, L'x') + L"\xD83D\xDE00"};
  for (const size_t length : {0u, 1u, 510u, 511u, 512u, 513u, 1000u, 100000u}) {
    texts.emplace_back(length, L'x');
    if (length > 0) texts.back().front() = L'(';
    if (length > 511) texts.back().replace(510, 2, L")!");
  }
  for (const std::wstring& text : texts) {
    SCOPED_TRACE(text.size());
    LeavePending(text);
    Watch();
    EXPECT_EQ(Take(), (Captured{1, Record(text.substr(0, std::min<size_t>(text.find(L'\0'), 511)), 0)}));
    const Lines log = Log();
    const bool copied = std::find(log.begin(), log.end(), "slot 16 GetStringChars") != log.end();
    EXPECT_EQ(copied, text.size() <= 511) << "a longer text would overflow the 512 units that slot 16 is given";
    Renew();
  }
}

TEST_F(Capture, TheTextComesThroughSlot16WithASizeOf512UnlessThatDoesNotReturnZero) {
  for (const int32_t result : {S_OK, E_FAIL, E_INVALIDARG, S_FALSE}) {
    SCOPED_TRACE(result);
    std::vector<int32_t> sizes;
    LeavePending(L"java.lang.Error");
    Watch().Replace<16>([&](void*, wchar_t* buffer, int32_t* size, qv_jstring) {
      sizes.push_back(*size);
      constexpr std::wstring_view kText = L"from slot 16";
      buffer[kText.copy(buffer, kText.size())] = L'\0';
      return result;
    });
    EXPECT_EQ(Take(), result == S_OK ? (Captured{1, Record(L"from slot 16", 0)}) : kUnknownException);
    EXPECT_EQ(sizes, (std::vector<int32_t>{512}));
    Renew();
  }
}

TEST_F(Capture, TheClassComesThroughSlot12AndCountsWhateverTheStatusIs) {
  LeavePending(L"java.lang.Error");
  std::string asked;
  Watch().Replace<12>([&](void*, qv_jclass* out, const char* name) {
    asked = name;
    *out = Jni().GivenClass("another");
    return E_FAIL;
  });
  EXPECT_EQ(Take(), (Captured{1, Record(L"java.lang.Error", 0)}));
  EXPECT_EQ(asked, "java/lang/Throwable");
  const Lines log = Log();
  EXPECT_NE(std::find(log.begin(), log.end(), "GetMethodID(another, \"toString\", \"()Ljava/lang/String;\")"),
            log.end());
}

TEST_F(Capture, TheFinalClearGoesThroughSlot58WithTheSameEnvironment) {
  for (const bool readable : {true, false}) {
    std::vector<qv_jnienv> cleared;
    LeavePending();
    if (!readable) Java().missingMembers = {"toString"};
    Watch().Replace<58>([&](void*, qv_jnienv env) {
      cleared.push_back(env);
      Jni().SetPending(nullptr);
    });
    Take();
    EXPECT_EQ(cleared, (std::vector<qv_jnienv>{&Jni(), &Jni()})) << "once in the look-up, once at the end";
    Renew();
  }
}

TEST_F(Capture, WithoutMemoryForTheRecordItIsNullAndTheRestIsTheSame) {
  const Thing silent = Throwable("exception", L"");
  silent->toStringIsNull = true;
  for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
    for (const Thing& exception : {Thing(), Throwable("exception", L"text"), silent}) {
      SCOPED_TRACE(NameOf(mode));
      Jni().SetPending(exception);
      const FailAllocation fault(1, mode);
      EXPECT_EQ(Take(exception != nullptr ? &Jni() : nullptr), (Captured{1, kNoRecord}));
      EXPECT_TRUE(fault.Fired());
    }
  }
}

TEST_F(Capture, ANullOutPointerLosesTheTextAndNothingElse) {
  EXPECT_EQ(Api().CaptureException(nullptr, nullptr), 1);
  EXPECT_EQ(Api().CaptureException(nullptr, &Jni()), 0);
  LeavePending();
  EXPECT_EQ(Api().CaptureException(nullptr, &Jni()), 1);
  EXPECT_EQ(Jni().Pending(), nullptr);
  EXPECT_EQ(ObjectRecord(), kNoRecord);
}

TEST_F(Capture, ClearingCallsJniOnceAndNothingWithoutAnEnvironment) {
  LeavePending();
  Watch();
  Api().ExceptionClear(nullptr);
  EXPECT_EQ(Log(), (Lines{"slot 58 ExceptionClear"}));
  EXPECT_NE(Jni().Pending(), nullptr);
  Api().ExceptionClear(&Jni());
  EXPECT_EQ(Log(), (Lines{"slot 58 ExceptionClear", "ExceptionClear()"}));
  EXPECT_EQ(Jni().Pending(), nullptr);
}

}  // namespace
}  // namespace qvtest
