// A test's hand on the fake jvm.dll: loads it, so that its record outlives what the service does with it, scripts it
// and reads what it was asked. Loading it first also means that a later load of "jvm.dll" by name finds this one,
// whatever PATH says; a test of the search itself uses FakeJvm::AlreadyLoaded afterwards instead.
#pragma once

#include <windows.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/fakejvm/fake_jvm.h"

namespace qvtest {

struct SeenOption {
  std::string text;
  void* extraInfo;
};

class FakeJvm {
 public:
  // Loads this variant of the DLL and resets it; fails the test when it cannot.
  explicit FakeJvm(const std::wstring& path = DefaultPath());
  // The one that the process has loaded under the name jvm.dll; fails the test when there is none. Keeps what it
  // recorded.
  static FakeJvm AlreadyLoaded() { return FakeJvm(Loaded{}); }
  ~FakeJvm();
  FakeJvm(const FakeJvm&) = delete;
  FakeJvm& operator=(const FakeJvm&) = delete;

  [[nodiscard]] FakeJvmScript& Script() const { return m_state->script; }
  void Reset() const { m_getState(1); }

  [[nodiscard]] std::vector<FakeJvmCall> Calls() const;
  [[nodiscard]] std::vector<FakeJvmCall> Calls(FakeJvmEntry entry) const;
  [[nodiscard]] size_t Count(FakeJvmEntry entry) const { return Calls(entry).size(); }
  // The names of all calls in their order, one word each: what a failing comparison prints.
  [[nodiscard]] std::vector<std::string> Story() const;
  // The options of the n-th creation.
  [[nodiscard]] std::vector<SeenOption> Options(size_t creation = 0) const;
  // Their texts alone.
  [[nodiscard]] std::vector<std::string> OptionTexts(size_t creation = 0) const;
  // Calls the vfprintf hook that the latest creation was given, as a JVM does that prints.
  int32_t Print(const char* format, ...) const;
  [[nodiscard]] int32_t AttachedThreads() const { return m_state->attachedThreads; }
  [[nodiscard]] HMODULE Module() const { return m_module; }

  // A home for JAVA_HOME: bin\server\jvm.dll lies below it.
  static std::wstring Home();
  static std::wstring DefaultPath() { return Home() + L"\\bin\\server\\jvm.dll"; }
  // The DLL without one of its entry points: "GetCreatedJavaVMs", "GetDefaultJavaVMInitArgs" or "CreateJavaVM".
  static std::wstring PathWithout(const std::wstring& entryPoint);

 private:
  struct Loaded {};
  explicit FakeJvm(Loaded);
  void Connect();

  HMODULE m_module = nullptr;
  FakeJvmGetStateFn m_getState = nullptr;
  FakeJvmState* m_state = nullptr;
};

}  // namespace qvtest
