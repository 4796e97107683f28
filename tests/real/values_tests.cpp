// Every typed call of the interface carries the extremes of its type to Java and back, on instances, on classes and in
// static fields. A result is never written wider than its type, and the second entry of a pair does what the first
// does.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <type_traits>

#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

constexpr char kObjectToObject[] = "(Ljava/lang/Object;)Ljava/lang/Object;";

// The result with its neighbours, so that a store of the wrong width is seen.
template <class Value>
struct Guarded {
  static constexpr uint64_t kPattern = 0x5A5A5A5A5A5A5A5A;
  uint64_t before = kPattern;
  Value value{};
  uint8_t after[8] = {0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A};

  [[nodiscard]] bool Intact() const {
    return before == kPattern && std::all_of(std::begin(after), std::end(after), [](uint8_t b) { return b == 0x5A; });
  }
};

class Values : public RunningVmTest {
 protected:
  // What Echo kept of the last call.
  std::wstring Kept() { return TextOf(Vm(), m_class.Call(m_object, "kept", "()Ljava/lang/String;")); }

  const JavaClass m_class{Vm(), "qvtest/Echo"};
  const Local m_object = m_class.New();
};

template <class Value>
std::vector<Value> Extremes() {
  using Limits = std::numeric_limits<Value>;
  if constexpr (std::is_floating_point_v<Value>) {
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
  } else if constexpr (sizeof(Value) == 1) {
    std::vector<Value> all(256);
    std::iota(all.begin(), all.end(), Limits::min());
    return all;
  } else {
    return {0, 1, -1, 85, Limits::min(), Limits::max(), static_cast<Value>(Limits::min() + 1)};
  }
}

// Bytes all of them, the others their extremes, floating-point types not-a-number and infinities too. A boolean is two
// values, widened.
TEST_F(Values, EveryTypedCallCarriesTheExtremesOfItsType) {
  ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto one) {
    using Value = decltype(one);
    std::vector<Value> values = Extremes<Value>();
    if (std::string(type.toItself) == "(Z)Z") values = {0, 1};
    for (const auto call : {first, second}) {
      for (const Value value : values) {
        SCOPED_TRACE(testing::Message() << type.method << " of " << value);
        Guarded<Value> result;
        EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(&result.value, m_class, m_object, type.method, type.toItself, value)));
        EXPECT_TRUE(result.Intact()) << "wrote beside its result";
        EXPECT_EQ(std::isnan(static_cast<double>(value)), std::isnan(static_cast<double>(result.value)));
        if (std::isnan(static_cast<double>(value))) continue;
        EXPECT_EQ(result.value, value);
        EXPECT_EQ(std::signbit(static_cast<double>(result.value)), std::signbit(static_cast<double>(value)));
      }
    }
  });
}

TEST_F(Values, FloatingPointArgumentsArriveBitForBit) {
  for (const float value : Extremes<float>()) {
    int32_t bits = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallIntMethod(&bits, m_class, m_object, "bitsOfFloat", "(F)I", double{value})));
    EXPECT_EQ(static_cast<uint32_t>(bits), std::bit_cast<uint32_t>(value)) << value;
  }
  for (const double value : Extremes<double>()) {
    int64_t bits = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallLongMethod(&bits, m_class, m_object, "bitsOfDouble", "(D)J", value)));
    EXPECT_EQ(static_cast<uint64_t>(bits), std::bit_cast<uint64_t>(value)) << value;
  }
}

TEST_F(Values, StaticBooleanMethodsWidenToThirtyTwoBits) {
  for (const int value : {0, 1}) {
    Guarded<int32_t> result{.value = -1};
    EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticBooleanMethod(&result.value, m_class, "staticBoolean", "(Z)Z", value)));
    EXPECT_EQ(result.value, value);
    EXPECT_TRUE(result.Intact());
  }
}

TEST_F(Values, ObjectMethodsGiveTheObjectOrNull) {
  const Local text = String(L"an object");
  for (const auto call : {&IQV_JavaVM::CallObjectMethod, &IQV_JavaVM::CallObjectMethod2}) {
    Local result(Vm());
    EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(result.Out(), m_class, m_object, "ofObject", kObjectToObject, text.Get())));
    EXPECT_NE(result.Get(), text.Get()) << "a new local reference is expected";
    EXPECT_EQ(TextOf(Vm(), result), L"an object");
    EXPECT_TRUE(Ok(Vm(), (Vm()->*call)(result.Out(), m_class, m_object, "ofObject", kObjectToObject, nullptr)));
    EXPECT_EQ(result.Get(), nullptr);
  }
  EXPECT_EQ(TextOf(Vm(), m_class.CallStatic("staticObject", kObjectToObject, text)), L"an object");
  EXPECT_EQ(m_class.CallStatic("staticObject", kObjectToObject, nullptr).Get(), nullptr);
}

TEST_F(Values, VoidMethodsRun) {
  const char* const signature = "(Ljava/lang/String;)V";
  EXPECT_TRUE(Ok(Vm(), Vm()->CallVoidMethod(m_class, m_object, "keep", signature, String(L"first").Get())));
  EXPECT_EQ(Kept(), L"first");
  EXPECT_TRUE(Ok(Vm(), Vm()->CallVoidMethod2(m_class, m_object, "keep", signature, String(L"second").Get())));
  EXPECT_EQ(Kept(), L"second");
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(m_class, "staticKeep", signature, String(L"third").Get())));
  EXPECT_EQ(Kept(), L"third");
  // The result of a method that has one is dropped.
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(m_class, "staticKeepAndTell",
                                                  "(Ljava/lang/String;)Ljava/lang/String;", String(L"kept").Get())));
  EXPECT_EQ(Kept(), L"kept");
}

TEST_F(Values, StaticFields) {
  const auto reads = [&](auto get, const char* name, auto value) {
    Guarded<decltype(value)> result;
    EXPECT_TRUE(Ok(Vm(), (Vm()->*get)(&result.value, m_class, name))) << name;
    EXPECT_EQ(result.value, value) << name;
    EXPECT_TRUE(result.Intact()) << name;
  };
  reads(&IQV_JavaVM::GetStaticIntField, "intSmallest", std::numeric_limits<int32_t>::min());
  reads(&IQV_JavaVM::GetStaticIntField, "intLargest", std::numeric_limits<int32_t>::max());
  reads(&IQV_JavaVM::GetStaticIntField, "intMinusOne", int32_t{-1});
  reads(&IQV_JavaVM::GetStaticShortField, "shortSmallest", int16_t{-32768});
  reads(&IQV_JavaVM::GetStaticShortField, "shortLargest", int16_t{32767});
  reads(&IQV_JavaVM::GetStaticShortField, "shortMinusOne", int16_t{-1});
}

constexpr char kEveryKind[] = "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)Ljava/lang/String;";
constexpr wchar_t kEveryKindTold[] = L"true -128 65535 -32768 -2147483648 -9223372036854775808 0.5 -0.25 true given";

// `call` with an argument of every kind.
template <class Call>
auto WithEveryKind(qv_jstring given, Call&& call) {
  return call(1, -128, 65535, -32768, std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::min(), 0.5,
              -0.25, nullptr, given);
}

TEST_F(Values, OneCallWithEveryKindOfArgument) {
  const Local given = String(L"given");
  const Local told =
      WithEveryKind(given, [&](auto... all) { return m_class.Call(m_object, "describe", kEveryKind, all...); });
  EXPECT_EQ(TextOf(Vm(), told), kEveryKindTold);
  const Local toldByClass =
      WithEveryKind(given, [&](auto... all) { return m_class.CallStatic("staticDescribe", kEveryKind, all...); });
  EXPECT_EQ(TextOf(Vm(), toldByClass), kEveryKindTold);
  const Local beyondTheRegisters = m_class.Call(m_object, "many", "(IDJFIDJFID)Ljava/lang/String;", 1, 2.5, int64_t{-3},
                                                4.5, 5, 6.5, int64_t{7000000000}, 8.5, -9, 10.5);
  EXPECT_EQ(TextOf(Vm(), beyondTheRegisters), L"1 2.5 -3 4.5 5 6.5 7000000000 8.5 -9 10.5");
}

TEST_F(Values, ConstructorSignaturesNameTheArgumentsAlone) {
  const Local given = String(L"given");
  Local made(Vm());
  const auto told = [&] { return TextOf(Vm(), m_class.Call(made, "made", "()Ljava/lang/String;")); };
  EXPECT_TRUE(Ok(Vm(), WithEveryKind(given, [&](auto... all) {
                   return Vm()->NewObject(made.Out(), m_class, "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)",
                                          all...);
                 })));
  EXPECT_EQ(told(), kEveryKindTold);
  EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(made.Out(), m_class, "()")));
  EXPECT_EQ(told(), L"made with nothing");
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
