// Removing tries again for a moment: a child that just ended may still be leaving its files.
#include "tests/support/temp_folder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <system_error>

#include "base/handle.h"
#include "tests/support/text.h"

namespace qvtest {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  static std::atomic<unsigned> number{0};
  m_path = fs::temp_directory_path() /
           (L"qvtests-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
  std::error_code error;
  fs::remove_all(m_path, error);
  EXPECT_TRUE(fs::create_directories(m_path, error)) << ToUtf8(m_path.wstring()) << ": " << error.message();
}

TempFolder::~TempFolder() {
  std::error_code error;
  for (int attempt = 0; attempt < 200; ++attempt) {
    fs::remove_all(m_path, error);
    if (!error) return;
    Sleep(50);
  }
  ADD_FAILURE() << "cannot remove " << ToUtf8(m_path.wstring()) << ": " << error.message();
}

std::wstring TempFolder::MakeFolder(std::wstring_view relative) const {
  std::error_code error;
  fs::create_directories(m_path / relative, error);
  EXPECT_FALSE(error) << ToUtf8(relative) << ": " << error.message();
  return Path(relative);
}

std::wstring TempFolder::WriteFile(std::wstring_view relative, std::string_view content) const {
  MakeFolder(fs::path(relative).parent_path().wstring());
  std::ofstream file(m_path / relative, std::ios::binary);
  EXPECT_TRUE(file << content << std::flush) << ToUtf8(relative);
  return Path(relative);
}

std::wstring TempFolder::CopyIn(const std::wstring& source, std::wstring_view relative) const {
  MakeFolder(fs::path(relative).parent_path().wstring());
  EXPECT_NE(CopyFileW(source.c_str(), Path(relative).c_str(), FALSE), FALSE)
      << "cannot copy " << ToUtf8(source) << " to " << ToUtf8(Path(relative)) << ": error " << GetLastError();
  return Path(relative);
}

bool FileExists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::string ReadWholeFile(const std::wstring& path) {
  const qv::Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    ADD_FAILURE() << "cannot read " << ToUtf8(path) << ": error " << GetLastError();
    return {};
  }
  std::string content(GetFileSize(file.Get(), nullptr), '\0');
  DWORD read = 0;
  ::ReadFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr);
  content.resize(read);
  return content;
}

std::wstring ProgramFolder() {
  // Asked once: later a test may have replaced what the system answers.
  static const std::wstring folder = [] {
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    return fs::path(path).parent_path().wstring();
  }();
  return folder;
}

}  // namespace qvtest
