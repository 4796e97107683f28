// What a process has from its environment; variables for the life of an object, restored unit for unit.
// Works on the process's own block, which the service and the loader read, not on the C runtime's copy.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <utility>

#include "tests/support/pinned.h"

namespace qvtest {

// Null when the variable does not exist; empty when it exists and is empty.
inline std::optional<std::wstring> ReadVariable(const std::wstring& name) {
  std::wstring value(32768, L'\0');  // the largest that Windows allows fits
  SetLastError(ERROR_SUCCESS);
  const DWORD units = GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
  if (units == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  value.resize(units);
  return value;
}

// A PATH that leads to no Java runtime.
inline constexpr wchar_t kSystemPath[] = L"C:\\windows\\system32;C:\\windows";

// Where the process looks for libraries beside PATH; empty unless somebody has said so.
inline std::wstring DllFolder() {
  std::wstring folder(32768, L'\0');
  folder.resize(GetDllDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
  return folder;
}

class EnvironmentScope : private Pinned {
 public:
  // No value: the variable does not exist.
  EnvironmentScope(std::wstring name, const std::optional<std::wstring>& value)
      : m_name(std::move(name)), m_before(ReadVariable(m_name)) {
    Write(value);
  }
  ~EnvironmentScope() { Write(m_before); }

 private:
  void Write(const std::optional<std::wstring>& value) const {
    SetEnvironmentVariableW(m_name.c_str(), value ? value->c_str() : nullptr);
  }

  std::wstring m_name;
  std::optional<std::wstring> m_before;
};

}  // namespace qvtest
