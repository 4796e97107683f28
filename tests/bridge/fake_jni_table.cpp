// The functions of the fake VM. Each records itself, meets the fault that is put on it, and else does what the real one
// would do with the things of the world.
#include "tests/bridge/fake_jni_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <utility>

#include "tests/support/text.h"

namespace qvtest {

namespace {

FakeVm& VmOf(JNIEnv* env) { return static_cast<FakeJni*>(env)->Vm(); }

std::string Quoted(const char* text) { return text != nullptr ? '"' + std::string(text) + '"' : "null"; }

std::string Joined(std::initializer_list<std::string> parts) {
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : ", ") + part;
  return joined;
}

void Throw(FakeJni& jni, const std::string& label, const std::string& detail) {
  jni.SetPending(Throwable(label, ToWide(label + ": " + detail)));
}

// What a fault leaves behind; true when the function gives null now.
bool Failed(const FakeVm::Entered& entered, const char* function) {
  if (entered.fault == Fault::Throw) Throw(entered.jni, "java.lang.Error", function);
  return entered.fault != Fault::None;
}

// -- classes, members, references --

jclass JNICALL FindClass(JNIEnv* env, const char* name) {
  const auto entered = VmOf(env).Enter(env, "FindClass", Quoted(name));
  if (Failed(entered, "FindClass")) return nullptr;
  if (VmOf(env).classes.contains(name)) return static_cast<jclass>(entered.jni.NewLocal(Class(name)));
  Throw(entered.jni, "java.lang.NoClassDefFoundError", name);
  return nullptr;
}

void* FindMember(JNIEnv* env, const char* function, jclass cls, const char* name, const char* signature) {
  FakeVm& vm = VmOf(env);
  const auto entered = vm.Enter(env, function, Joined({vm.Label(cls), Quoted(name), Quoted(signature)}));
  vm.Look(env, cls, function);
  if (Failed(entered, function)) return nullptr;
  if (!vm.missingMembers.contains(name)) return vm.Member(name, signature != nullptr ? signature : "");
  const bool field = std::string(function) == "GetStaticFieldID";
  Throw(entered.jni, field ? "java.lang.NoSuchFieldError" : "java.lang.NoSuchMethodError", name);
  return nullptr;
}

jmethodID JNICALL GetMethodID(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  return static_cast<jmethodID>(FindMember(env, "GetMethodID", cls, name, signature));
}
jmethodID JNICALL GetStaticMethodID(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  return static_cast<jmethodID>(FindMember(env, "GetStaticMethodID", cls, name, signature));
}
jfieldID JNICALL GetStaticFieldID(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  return static_cast<jfieldID>(FindMember(env, "GetStaticFieldID", cls, name, signature));
}

jobject JNICALL NewGlobalRef(JNIEnv* env, jobject reference) {
  FakeVm& vm = VmOf(env);
  const auto entered = vm.Enter(env, "NewGlobalRef", vm.Label(reference));
  const Thing thing = vm.Look(env, reference, "NewGlobalRef");
  return Failed(entered, "NewGlobalRef") ? nullptr : vm.Make(nullptr, thing, true);
}
void JNICALL DeleteGlobalRef(JNIEnv* env, jobject reference) {
  VmOf(env).Enter(env, "DeleteGlobalRef", VmOf(env).Label(reference));
  VmOf(env).Delete(env, reference, true);
}
void JNICALL DeleteLocalRef(JNIEnv* env, jobject reference) {
  VmOf(env).Enter(env, "DeleteLocalRef", VmOf(env).Label(reference));
  VmOf(env).Delete(env, reference, false);
}

// -- exceptions --

jthrowable JNICALL ExceptionOccurred(JNIEnv* env) {
  FakeJni& jni = VmOf(env).Enter(env, "ExceptionOccurred", "").jni;
  return jni.Pending() != nullptr ? static_cast<jthrowable>(jni.NewLocal(jni.Pending())) : nullptr;
}
jboolean JNICALL ExceptionCheck(JNIEnv* env) {
  return VmOf(env).Enter(env, "ExceptionCheck", "").jni.Pending() != nullptr ? JNI_TRUE : JNI_FALSE;
}
void JNICALL ExceptionDescribe(JNIEnv* env) { VmOf(env).Enter(env, "ExceptionDescribe", "").jni.SetPending(nullptr); }
void JNICALL ExceptionClear(JNIEnv* env) { VmOf(env).Enter(env, "ExceptionClear", "").jni.SetPending(nullptr); }

// -- calls --

// The arguments as the signature says, each with its text for the record.
std::vector<jvalue> ReadArguments(FakeVm& vm, const std::string& signature, va_list list, std::string& text) {
  std::vector<jvalue> values;
  for (size_t at = 1; at < signature.size() && signature[at] != ')'; ++at) {
    jvalue value{};
    std::string shown;
    switch (signature[at]) {
      case 'Z':
      case 'B':
      case 'C':
      case 'S':
      case 'I':
        value.j = va_arg(list, jint);
        shown = std::to_string(value.j);
        break;
      case 'J':
        value.j = va_arg(list, jlong);
        shown = std::to_string(value.j);
        break;
      case 'F':
      case 'D': {
        value.d = va_arg(list, jdouble);
        char digits[40];
        std::snprintf(digits, sizeof(digits), "%.17g", value.d);
        shown = digits;
        break;
      }
      default:
        value.l = va_arg(list, jobject);
        shown = vm.Label(value.l);
        while (signature[at] == '[') ++at;
        if (signature[at] == 'L') at = signature.find(';', at);
    }
    values.push_back(value);
    text += ", " + shown;
  }
  return values;
}

jvalue Call(JNIEnv* env, const char* function, jobject target, jmethodID id, va_list list) {
  FakeVm& vm = VmOf(env);
  const auto& member = *reinterpret_cast<const FakeMember*>(id);
  std::string text = vm.Label(target) + ", " + member.name + member.signature;
  const std::vector<jvalue> arguments = ReadArguments(vm, member.signature, list, text);
  const auto entered = vm.Enter(env, function, text);
  const Thing thing = vm.Look(env, target, function);
  if (entered.fault == Fault::Null) return {};
  const auto answer = vm.answers.find(member.name);
  if (answer == vm.answers.end()) ADD_FAILURE() << function << ": nothing says what " << member.name << " gives";
  const jvalue result = answer != vm.answers.end() ? answer->second(entered.jni, thing, arguments) : jvalue{};
  Failed(entered, function);
  return result;
}

jobject JNICALL CallObjectMethod(JNIEnv* env, jobject target, jmethodID id, ...) {
  va_list list;
  va_start(list, id);
  const jvalue result = Call(env, "CallObjectMethod", target, id, list);
  va_end(list);
  return result.l;
}

#define QV_FAKE_CALL(Type, Name, member)                                                      \
  Type JNICALL Call##Name##MethodV(JNIEnv* env, jobject target, jmethodID id, va_list list) { \
    return static_cast<Type>(Call(env, "Call" #Name "MethodV", target, id, list) member);     \
  }
QV_FAKE_CALL(jobject, Object, .l)
QV_FAKE_CALL(jboolean, Boolean, .z)
QV_FAKE_CALL(jbyte, Byte, .b)
QV_FAKE_CALL(jshort, Short, .s)
QV_FAKE_CALL(jint, Int, .i)
QV_FAKE_CALL(jlong, Long, .j)
QV_FAKE_CALL(jfloat, Float, .f)
QV_FAKE_CALL(jdouble, Double, .d)
QV_FAKE_CALL(void, Void, )
#undef QV_FAKE_CALL

jobject JNICALL CallStaticObjectMethodV(JNIEnv* env, jclass cls, jmethodID id, va_list list) {
  return Call(env, "CallStaticObjectMethodV", cls, id, list).l;
}
jboolean JNICALL CallStaticBooleanMethodV(JNIEnv* env, jclass cls, jmethodID id, va_list list) {
  return Call(env, "CallStaticBooleanMethodV", cls, id, list).z;
}

jvalue Field(JNIEnv* env, const char* function, jclass cls, jfieldID id) {
  FakeVm& vm = VmOf(env);
  const auto& member = *reinterpret_cast<const FakeMember*>(id);
  const auto entered = vm.Enter(env, function, Joined({vm.Label(cls), member.name + ":" + member.signature}));
  const Thing thing = vm.Look(env, cls, function);
  const auto answer = vm.answers.find(member.name);
  if (answer == vm.answers.end()) ADD_FAILURE() << function << ": nothing says what " << member.name << " holds";
  return answer != vm.answers.end() ? answer->second(entered.jni, thing, {}) : jvalue{};
}
jint JNICALL GetStaticIntField(JNIEnv* env, jclass cls, jfieldID id) {
  return Field(env, "GetStaticIntField", cls, id).i;
}
jshort JNICALL GetStaticShortField(JNIEnv* env, jclass cls, jfieldID id) {
  return Field(env, "GetStaticShortField", cls, id).s;
}

// A constructor's answer is that of "<init>"; without one it gives an object named after its class and arguments.
jobject Construct(JNIEnv* env, const char* function, jclass cls, jmethodID id, va_list list) {
  FakeVm& vm = VmOf(env);
  const auto& member = *reinterpret_cast<const FakeMember*>(id);
  std::string given;
  const std::vector<jvalue> arguments = ReadArguments(vm, member.signature, list, given);
  const auto entered = vm.Enter(env, function, Joined({vm.Label(cls), member.name + member.signature}) + given);
  const Thing thing = vm.Look(env, cls, function);
  if (Failed(entered, function)) return nullptr;
  const auto answer = vm.answers.find("<init>");
  if (answer != vm.answers.end()) return answer->second(entered.jni, thing, arguments).l;
  return entered.jni.NewLocal(Object(thing->label + "(" + (given.empty() ? "" : given.substr(2)) + ")"));
}
jobject JNICALL NewObject(JNIEnv* env, jclass cls, jmethodID id, ...) {
  va_list list;
  va_start(list, id);
  const jobject made = Construct(env, "NewObject", cls, id, list);
  va_end(list);
  return made;
}
jobject JNICALL NewObjectV(JNIEnv* env, jclass cls, jmethodID id, va_list list) {
  return Construct(env, "NewObjectV", cls, id, list);
}

// -- strings --

jstring JNICALL NewString(JNIEnv* env, const jchar* units, jsize length) {
  const Thing text = Text(std::wstring(units, units + length));
  const auto entered = VmOf(env).Enter(env, "NewString", Joined({text->label, std::to_string(length)}));
  return Failed(entered, "NewString") ? nullptr : static_cast<jstring>(entered.jni.NewLocal(text));
}
jsize JNICALL GetStringLength(JNIEnv* env, jstring string) {
  VmOf(env).Enter(env, "GetStringLength", VmOf(env).Label(string));
  return static_cast<jsize>(VmOf(env).Look(env, string, "GetStringLength")->text.size());
}
const jchar* JNICALL GetStringChars(JNIEnv* env, jstring string, jboolean* isCopy) {
  const auto entered = VmOf(env).Enter(env, "GetStringChars", VmOf(env).Label(string));
  const std::wstring& text = VmOf(env).Look(env, string, "GetStringChars")->text;
  if (isCopy != nullptr) *isCopy = JNI_TRUE;
  if (Failed(entered, "GetStringChars")) return nullptr;
  const char* const bytes = reinterpret_cast<const char*>(text.data());
  return static_cast<const jchar*>(VmOf(env).Pin({bytes, bytes + text.size() * sizeof(jchar)}));
}
void JNICALL ReleaseStringChars(JNIEnv* env, jstring string, const jchar* units) {
  FakeVm& vm = VmOf(env);
  vm.Enter(env, "ReleaseStringChars", Joined({vm.Label(string), units != nullptr ? "characters" : "null"}));
  vm.Look(env, string, "ReleaseStringChars");
  if (units != nullptr) vm.Unpin(units, "ReleaseStringChars");
}
void JNICALL GetStringRegion(JNIEnv* env, jstring string, jsize start, jsize length, jchar* buffer) {
  FakeVm& vm = VmOf(env);
  vm.Enter(env, "GetStringRegion", Joined({vm.Label(string), std::to_string(start), std::to_string(length)}));
  const std::wstring part =
      vm.Look(env, string, "GetStringRegion")->text.substr(static_cast<size_t>(start), static_cast<size_t>(length));
  std::copy(part.begin(), part.end(), buffer);
}

// -- arrays --

jobjectArray JNICALL NewObjectArray(JNIEnv* env, jsize length, jclass cls, jobject initial) {
  FakeVm& vm = VmOf(env);
  const auto entered =
      vm.Enter(env, "NewObjectArray", Joined({std::to_string(length), vm.Label(cls), vm.Label(initial)}));
  vm.Look(env, cls, "NewObjectArray");
  const Thing element = initial != nullptr ? vm.Look(env, initial, "NewObjectArray") : nullptr;
  if (Failed(entered, "NewObjectArray")) return nullptr;
  if (length < 0) {
    Throw(entered.jni, "java.lang.NegativeArraySizeException", std::to_string(length));
    return nullptr;
  }
  const Thing array = Object("array");
  array->kind = FakeThing::Kind::ObjectArray;
  array->elements.assign(static_cast<size_t>(length), element);
  return static_cast<jobjectArray>(entered.jni.NewLocal(array));
}
void JNICALL SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value) {
  FakeVm& vm = VmOf(env);
  const auto entered =
      vm.Enter(env, "SetObjectArrayElement", Joined({vm.Label(array), std::to_string(index), vm.Label(value)}));
  const Thing thing = vm.Look(env, array, "SetObjectArrayElement");
  const Thing element = value != nullptr ? vm.Look(env, value, "SetObjectArrayElement") : nullptr;
  if (Failed(entered, "SetObjectArrayElement")) return;
  if (index < 0 || static_cast<size_t>(index) >= thing->elements.size()) {
    return Throw(entered.jni, "java.lang.ArrayIndexOutOfBoundsException", std::to_string(index));
  }
  thing->elements[static_cast<size_t>(index)] = element;
}
jbyteArray JNICALL NewByteArray(JNIEnv* env, jsize length) {
  const auto entered = VmOf(env).Enter(env, "NewByteArray", std::to_string(length));
  if (Failed(entered, "NewByteArray")) return nullptr;
  if (length < 0) {
    Throw(entered.jni, "java.lang.NegativeArraySizeException", std::to_string(length));
    return nullptr;
  }
  const Thing array = Object("bytes");
  array->kind = FakeThing::Kind::ByteArray;
  array->bytes.resize(static_cast<size_t>(length));
  return static_cast<jbyteArray>(entered.jni.NewLocal(array));
}
jbyte* JNICALL GetByteArrayElements(JNIEnv* env, jbyteArray array, jboolean* isCopy) {
  const auto entered = VmOf(env).Enter(env, "GetByteArrayElements", VmOf(env).Label(array));
  const Thing thing = VmOf(env).Look(env, array, "GetByteArrayElements");
  if (isCopy != nullptr) *isCopy = JNI_TRUE;
  if (Failed(entered, "GetByteArrayElements")) return nullptr;
  return static_cast<jbyte*>(VmOf(env).Pin({thing->bytes.begin(), thing->bytes.end()}));
}
void JNICALL ReleaseByteArrayElements(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
  FakeVm& vm = VmOf(env);
  const auto entered = vm.Enter(env, "ReleaseByteArrayElements", Joined({vm.Label(array), std::to_string(mode)}));
  const Thing thing = vm.Look(env, array, "ReleaseByteArrayElements");
  const std::vector<char> content = vm.Unpin(elements, "ReleaseByteArrayElements");
  if (mode != JNI_ABORT) thing->bytes.assign(content.begin(), content.end());
  Failed(entered, "ReleaseByteArrayElements");
}

// -- the tables --

template <size_t Index>
void* Trap() {
  constexpr size_t kReserved = 4;
  const std::string name = Index < kReserved || Index - kReserved >= kJniNameCount ? "entry " + std::to_string(Index)
                                                                                   : kJniNames[Index - kReserved];
  ADD_FAILURE() << "JNI function " << name << " is not expected here";
  return nullptr;
}

template <size_t... Index>
void FillWithTraps(JNINativeInterface_& table, std::index_sequence<Index...>) {
  auto* const entries = reinterpret_cast<void**>(&table);
  ((entries[Index] = reinterpret_cast<void*>(&Trap<Index>)), ...);
}

JNINativeInterface_ MakeJniTable() {
  JNINativeInterface_ table{};
  FillWithTraps(table, std::make_index_sequence<sizeof(JNINativeInterface_) / sizeof(void*)>());
#define QV_OPEN(Name) table.Name = Name
  QV_OPEN(FindClass);
  QV_OPEN(GetMethodID);
  QV_OPEN(GetStaticMethodID);
  QV_OPEN(GetStaticFieldID);
  QV_OPEN(NewGlobalRef);
  QV_OPEN(DeleteGlobalRef);
  QV_OPEN(DeleteLocalRef);
  QV_OPEN(ExceptionOccurred);
  QV_OPEN(ExceptionCheck);
  QV_OPEN(ExceptionDescribe);
  QV_OPEN(ExceptionClear);
  QV_OPEN(CallObjectMethod);
  QV_OPEN(CallObjectMethodV);
  QV_OPEN(CallBooleanMethodV);
  QV_OPEN(CallByteMethodV);
  QV_OPEN(CallShortMethodV);
  QV_OPEN(CallIntMethodV);
  QV_OPEN(CallLongMethodV);
  QV_OPEN(CallFloatMethodV);
  QV_OPEN(CallDoubleMethodV);
  QV_OPEN(CallVoidMethodV);
  QV_OPEN(CallStaticObjectMethodV);
  QV_OPEN(CallStaticBooleanMethodV);
  QV_OPEN(GetStaticIntField);
  QV_OPEN(GetStaticShortField);
  QV_OPEN(NewObject);
  QV_OPEN(NewObjectV);
  QV_OPEN(NewString);
  QV_OPEN(GetStringLength);
  QV_OPEN(GetStringChars);
  QV_OPEN(ReleaseStringChars);
  QV_OPEN(GetStringRegion);
  QV_OPEN(NewObjectArray);
  QV_OPEN(SetObjectArrayElement);
  QV_OPEN(NewByteArray);
  QV_OPEN(GetByteArrayElements);
  QV_OPEN(ReleaseByteArrayElements);
#undef QV_OPEN
  return table;
}

}  // namespace

const JNINativeInterface_* FakeJniTable() {
  static const JNINativeInterface_ table = MakeJniTable();
  return &table;
}

}  // namespace qvtest
