// A folder of one test's own below the system's temporary folder, removed with everything in it.
// Relative names use backslashes; folders in between are made.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/pinned.h"

namespace qvtest {

class TempFolder : private Pinned {
 public:
  TempFolder();
  ~TempFolder();

  // Without a trailing backslash.
  [[nodiscard]] std::wstring Path() const { return m_path.wstring(); }
  // The path of something in the folder, whether it exists or not.
  [[nodiscard]] std::wstring Path(std::wstring_view relative) const { return (m_path / relative).wstring(); }

  // Each returns the full path.
  std::wstring MakeFolder(std::wstring_view relative) const;
  std::wstring WriteFile(std::wstring_view relative, std::string_view content = {}) const;
  std::wstring CopyIn(const std::wstring& source, std::wstring_view relative) const;

 private:
  std::filesystem::path m_path;
};

[[nodiscard]] bool FileExists(const std::wstring& path);
// The whole file, byte for byte; fails the test when it cannot be read.
[[nodiscard]] std::string ReadWholeFile(const std::wstring& path);

// The folder of the running program, without a trailing backslash.
[[nodiscard]] std::wstring ProgramFolder();

}  // namespace qvtest
