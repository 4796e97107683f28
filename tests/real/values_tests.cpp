// Every typed call of the interface carries the extremes of its type to Java and back, on instances, on classes and in
// static fields. A result is never written wider than its type, and the second entry of a pair does what the first
// does.
#include <bit>
#include <cmath>
#include <limits>

#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

// The result with its neighbours, so that a store of the wrong width is seen.
template <class Value>
struct Guarded {
  static constexpr uint64_t kPattern = 0x5A5A5A5A5A5A5A5A;
  uint64_t before = kPattern;
  Value value{};
  uint8_t after[8] = {0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A};

  [[nodiscard]] bool Intact() const {
    for (const uint8_t byte : after) {
      if (byte != 0x5A) return false;
    }
    return before == kPattern;
  }
};

template <class Value>
using InstanceCall = int32_t (IQV_JavaVM::*)(Value*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept;

class Values : public RunningVmTest {
 protected:
  void SetUp() override {
    RunningVmTest::SetUp();
    m_class.emplace(Find("qvtest/Echo"));
    m_object.emplace(NewDefaultObject(Vm(), *m_class));
  }

  // Both entries of a pair with each value. `Passed` is the type a value has in a variadic call.
  template <class Passed, class Value>
  void EchoAll(InstanceCall<Value> first, InstanceCall<Value> second, const char* name, const char* signature,
               const std::vector<Value>& values) {
    for (const InstanceCall<Value> call : {first, second}) {
      for (const Value& value : values) {
        Guarded<Value> result;
        EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(&result.value, Class(), Object(), name, signature, Passed{value})))
            << name << " of " << value;
        EXPECT_TRUE(result.Intact()) << name << " of " << value << " wrote beside its result";
        EXPECT_EQ(std::isnan(static_cast<double>(value)), std::isnan(static_cast<double>(result.value))) << name;
        if (std::isnan(static_cast<double>(value))) continue;
        EXPECT_EQ(result.value, value) << name;
        EXPECT_EQ(std::signbit(static_cast<double>(result.value)), std::signbit(static_cast<double>(value))) << name;
      }
    }
  }

  [[nodiscard]] qv_jclass Class() const { return *m_class; }
  [[nodiscard]] qv_jobject Object() const { return *m_object; }

 private:
  std::optional<Local> m_class;
  std::optional<Local> m_object;
};

template <class Value>
std::vector<Value> Extremes() {
  using Limits = std::numeric_limits<Value>;
  return {0, 1, -1, 85, Limits::min(), Limits::max(), static_cast<Value>(Limits::min() + 1)};
}

template <class Value>
std::vector<Value> FloatingExtremes() {
  using Limits = std::numeric_limits<Value>;
  return {0,
          -Value{0},
          1,
          -1,
          Value{1} / 3,
          Limits::min(),
          Limits::denorm_min(),
          -Limits::denorm_min(),
          Limits::max(),
          Limits::lowest(),
          Limits::infinity(),
          -Limits::infinity(),
          Limits::quiet_NaN()};
}

TEST_F(Values, ByteMethodsCarryEveryByte) {
  std::vector<int8_t> all;
  for (int value = -128; value < 128; ++value) all.push_back(static_cast<int8_t>(value));
  EchoAll<int, int8_t>(&IQV_JavaVM::CallByteMethod, &IQV_JavaVM::CallByteMethod2, "ofByte", "(B)B", all);
}

TEST_F(Values, ShortMethodsCarryExtremes) {
  EchoAll<int, int16_t>(&IQV_JavaVM::CallShortMethod, &IQV_JavaVM::CallShortMethod2, "ofShort", "(S)S",
                        Extremes<int16_t>());
}

TEST_F(Values, IntMethodsCarryExtremes) {
  EchoAll<int, int32_t>(&IQV_JavaVM::CallIntMethod, &IQV_JavaVM::CallIntMethod2, "ofInt", "(I)I", Extremes<int32_t>());
}

TEST_F(Values, LongMethodsCarryExtremes) {
  EchoAll<int64_t, int64_t>(&IQV_JavaVM::CallLongMethod, &IQV_JavaVM::CallLongMethod2, "ofLong", "(J)J",
                            Extremes<int64_t>());
}

TEST_F(Values, FloatMethodsCarryNotANumberAndInfinities) {
  EchoAll<double, float>(&IQV_JavaVM::CallFloatMethod, &IQV_JavaVM::CallFloatMethod2, "ofFloat", "(F)F",
                         FloatingExtremes<float>());
}

TEST_F(Values, DoubleMethodsCarryNotANumberAndInfinities) {
  EchoAll<double, double>(&IQV_JavaVM::CallDoubleMethod, &IQV_JavaVM::CallDoubleMethod2, "ofDouble", "(D)D",
                          FloatingExtremes<double>());
}

TEST_F(Values, FloatingPointArgumentsArriveBitForBit) {
  for (const float value : FloatingExtremes<float>()) {
    int32_t bits = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallIntMethod(&bits, Class(), Object(), "bitsOfFloat", "(F)I", double{value})));
    EXPECT_EQ(static_cast<uint32_t>(bits), std::bit_cast<uint32_t>(value)) << value;
  }
  for (const double value : FloatingExtremes<double>()) {
    int64_t bits = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallLongMethod(&bits, Class(), Object(), "bitsOfDouble", "(D)J", value)));
    EXPECT_EQ(static_cast<uint64_t>(bits), std::bit_cast<uint64_t>(value)) << value;
  }
}

TEST_F(Values, BooleanMethodsWidenToThirtyTwoBits) {
  for (const auto call : {&IQV_JavaVM::CallBooleanMethod, &IQV_JavaVM::CallBooleanMethod2}) {
    for (const int value : {0, 1}) {
      Guarded<int32_t> result{.value = -1};
      EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(&result.value, Class(), Object(), "ofBoolean", "(Z)Z", value)));
      EXPECT_EQ(result.value, value);
      EXPECT_TRUE(result.Intact());
    }
  }
}

TEST_F(Values, StaticBooleanMethodsWidenToThirtyTwoBits) {
  for (const int value : {0, 1}) {
    Guarded<int32_t> result{.value = -1};
    EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticBooleanMethod(&result.value, Class(), "staticBoolean", "(Z)Z", value)));
    EXPECT_EQ(result.value, value);
    EXPECT_TRUE(result.Intact());
  }
}

TEST_F(Values, ObjectMethodsGiveTheObjectOrNull) {
  const Local text = String(L"an object");
  for (const auto call : {&IQV_JavaVM::CallObjectMethod, &IQV_JavaVM::CallObjectMethod2}) {
    Local result(Vm());
    EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(result.Out(), Class(), Object(), "ofObject",
                                       "(Ljava/lang/Object;)Ljava/lang/Object;", text.Get())));
    EXPECT_NE(result.Get(), text.Get()) << "a new local reference is expected";
    EXPECT_EQ(TextOf(Vm(), result), L"an object");
    EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(result.Out(), Class(), Object(), "ofObject",
                                       "(Ljava/lang/Object;)Ljava/lang/Object;", nullptr)));
    EXPECT_EQ(result.Get(), nullptr);
  }
}

TEST_F(Values, StaticObjectMethodsGiveTheObjectOrNull) {
  const Local text = String(L"an object");
  Local result(Vm());
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticObjectMethod(result.Out(), Class(), "staticObject",
                                                    "(Ljava/lang/Object;)Ljava/lang/Object;", text.Get())));
  EXPECT_EQ(TextOf(Vm(), result), L"an object");
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticObjectMethod(result.Out(), Class(), "staticObject",
                                                    "(Ljava/lang/Object;)Ljava/lang/Object;", nullptr)));
  EXPECT_EQ(result.Get(), nullptr);
}

TEST_F(Values, VoidMethodsRun) {
  const auto kept = [&] {
    Local text(Vm());
    EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(text.Out(), Class(), Object(), "kept", "()Ljava/lang/String;")));
    return TextOf(Vm(), text);
  };
  const char* const signature = "(Ljava/lang/String;)V";
  EXPECT_TRUE(Ok(Vm(), Vm()->CallVoidMethod(Class(), Object(), "keep", signature, String(L"first").Get())));
  EXPECT_EQ(kept(), L"first");
  EXPECT_TRUE(Ok(Vm(), Vm()->CallVoidMethod2(Class(), Object(), "keep", signature, String(L"second").Get())));
  EXPECT_EQ(kept(), L"second");
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(Class(), "staticKeep", signature, String(L"third").Get())));
  EXPECT_EQ(kept(), L"third");
}

TEST_F(Values, StaticVoidCallDropsTheResultOfAMethodThatHasOne) {
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(Class(), "staticKeepAndTell",
                                                  "(Ljava/lang/String;)Ljava/lang/String;", String(L"kept").Get())));
  Local text(Vm());
  EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(text.Out(), Class(), Object(), "kept", "()Ljava/lang/String;")));
  EXPECT_EQ(TextOf(Vm(), text), L"kept");
}

TEST_F(Values, StaticFields) {
  struct IntField {
    const char* name;
    int32_t value;
  };
  for (const IntField& field :
       {IntField{"intSmallest", std::numeric_limits<int32_t>::min()},
        IntField{"intLargest", std::numeric_limits<int32_t>::max()}, IntField{"intMinusOne", -1}}) {
    Guarded<int32_t> result;
    EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticIntField(&result.value, Class(), field.name)));
    EXPECT_EQ(result.value, field.value) << field.name;
    EXPECT_TRUE(result.Intact()) << field.name;
  }
  struct ShortField {
    const char* name;
    int16_t value;
  };
  for (const ShortField& field :
       {ShortField{"shortSmallest", -32768}, ShortField{"shortLargest", 32767}, ShortField{"shortMinusOne", -1}}) {
    Guarded<int16_t> result;
    EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticShortField(&result.value, Class(), field.name)));
    EXPECT_EQ(result.value, field.value) << field.name;
    EXPECT_TRUE(result.Intact()) << field.name;
  }
}

constexpr char kEveryKind[] = "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)Ljava/lang/String;";
constexpr wchar_t kEveryKindTold[] = L"true -128 65535 -32768 -2147483648 -9223372036854775808 0.5 -0.25 true given";

TEST_F(Values, OneCallWithEveryKindOfArgument) {
  const Local given = String(L"given");
  Local told(Vm());
  EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(told.Out(), Class(), Object(), "describe", kEveryKind, 1, -128, 65535,
                                              -32768, std::numeric_limits<int32_t>::min(),
                                              std::numeric_limits<int64_t>::min(), 0.5, -0.25, nullptr, given.Get())));
  EXPECT_EQ(TextOf(Vm(), told), kEveryKindTold);
  EXPECT_TRUE(
      Ok(Vm(), Vm()->CallStaticObjectMethod(told.Out(), Class(), "staticDescribe", kEveryKind, 1, -128, 65535, -32768,
                                            std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::min(),
                                            0.5, -0.25, nullptr, given.Get())));
  EXPECT_EQ(TextOf(Vm(), told), kEveryKindTold);
}

TEST_F(Values, ArgumentsBeyondTheRegisters) {
  Local told(Vm());
  EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(told.Out(), Class(), Object(), "many", "(IDJFIDJFID)Ljava/lang/String;",
                                              1, 2.5, int64_t{-3}, 4.5, 5, 6.5, int64_t{7000000000}, 8.5, -9, 10.5)));
  EXPECT_EQ(TextOf(Vm(), told), L"1 2.5 -3 4.5 5 6.5 7000000000 8.5 -9 10.5");
}

TEST_F(Values, ConstructorSignaturesNameTheArgumentsAlone) {
  const Local given = String(L"given");
  Local made(Vm());
  Local told(Vm());
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(made.Out(), Class(), "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)", 1, -128,
                                       65535, -32768, std::numeric_limits<int32_t>::min(),
                                       std::numeric_limits<int64_t>::min(), 0.5, -0.25, nullptr, given.Get())));
  EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(told.Out(), Class(), made, "made", "()Ljava/lang/String;")));
  EXPECT_EQ(TextOf(Vm(), told), kEveryKindTold);
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(made.Out(), Class(), "()")));
  EXPECT_TRUE(Ok(Vm(), Vm()->CallObjectMethod(told.Out(), Class(), made, "made", "()Ljava/lang/String;")));
  EXPECT_EQ(TextOf(Vm(), told), L"made with nothing");
}

TEST_F(Values, ReferencesAreHandedThroughAndMadeGlobal) {
  const Local text = String(L"kept alive");
  qv_jobject cast = nullptr;
  EXPECT_EQ(Vm()->CastReference(&cast, text), QV_S_OK);
  EXPECT_EQ(cast, text.Get());
  qv_jobject global = nullptr;
  ASSERT_TRUE(Ok(Vm(), Vm()->NewGlobalRef(&global, text)));
  EXPECT_NE(global, text.Get());
  for (const auto remove : {&IQV_JavaVM::DeleteLocalRef, &IQV_JavaVM::DeleteLocalRef2, &IQV_JavaVM::DeleteLocalRef3}) {
    qv_jstring other = nullptr;
    EXPECT_EQ(Vm()->NewString(&other, L"gone at once"), QV_S_OK);
    EXPECT_EQ((Vm()->*remove)(other), QV_S_OK);
  }
  EXPECT_EQ(TextOf(Vm(), global), L"kept alive");
  EXPECT_EQ(Vm()->DeleteGlobalRef(global), QV_S_OK);
}

}  // namespace
}  // namespace qvtest
