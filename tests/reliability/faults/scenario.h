// The operations that the matrix disturbs, each from a freshly loaded qvjvm.dll on: what it needs, what it is, how it
// ends when nothing fails, and what shows afterwards that the service still works.
#pragma once

#include "qvjvm/qvjvm.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/reliability/faults/fault_point.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace qvtest {

inline constexpr int32_t kFail = static_cast<int32_t>(0x80004005);
inline constexpr int32_t kNoMemory = static_cast<int32_t>(0x8007000E);
inline constexpr int32_t kDone = 0;
inline constexpr int32_t kMissed = 1;  // of an operation without a status: it did not do what it is for

// How the host program's path is answered; empty: as it is.
void SetHostPath(const std::wstring& path);
// How many message boxes were shown since the last time.
int TakeBoxes();

// The places that all runs of the process share.
class Site {
 public:
  Site();
  [[nodiscard]] const std::wstring& Service() const { return m_service; }          // qvjvm.dll in a folder of its own
  [[nodiscard]] const std::wstring& WithRuntime() const { return m_withRuntime; }  // another, with a private runtime
  [[nodiscard]] const TempFolder& Folder() const { return m_folder; }

  FakeJvm jvm;

 private:
  TempFolder m_folder;
  std::wstring m_service;
  std::wstring m_withRuntime;
};

class Disturbed;

struct Scenario {
  std::string name;
  const wchar_t* host = nullptr;
  void (*prepare)(RegistrySandbox& registry) = [](RegistrySandbox&) {};
  FakeJvmScript script{};
  std::optional<std::wstring> (*javaHome)() = [] { return std::optional(FakeJvm::Home()); };
  std::wstring (*path)(const Site& site) = [](const Site&) { return std::wstring(); };  // in front of PATH
  bool privateRuntime = false;
  bool web = false;
  bool listener = false;  // somebody listens on the debugger channel
  bool lateSlots = false;
  bool loaded = true;  // before the operation begins
  void (*before)(Disturbed& run) = [](Disturbed&) {};
  int32_t (*operate)(Disturbed& run) = nullptr;
  int32_t (*judge)(Disturbed& run) = nullptr;  // what tells how it went, where `operate` itself does not
  int32_t status = kDone;
  int32_t (*next)(Disturbed& run) = nullptr;  // the same or what comes after it; null: `operate` once more
};

std::vector<Scenario> Scenarios();

// One run of a scenario, and what was left when its operation was over.
class Disturbed : private Pinned {
 public:
  Disturbed(const Scenario& scenario, const Site& site);
  ~Disturbed();

  void Load();
  // False when it stays.
  bool Free();
  // Each leaves one block: the lock of the configuration's load is never deleted.
  [[nodiscard]] int Loads() const { return m_loads; }
  // QV_CreateJavaVM; the object is kept for later and released at the end.
  int32_t Create(const wchar_t* classPath = nullptr);
  [[nodiscard]] IQV_JavaVM* Vm() const { return m_vm; }
  void ReleaseVm();
  [[nodiscard]] HMODULE Service() const { return m_service; }

  const Scenario& scenario;
  const Site& site;
  const FakeJvm& jvm;
  std::unique_ptr<WaitingThread> thread;  // that waits inside a scenario

 private:
  HMODULE m_service = nullptr;
  int m_loads = 0;
  IQV_JavaVM* m_vm = nullptr;
  EnvironmentScope m_path;
  EnvironmentScope m_javaHome;
  EnvironmentScope m_classPath{L"CLASSPATH", L"C:\\host.jar"};
  qv::Handle m_section;
};

// Hooks for every module named qvjvm.dll from now on, before its entry routine runs.
void HookEveryService(const std::vector<Point>& points);

}  // namespace qvtest
