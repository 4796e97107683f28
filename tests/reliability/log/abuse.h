// What can be wrong with the file that a log is written to. Each object makes it so for its life.
// Where the system does not refuse what it should (an administrator's read-only file under Wine, a disk that cannot be
// filled), a hook refuses in its place.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <thread>

#include "tests/support/child_process.h"
#include "tests/support/import_hook.h"

namespace qvtest {

// Whether the system itself refuses to open the file for writing.
bool RefusesWriting(const std::wstring& path);

class ReadOnlyFile {
 public:
  // `opener` is the module whose _wfopen is refused where the system would allow it.
  ReadOnlyFile(const std::wstring& path, HMODULE opener);
  ~ReadOnlyFile();
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

  [[nodiscard]] bool ByHook() const { return m_hook.has_value(); }

 private:
  std::wstring m_path;
  std::optional<ImportHook> m_hook;
};

// Every WriteFile of the C runtime fails for want of space.
class FullDisk {
 public:
  FullDisk();
  ~FullDisk();
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

  [[nodiscard]] int Refused() const;

 private:
  ImportHook m_hook;
};

// A file to which the system lets everybody write, and whose disk is full; empty where there is none.
std::wstring FileOnAFullDisk();

// Another process has the file open and shares it with nobody.
class HeldFile {
 public:
  explicit HeldFile(const std::wstring& path);
  ~HeldFile();
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE m_ready = nullptr;
  HANDLE m_stop = nullptr;
  ChildResult m_result;
  std::thread m_holder;
};

}  // namespace qvtest
