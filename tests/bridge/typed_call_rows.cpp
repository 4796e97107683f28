// The table of the typed calls, and how a slot is called with what its form takes.
#include "tests/bridge/typed_call_rows.h"

#include <cstring>
#include <limits>

#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

constexpr TypedCall kRows[] = {
    {20, Form::Instance, "CallIntMethodV", "I", 4},
    {22, Form::Instance, "CallShortMethodV", "S", 2},
    {24, Form::Instance, "CallFloatMethodV", "F", 4},
    {26, Form::Instance, "CallDoubleMethodV", "D", 8},
    {28, Form::Instance, "CallByteMethodV", "B", 1},
    {30, Form::InstanceVoid, "CallVoidMethodV", "V", 0},
    {32, Form::Instance, "CallObjectMethodV", "Ljava/lang/Object;", 8},
    {34, Form::Instance, "CallBooleanMethodV", "Z", 4},
    {36, Form::Instance, "CallLongMethodV", "J", 8},
    {38, Form::Static, "CallStaticBooleanMethodV", "Z", 4},
    {39, Form::Static, "CallStaticObjectMethodV", "Ljava/lang/Object;", 8},
    {40, Form::StaticVoid, "CallStaticObjectMethodV", "V", 0},
    {41, Form::Field, "GetStaticIntField", "I", 4},
    {42, Form::Field, "GetStaticShortField", "S", 2},
};

template <class T>
std::vector<uint8_t> BytesOf(T value) {
  std::vector<uint8_t> bytes(sizeof(T));
  std::memcpy(bytes.data(), &value, sizeof(T));
  return bytes;
}

template <class T, class Set>
TypedValue Value(const char* name, T value, Set set) {
  TypedValue row{name, {}, BytesOf(value)};
  set(row.java, value);
  return row;
}

template <class T, class Set>
std::vector<TypedValue> Integers(Set set) {
  using Limits = std::numeric_limits<T>;
  return {Value("smallest", Limits::min(), set), Value("largest", Limits::max(), set), Value("minus one", T{-1}, set),
          Value("zero", T{0}, set)};
}

template <class T, class Set>
std::vector<TypedValue> Reals(Set set) {
  using Limits = std::numeric_limits<T>;
  return {Value("not a number", Limits::quiet_NaN(), set),
          Value("infinity", Limits::infinity(), set),
          Value("minus infinity", -Limits::infinity(), set),
          Value("minus zero", -T{0}, set),
          Value("largest", Limits::max(), set),
          Value("lowest", Limits::lowest(), set),
          Value("smallest normal", Limits::min(), set),
          Value("smallest of all", Limits::denorm_min(), set)};
}

}  // namespace

// A call on an instance has a second entry behind its first.
std::vector<TypedCall> TypedCalls() {
  std::vector<TypedCall> all;
  for (const TypedCall& row : kRows) {
    all.push_back(row);
    if (!HasObject(row)) continue;
    all.push_back(row);
    ++all.back().slot;
  }
  return all;
}

const char* LookupOf(const TypedCall& row) {
  if (row.form == Form::Field) return "GetStaticFieldID";
  return HasObject(row) ? "GetMethodID" : "GetStaticMethodID";
}

std::string SignatureOf(const TypedCall& row, const std::string& arguments) {
  return row.form == Form::Field ? row.type : arguments + row.type;
}

std::vector<std::string> LookupLine(const TypedCall& row) {
  return {std::string(LookupOf(row)) + "(a/B, \"m\", \"" + SignatureOf(row) + "\")"};
}

std::vector<std::string> CallLine(const TypedCall& row) {
  const char* const member = row.form == Form::Field ? "m:" : "m";
  return {std::string(row.jniCall) + "(" + (HasObject(row) ? "it" : "a/B") + ", " + member + SignatureOf(row) + ")"};
}

std::vector<TypedValue> ValuesOf(const TypedCall& row, jobject reference) {
  switch (row.type[0]) {
    case 'I':
      return Integers<int32_t>([](jvalue& java, int32_t value) { java.i = value; });
    case 'S':
      return Integers<int16_t>([](jvalue& java, int16_t value) { java.s = value; });
    case 'B':
      return Integers<int8_t>([](jvalue& java, int8_t value) { java.b = value; });
    case 'J':
      return Integers<int64_t>([](jvalue& java, int64_t value) { java.j = value; });
    case 'F':
      return Reals<float>([](jvalue& java, float value) { java.f = value; });
    case 'D':
      return Reals<double>([](jvalue& java, double value) { java.d = value; });
    case 'Z': {
      // Eight bits, widened with zeros.
      const auto set = [](jvalue& java, int32_t value) { java.z = static_cast<jboolean>(value); };
      return {Value("true", int32_t{1}, set), Value("false", int32_t{0}, set), Value("bit 7", int32_t{0x80}, set)};
    }
    default: {
      TypedValue value{"reference", {}, row.width != 0 ? BytesOf(reference) : std::vector<uint8_t>{}};
      value.java.l = reference;
      return {value};
    }
  }
}

int32_t Invoke(IQV_JavaVM& vm, const TypedCall& row, const CallArguments& a) {
  switch (row.form) {
    case Form::Instance:
      return CallSlot<int32_t>(&vm, row.slot, a.result, a.cls, a.object, a.name, a.signature);
    case Form::InstanceVoid:
      return CallSlot<int32_t>(&vm, row.slot, a.cls, a.object, a.name, a.signature);
    case Form::Static:
      return CallSlot<int32_t>(&vm, row.slot, a.result, a.cls, a.name, a.signature);
    case Form::StaticVoid:
      return CallSlot<int32_t>(&vm, row.slot, a.cls, a.name, a.signature);
    default:
      return CallSlot<int32_t>(&vm, row.slot, a.result, a.cls, a.name);
  }
}

}  // namespace qvtest
