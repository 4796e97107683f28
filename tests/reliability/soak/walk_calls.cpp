// Slots 20 to 42: the typed calls, each with right calls, methods that throw, members that are not there, signatures
// that are none, and null arguments.
#include <algorithm>
#include <cstring>
#include <limits>

#include "tests/real/running_vm.h"
#include "tests/reliability/soak/walker.h"

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

// A member to call. Static ones have no object.
struct Target {
  qv_jclass cls;
  qv_jobject object;
  const char* method;
  const char* signature;
};

// `call` hands a result's place and a target on to the slot, with the arguments that `right` takes.
template <class Value, class Call, class Check>
void CallTyped(Walker& w, int slot, const Target& right, const std::string& what, const Target& throwing,
               const wchar_t* thrown, const Target& missing, Call&& call, Check&& check) {
  Value untouched;
  std::memset(static_cast<void*>(&untouched), 0x5A, sizeof(untouched));
  Value result = untouched;
  switch (const Way way = ChooseWay(w.random, w.Blocked())) {
    case Way::Right:
      w.Begin(slot, "%s %s", right.method, what.c_str());
      w.Prologue();
      w.Succeeds(call(&result, right));
      return check(result);
    case Way::Throws:
      w.Begin(slot, "%s, which throws", throwing.method);
      w.Prologue();
      w.Fails(call(&result, throwing), {thrown, true, kFailed});
      w.Is(std::is_empty_v<Value> || SameBits(result, Value{}), "the value of a call that threw");
      return;
    case Way::Missing:
      w.Begin(slot, "\"%s\" \"%s\", which is not there", missing.method, missing.signature);
      w.Prologue();
      w.Fails(call(&result, missing), {L"java.lang.NoSuchMethodError", false, kFailed});
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
      w.Begin(slot, "null, way %d", static_cast<int>(way));
      w.Prologue();
      w.Rejects(call(noResult ? nullptr : &result, null));
    }
  }
  w.Is(SameBits(result, untouched), "the result was touched");
}

Target MissingMethod(Walker& w) {
  const Missing& missing = w.random.OneOf(kMissing);
  return {w.world.echo, w.world.echoObject, missing.name, missing.signature};
}

// A value of its type: all bits, or the edges of a floating-point one.
template <class Value>
Value RandomValue(Random& random) {
  if constexpr (std::is_floating_point_v<Value>) {
    using Limits = std::numeric_limits<Value>;
    static constexpr Value kValues[] = {0,
                                        -Value{0},
                                        Value{3} / 2,
                                        static_cast<Value>(0.1),
                                        Limits::lowest(),
                                        Limits::denorm_min(),
                                        static_cast<Value>(16777217)};
    return random.OneOf(kValues);
  } else {
    static constexpr Value kEdges[] = {0, -1, std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max()};
    return random.OneIn(4) ? random.OneOf(kEdges) : static_cast<Value>(random.Next());
  }
}

// One of the seven primitive types.
void CallPrimitive(Walker& w) {
  static constexpr int kSlots[] = {28, 22, 20, 36, 24, 26, 34};  // in the order in which they are visited
  const uint32_t which = w.random.Below(7);
  uint32_t visited = 0;
  ForEachTypedCall([&](auto first, auto second, const TypeName& type, auto one) {
    if (visited++ != which) return;
    using Value = decltype(one);
    Value value = RandomValue<Value>(w.random);
    if (type.name == std::wstring_view(L"boolean")) value = w.random.OneIn(2) ? 1 : 0;
    const bool isSecond = w.random.OneIn(2);
    const auto call = isSecond ? second : first;
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(value));
    CallTyped<Value>(
        w, kSlots[which] + (isSecond ? 1 : 0), {w.world.echo, w.world.echoObject, type.method, type.toItself},
        "with the bits " + std::to_string(bits), {w.world.faults, w.world.faultsObject, type.method, type.fromNothing},
        (std::wstring(L"java.lang.IllegalStateException: ") + type.name).c_str(), MissingMethod(w),
        [&](Value* result, const Target& of) {
          return (w.vm->*call)(result, of.cls, of.object, of.method, of.signature, value);
        },
        [&](Value result) { w.Is(SameBits(result, value), "another value"); });
  });
}

// On an object that remembers; nothing is made while an exception is pending.
void CallVoid(Walker& w) {
  const bool second = w.random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallVoidMethod2 : &IQV_JavaVM::CallVoidMethod;
  const Held* const held = w.pending ? nullptr : &w.Some(Held::Kind::Tracked);
  const int64_t value = held != nullptr ? static_cast<int32_t>(w.random.Next()) : 0;
  Target right{w.world.echo, w.world.echoObject, "keep", "(Ljava/lang/String;)V"};
  if (held != nullptr) right = {w.world.tracked, held->reference, "put", "(I)V"};
  CallTyped<None>(
      w, second ? 31 : 30, right, std::to_string(value), {w.world.faults, w.world.faultsObject, "ofVoid", "()V"},
      L"java.lang.IllegalStateException: void", MissingMethod(w),
      [&](None*, const Target& of) { return (w.vm->*call)(of.cls, of.object, of.method, of.signature, value); },
      [&](None) {
        if (held == nullptr) return;
        int32_t seen = 0;
        w.Succeeds(w.vm->CallIntMethod(&seen, w.world.tracked, held->reference, "get", "()I"));
        w.Is(seen == value, "another value was put");
        w.Succeeds(w.vm->CallIntMethod(&seen, w.world.tracked, held->reference, "id", "()I"));
        w.Is(seen == held->id, "another object");
      });
}

// The object that came back, which is the one that went.
void IsAndGoes(Walker& w, qv_jobject result, qv_jobject expected) {
  const bool right = expected == nullptr ? result == nullptr : result != nullptr && w.Same(result, expected);
  if (w.Is(right, "another object")) w.Forget(result);
}

void CallObject(Walker& w) {
  const bool second = w.random.OneIn(2);
  const auto call = second ? &IQV_JavaVM::CallObjectMethod2 : &IQV_JavaVM::CallObjectMethod;
  const bool null = w.pending || w.random.OneIn(8);
  qv_jobject const argument =
      null ? nullptr : w.Some(w.random.OneIn(2) ? Held::Kind::Bytes : Held::Kind::Tracked).reference;
  CallTyped<qv_jobject>(
      w, second ? 33 : 32, {w.world.echo, w.world.echoObject, "ofObject", kObjectToObject}, null ? "null" : "an object",
      {w.world.faults, w.world.faultsObject, "ofObject", "()Ljava/lang/Object;"},
      L"java.lang.IllegalStateException: object", MissingMethod(w),
      [&](qv_jobject* result, const Target& of) {
        return (w.vm->*call)(result, of.cls, of.object, of.method, of.signature, argument);
      },
      [&](qv_jobject result) { IsAndGoes(w, result, argument); });
}

// -- static: an instance method is not there --

void CallStaticBoolean(Walker& w) {
  const int32_t value = w.random.OneIn(2) ? 1 : 0;
  CallTyped<int32_t>(
      w, 38, {w.world.echo, nullptr, "staticBoolean", "(Z)Z"}, std::to_string(value),
      {w.world.faults, nullptr, "ofStaticBoolean", "()Z"}, L"java.lang.IllegalStateException: static boolean",
      {w.world.echo, nullptr, "ofBoolean", "(Z)Z"},
      [&](int32_t* result, const Target& of) {
        return w.vm->CallStaticBooleanMethod(result, of.cls, of.method, of.signature, value);
      },
      [&](int32_t result) { w.Is(result == value, "another value"); });
}

void CallStaticObject(Walker& w) {
  CallTyped<qv_jobject>(
      w, 39, {w.world.echo, nullptr, "staticObject", kObjectToObject}, "an object",
      {w.world.faults, nullptr, "ofStaticObject", "()Ljava/lang/Object;"},
      L"java.lang.IllegalStateException: static object", {w.world.echo, nullptr, "ofString", kTextToText},
      [&](qv_jobject* result, const Target& of) {
        return w.vm->CallStaticObjectMethod(result, of.cls, of.method, of.signature, w.world.integerObject);
      },
      [&](qv_jobject result) { IsAndGoes(w, result, w.world.integerObject); });
}

// What throws is an exception whose text cannot be had.
void CallStaticVoid(Walker& w) {
  CallTyped<None>(
      w, 40, {w.world.echo, nullptr, "staticKeep", "(Ljava/lang/String;)V"}, "null",
      {w.world.faults, nullptr, w.random.OneIn(2) ? "throwNullText" : "throwFailingText", "()V"},
      L"QVJava Unknown Exception", {w.world.echo, nullptr, "keep", "(Ljava/lang/String;)V"},
      [&](None*, const Target& of) {
        return w.vm->CallStaticVoidMethod(of.cls, of.method, of.signature, static_cast<qv_jobject>(nullptr));
      },
      [](None) {});
}

// A text of the caller's becomes the record, cut where a record ends.
void ThrowText(Walker& w) {
  const Held text = w.MakeString(w.RandomText());
  w.Begin(40, "throwText of %zu units", text.text.size());
  w.Prologue();
  w.Fails(w.vm->CallStaticVoidMethod(w.world.faults, "throwText", "(Ljava/lang/String;)V", text.reference),
          {text.text.substr(0, 511), true, kFailed});
  w.Forget(text.reference);
}

template <class Value>
void GetField(Walker& w, int slot, int32_t (IQV_JavaVM::*get)(Value*, qv_jclass, const char*) noexcept,
              std::initializer_list<std::pair<const char*, Value>> fields, std::initializer_list<const char*> missing) {
  Value result = 7;
  const auto& [name, value] = w.random.OneOf(fields);
  if (w.Blocked() || w.random.OneIn(8)) {
    const uint32_t which = w.random.Below(3);
    w.Begin(slot, "null, argument %u", which);
    w.Prologue();
    w.Rejects(
        (w.vm->*get)(which == 0 ? nullptr : &result, which == 1 ? nullptr : w.world.echo, which == 2 ? nullptr : name));
  } else if (w.random.OneIn(8)) {
    const char* const none = w.random.OneOf(missing);
    w.Begin(slot, "\"%s\", which is not there", none);
    w.Prologue();
    w.Fails((w.vm->*get)(&result, w.world.echo, none), {L"java.lang.NoSuchFieldError", false, kFailed});
  } else {
    w.Begin(slot, "\"%s\"", name);
    w.Prologue();
    w.Succeeds((w.vm->*get)(&result, w.world.echo, name));
    w.Is(result == value, "another value");
    return;
  }
  w.Is(result == 7, "the result was touched");
}

void GetStaticInt(Walker& w) {
  GetField<int32_t>(w, 41, &IQV_JavaVM::GetStaticIntField,
                    {{"intSmallest", INT32_MIN}, {"intLargest", INT32_MAX}, {"intMinusOne", -1}},
                    {"isNotThere", "shortLargest", "", "made"});
}

void GetStaticShort(Walker& w) {
  GetField<int16_t>(w, 42, &IQV_JavaVM::GetStaticShortField,
                    {{"shortSmallest", int16_t{INT16_MIN}}, {"shortLargest", int16_t{INT16_MAX}}},
                    {"isNotThere", "intMinusOne", "", "made"});
}

}  // namespace

std::vector<OperationRow> CallRows() {
  return {
      {28, true, CallPrimitive},    {6, true, CallVoid},         {6, true, CallObject},
      {4, true, CallStaticBoolean}, {4, true, CallStaticObject}, {4, true, CallStaticVoid},
      {4, true, GetStaticInt},      {4, true, GetStaticShort},   {3, false, ThrowText},
  };
}

}  // namespace qvtest
