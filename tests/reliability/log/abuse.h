// What can be wrong with the file that a log is written to.
// Where the system does not refuse what it should (an administrator's read-only file under Wine, a disk that cannot be
// filled), a hook refuses in its place.
#pragma once

#include <atomic>
#include <memory>
#include <ostream>
#include <string>

#include "tests/support/import_hook.h"

namespace qvtest {

// Something that keeps a log from being opened.
struct Abuse {
  const char* test;
  const char* name;   // on the page
  bool keepsTheFile;  // with what was in it
  // Lasts as long as what it gives. `opener` is the module whose _wfopen is refused where the system would allow it.
  std::shared_ptr<void> (*begin)(const std::wstring& log, HMODULE opener);

  friend void PrintTo(const Abuse& abuse, std::ostream* out) { *out << abuse.name; }
};
const std::vector<Abuse>& Abuses();

// Whether the system itself refuses to open the file for writing.
bool RefusesWriting(const std::wstring& path);

// Every WriteFile of the C runtime fails for want of space.
class FullDisk : private Pinned {
 public:
  [[nodiscard]] int Refused() const { return m_refused; }

 private:
  std::atomic<int> m_refused = 0;
  const FunctionHook<decltype(&WriteFile)> m_hook{"WriteFile",
                                                  [this](HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
                                                    ++m_refused;
                                                    if (written != nullptr) *written = 0;
                                                    SetLastError(ERROR_DISK_FULL);
                                                    return FALSE;
                                                  },
                                                  GetModuleHandleW(L"msvcrt.dll")};
};

// A file to which the system lets everybody write, and whose disk is full; empty where there is none.
std::wstring FileOnAFullDisk();

}  // namespace qvtest
