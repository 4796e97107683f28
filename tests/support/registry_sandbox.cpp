// Keys are opened through the real HKEY_CURRENT_USER first; the predefined handles change afterwards, the user's last.
// Nothing here proves anything by itself.
// The folder of a process that died is removed when its id comes round again.
#include "tests/support/registry_sandbox.h"

#include <gtest/gtest.h>

#include "tests/support/text.h"

namespace qvtest {

namespace {

HKEY MakeKey(HKEY parent, const std::wstring& path) {
  HKEY key = nullptr;
  const LSTATUS status = RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  EXPECT_EQ(status, ERROR_SUCCESS) << "cannot make the registry key " << ToUtf8(path);
  return key;
}

}  // namespace

RegistrySandbox::RegistrySandbox(Override which)
    : m_base(L"Software\\QvTests\\" + std::to_wstring(GetCurrentProcessId())),
      m_machine{HKEY_LOCAL_MACHINE, m_base + L"\\Machine"},
      m_user{HKEY_CURRENT_USER, m_base + L"\\User"} {
  RegOpenCurrentUser(KEY_ALL_ACCESS, &m_realUser);
  RegDeleteTreeW(m_realUser, m_base.c_str());
  for (Place* place : {&m_machine, &m_user}) place->key = MakeKey(m_realUser, place->path);
  for (Place* place : {&m_machine, &m_user}) {
    const bool wanted = which == Override::MachineAndUser || (which == Override::Machine && place == &m_machine);
    if (!wanted) continue;
    const LSTATUS status = RegOverridePredefKey(place->predefined, place->key);
    EXPECT_EQ(status, ERROR_SUCCESS) << "cannot override a hive for " << ToUtf8(place->path);
    place->overridden = status == ERROR_SUCCESS;
  }
}

RegistrySandbox::~RegistrySandbox() {
  for (Place* place : {&m_user, &m_machine}) {
    if (place->overridden) RegOverridePredefKey(place->predefined, nullptr);
    if (place->key != nullptr) RegCloseKey(place->key);
  }
  RegDeleteTreeW(m_realUser, m_base.c_str());
  RegCloseKey(m_realUser);
}

void RegistrySandbox::CreateKey(Hive hive, const std::wstring& path) { RegCloseKey(MakeKey(At(hive).key, path)); }

void RegistrySandbox::DeleteKey(Hive hive, const std::wstring& path) {
  EXPECT_EQ(RegDeleteTreeW(At(hive).key, path.c_str()), ERROR_SUCCESS) << ToUtf8(path);
}

void RegistrySandbox::SetRaw(Hive hive, const std::wstring& path, const std::wstring& name, DWORD type,
                             const std::vector<unsigned char>& bytes) {
  HKEY const key = MakeKey(At(hive).key, path);
  EXPECT_EQ(RegSetValueExW(key, name.c_str(), 0, type, bytes.data(), static_cast<DWORD>(bytes.size())), ERROR_SUCCESS)
      << ToUtf8(path) << " value " << ToUtf8(name);
  RegCloseKey(key);
}

void RegistrySandbox::SetText(Hive hive, const std::wstring& path, const std::wstring& name, const std::wstring& text) {
  const auto* const first = reinterpret_cast<const unsigned char*>(text.c_str());
  SetRaw(hive, path, name, REG_SZ, {first, first + (text.size() + 1) * sizeof(wchar_t)});
}

void RegistrySandbox::DeleteValue(Hive hive, const std::wstring& path, const std::wstring& name) {
  HKEY const key = MakeKey(At(hive).key, path);
  EXPECT_EQ(RegDeleteValueW(key, name.c_str()), ERROR_SUCCESS) << ToUtf8(path) << " value " << ToUtf8(name);
  RegCloseKey(key);
}

void RegistrySandbox::SetList(Hive hive, const std::wstring& path, const std::vector<std::wstring>& entries) {
  SetText(hive, path, L"Count", std::to_wstring(entries.size()));
  for (size_t i = 0; i < entries.size(); ++i) SetText(hive, path, std::to_wstring(i), entries[i]);
}

const std::wstring& RegistrySandbox::Path(Hive hive) const {
  return hive == Hive::Machine ? m_machine.path : m_user.path;
}

bool OverrideHive(Hive hive, const std::wstring& pathBelowCurrentUser) {
  HKEY user = nullptr;
  HKEY key = nullptr;
  if (RegOpenCurrentUser(KEY_ALL_ACCESS, &user) != ERROR_SUCCESS) return false;
  const LSTATUS opened = RegOpenKeyExW(user, pathBelowCurrentUser.c_str(), 0, KEY_ALL_ACCESS, &key);
  RegCloseKey(user);
  if (opened != ERROR_SUCCESS) return false;
  const bool overridden =
      RegOverridePredefKey(hive == Hive::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, key) == ERROR_SUCCESS;
  RegCloseKey(key);
  return overridden;
}

}  // namespace qvtest
