// Runs the host program with one build of the library in a folder of its own, so that settings and environment reach
// nobody else.
#pragma once

#include "tests/hostlib/host_build.h"
#include "tests/support/child_process.h"
#include "tests/support/text.h"

namespace hosttest {

class HostProcess {
 public:
  explicit HostProcess(const HostBuild& build) {
    m_folder.CopyIn(ProgramFolder() + build.file, L"qvshr.dll");
    m_folder.CopyIn(ProgramFolder() + L"\\hostlib_witness.dll", L"hostlib_witness.dll");
    m_program = m_folder.CopyIn(ProgramFolder() + L"\\hostlib_host.exe", L"hostlib_host.exe");
  }

  void WriteSettings(const std::string& content) const { m_folder.WriteFile(L"qvshr.ini", content); }
  [[nodiscard]] std::wstring Path(const std::wstring& name) const { return m_folder.Path(name); }

  // The exit code of the latest run.
  DWORD exitCode = 0;
  std::map<std::wstring, std::optional<std::wstring>> environment;

  // The lines that the program printed for these commands.
  std::vector<std::string> Run(const std::vector<std::wstring>& commands) {
    const qvtest::ChildResult result = qvtest::RunChild(m_program, {.arguments = commands, .environment = environment});
    EXPECT_FALSE(result.hung);
    exitCode = result.exitCode;
    return qvtest::LinesOf(result.output);
  }
  // The same for one command.
  std::string RunOne(const std::wstring& command) {
    const std::vector<std::string> lines = Run({command});
    return lines.size() == 1 ? lines[0] : "<" + std::to_string(lines.size()) + " lines>";
  }

 private:
  qvtest::TempFolder m_folder;
  std::wstring m_program;
};

}  // namespace hosttest
