// The typed calls and the static field reads: every rule for each of the 23 operations.
#include <algorithm>
#include <limits>
#include <thread>

#include "tests/bridge/bridge_test.h"
#include "tests/bridge/typed_call_rows.h"
#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

constexpr uint8_t kUntouched = 0xCC;

const Lines kClearOld = {"slot 58 ExceptionClear", "ExceptionClear()"};

class TypedCallTest : public BridgeTest {
 protected:
  // Runs the test once for each operation, on a fresh object and VM, with the row's name in every message.
  void ForEach(const std::function<void(const TypedCall&)>& test) {
    for (const TypedCall& row : TypedCalls()) {
      SCOPED_TRACE(SlotName(row.slot));
      m_result.fill(kUntouched);
      m_given = {m_result.data(), Jni().GivenClass("a/B"), Jni().GivenObject("it"), "m", nullptr};
      m_signature = SignatureOf(row);
      m_given.signature = m_signature.c_str();
      SetAnswer(ValuesOf(row, Reference()).front().java);
      test(row);
      Renew();
    }
  }

  jobject Reference() { return Jni().GivenObject("answer"); }
  void SetAnswer(jvalue answer) {
    Java().answers["m"] = [answer](FakeJni&, const Thing&, const std::vector<jvalue>&) { return answer; };
  }
  void AnswerWithANewObject() {
    Java().answers["m"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>&) {
      return ValueOf(jni.NewLocal(qvtest::Object("made")));
    };
  }
  int32_t Call(const TypedCall& row) { return Invoke(Api(), row, m_given); }

  // The result holds these bytes and nothing behind them was written; no bytes: it is untouched.
  void ExpectResult(const std::vector<uint8_t>& bytes) {
    std::array<uint8_t, 16> expected;
    expected.fill(kUntouched);
    std::copy(bytes.begin(), bytes.end(), expected.begin());
    EXPECT_EQ(m_result, expected);
  }

  std::array<uint8_t, 16> m_result{};
  CallArguments m_given{};
  std::string m_signature;
};

TEST_F(TypedCallTest, TheTableHasEverySlotFrom20To42Once) {
  size_t slot = 20;
  for (const TypedCall& row : TypedCalls()) EXPECT_EQ(row.slot, slot++);
  EXPECT_EQ(slot, 43u);
}

TEST_F(TypedCallTest, TheResultIsWrittenInItsOwnWidth) {
  ForEach([&](const TypedCall& row) {
    for (const TypedValue& value : ValuesOf(row, Reference())) {
      SCOPED_TRACE(value.name);
      m_result.fill(kUntouched);
      SetAnswer(value.java);
      EXPECT_EQ(Call(row), S_OK);
      EXPECT_EQ(value.host.size(), row.width);
      ExpectResult(value.host);
    }
  });
}

TEST_F(TypedCallTest, WhatAMethodThatThrowsReturnedIsStoredBeforeTheExceptionIsLookedAt) {
  ForEach([&](const TypedCall& row) {
    if (row.form == Form::Field || row.width == 0) return;  // reading a field runs no Java code
    Java().FailAt(row.jniCall, 1, Fault::Throw);
    EXPECT_EQ(Call(row), E_FAIL);
    EXPECT_NE(m_result[0], kUntouched);
  });
}

TEST_F(TypedCallTest, ANullArgumentIsAnInternalExceptionAndNothingIsLookedUp) {
  struct Null {
    const char* name;
    std::function<void()> take;
    bool (*applies)(const TypedCall&);
  };
  const auto always = [](const TypedCall&) { return true; };
  const Null kNulls[] = {
      {"class", [&] { m_given.cls = nullptr; }, always},
      {"object", [&] { m_given.object = nullptr; }, HasObject},
      {"name", [&] { m_given.name = nullptr; }, always},
      {"result", [&] { m_given.result = nullptr; }, [](const TypedCall& row) { return row.width != 0; }},
      {"environment", [&] { TakeEnvironmentAway(); }, always}};
  for (const Null& null : kNulls) {
    SCOPED_TRACE(null.name);
    ForEach([&](const TypedCall& row) {
      if (!null.applies(row)) return;
      null.take();
      Watch();
      EXPECT_EQ(Call(row), E_FAIL);
      EXPECT_EQ(Log(), Entered(row.slot));
      EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
      ExpectResult({});
    });
  }
}

TEST_F(TypedCallTest, ANullSignatureIsPassedOn) {
  ForEach([&](const TypedCall& row) {
    if (!HasSignature(row)) return;
    m_given.signature = nullptr;
    Java().FailAt(LookupOf(row), 1, Fault::Throw);
    EXPECT_EQ(Call(row), E_FAIL);
    EXPECT_EQ(Log().front(), std::string(LookupOf(row)) + "(a/B, \"m\", null)");
  });
}

TEST_F(TypedCallTest, ARejectedCallClearsTheExceptionOfAnOldRecordFirst) {
  ForEach([&](const TypedCall& row) {
    GiveObjectRecord(L"from before");
    LeavePending();
    m_given.name = nullptr;
    Watch();
    EXPECT_EQ(Call(row), E_FAIL);
    EXPECT_EQ(Log(), Entered(row.slot) + kClearOld);
    EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
    EXPECT_EQ(Jni().Pending(), nullptr);
  });
}

TEST_F(TypedCallTest, TheReasonWhyAThreadIsNotAttachedIsReplaced) {
  const jclass cls = Jni().GivenClass("a/B");
  const jobject object = Jni().GivenObject("it");
  Java().attachResult = JNI_ERR;
  Watch();
  std::thread([&] {
    int32_t result = 5;
    EXPECT_EQ(Api().CallIntMethod(&result, cls, object, "m", "()I"), E_FAIL);
    EXPECT_EQ(result, 5);
  }).join();
  EXPECT_EQ(Log(), (Lines{"slot 20 CallIntMethod", kEnvironment, "AttachCurrentThread()", "slot 58 ExceptionClear"}));
  EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
}

TEST_F(TypedCallTest, ArgumentsOfEveryWidthArrive) {
  constexpr char kArguments[] = "(ZBCSIJFDLa/C;[[ILa/D;)";
  constexpr char kShown[] =
      ", 1, -128, 65535, -32768, -2147483648, 9223372036854775807, 0.10000000149011612, -1.7976931348623157e+308, c, "
      "null, null)";
  ForEach([&](const TypedCall& row) {
    if (!HasSignature(row)) return;
    m_signature = SignatureOf(row, kArguments);
    const char* const signature = m_signature.c_str();
    const auto call = [&](auto... leading) {
      return CallSlot<int32_t>(&Api(), row.slot, leading..., "m", signature, 1, -128, 0xFFFF, -32768,
                               std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::max(),
                               static_cast<double>(0.1F), std::numeric_limits<double>::lowest(), Jni().GivenObject("c"),
                               static_cast<void*>(nullptr), static_cast<void*>(nullptr));
    };
    int32_t status = E_FAIL;
    if (row.form == Form::Instance) status = call(m_given.result, m_given.cls, m_given.object);
    if (row.form == Form::InstanceVoid) status = call(m_given.cls, m_given.object);
    if (row.form == Form::Static) status = call(m_given.result, m_given.cls);
    if (row.form == Form::StaticVoid) status = call(m_given.cls);
    EXPECT_EQ(status, S_OK);
    const Lines log = Log();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[1], std::string(row.jniCall) + "(" + (HasObject(row) ? "it" : "a/B") + ", m" + m_signature + kShown);
  });
}

TEST_F(TypedCallTest, AnObjectResultIsALocalReferenceOfTheHosts) {
  AnswerWithANewObject();
  qv_jobject result = nullptr;
  EXPECT_EQ(Api().CallObjectMethod(&result, Jni().GivenClass("a/B"), Jni().GivenObject("it"), "m", "()La/C;"), S_OK);
  EXPECT_EQ(Java().Label(result), "made");
  EXPECT_EQ(LocalsLeft(), 1);
  EXPECT_EQ(Api().DeleteLocalRef(result), S_OK);
  EXPECT_EQ(LocalsLeft(), 0);
}

TEST_F(TypedCallTest, ADroppedStaticResultIsNotDeleted) {
  // The same call with a void method leaves no reference but whatever was there: deleting that could end the JVM.
  AnswerWithANewObject();
  EXPECT_EQ(Api().CallStaticVoidMethod(Jni().GivenClass("a/B"), "m", "()La/C;"), S_OK);
  EXPECT_EQ(LocalsLeft(), 1);
}

}  // namespace
}  // namespace qvtest
