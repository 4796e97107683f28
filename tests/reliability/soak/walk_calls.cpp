// Slots 20 to 42: the typed calls, each with right calls, methods that throw, members that are not there, signatures
// that are none, and null arguments.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <type_traits>

#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr int32_t kFailed = QV_CODE_CALL_FAILED;
constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";
constexpr char kObjectToObject[] = "(Ljava/lang/Object;)Ljava/lang/Object;";

// Of members that are not there: names and signatures. Each is harmless to JNI, and none of them names a method.
struct Missing {
  const char* name;
  const char* signature;
};
constexpr Missing kMissing[] = {
    {"isNotThere", "()I"},
    {"ofInt", "(I)J"},
    {"ofInt", "(I)"},
    {"ofInt", "I"},
    {"ofInt", ""},
    {"ofInt", "(I"},
    {"ofInt", "()"},
    {"ofInt", "(II)I "},
    {"ofInt", "(Lnothing)I"},
    {"ofInt", "(L;)I"},
    {"ofInt", "([)I"},
    {"ofInt", "(V)I"},
    {"ofInt", "((I)I)I"},
    {"", "()V"},
    {"", ""},
    {"<clinit>", "()V"},
    {"ofInt()", "(I)I"},
    {"\x01\x02", "\x03"},
    {"staticBoolean", "(Z)Z"},
};

// What a call without a result has as one.
struct None {};

template <class Value>
bool SameBits(Value left, Value right) {
  return std::is_empty_v<Value> || std::memcmp(&left, &right, sizeof(Value)) == 0;
}

enum class Way { Right, Throws, Missing, NullClass, NullObject, NullName, NullResult };

Way ChooseWay(Random& random, bool blocked) {
  static constexpr Way kNulls[] = {Way::NullClass, Way::NullObject, Way::NullName, Way::NullResult};
  if (blocked || random.OneIn(12)) return random.OneOf(kNulls);
  if (random.OneIn(8)) return Way::Throws;
  return random.OneIn(8) ? Way::Missing : Way::Right;
}

}  // namespace

// A member to call. Static ones have no object.
struct Walker::Target {
  qv_jclass cls;
  qv_jobject object;
  const char* method;
  const char* signature;
};

// `call` hands a result's place and a target on to the slot, with the arguments that `right` takes.
template <class Value, class Call, class Check>
void Walker::CallTyped(int slot, const Target& right, const std::string& what, const Target& throwing,
                       const wchar_t* thrown, const Target& missing, Call&& call, Check&& check) {
  Value untouched;
  std::memset(static_cast<void*>(&untouched), 0x5A, sizeof(untouched));
  Value result = untouched;
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right:
      Begin(slot, "%s %s", right.method, what.c_str());
      Prologue();
      Succeeds(call(&result, right));
      return check(result);
    case Way::Throws:
      Begin(slot, "%s, which throws", throwing.method);
      Prologue();
      Fails(call(&result, throwing), {thrown, true, kFailed});
      Is(std::is_empty_v<Value> || SameBits(result, Value{}), "the value of a call that threw");
      return;
    case Way::Missing:
      Begin(slot, "\"%s\" \"%s\", which is not there", missing.method, missing.signature);
      Prologue();
      Fails(call(&result, missing), {L"java.lang.NoSuchMethodError", false, kFailed});
      break;
    default: {
      // Where there is no such argument the name is null.
      Target null = right;
      const bool noResult = way == Way::NullResult && !std::is_empty_v<Value>;
      if (way == Way::NullClass) {
        null.cls = nullptr;
      } else if (way == Way::NullObject && right.object != nullptr) {
        null.object = nullptr;
      } else if (!noResult) {
        null.method = nullptr;
      }
      Begin(slot, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects(call(noResult ? nullptr : &result, null));
    }
  }
  Is(SameBits(result, untouched), "the result was touched");
}

Walker::Target Walker::MissingMethod() {
  const Missing& missing = m_random.OneOf(kMissing);
  return {m_world.echo, m_world.echoObject, missing.name, missing.signature};
}

template <class Value, class Passed>
void Walker::CallValue(const ValueCalls<Value>& calls, Passed passed, Value expected) {
  std::string method = std::string("of") + calls.type;
  method[2] = static_cast<char>(std::toupper(method[2]));
  const std::string fault = std::string("()") + calls.letter;
  const std::string echo = std::string("(") + calls.letter + ")" + calls.letter;
  const uint32_t entry = m_random.Below(2);
  uint64_t bits = 0;
  std::memcpy(&bits, &expected, sizeof(expected));
  CallTyped<Value>(
      calls.slot + static_cast<int>(entry), {m_world.echo, m_world.echoObject, method.c_str(), echo.c_str()},
      "with the bits " + std::to_string(bits), {m_world.faults, m_world.faultsObject, method.c_str(), fault.c_str()},
      (L"java.lang.IllegalStateException: " + ToWide(calls.type)).c_str(), MissingMethod(),
      [&](Value* result, const Target& of) {
        return (m_vm->*calls.calls[entry])(result, of.cls, of.object, of.method, of.signature, passed);
      },
      [&](Value result) { Is(SameBits(result, expected), "another value"); });
}

void Walker::CallInt() {
  static constexpr int32_t kEdges[] = {0, -1, INT32_MIN, INT32_MAX};
  const int32_t value = m_random.OneIn(4) ? m_random.OneOf(kEdges) : static_cast<int32_t>(m_random.Next());
  CallValue<int32_t>({20, {&IQV_JavaVM::CallIntMethod, &IQV_JavaVM::CallIntMethod2}, "int", 'I'}, value, value);
}

void Walker::CallShort() {
  const auto value = static_cast<int16_t>(m_random.Next());
  CallValue<int16_t>({22, {&IQV_JavaVM::CallShortMethod, &IQV_JavaVM::CallShortMethod2}, "short", 'S'},
                     static_cast<int>(value), value);
}

void Walker::CallFloat() {
  static constexpr float kValues[] = {0.0F, -0.0F, 1.5F, -3.25e38F, 1e-45F, 16777217.0F};
  const float value = m_random.OneOf(kValues);
  CallValue<float>({24, {&IQV_JavaVM::CallFloatMethod, &IQV_JavaVM::CallFloatMethod2}, "float", 'F'},
                   static_cast<double>(value), value);
}

void Walker::CallDouble() {
  static constexpr double kValues[] = {0.0, -0.0, 1.5, -1.7e308, 5e-324, 0.1};
  const double value = m_random.OneOf(kValues);
  CallValue<double>({26, {&IQV_JavaVM::CallDoubleMethod, &IQV_JavaVM::CallDoubleMethod2}, "double", 'D'}, value, value);
}

void Walker::CallByte() {
  const auto value = static_cast<int8_t>(m_random.Next());
  CallValue<int8_t>({28, {&IQV_JavaVM::CallByteMethod, &IQV_JavaVM::CallByteMethod2}, "byte", 'B'},
                    static_cast<int>(value), value);
}

void Walker::CallBoolean() {
  const int32_t value = m_random.OneIn(2) ? 1 : 0;
  CallValue<int32_t>({34, {&IQV_JavaVM::CallBooleanMethod, &IQV_JavaVM::CallBooleanMethod2}, "boolean", 'Z'}, value,
                     value);
}

void Walker::CallLong() {
  const auto value = static_cast<int64_t>(m_random.Next());
  CallValue<int64_t>({36, {&IQV_JavaVM::CallLongMethod, &IQV_JavaVM::CallLongMethod2}, "long", 'J'}, value, value);
}

// On an object that remembers; nothing is made while an exception is pending.
void Walker::CallVoid() {
  const bool second = m_random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallVoidMethod2 : &IQV_JavaVM::CallVoidMethod;
  const Held* const held = m_pending ? nullptr : &Some(Kind::Tracked);
  const int64_t value = held != nullptr ? static_cast<int32_t>(m_random.Next()) : 0;
  Target right{m_world.echo, m_world.echoObject, "keep", "(Ljava/lang/String;)V"};
  if (held != nullptr) right = {m_world.tracked, held->reference, "put", "(I)V"};
  CallTyped<None>(
      second ? 31 : 30, right, std::to_string(value), {m_world.faults, m_world.faultsObject, "ofVoid", "()V"},
      L"java.lang.IllegalStateException: void", MissingMethod(),
      [&](None*, const Target& of) { return (m_vm->*call)(of.cls, of.object, of.method, of.signature, value); },
      [&](None) {
        if (held == nullptr) return;
        int32_t seen = 0;
        Succeeds(m_vm->CallIntMethod(&seen, m_world.tracked, held->reference, "get", "()I"));
        Is(seen == value, "another value was put");
        Succeeds(m_vm->CallIntMethod(&seen, m_world.tracked, held->reference, "id", "()I"));
        Is(seen == held->id, "another object");
      });
}

// The object that came back, which is the one that went.
void Walker::IsAndGoes(qv_jobject result, qv_jobject expected) {
  const bool right = expected == nullptr ? result == nullptr : result != nullptr && Same(result, expected);
  if (Is(right, "another object")) m_env->DeleteLocalRef(static_cast<jobject>(result));
}

void Walker::CallObject() {
  const bool second = m_random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallObjectMethod2 : &IQV_JavaVM::CallObjectMethod;
  const bool null = m_pending || m_random.OneIn(8);
  qv_jobject const argument = null ? nullptr : Some(m_random.OneIn(2) ? Kind::Bytes : Kind::Tracked).reference;
  CallTyped<qv_jobject>(
      second ? 33 : 32, {m_world.echo, m_world.echoObject, "ofObject", kObjectToObject}, null ? "null" : "an object",
      {m_world.faults, m_world.faultsObject, "ofObject", "()Ljava/lang/Object;"},
      L"java.lang.IllegalStateException: object", MissingMethod(),
      [&](qv_jobject* result, const Target& of) {
        return (m_vm->*call)(result, of.cls, of.object, of.method, of.signature, argument);
      },
      [&](qv_jobject result) { IsAndGoes(result, argument); });
}

// -- static: an instance method is not there --

void Walker::CallStaticBoolean() {
  const int32_t value = m_random.OneIn(2) ? 1 : 0;
  CallTyped<int32_t>(
      38, {m_world.echo, nullptr, "staticBoolean", "(Z)Z"}, std::to_string(value),
      {m_world.faults, nullptr, "ofStaticBoolean", "()Z"}, L"java.lang.IllegalStateException: static boolean",
      {m_world.echo, nullptr, "ofBoolean", "(Z)Z"},
      [&](int32_t* result, const Target& of) {
        return m_vm->CallStaticBooleanMethod(result, of.cls, of.method, of.signature, value);
      },
      [&](int32_t result) { Is(result == value, "another value"); });
}

void Walker::CallStaticObject() {
  CallTyped<qv_jobject>(
      39, {m_world.echo, nullptr, "staticObject", kObjectToObject}, "an object",
      {m_world.faults, nullptr, "ofStaticObject", "()Ljava/lang/Object;"},
      L"java.lang.IllegalStateException: static object", {m_world.echo, nullptr, "ofString", kTextToText},
      [&](qv_jobject* result, const Target& of) {
        return m_vm->CallStaticObjectMethod(result, of.cls, of.method, of.signature, m_world.integerObject);
      },
      [&](qv_jobject result) { IsAndGoes(result, m_world.integerObject); });
}

// What throws is an exception whose text cannot be had.
void Walker::CallStaticVoid() {
  CallTyped<None>(
      40, {m_world.echo, nullptr, "staticKeep", "(Ljava/lang/String;)V"}, "null",
      {m_world.faults, nullptr, m_random.OneIn(2) ? "throwNullText" : "throwFailingText", "()V"},
      L"QVJava Unknown Exception", {m_world.echo, nullptr, "keep", "(Ljava/lang/String;)V"},
      [&](None*, const Target& of) {
        return m_vm->CallStaticVoidMethod(of.cls, of.method, of.signature, static_cast<qv_jobject>(nullptr));
      },
      [](None) {});
}

// A text of the caller's becomes the record, cut where a record ends.
void Walker::ThrowText() {
  const Held text = MakeString(RandomText());
  Begin(40, "throwText of %zu units", text.text.size());
  Prologue();
  Fails(m_vm->CallStaticVoidMethod(m_world.faults, "throwText", "(Ljava/lang/String;)V", text.reference),
        {text.text.substr(0, 511), true, kFailed});
  m_env->DeleteLocalRef(static_cast<jobject>(text.reference));
}

template <class Value>
void Walker::GetField(int slot, int32_t (IQV_JavaVM::*get)(Value*, qv_jclass, const char*) noexcept,
                      std::initializer_list<std::pair<const char*, Value>> fields,
                      std::initializer_list<const char*> missing) {
  Value result = 7;
  const auto& [name, value] = m_random.OneOf(fields);
  if (Blocked() || m_random.OneIn(8)) {
    const uint32_t which = m_random.Below(3);
    Begin(slot, "null, argument %u", which);
    Prologue();
    Rejects(
        (m_vm->*get)(which == 0 ? nullptr : &result, which == 1 ? nullptr : m_world.echo, which == 2 ? nullptr : name));
  } else if (m_random.OneIn(8)) {
    const char* const none = m_random.OneOf(missing);
    Begin(slot, "\"%s\", which is not there", none);
    Prologue();
    Fails((m_vm->*get)(&result, m_world.echo, none), {L"java.lang.NoSuchFieldError", false, kFailed});
  } else {
    Begin(slot, "\"%s\"", name);
    Prologue();
    Succeeds((m_vm->*get)(&result, m_world.echo, name));
    Is(result == value, "another value");
    return;
  }
  Is(result == 7, "the result was touched");
}

void Walker::GetStaticInt() {
  GetField<int32_t>(41, &IQV_JavaVM::GetStaticIntField,
                    {{"intSmallest", INT32_MIN}, {"intLargest", INT32_MAX}, {"intMinusOne", -1}},
                    {"isNotThere", "shortLargest", "", "made"});
}

void Walker::GetStaticShort() {
  GetField<int16_t>(42, &IQV_JavaVM::GetStaticShortField,
                    {{"shortSmallest", int16_t{INT16_MIN}}, {"shortLargest", int16_t{INT16_MAX}}},
                    {"isNotThere", "intMinusOne", "", "made"});
}

}  // namespace qvtest
