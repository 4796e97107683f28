// The largest variable that Windows allows fits the buffer.
#include "tests/support/environment.h"

#include <windows.h>

#include <utility>

namespace qvtest {
namespace {

void Write(const std::wstring& name, const std::optional<std::wstring>& value) {
  SetEnvironmentVariableW(name.c_str(), value.has_value() ? value->c_str() : nullptr);
}

}  // namespace

std::optional<std::wstring> ReadVariable(const std::wstring& name) {
  std::wstring value(32768, L'\0');
  SetLastError(ERROR_SUCCESS);
  const DWORD units = GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
  if (units == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  value.resize(units);
  return value;
}

EnvironmentScope::EnvironmentScope(std::wstring name, const std::optional<std::wstring>& value)
    : m_name(std::move(name)), m_before(ReadVariable(m_name)) {
  Write(m_name, value);
}

EnvironmentScope::~EnvironmentScope() { Write(m_name, m_before); }

}  // namespace qvtest
