#include "benchmarks/host.h"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace bench {

CommandLine ReadCommandLine(int argc, char** argv) {
  CommandLine result;
  std::string json;
  CLI::App app("Times the service against hand-written JNI.");
  app.add_flag("--quick", result.settings.quick, "run everything once; the figures mean nothing");
  app.add_option("--json", json, "write the results to this file");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::exit(app.exit(error));
  }
  result.json = std::filesystem::path(json).wstring();
  return result;
}

Host::Host(const wchar_t* jar) {
  // Beside the program, or one folder up for the program that lies beside the ledger build of the host library.
  wchar_t program[1024];
  GetModuleFileNameW(nullptr, program, 1024);
  const std::filesystem::path folder = std::filesystem::path(program).parent_path();
  m_library = LoadLibraryW((folder / L"qvjvm.dll").c_str());
  if (m_library == nullptr) m_library = LoadLibraryW((folder.parent_path() / L"qvjvm.dll").c_str());
  Need(m_library, "qvjvm.dll");
  const auto find = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(m_library, name)); };
  m_create = Need(reinterpret_cast<QV_CreateJavaVMFn>(find("QV_CreateJavaVM")), "QV_CreateJavaVM");
  Need(reinterpret_cast<QV_SetJavaVMDebugModeFn>(find("QV_SetJavaVMDebugMode")), "QV_SetJavaVMDebugMode")(0);
  const int32_t status = m_create(&m_vm, jar == nullptr ? nullptr : (folder / jar).c_str());
  if (status < 0) Die("QV_CreateJavaVM failed; is JAVA_HOME a Java runtime for Windows?");
}

Host::~Host() {
  if (m_vm != nullptr) m_vm->Release();
}

JNIEnv* Host::Env() const { return Need(static_cast<JNIEnv*>(QV_AcquireThreadEnv(m_vm)), "a JNI environment"); }

std::wstring Host::LibraryPath() const {
  wchar_t path[1024];
  GetModuleFileNameW(m_library, path, 1024);
  return path;
}

JavaVM* Host::Jvm() const {
  JavaVM* jvm = nullptr;
  Env()->GetJavaVM(&jvm);
  return Need(jvm, "the JavaVM");
}

void Host::Describe(Report& report) const {
  IQvString* version = nullptr;
  if (m_vm->GetJavaVersion(&version) < 0) Die("no java.version");
  std::string text;
  for (const wchar_t* unit = version->GetText(); *unit != L'\0'; ++unit) text.push_back(static_cast<char>(*unit));
  version->Release();
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  report.Fact("java", text);
  report.Fact("processors", std::to_string(system.dwNumberOfProcessors));
  std::printf("Java %s, %lu processors\n", text.c_str(), system.dwNumberOfProcessors);
}

}  // namespace bench
