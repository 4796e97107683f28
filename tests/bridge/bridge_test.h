// The frame of the bridge's tests: the service inside the test program, on a recorded Java VM that it has joined, and
// one service object. Whatever a test leaves in the host library's books or pinned in the VM fails it.
#pragma once

#include <atomic>
#include <optional>
#include <ostream>

#include "service/java_vm_manager.h"
#include "tests/bridge/slot_table.h"
#include "tests/support/ledger_check.h"
#include "tests/support/service_process.h"
#include "tests/support/text.h"

namespace qvtest {

// An error record as a value.
struct RecordView {
  bool exists = false;
  std::wstring text{};
  int32_t code = 0;

  friend bool operator==(const RecordView&, const RecordView&) = default;
  friend std::ostream& operator<<(std::ostream& out, const RecordView& record);
};

inline const RecordView kNoRecord{};
RecordView Record(const std::wstring& text, int32_t code);
RecordView ViewOf(const ErrorRecord* record);

using Lines = std::vector<std::string>;
template <class T>
std::vector<T> operator+(std::vector<T> left, const std::vector<T>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// What CaptureException does in a JVM that knows java/lang/Throwable, from its first look on: slots and JNI calls.
Lines CaptureOf(const std::string& throwable, const std::string& text);
// A look that finds nothing.
inline const Lines kNothingPending = {"slot 59 CaptureException", "ExceptionOccurred()"};
inline const std::string kEnvironment = "slot 60 AcquireThreadEnv";
// A slot that asks for its environment first.
Lines Entered(size_t slot);
// A look-up in the JVM itself, up to its answer.
Lines DirectLookup(const std::string& name);
// What a joined JVM's first unknown class looks for before it builds the loader, one path of the loader's with its
// place, the loader of the paths, and a look-up through it up to its answer.
inline const Lines kLoaderClasses = {"FindClass(\"java/net/URLClassLoader\")", "FindClass(\"java/net/URL\")",
                                     "FindClass(\"java/io/File\")"};
Lines UrlLines(const std::string& path, int index);
Lines MakeLoaderLines();
Lines LoaderLookup(const std::string& dotted, bool loader = true);
// A string whose length is asked, and whose characters are taken and released.
Lines CharactersOf(const std::string& string);
// A byte array's elements, taken and given back in this mode.
Lines Elements(size_t slot, jint releaseMode);
// A local reference, deleted through its slot.
Lines Deleted(const std::string& label);

inline constexpr wchar_t kInternal[] = L"QVJava Internal Exception";
inline constexpr wchar_t kUnknown[] = L"QVJava Unknown Exception";
inline constexpr wchar_t kNoEnvironment[] = L"QVJava Exception JNI Environment not available";

class BridgeTest : public testing::Test {
 protected:
  BridgeTest();
  ~BridgeTest() override;

  FakeVm& Java() { return m_vm; }
  // The environment of the thread that the test runs on.
  FakeJni& Jni() { return m_vm.Here(); }
  CQV_JNIVMManager& Object() { return *m_object; }
  // The same as a host sees it: every call goes through the table.
  IQV_JavaVM& Api() { return *m_object; }
  // Whether the service counts as the JVM's creator; it has joined it in the beginning.
  static void SetCreated(bool created) { g_bJvmCreated = created ? 1 : 0; }

  RecordView ObjectRecord() { return ViewOf(*m_object->RecordSlot()); }
  // Puts a record there, as an earlier failure would.
  void GiveObjectRecord(const wchar_t* text, int32_t code = 0);
  // An exception that an earlier call left behind.
  void LeavePending(const std::wstring& text = L"java.lang.Error: from before");

  // The record of the VM since the last time.
  Lines Log() { return m_vm.TakeLog(); }

  // Watches the object's table from now on, to the end of the test.
  SlotTable& Watch();
  // What slot 55 hands out from now on; with a failure there is a text that must not be used.
  void ServeClassPath(const std::wstring& text, int32_t status = S_OK);
  // How often it was asked since then.
  [[nodiscard]] int ClassPathCalls() const { return m_classPathCalls; }
  // No environment for anybody from now on, and nothing that says why.
  void TakeEnvironmentAway();

  // A new object and a VM as in the beginning, for the next row of a table.
  void Renew();

  // References that the thread has more than before, since the VM was as in the beginning.
  [[nodiscard]] int LocalsLeft() const { return m_vm.Counts().localsMade - m_vm.Counts().localsDeleted; }
  [[nodiscard]] int GlobalsLeft() const { return m_vm.Counts().globalsMade - m_vm.Counts().globalsDeleted; }

 private:
  void MakeObject();
  void DropObject();

  FakeVm m_vm;
  ServiceProcess m_service;
  GuardPages m_guard;
  CQV_JNIVMManager* m_object = nullptr;
  std::unique_ptr<SlotTable> m_slots;
  std::optional<LedgerCheck> m_ledger;
  std::atomic<int> m_classPathCalls = 0;
};

}  // namespace qvtest
