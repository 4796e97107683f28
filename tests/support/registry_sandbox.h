// A private registry for one process: HKEY_LOCAL_MACHINE, and HKEY_CURRENT_USER when asked, stand for empty keys below
// HKEY_CURRENT_USER\Software\QvTests\<process id>, so that tests run in parallel and leave nothing behind.
// Writes go to the private keys whether or not a hive is overridden in this process.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/pinned.h"

namespace qvtest {

enum class Hive { Machine, User };

class RegistrySandbox : private Pinned {
 public:
  enum class Override { Machine, MachineAndUser, Nothing };
  explicit RegistrySandbox(Override which = Override::Machine);
  ~RegistrySandbox();

  void CreateKey(Hive hive, const std::wstring& path);
  void DeleteKey(Hive hive, const std::wstring& path);
  void SetText(Hive hive, const std::wstring& path, const std::wstring& name, const std::wstring& text,
               DWORD type = REG_SZ);
  // Exactly these bytes.
  void SetRaw(Hive hive, const std::wstring& path, const std::wstring& name, DWORD type,
              std::vector<unsigned char> bytes);
  void DeleteValue(Hive hive, const std::wstring& path, const std::wstring& name);
  // "Count" and the values "0", "1", ...
  void SetList(Hive hive, const std::wstring& path, const std::vector<std::wstring>& entries);
  // Where a known host's Java is: values of the key "Java" below a product's root, in the machine's hive.
  void SetLocations(const std::wstring& root, const std::wstring& jdk, const std::wstring& jreBin);

  // As the machine's current runtime.
  void RegisterRuntime(const std::wstring& version, const std::wstring& home);

  // Where a hive's stand-in is, below the real HKEY_CURRENT_USER: for OverrideHive in a child process.
  [[nodiscard]] const std::wstring& Path(Hive hive) const;

 private:
  struct Place {
    HKEY predefined;
    std::wstring path;
    HKEY key = nullptr;
    bool overridden = false;
  };
  Place& At(Hive hive) { return hive == Hive::Machine ? m_machine : m_user; }

  std::wstring m_base;
  HKEY m_realUser = nullptr;
  Place m_machine;
  Place m_user;
};

// Makes the hive stand for a key below the real HKEY_CURRENT_USER, for the rest of the process. Machine before User.
bool OverrideHive(Hive hive, const std::wstring& pathBelowCurrentUser);

}  // namespace qvtest
