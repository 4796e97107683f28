// The world that a start-up test runs in: the service in this program, a fake Java runtime as JAVA_HOME, a private
// registry, an environment and a log folder of the test's own, caught message boxes, and the books of the host library,
// which must be even when the world ends.
// The host is this test program, whose name no product has, unless the test gives it another path.
#pragma once

#include "qvjvm/qvjvm.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/message_box.h"
#include "tests/support/module_path.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/service_process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace qvtest {

// Everything but the runtime's record: for tests of the search itself, which loads the fake runtime by its place.
class StartupScene : private Pinned {
 public:
  // An unknown host, or the host with this path.
  explicit StartupScene(const std::wstring& hostPath = {});

  struct NoScripts {
    NoScripts() { QvshrLedgerReset(); }
  } noScripts;  // the host library answers and counts as if it had just been loaded
  TempFolder folder;
  RegistrySandbox registry{RegistrySandbox::Override::MachineAndUser};
  EnvironmentScope path{L"PATH", kSystemPath};
  EnvironmentScope javaHome{L"JAVA_HOME", FakeJvm::Home()};
  EnvironmentScope classPath{L"CLASSPATH", std::nullopt};
  MessageBoxCatcher boxes;
  LedgerCheck ledger;
  ServiceProcess service;

  // The host's settings in the registry, whole and right, as a known host needs them: JDK and JRE locations, an empty
  // class path list, no options and no properties.
  void ConfigureKnownHost(const std::wstring& root);

 private:
  std::optional<HostPath> m_host;
};

// The scene with the fake runtime's record in hand.
class StartupWorld : public StartupScene {
 public:
  explicit StartupWorld(const std::wstring& hostPath = {}, const std::wstring& jvmPath = FakeJvm::DefaultPath())
      : StartupScene(hostPath), jvm(jvmPath) {}

  FakeJvm jvm;
};

// Releases a service object at its end.
struct ReleaseVM {
  void operator()(IQV_JavaVM* vm) const { vm->Release(); }
};
using VmOwner = std::unique_ptr<IQV_JavaVM, ReleaseVM>;

// QV_CreateJavaVM. What comes out must be an object exactly when the status says so, which fails the test otherwise.
struct Created {
  int32_t status;
  VmOwner vm;
};
Created CreateVM(const wchar_t* classPath = nullptr);

// A world in which the service has created its JVM, or has joined the one that was there; the main thread is attached.
class StartedWorld : public StartupWorld {
 public:
  explicit StartedWorld(int32_t existing = 0) {
    jvm.Script().existing = existing;
    Created created = CreateVM();
    EXPECT_EQ(created.status, 0);
    vm = std::move(created.vm);
  }

  VmOwner vm;
};
class JoinedWorld : public StartedWorld {
 public:
  JoinedWorld() : StartedWorld(1) {}
};

// The object's error text, "<none>" when it has no record.
std::wstring ErrorText(IQV_JavaVM& vm);

// The text of the record, which is freed; "<null>" for none.
std::wstring TakeRecord(ErrorRecord* record, int32_t expectedCode = 0);

}  // namespace qvtest
