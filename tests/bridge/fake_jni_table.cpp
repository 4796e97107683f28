// The function tables of the fake VM, and what the methods of its standard classes give. Each records itself, meets the
// fault that is put on it, and else does what the real one would do with the things of the world.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <type_traits>
#include <utility>

#include "tests/bridge/fake_jni.h"
#include "tests/support/text.h"

namespace qvtest {

const char* const kJniNames[] = {
#include "tests/bridge/jni_names.inc"
};
const size_t kJniNameCount = std::size(kJniNames);

namespace {

// One call of a function, from its entry on: recorded with its arguments, under the fault that is put on it.
class Entry {
 public:
  template <class... Arguments>
  Entry(JNIEnv* env, const char* function, const Arguments&... arguments)
      : Entry(env, function, Joined({Shown(env, arguments)...})) {}
  Entry(JNIEnv* env, const char* function, const std::string& arguments)
      : m_function(function), m_entered(static_cast<FakeJni*>(env)->Vm().Enter(env, function, arguments)) {}

  [[nodiscard]] FakeJni& Jni() const { return m_entered.jni; }
  [[nodiscard]] FakeVm& Vm() const { return Jni().Vm(); }
  [[nodiscard]] Fault PlannedFault() const { return m_entered.fault; }
  // What a reference that is given to the function stands for; null for null.
  Thing Look(const void* reference) const {
    return reference != nullptr ? Vm().Look(&Jni(), reference, m_function) : nullptr;
  }
  template <class Result = jobject>
  [[nodiscard]] Result Local(const Thing& thing) const {
    return static_cast<Result>(Jni().NewLocal(thing));
  }
  // Leaves an exception pending. The result is that of a function that throws.
  std::nullptr_t Throw(const std::string& label, const std::string& detail) const {
    Jni().SetPending(Throwable(label, ToWide(label + ": " + detail)));
    return nullptr;
  }
  // Leaves behind what the fault says; true when the function gives null now.
  bool Failed() const {
    if (m_entered.fault == Fault::Throw) Throw("java.lang.Error", m_function);
    return m_entered.fault != Fault::None;
  }

 private:
  static std::string Shown(JNIEnv*, const char* text) {
    return text != nullptr ? '"' + std::string(text) + '"' : "null";
  }
  static std::string Shown(JNIEnv*, const std::string& text) { return text; }
  static std::string Shown(JNIEnv* env, const void* reference) {
    return static_cast<FakeJni*>(env)->Vm().Label(reference);
  }
  static std::string Shown(JNIEnv*, jint number) { return std::to_string(number); }
  static std::string Joined(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts) joined += (joined.empty() ? "" : ", ") + part;
    return joined;
  }

  const char* m_function;
  FakeVm::Entered m_entered;
};

// -- the table: traps, but for the functions that follow --

template <size_t Index>
void* Trap() {
  constexpr size_t kReserved = 4;
  ADD_FAILURE() << "JNI function " << (Index < kReserved ? "(reserved)" : kJniNames[Index - kReserved])
                << " is not expected here";
  return nullptr;
}
template <size_t... Index>
JNINativeInterface_ Traps(std::index_sequence<Index...>) {
  JNINativeInterface_ table{};
  ((reinterpret_cast<void**>(&table)[Index] = reinterpret_cast<void*>(&Trap<Index>)), ...);
  return table;
}
JNINativeInterface_ g_table = Traps(std::make_index_sequence<sizeof(JNINativeInterface_) / sizeof(void*)>());

// Begins a function of the table, and has it in its place.
#define QV_JNI(Result, Name, ...)                              \
  Result JNICALL Name(JNIEnv* env __VA_OPT__(, ) __VA_ARGS__); \
  [[maybe_unused]] const auto in##Name = g_table.Name = Name;  \
  Result JNICALL Name(JNIEnv* env __VA_OPT__(, ) __VA_ARGS__)

// -- classes, members, references --

QV_JNI(jclass, FindClass, const char* name) {
  const Entry call(env, "FindClass", name);
  if (call.Failed()) return nullptr;
  if (call.Vm().classes.contains(name)) return call.Local<jclass>(Class(name));
  return call.Throw("java.lang.NoClassDefFoundError", name);
}

template <class Id>
Id FindMember(JNIEnv* env, const char* function, const char* error, jclass cls, const char* name,
              const char* signature) {
  const Entry call(env, function, cls, name, signature);
  call.Look(cls);
  if (call.Failed()) return nullptr;
  if (call.Vm().missingMembers.contains(name)) return call.Throw(error, name);
  return reinterpret_cast<Id>(call.Vm().Member(name, signature != nullptr ? signature : ""));
}
#define QV_FAKE_LOOKUP(Id, Name, error)                                          \
  QV_JNI(Id, Name, jclass cls, const char* name, const char* signature) {        \
    return FindMember<Id>(env, #Name, "java.lang." error, cls, name, signature); \
  }
QV_FAKE_LOOKUP(jmethodID, GetMethodID, "NoSuchMethodError")
QV_FAKE_LOOKUP(jmethodID, GetStaticMethodID, "NoSuchMethodError")
QV_FAKE_LOOKUP(jfieldID, GetStaticFieldID, "NoSuchFieldError")
#undef QV_FAKE_LOOKUP

QV_JNI(jobject, NewGlobalRef, jobject reference) {
  const Entry call(env, "NewGlobalRef", reference);
  const Thing thing = call.Look(reference);
  return call.Failed() ? nullptr : call.Vm().Make(nullptr, thing, true);
}
QV_JNI(void, DeleteGlobalRef, jobject reference) {
  Entry(env, "DeleteGlobalRef", reference).Vm().Delete(env, reference, true);
}
QV_JNI(void, DeleteLocalRef, jobject reference) {
  Entry(env, "DeleteLocalRef", reference).Vm().Delete(env, reference, false);
}

// -- exceptions --

QV_JNI(jthrowable, ExceptionOccurred) {
  const Entry call(env, "ExceptionOccurred");
  return call.Jni().Pending() != nullptr ? call.Local<jthrowable>(call.Jni().Pending()) : nullptr;
}
QV_JNI(jboolean, ExceptionCheck) {
  return Entry(env, "ExceptionCheck").Jni().Pending() != nullptr ? JNI_TRUE : JNI_FALSE;
}
QV_JNI(void, ExceptionDescribe) { Entry(env, "ExceptionDescribe").Jni().SetPending(nullptr); }
QV_JNI(void, ExceptionClear) { Entry(env, "ExceptionClear").Jni().SetPending(nullptr); }

// -- calls --

const FakeMember& MemberOf(const void* id) { return *static_cast<const FakeMember*>(id); }

// The arguments as the signature says, each with its text for the record.
std::vector<jvalue> ReadArguments(JNIEnv* env, const std::string& signature, va_list list, std::string& text) {
  std::vector<jvalue> values;
  for (size_t at = 1; at < signature.size() && signature[at] != ')'; ++at) {
    jvalue value = ValueOf(nullptr);
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
        shown = static_cast<FakeJni*>(env)->Vm().Label(value.l);
        while (signature[at] == '[') ++at;
        if (signature[at] == 'L') at = signature.find(';', at);
    }
    values.push_back(value);
    text += ", " + shown;
  }
  return values;
}

// The world's answer for a member.
jvalue Answer(const Entry& call, const FakeMember& member, const Thing& target, const std::vector<jvalue>& arguments) {
  const auto answer = call.Vm().answers.find(member.name);
  if (answer != call.Vm().answers.end()) return answer->second(call.Jni(), target, arguments);
  ADD_FAILURE() << "nothing says what " << member.name << " gives";
  return ValueOf(nullptr);
}

jvalue Call(JNIEnv* env, const char* function, jobject target, jmethodID id, va_list list) {
  const FakeMember& member = MemberOf(id);
  std::string shown = member.name + member.signature;
  const std::vector<jvalue> arguments = ReadArguments(env, member.signature, list, shown);
  const Entry call(env, function, target, shown);
  const Thing thing = call.Look(target);
  if (call.PlannedFault() == Fault::Null) return ValueOf(nullptr);
  const jvalue result = Answer(call, member, thing, arguments);
  call.Failed();
  return result;
}

QV_JNI(jobject, CallObjectMethod, jobject target, jmethodID id, ...) {
  va_list list;
  va_start(list, id);
  const jvalue result = Call(env, "CallObjectMethod", target, id, list);
  va_end(list);
  return result.l;
}

#define QV_FAKE_CALL(Type, Target, Name, member)                         \
  QV_JNI(Type, Name, Target target, jmethodID id, va_list list) {        \
    return static_cast<Type>(Call(env, #Name, target, id, list) member); \
  }
QV_FAKE_CALL(jobject, jobject, CallObjectMethodV, .l)
QV_FAKE_CALL(jboolean, jobject, CallBooleanMethodV, .z)
QV_FAKE_CALL(jbyte, jobject, CallByteMethodV, .b)
QV_FAKE_CALL(jshort, jobject, CallShortMethodV, .s)
QV_FAKE_CALL(jint, jobject, CallIntMethodV, .i)
QV_FAKE_CALL(jlong, jobject, CallLongMethodV, .j)
QV_FAKE_CALL(jfloat, jobject, CallFloatMethodV, .f)
QV_FAKE_CALL(jdouble, jobject, CallDoubleMethodV, .d)
QV_FAKE_CALL(void, jobject, CallVoidMethodV, )
QV_FAKE_CALL(jobject, jclass, CallStaticObjectMethodV, .l)
QV_FAKE_CALL(jboolean, jclass, CallStaticBooleanMethodV, .z)
#undef QV_FAKE_CALL

jvalue Field(JNIEnv* env, const char* function, jclass cls, jfieldID id) {
  const FakeMember& member = MemberOf(id);
  const Entry call(env, function, cls, member.name + ":" + member.signature);
  return Answer(call, member, call.Look(cls), {});
}
QV_JNI(jint, GetStaticIntField, jclass cls, jfieldID id) { return Field(env, "GetStaticIntField", cls, id).i; }
QV_JNI(jshort, GetStaticShortField, jclass cls, jfieldID id) { return Field(env, "GetStaticShortField", cls, id).s; }

// A constructor's answer is that of "<init>"; without one it gives an object named after its class and arguments.
jobject Construct(JNIEnv* env, const char* function, jclass cls, jmethodID id, va_list list) {
  const FakeMember& member = MemberOf(id);
  std::string given;
  const std::vector<jvalue> arguments = ReadArguments(env, member.signature, list, given);
  const Entry call(env, function, cls, member.name + member.signature + given);
  const Thing thing = call.Look(cls);
  if (call.Failed()) return nullptr;
  if (call.Vm().answers.contains("<init>")) return Answer(call, member, thing, arguments).l;
  return call.Local(Object(thing->label + "(" + (given.empty() ? "" : given.substr(2)) + ")"));
}
QV_JNI(jobject, NewObject, jclass cls, jmethodID id, ...) {
  va_list list;
  va_start(list, id);
  const jobject made = Construct(env, "NewObject", cls, id, list);
  va_end(list);
  return made;
}
QV_JNI(jobject, NewObjectV, jclass cls, jmethodID id, va_list list) {
  return Construct(env, "NewObjectV", cls, id, list);
}

// -- strings --

QV_JNI(jstring, NewString, const jchar* units, jsize length) {
  const Thing text = Text(std::wstring(units, units + length));
  const Entry call(env, "NewString", text->label, length);
  return call.Failed() ? nullptr : call.Local<jstring>(text);
}
QV_JNI(jsize, GetStringLength, jstring string) {
  return static_cast<jsize>(Entry(env, "GetStringLength", string).Look(string)->text.size());
}
QV_JNI(const jchar*, GetStringChars, jstring string, jboolean* isCopy) {
  const Entry call(env, "GetStringChars", string);
  const std::wstring& text = call.Look(string)->text;
  if (isCopy != nullptr) *isCopy = JNI_TRUE;
  if (call.Failed()) return nullptr;
  const char* const bytes = reinterpret_cast<const char*>(text.data());
  return static_cast<const jchar*>(call.Vm().Pin({bytes, bytes + text.size() * sizeof(jchar)}));
}
QV_JNI(void, ReleaseStringChars, jstring string, const jchar* units) {
  const Entry call(env, "ReleaseStringChars", string, std::string(units != nullptr ? "characters" : "null"));
  call.Look(string);
  if (units != nullptr) call.Vm().Unpin(units, "ReleaseStringChars");
}
QV_JNI(void, GetStringRegion, jstring string, jsize start, jsize length, jchar* buffer) {
  const Entry call(env, "GetStringRegion", string, start, length);
  const std::wstring part = call.Look(string)->text.substr(static_cast<size_t>(start), static_cast<size_t>(length));
  std::copy(part.begin(), part.end(), buffer);
}

// -- arrays --

// A new array of so many elements, which `fill` makes.
template <class Array, class Fill>
Array NewArray(const Entry& call, FakeThing::Kind kind, const char* label, jsize length, Fill&& fill) {
  if (call.Failed()) return nullptr;
  if (length < 0) return call.Throw("java.lang.NegativeArraySizeException", std::to_string(length));
  const Thing array = Object(label);
  array->kind = kind;
  fill(*array, static_cast<size_t>(length));
  return call.Local<Array>(array);
}
QV_JNI(jobjectArray, NewObjectArray, jsize length, jclass cls, jobject initial) {
  const Entry call(env, "NewObjectArray", length, cls, initial);
  call.Look(cls);
  return NewArray<jobjectArray>(
      call, FakeThing::Kind::ObjectArray, "array", length,
      [element = call.Look(initial)](FakeThing& array, size_t count) { array.elements.assign(count, element); });
}
QV_JNI(void, SetObjectArrayElement, jobjectArray array, jsize index, jobject value) {
  const Entry call(env, "SetObjectArrayElement", array, index, value);
  const Thing thing = call.Look(array);
  const Thing element = call.Look(value);
  if (call.Failed()) return;
  if (index < 0 || static_cast<size_t>(index) >= thing->elements.size()) {
    call.Throw("java.lang.ArrayIndexOutOfBoundsException", std::to_string(index));
  } else {
    thing->elements[static_cast<size_t>(index)] = element;
  }
}
QV_JNI(jbyteArray, NewByteArray, jsize length) {
  return NewArray<jbyteArray>(Entry(env, "NewByteArray", length), FakeThing::Kind::ByteArray, "bytes", length,
                              [](FakeThing& array, size_t count) { array.bytes.resize(count); });
}
QV_JNI(jbyte*, GetByteArrayElements, jbyteArray array, jboolean* isCopy) {
  const Entry call(env, "GetByteArrayElements", array);
  const Thing thing = call.Look(array);
  if (isCopy != nullptr) *isCopy = JNI_TRUE;
  if (call.Failed()) return nullptr;
  return static_cast<jbyte*>(call.Vm().Pin({thing->bytes.begin(), thing->bytes.end()}));
}
QV_JNI(void, ReleaseByteArrayElements, jbyteArray array, jbyte* elements, jint mode) {
  const Entry call(env, "ReleaseByteArrayElements", array, mode);
  const Thing thing = call.Look(array);
  const std::vector<char> content = call.Vm().Unpin(elements, "ReleaseByteArrayElements");
  if (mode != JNI_ABORT) thing->bytes.assign(content.begin(), content.end());
  call.Failed();
}

#undef QV_JNI

// -- the invocation table --

FakeVm& OwnerOf(JavaVM* vm) { return *static_cast<FakeVm*>(vm); }

jint JNICALL Attach(JavaVM* vm, void** env, void* arguments) {
  const auto* const given = static_cast<const JavaVMAttachArgs*>(arguments);
  EXPECT_TRUE(given == nullptr || given->version == JNI_VERSION_1_2);
  return OwnerOf(vm).Attach(env);
}
jint JNICALL Detach(JavaVM* vm) { return OwnerOf(vm).Detach(); }

#define QV_TRAP(Name, ...)                                \
  jint JNICALL Name(JavaVM* __VA_OPT__(, ) __VA_ARGS__) { \
    ADD_FAILURE() << #Name " is not expected here";       \
    return JNI_ERR;                                       \
  }
QV_TRAP(DestroyJavaVM)
QV_TRAP(GetEnv, void**, jint)
QV_TRAP(AttachCurrentThreadAsDaemon, void**, void*)
#undef QV_TRAP

}  // namespace

const JNINativeInterface_* FakeJniTable() { return &g_table; }

const JNIInvokeInterface_* FakeVmTable() {
  static const JNIInvokeInterface_ table = {nullptr, nullptr, nullptr, DestroyJavaVM,
                                            Attach,  Detach,  GetEnv,  AttachCurrentThreadAsDaemon};
  return &table;
}

std::map<std::string, FakeVm::Answer> StandardAnswers() {
  std::map<std::string, FakeVm::Answer> answers;
  answers["toString"] = [](FakeJni& jni, const Thing& target, const std::vector<jvalue>&) {
    return ValueOf(target->toStringIsNull ? nullptr : jni.NewLocal(Text(target->text)));
  };
  answers["toURL"] = [](FakeJni& jni, const Thing& target, const std::vector<jvalue>&) {
    return ValueOf(jni.NewLocal(Object("url(" + target->label + ")")));
  };
  answers["loadClass"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>& arguments) {
    std::string name = ToUtf8(jni.Vm().Look(&jni, arguments.at(0).l, "loadClass")->text);
    if (!jni.Vm().loaderClasses.contains(name)) {
      constexpr char kError[] = "java.lang.ClassNotFoundException";
      jni.SetPending(Throwable(kError, ToWide(std::string(kError) + ": " + name)));
      return ValueOf(nullptr);
    }
    std::replace(name.begin(), name.end(), '.', '/');
    return ValueOf(jni.NewLocal(Class(name)));
  };
  answers["getProperty"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>& arguments) {
    const auto found = jni.Vm().properties.find(jni.Vm().Look(&jni, arguments.at(0).l, "getProperty")->text);
    return ValueOf(found != jni.Vm().properties.end() ? jni.NewLocal(Text(found->second)) : nullptr);
  };
  return answers;
}

}  // namespace qvtest
