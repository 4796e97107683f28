// Starts a program with an environment of its own and gives back what it printed and how it ended, within a time limit.
// A program that is still running then is ended and reported as hung: no test waits for ever.
#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qvtest {

struct ChildResult {
  bool started = false;
  bool hung = false;  // it was ended when the time was up
  DWORD exitCode = 0;
  std::string output;  // standard output and standard error together
};

struct ChildOptions {
  std::vector<std::wstring> arguments{};
  // Changes to this process's environment; no value removes the variable.
  std::map<std::wstring, std::optional<std::wstring>> environment{};
  std::wstring workFolder{};  // empty: this process's
  DWORD limitMs = 60000;
};

ChildResult RunChild(const std::wstring& program, const ChildOptions& options = {});

}  // namespace qvtest
