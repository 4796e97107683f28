// The C runtime of these programs and of the service is one, so its WriteFile is everybody's.
#include "tests/reliability/log/abuse.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "tests/support/text.h"

namespace qvtest {
namespace {

std::wstring g_refused;
decltype(&_wfopen) g_open = nullptr;
std::atomic<int> g_writesRefused;

FILE* RefuseOpening(const wchar_t* path, const wchar_t* mode) {
  if (path != g_refused) return g_open(path, mode);
  errno = EACCES;
  return nullptr;
}

BOOL WINAPI RefuseWriting(HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
  ++g_writesRefused;
  if (written != nullptr) *written = 0;
  SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

template <class End>
std::shared_ptr<void> Until(End end) {
  return {nullptr, [end](void*) { end(); }};
}

std::shared_ptr<void> MakeReadOnly(const std::wstring& log, HMODULE opener) {
  EXPECT_NE(SetFileAttributesW(log.c_str(), FILE_ATTRIBUTE_READONLY), FALSE);
  std::shared_ptr<ImportHook> hook;
  if (!RefusesWriting(log)) {
    g_refused = log;
    hook = std::make_shared<ImportHook>(opener, "_wfopen", &RefuseOpening);
    g_open = hook->Original<decltype(&_wfopen)>();
  }
  return Until([log, hook] { SetFileAttributesW(log.c_str(), FILE_ATTRIBUTE_NORMAL); });
}

std::shared_ptr<void> PutAFolderThere(const std::wstring& log, HMODULE) {
  DeleteFileW(log.c_str());
  EXPECT_NE(CreateDirectoryW(log.c_str(), nullptr), FALSE);
  return Until([log] { RemoveDirectoryW(log.c_str()); });
}

std::shared_ptr<void> TakeTheFolderAway(const std::wstring& log, HMODULE) {
  const std::wstring folder = log.substr(0, log.rfind(L'\\'));
  DeleteFileW(log.c_str());
  EXPECT_NE(RemoveDirectoryW(folder.c_str()), FALSE);
  return Until([folder] { CreateDirectoryW(folder.c_str(), nullptr); });
}

std::shared_ptr<void> Hold(const std::wstring& log, HMODULE) {
  const HANDLE file = CreateFileW(log.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
  EXPECT_TRUE(RefusesWriting(log)) << ToUtf8(log) << " is not held";
  return {file, &CloseHandle};
}

}  // namespace

const std::vector<Abuse>& Abuses() {
  static const std::vector<Abuse> abuses = {
      {"ReadOnlyFile", "read-only file (where the system would write to it, refused by a hook)", true, MakeReadOnly},
      {"FolderInItsPlace", "a folder in its place", false, PutAFolderThere},
      {"MissingFolder", "a folder that does not exist", false, TakeTheFolderAway},
      {"HeldBySomebody", "held open by somebody, not shared", true, Hold},
  };
  return abuses;
}

bool RefusesWriting(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  return file == INVALID_HANDLE_VALUE || CloseHandle(file) == FALSE;
}

FullDisk::FullDisk() : m_hook(GetModuleHandleW(L"msvcrt.dll"), "WriteFile", &RefuseWriting) { g_writesRefused = 0; }

int FullDisk::Refused() const { return g_writesRefused; }

std::wstring FileOnAFullDisk() {
  const std::wstring path = L"Z:\\dev\\full";
  return RefusesWriting(path) ? std::wstring() : path;
}

}  // namespace qvtest
