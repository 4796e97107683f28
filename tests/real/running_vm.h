// The service as a host program meets it: loaded from the program's own folder, one JVM for the whole process, used
// through the object's table alone. The fixture starts it once; helpers read records and own references.
// References are given back on the thread that got them.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
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
// The whole string, embedded nulls and all.
std::wstring TextOf(IQV_JavaVM* vm, qv_jstring string);

// The number of the Java version that runs: "17".
std::string RuntimeOf(IQV_JavaVM* vm);

// How the JVM is created when the configuration is not to be the default tree.
struct StartOptions {
  std::vector<std::wstring> jvmOptions;  // empty: the default tree
};

// Creates the process's JVM on first use, with the tests' own classes as the extra class path, and sends its output to
// <test suite>.log in the installation folder.
IQV_JavaVM* StartVm(const StartOptions& options = {});

class RunningVmTest : public testing::Test {
 protected:
  void SetUp() override {
    m_vm = StartVm();
    ASSERT_NE(m_vm, nullptr);
    ForgetRecord();
  }

  // Any array operation that succeeds does; tests of one process share the object.
  void ForgetRecord() {
    EXPECT_TRUE(Ok(m_vm, m_vm->NewByteArray(Local(m_vm).Out(), 0)));
    EXPECT_EQ(RecordOf(m_vm), std::nullopt);
  }

  [[nodiscard]] IQV_JavaVM* Vm() const { return m_vm; }
  [[nodiscard]] Local Find(const char* name) const { return FindClass(m_vm, name); }
  [[nodiscard]] Local String(const std::wstring& text) const { return NewString(m_vm, text); }

 private:
  IQV_JavaVM* m_vm = nullptr;
};

}  // namespace qvtest
