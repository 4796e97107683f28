// Slots 20 to 42: the typed calls, each with right calls, methods that throw, members that are not there, signatures
// that are none, and null arguments.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {

namespace {

constexpr int32_t kFailed = QV_CODE_CALL_FAILED;
constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";

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

template <class Value>
bool SameBits(Value left, Value right) {
  return std::memcmp(&left, &right, sizeof(Value)) == 0;
}

enum class Way { Right, Throws, Missing, NullClass, NullObject, NullName, NullResult };

Way ChooseWay(Random& random, bool blocked) {
  static constexpr Way kNulls[] = {Way::NullClass, Way::NullObject, Way::NullName, Way::NullResult};
  if (blocked || random.OneIn(12)) return random.OneOf(kNulls);
  if (random.OneIn(8)) return Way::Throws;
  return random.OneIn(8) ? Way::Missing : Way::Right;
}

}  // namespace

template <class Value, class Passed>
void Walker::CallValue(const ValueCalls<Value>& calls, Passed passed, Value expected) {
  std::string method = std::string("of") + calls.type;
  method[2] = static_cast<char>(std::toupper(method[2]));
  const std::string fault = std::string("()") + calls.letter;
  const std::string echo = std::string("(") + calls.letter + ")" + calls.letter;
  const uint32_t entry = m_random.Below(2);
  const auto call = calls.calls[entry];
  const int slot = calls.slot + static_cast<int>(entry);
  const Way way = ChooseWay(m_random, Blocked());
  Value untouched;
  std::memset(&untouched, 0x5A, sizeof(untouched));
  Value result = untouched;
  uint64_t bits = 0;
  std::memcpy(&bits, &expected, sizeof(expected));
  switch (way) {
    case Way::Right:
      Begin(slot, "%s with the bits 0x%llx", method.c_str(), static_cast<unsigned long long>(bits));
      Prologue();
      Succeeds((m_vm->*call)(&result, m_world.echo, m_world.echoObject, method.c_str(), echo.c_str(), passed));
      Is(SameBits(result, expected), "another value");
      return;
    case Way::Throws:
      Begin(slot, "%s of what throws", method.c_str());
      Prologue();
      Fails((m_vm->*call)(&result, m_world.faults, m_world.faultsObject, method.c_str(), fault.c_str()),
            {L"java.lang.IllegalStateException: " + ToWide(calls.type), true, kFailed});
      Is(SameBits(result, Value{}), "the value of a call that threw");
      return;
    case Way::Missing: {
      const Missing& missing = m_random.OneOf(kMissing);
      Begin(slot, "\"%s\" \"%s\", which is not there", missing.name, missing.signature);
      Prologue();
      Fails((m_vm->*call)(&result, m_world.echo, m_world.echoObject, missing.name, missing.signature, passed),
            {L"java.lang.NoSuchMethodError", false, kFailed});
      break;
    }
    default:
      Begin(slot, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects((m_vm->*call)(way == Way::NullResult ? nullptr : &result, way == Way::NullClass ? nullptr : m_world.echo,
                            way == Way::NullObject ? nullptr : m_world.echoObject,
                            way == Way::NullName ? nullptr : method.c_str(), echo.c_str(), passed));
  }
  Is(SameBits(result, untouched), "the result was touched");
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

// On an object that remembers.
void Walker::CallVoid() {
  const bool second = m_random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallVoidMethod2 : &IQV_JavaVM::CallVoidMethod;
  const int slot = second ? 31 : 30;
  // Nothing is made while an exception is pending.
  const Held* const held = m_pending ? nullptr : &Some(Kind::Tracked);
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right: {
      if (held == nullptr) return CallStaticVoid();
      const auto value = static_cast<int32_t>(m_random.Next());
      Begin(slot, "put %d", static_cast<int>(value));
      Prologue();
      Succeeds((m_vm->*call)(m_world.tracked, held->reference, "put", "(I)V", value));
      int32_t seen = 0;
      Succeeds(m_vm->CallIntMethod(&seen, m_world.tracked, held->reference, "get", "()I"));
      Is(seen == value, "another value was put");
      Succeeds(m_vm->CallIntMethod(&seen, m_world.tracked, held->reference, "id", "()I"));
      Is(seen == held->id, "another object");
      return;
    }
    case Way::Throws:
      Begin(slot, "what throws");
      Prologue();
      return Fails((m_vm->*call)(m_world.faults, m_world.faultsObject, "ofVoid", "()V"),
                   {L"java.lang.IllegalStateException: void", true, kFailed});
    case Way::Missing: {
      const Missing& missing = m_random.OneOf(kMissing);
      Begin(slot, "\"%s\" \"%s\", which is not there", missing.name, missing.signature);
      Prologue();
      return Fails((m_vm->*call)(m_world.echo, m_world.echoObject, missing.name, missing.signature),
                   {L"java.lang.NoSuchMethodError", false, kFailed});
    }
    default:
      Begin(slot, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects((m_vm->*call)(way == Way::NullClass ? nullptr : m_world.echo,
                            way == Way::NullObject ? nullptr : m_world.echoObject,
                            way == Way::NullClass || way == Way::NullObject ? "keep" : nullptr, "(Ljava/lang/String;)V",
                            static_cast<qv_jobject>(nullptr)));
  }
}

void Walker::CallObject() {
  const bool second = m_random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallObjectMethod2 : &IQV_JavaVM::CallObjectMethod;
  const int slot = second ? 33 : 32;
  const bool null = m_pending || m_random.OneIn(8);
  qv_jobject const argument = null ? nullptr : Some(m_random.OneIn(2) ? Kind::Bytes : Kind::Tracked).reference;
  qv_jobject result = this;
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right:
      Begin(slot, "ofObject with %s", null ? "null" : "an object");
      result = nullptr;
      Prologue();
      Succeeds((m_vm->*call)(&result, m_world.echo, m_world.echoObject, "ofObject",
                             "(Ljava/lang/Object;)Ljava/lang/Object;", argument));
      if (Is(null ? result == nullptr : result != nullptr && Same(result, argument), "another object"))
        m_env->DeleteLocalRef(static_cast<jobject>(result));
      return;
    case Way::Throws:
      Begin(slot, "what throws");
      Prologue();
      Fails((m_vm->*call)(&result, m_world.faults, m_world.faultsObject, "ofObject", "()Ljava/lang/Object;"),
            {L"java.lang.IllegalStateException: object", true, kFailed});
      Is(result == nullptr, "null of a call that threw");
      return;
    case Way::Missing: {
      const Missing& missing = m_random.OneOf(kMissing);
      Begin(slot, "\"%s\" \"%s\", which is not there", missing.name, missing.signature);
      Prologue();
      Fails((m_vm->*call)(&result, m_world.echo, m_world.echoObject, missing.name, missing.signature, argument),
            {L"java.lang.NoSuchMethodError", false, kFailed});
      break;
    }
    default:
      Begin(slot, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects((m_vm->*call)(way == Way::NullResult ? nullptr : &result, way == Way::NullClass ? nullptr : m_world.echo,
                            way == Way::NullObject ? nullptr : m_world.echoObject,
                            way == Way::NullName ? nullptr : "ofString", kTextToText, argument));
  }
  Is(result == this, "the result was touched");
}

// -- static --

void Walker::CallStaticBoolean() {
  int32_t result = 7;
  const int32_t value = m_random.OneIn(2) ? 1 : 0;
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right:
      Begin(38, "%d", static_cast<int>(value));
      Prologue();
      Succeeds(m_vm->CallStaticBooleanMethod(&result, m_world.echo, "staticBoolean", "(Z)Z", value));
      Is(result == value, "another value");
      return;
    case Way::Throws:
      Begin(38, "what throws");
      Prologue();
      Fails(m_vm->CallStaticBooleanMethod(&result, m_world.faults, "ofStaticBoolean", "()Z"),
            {L"java.lang.IllegalStateException: static boolean", true, kFailed});
      Is(result == 0, "the value of a call that threw");
      return;
    case Way::Missing:
      Begin(38, "an instance method");
      Prologue();
      Fails(m_vm->CallStaticBooleanMethod(&result, m_world.echo, "ofBoolean", "(Z)Z", value),
            {L"java.lang.NoSuchMethodError", false, kFailed});
      break;
    default:
      Begin(38, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects(m_vm->CallStaticBooleanMethod(
          way == Way::NullResult ? nullptr : &result, way == Way::NullClass ? nullptr : m_world.echo,
          way == Way::NullName || way == Way::NullObject ? nullptr : "staticBoolean", "(Z)Z", value));
  }
  Is(result == 7, "the result was touched");
}

void Walker::CallStaticObject() {
  qv_jobject result = this;
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right:
      Begin(39, "an object");
      result = nullptr;
      Prologue();
      Succeeds(m_vm->CallStaticObjectMethod(&result, m_world.echo, "staticObject",
                                            "(Ljava/lang/Object;)Ljava/lang/Object;", m_world.integerObject));
      if (Is(result != nullptr && Same(result, m_world.integerObject), "another object")) {
        m_env->DeleteLocalRef(static_cast<jobject>(result));
      }
      return;
    case Way::Throws:
      Begin(39, "what throws");
      Prologue();
      Fails(m_vm->CallStaticObjectMethod(&result, m_world.faults, "ofStaticObject", "()Ljava/lang/Object;"),
            {L"java.lang.IllegalStateException: static object", true, kFailed});
      Is(result == nullptr, "null of a call that threw");
      return;
    case Way::Missing:
      Begin(39, "an instance method");
      Prologue();
      Fails(m_vm->CallStaticObjectMethod(&result, m_world.echo, "ofString", kTextToText, m_world.integerObject),
            {L"java.lang.NoSuchMethodError", false, kFailed});
      break;
    default:
      Begin(39, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects(m_vm->CallStaticObjectMethod(way == Way::NullResult ? nullptr : &result,
                                           way == Way::NullClass ? nullptr : m_world.echo,
                                           way == Way::NullName || way == Way::NullObject ? nullptr : "staticObject",
                                           "(Ljava/lang/Object;)Ljava/lang/Object;", m_world.integerObject));
  }
  Is(result == this, "the result was touched");
}

void Walker::CallStaticVoid() {
  switch (const Way way = ChooseWay(m_random, Blocked())) {
    case Way::Right:
      Begin(40, "an object");
      Prologue();
      return Succeeds(m_vm->CallStaticVoidMethod(m_world.echo, "staticKeep", "(Ljava/lang/String;)V",
                                                 static_cast<qv_jobject>(nullptr)));
    case Way::Throws: {
      // Exceptions whose text cannot be had.
      const bool null = m_random.OneIn(2);
      Begin(40, null ? "a throwable without a text" : "a throwable whose text throws");
      Prologue();
      return Fails(m_vm->CallStaticVoidMethod(m_world.faults, null ? "throwNullText" : "throwFailingText", "()V"),
                   {L"QVJava Unknown Exception", true, kFailed});
    }
    case Way::Missing:
      Begin(40, "an instance method");
      Prologue();
      return Fails(m_vm->CallStaticVoidMethod(m_world.echo, "keep", "(Ljava/lang/String;)V", m_world.integerObject),
                   {L"java.lang.NoSuchMethodError", false, kFailed});
    default:
      Begin(40, "null, way %d", static_cast<int>(way));
      Prologue();
      Rejects(m_vm->CallStaticVoidMethod(way == Way::NullClass ? nullptr : m_world.echo,
                                         way == Way::NullClass ? "staticKeep" : nullptr, "(Ljava/lang/String;)V",
                                         static_cast<qv_jobject>(nullptr)));
  }
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

void Walker::GetStaticInt() {
  struct Field {
    const char* name;
    int32_t value;
  };
  static constexpr Field kFields[] = {{"intSmallest", INT32_MIN}, {"intLargest", INT32_MAX}, {"intMinusOne", -1}};
  int32_t result = 7;
  const Field& field = m_random.OneOf(kFields);
  if (Blocked() || m_random.OneIn(8)) {
    const uint32_t which = m_random.Below(3);
    Begin(41, "null, argument %u", which);
    Prologue();
    Rejects(m_vm->GetStaticIntField(which == 0 ? nullptr : &result, which == 1 ? nullptr : m_world.echo,
                                    which == 2 ? nullptr : field.name));
    Is(result == 7, "the result was touched");
    return;
  }
  if (m_random.OneIn(8)) {
    static constexpr const char* kNone[] = {"isNotThere", "shortLargest", "", "made"};
    const char* const name = m_random.OneOf(kNone);
    Begin(41, "\"%s\"", name);
    Prologue();
    Fails(m_vm->GetStaticIntField(&result, m_world.echo, name), {L"java.lang.NoSuchFieldError", false, kFailed});
    Is(result == 7, "the result was touched");
    return;
  }
  Begin(41, "\"%s\"", field.name);
  Prologue();
  Succeeds(m_vm->GetStaticIntField(&result, m_world.echo, field.name));
  Is(result == field.value, "another value");
}

void Walker::GetStaticShort() {
  int16_t result = 7;
  if (Blocked() || m_random.OneIn(8)) {
    Begin(42, "null");
    Prologue();
    Rejects(m_vm->GetStaticShortField(&result, m_random.OneIn(2) ? nullptr : m_world.echo, nullptr));
    Is(result == 7, "the result was touched");
    return;
  }
  if (m_random.OneIn(8)) {
    Begin(42, "an int field");
    Prologue();
    Fails(m_vm->GetStaticShortField(&result, m_world.echo, "intMinusOne"),
          {L"java.lang.NoSuchFieldError", false, kFailed});
    Is(result == 7, "the result was touched");
    return;
  }
  const bool smallest = m_random.OneIn(2);
  Begin(42, "%s", smallest ? "shortSmallest" : "shortLargest");
  Prologue();
  Succeeds(m_vm->GetStaticShortField(&result, m_world.echo, smallest ? "shortSmallest" : "shortLargest"));
  Is(result == (smallest ? INT16_MIN : INT16_MAX), "another value");
}

}  // namespace qvtest
