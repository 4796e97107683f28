// The service as a benchmark sees it: the DLL beside the program, one object, and what a hand-written twin needs.
#pragma once

#include <windows.h>

#include <jni.h>

#include <string>

#include "benchmarks/harness.h"
#include "qvjvm/qvjvm.h"

namespace bench {

struct CommandLine {
  Settings settings;
  std::wstring json;  ///< where to write the results; empty for nowhere
};

/// Reads --quick and --json FILE; anything else ends the program.
CommandLine ReadCommandLine(int argc, char** argv);

class Host {
 public:
  /// Loads the service and starts the JVM with the log silenced, with a jar beside the program on its class path, or
  /// null; ends the program when that fails.
  explicit Host(const wchar_t* jar = nullptr);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  [[nodiscard]] IQV_JavaVM* Vm() const { return m_vm; }
  [[nodiscard]] QV_CreateJavaVMFn Create() const { return m_create; }
  /// The calling thread's environment.
  [[nodiscard]] JNIEnv* Env() const;
  /// The file of the service.
  [[nodiscard]] std::wstring LibraryPath() const;
  /// The JVM's own object, for attaching by hand.
  [[nodiscard]] JavaVM* Jvm() const;
  /// Notes the Java version, the processor count and the program that runs all this.
  void Describe(Report& report) const;

 private:
  HMODULE m_library = nullptr;
  QV_CreateJavaVMFn m_create = nullptr;
  IQV_JavaVM* m_vm = nullptr;
};

/// Ends the program unless the reference is there.
template <class T>
T Need(T reference, const char* what) {
  if (reference == nullptr) Die(std::string("missing: ") + what);
  return reference;
}

}  // namespace bench
