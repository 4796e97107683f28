#include "train/files.h"

#include <windows.h>

namespace train {
namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle) : m_handle(handle) {}
  ~Handle() { Close(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  [[nodiscard]] HANDLE Get() const { return m_handle; }
  [[nodiscard]] bool Ok() const { return m_handle != INVALID_HANDLE_VALUE; }
  void Close() {
    if (Ok()) CloseHandle(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE m_handle;
};

}  // namespace

std::optional<std::string> ReadFile(const std::wstring& path) {
  const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.Ok()) return {};
  std::string bytes;
  char buffer[65536];
  DWORD got = 0;
  do {
    if (!::ReadFile(file.Get(), buffer, sizeof buffer, &got, nullptr)) return {};
    bytes.append(buffer, got);
  } while (got != 0);
  return bytes;
}

bool WriteFile(const std::wstring& path, std::string_view bytes) {
  const std::wstring beside = path + L".new";
  Handle file(CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  const bool whole = file.Ok() &&
                     ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                     written == bytes.size() && FlushFileBuffers(file.Get());
  file.Close();
  if (whole && MoveFileTo(beside, path)) return true;
  DeleteFileW(beside.c_str());
  return false;
}

bool RemoveFile(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path.c_str());
  return !FileExists(path);
}

bool MoveFileTo(const std::wstring& from, const std::wstring& to) {
  const DWORD attributes = GetFileAttributesW(to.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_NORMAL);
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

bool FileExists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

}  // namespace train
