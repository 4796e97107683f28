// The service as a host program meets it: loaded from the program's own folder, one JVM for the whole process, used
// through the object's table alone. The fixture starts it once; helpers read records and own references.
// References are given back on the thread that got them.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "qvjvm/qvjvm.h"
#include "tests/support/text.h"

namespace qvtest {

// The exports of the qvjvm.dll beside the program (or beside the library that holds the tests).
struct ServiceExports {
  HMODULE module = nullptr;
  QV_CreateJavaVMFn createJavaVM = nullptr;
};
const ServiceExports& LoadService();

// Where the tests are installed, without a trailing backslash.
std::wstring InstallFolder();

// The archives that the service names by itself, joined by ";": installed ones where they are, the others below the IDE
// folder of the host's.
std::wstring DefaultArchives(const std::wstring& hostFolder);

// A service object with one reference of the caller's.
IQV_JavaVM* NewService(const wchar_t* classPath = nullptr);

// What GetErrorText and GetErrorCode tell.
struct Record {
  std::wstring text;
  int32_t code = 0;

  friend bool operator==(const Record&, const Record&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Record& record);
};
std::optional<Record> RecordOf(IQV_JavaVM* vm);
// Any array operation that succeeds does.
void ForgetRecord(IQV_JavaVM* vm);

// True for S_OK; otherwise the message holds the status and the record.
testing::AssertionResult Ok(IQV_JavaVM* vm, int32_t status);
// True for E_FAIL with exactly this record.
testing::AssertionResult Fails(IQV_JavaVM* vm, int32_t status, const Record& record);
// True for E_FAIL with a record of this code whose text begins so: for texts that differ between runtimes.
testing::AssertionResult FailsWith(IQV_JavaVM* vm, int32_t status, const std::wstring& beginning, int32_t code);

// Owns one local reference.
class Local {
 public:
  explicit Local(IQV_JavaVM* vm) noexcept : m_vm(vm) {}
  Local(Local&& other) noexcept : m_vm(other.m_vm), m_reference(std::exchange(other.m_reference, nullptr)) {}
  Local(const Local&) = delete;
  Local& operator=(const Local&) = delete;
  ~Local() { Clear(); }

  // For an out-argument; gives back what was held.
  qv_jobject* Out() {
    Clear();
    return &m_reference;
  }
  [[nodiscard]] qv_jobject Get() const noexcept { return m_reference; }
  operator qv_jobject() const noexcept { return m_reference; }

 private:
  void Clear() {
    if (m_reference != nullptr) m_vm->DeleteLocalRef(std::exchange(m_reference, nullptr));
  }

  IQV_JavaVM* m_vm;
  qv_jobject m_reference = nullptr;
};

// Each fails the test when it does not succeed.
Local FindClass(IQV_JavaVM* vm, const char* name);
Local NewString(IQV_JavaVM* vm, const std::wstring& text);
Local NewDefaultObject(IQV_JavaVM* vm, qv_jclass cls);
qv_jobject NewGlobal(IQV_JavaVM* vm, qv_jobject local);
// The whole string, embedded nulls and all.
std::wstring TextOf(IQV_JavaVM* vm, qv_jstring string);
// The text that an operation gives.
template <class Query, class... Of>
std::wstring Ask(IQV_JavaVM* vm, Query query, Of... of) {
  IQvString* text = nullptr;
  EXPECT_TRUE(Ok(vm, (vm->*query)(&text, of...)));
  return TakeText(text);
}
bool CreatedTheJvm(IQV_JavaVM* vm);

// A class of Java's as a host uses it: each call has to succeed and gives its result.
class JavaClass {
 public:
  JavaClass(IQV_JavaVM* vm, const char* name) : m_vm(vm), m_class(FindClass(vm, name)) {}
  operator qv_jclass() const noexcept { return m_class; }
  [[nodiscard]] Local New() const { return NewDefaultObject(m_vm, m_class); }

  template <class... Arguments>
  Local Call(qv_jobject object, const char* method, const char* signature, const Arguments&... arguments) const {
    Local result(m_vm);
    EXPECT_TRUE(Ok(m_vm, m_vm->CallObjectMethod(result.Out(), m_class, object, method, signature, Bare(arguments)...)));
    return result;
  }
  template <class... Arguments>
  Local CallStatic(const char* method, const char* signature, const Arguments&... arguments) const {
    Local result(m_vm);
    EXPECT_TRUE(Ok(m_vm, m_vm->CallStaticObjectMethod(result.Out(), m_class, method, signature, Bare(arguments)...)));
    return result;
  }
  // Of a method that wants nothing and gives an int.
  [[nodiscard]] int32_t CallInt(qv_jobject object, const char* method) const {
    int32_t result = -1;
    EXPECT_TRUE(Ok(m_vm, m_vm->CallIntMethod(&result, m_class, object, method, "()I"))) << method;
    return result;
  }

 private:
  static qv_jobject Bare(const Local& argument) { return argument; }
  template <class Value>
  static Value Bare(Value argument) {
    return argument;
  }

  IQV_JavaVM* m_vm;
  Local m_class;
};

// How a primitive type is called by Echo, which gives it back, by Faults, which throws its name, and by JNI.
struct TypeName {
  const char* method;
  const wchar_t* name;
  const char* toItself;
  const char* fromNothing;
};
// Visits the two slots of each primitive type with a value of it.
template <class Visit>
void ForEachTypedCall(Visit&& visit) {
  visit(&IQV_JavaVM::CallByteMethod, &IQV_JavaVM::CallByteMethod2, TypeName{"ofByte", L"byte", "(B)B", "()B"},
        int8_t{7});
  visit(&IQV_JavaVM::CallShortMethod, &IQV_JavaVM::CallShortMethod2, TypeName{"ofShort", L"short", "(S)S", "()S"},
        int16_t{7});
  visit(&IQV_JavaVM::CallIntMethod, &IQV_JavaVM::CallIntMethod2, TypeName{"ofInt", L"int", "(I)I", "()I"}, int32_t{7});
  visit(&IQV_JavaVM::CallLongMethod, &IQV_JavaVM::CallLongMethod2, TypeName{"ofLong", L"long", "(J)J", "()J"},
        int64_t{7});
  visit(&IQV_JavaVM::CallFloatMethod, &IQV_JavaVM::CallFloatMethod2, TypeName{"ofFloat", L"float", "(F)F", "()F"},
        7.0F);
  visit(&IQV_JavaVM::CallDoubleMethod, &IQV_JavaVM::CallDoubleMethod2, TypeName{"ofDouble", L"double", "(D)D", "()D"},
        7.0);
  visit(&IQV_JavaVM::CallBooleanMethod, &IQV_JavaVM::CallBooleanMethod2,
        TypeName{"ofBoolean", L"boolean", "(Z)Z", "()Z"}, int32_t{1});
}

// Threads of the group that attached threads belong to.
int32_t ThreadsInJava(IQV_JavaVM* vm);
// What the JVM prints for its own problems stays; what stack traces print goes nowhere.
void DropErrorOutput(IQV_JavaVM* vm);

// A system property of the JVM's; "<null>" when there is none.
std::wstring PropertyOf(IQV_JavaVM* vm, const wchar_t* name);
// The number of the Java version that runs: "17".
std::string RuntimeOf(IQV_JavaVM* vm);

// Creates the process's JVM on first use, with the tests' own classes as the extra class path, and sends its output to
// <test suite>.log in the installation folder. Without options it has those of the default tree.
IQV_JavaVM* StartVm(const std::vector<std::wstring>& options = {});

class RunningVmTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(m_vm, nullptr);
    ForgetRecord(m_vm);  // tests of one process share the object
  }

  [[nodiscard]] IQV_JavaVM* Vm() const { return m_vm; }
  [[nodiscard]] Local Find(const char* name) const { return FindClass(m_vm, name); }
  [[nodiscard]] Local String(const std::wstring& text) const { return NewString(m_vm, text); }

 private:
  IQV_JavaVM* const m_vm = StartVm();
};

}  // namespace qvtest
