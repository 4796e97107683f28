// Keys are opened through the real HKEY_CURRENT_USER first; the predefined handles change afterwards, the user's last.
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
                             std::vector<unsigned char> bytes) {
  const auto size = static_cast<DWORD>(bytes.size());
  bytes.resize(bytes.size() + sizeof(wchar_t), 'X');  // a null behind the bytes would be taken along
  EXPECT_EQ(RegSetKeyValueW(At(hive).key, path.c_str(), name.c_str(), type, bytes.data(), size), ERROR_SUCCESS)
      << ToUtf8(path) << " value " << ToUtf8(name);
}

void RegistrySandbox::SetText(Hive hive, const std::wstring& path, const std::wstring& name, const std::wstring& text,
                              DWORD type) {
  const auto* const first = reinterpret_cast<const unsigned char*>(text.c_str());
  SetRaw(hive, path, name, type, {first, first + (text.size() + 1) * sizeof(wchar_t)});
}

void RegistrySandbox::DeleteValue(Hive hive, const std::wstring& path, const std::wstring& name) {
  EXPECT_EQ(RegDeleteKeyValueW(At(hive).key, path.c_str(), name.c_str()), ERROR_SUCCESS)
      << ToUtf8(path) << " value " << ToUtf8(name);
}

void RegistrySandbox::SetList(Hive hive, const std::wstring& path, const std::vector<std::wstring>& entries) {
  SetText(hive, path, L"Count", std::to_wstring(entries.size()));
  for (size_t i = 0; i < entries.size(); ++i) SetText(hive, path, std::to_wstring(i), entries[i]);
}

void RegistrySandbox::SetLocations(const std::wstring& root, const std::wstring& jdk, const std::wstring& jreBin) {
  SetText(Hive::Machine, root + L"\\Java", L"JDKLocation", jdk);
  SetText(Hive::Machine, root + L"\\Java", L"JREBinLocation", jreBin);
}

void RegistrySandbox::RegisterRuntime(const std::wstring& version, const std::wstring& home) {
  const std::wstring key = L"Software\\JavaSoft\\Java Runtime Environment";
  SetText(Hive::Machine, key, L"CurrentVersion", version);
  SetText(Hive::Machine, key + L"\\" + version, L"JavaHome", home);
}

const std::wstring& RegistrySandbox::Path(Hive hive) const {
  return hive == Hive::Machine ? m_machine.path : m_user.path;
}

bool OverrideHive(Hive hive, const std::wstring& pathBelowCurrentUser) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, pathBelowCurrentUser.c_str(), 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS) {
    return false;
  }
  const bool overridden =
      RegOverridePredefKey(hive == Hive::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, key) == ERROR_SUCCESS;
  RegCloseKey(key);
  return overridden;
}

}  // namespace qvtest
