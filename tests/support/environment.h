// Environment variables of the process for the life of an object, restored unit for unit.
// Works on the process's own block, which the service and the loader read, not on the C runtime's copy.
#pragma once

#include <optional>
#include <string>

#include "tests/support/pinned.h"

namespace qvtest {

// Null when the variable does not exist; empty when it exists and is empty.
std::optional<std::wstring> ReadVariable(const std::wstring& name);

class EnvironmentScope : private Pinned {
 public:
  // No value: the variable does not exist.
  EnvironmentScope(std::wstring name, const std::optional<std::wstring>& value);
  ~EnvironmentScope();

 private:
  std::wstring m_name;
  std::optional<std::wstring> m_before;
};

}  // namespace qvtest
