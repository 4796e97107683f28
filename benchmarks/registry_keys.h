// A private HKEY_LOCAL_MACHINE for one benchmark process, below HKEY_CURRENT_USER\Software\QvBench, so that a known
// host name finds a configuration of the benchmark's making.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "benchmarks/harness.h"

namespace bench {

class PrivateMachine {
 public:
  explicit PrivateMachine(const std::wstring& name) : m_path(L"Software\\QvBench\\" + name) {
    if (RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &m_key, nullptr) != ERROR_SUCCESS ||
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_key) != ERROR_SUCCESS) {
      Die("no private registry");
    }
  }
  ~PrivateMachine() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_key);
    RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
  }
  PrivateMachine(const PrivateMachine&) = delete;
  PrivateMachine& operator=(const PrivateMachine&) = delete;

  void SetText(const std::wstring& key, const std::wstring& name, const std::wstring& text) const {
    HKEY opened = nullptr;
    const bool ok = RegCreateKeyExW(m_key, key.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                    &opened, nullptr) == ERROR_SUCCESS &&
                    RegSetValueExW(opened, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
    RegCloseKey(opened);
    if (!ok) Die("the private registry cannot be written");
  }
  void SetList(const std::wstring& key, const std::vector<std::wstring>& entries) const {
    SetText(key, L"Count", std::to_wstring(entries.size()));
    for (size_t i = 0; i < entries.size(); ++i) SetText(key, std::to_wstring(i), entries[i]);
  }

 private:
  std::wstring m_path;
  HKEY m_key = nullptr;
};

/// Where a host of the name qv190.exe finds its configuration. The first is a constant that needs no initialisation:
/// clang's programs for MinGW do not keep the order of two inline variables.
constexpr const wchar_t* kQuovantJava = L"Software\\Harlowe\\Quovant\\19.0\\Java";
inline const std::wstring kKnownHostConfig = std::wstring(kQuovantJava) + L"\\QVIDEConfig";

}  // namespace bench
