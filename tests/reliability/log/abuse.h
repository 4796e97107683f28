// What can be wrong with the file that a log is written to.
// Where the system does not refuse what it should (an administrator's read-only file under Wine, a disk that cannot be
// filled), a hook refuses in its place.
#pragma once

#include <windows.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

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
class FullDisk {
 public:
  FullDisk();
  [[nodiscard]] int Refused() const;

 private:
  ImportHook m_hook;
};

// A file to which the system lets everybody write, and whose disk is full; empty where there is none.
std::wstring FileOnAFullDisk();

}  // namespace qvtest
