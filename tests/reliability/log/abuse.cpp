// The C runtime of these programs and of the service is one, so its WriteFile is everybody's.
#include "tests/reliability/log/abuse.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "tests/support/temp_folder.h"
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

std::wstring EventName(const wchar_t* purpose) {
  return std::wstring(L"qvtests-") + purpose + L"-" + std::to_wstring(GetCurrentProcessId());
}

}  // namespace

bool RefusesWriting(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return true;
  CloseHandle(file);
  return false;
}

ReadOnlyFile::ReadOnlyFile(const std::wstring& path, HMODULE opener) : m_path(path) {
  EXPECT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), FALSE);
  if (RefusesWriting(path)) return;
  g_refused = path;
  m_hook.emplace(opener, "_wfopen", &RefuseOpening);
  g_open = m_hook->Original<decltype(&_wfopen)>();
}

ReadOnlyFile::~ReadOnlyFile() { SetFileAttributesW(m_path.c_str(), FILE_ATTRIBUTE_NORMAL); }

FullDisk::FullDisk() : m_hook(GetModuleHandleW(L"msvcrt.dll"), "WriteFile", &RefuseWriting) { g_writesRefused = 0; }

FullDisk::~FullDisk() = default;

int FullDisk::Refused() const { return g_writesRefused; }

std::wstring FileOnAFullDisk() {
  const std::wstring path = L"Z:\\dev\\full";
  return RefusesWriting(path) ? std::wstring() : path;
}

HeldFile::HeldFile(const std::wstring& path)
    : m_ready(CreateEventW(nullptr, TRUE, FALSE, EventName(L"ready").c_str())),
      m_stop(CreateEventW(nullptr, TRUE, FALSE, EventName(L"stop").c_str())) {
  m_holder = std::thread([this, path] {
    ChildOptions options;
    options.arguments = {path, EventName(L"ready"), EventName(L"stop")};
    m_result = RunChild(ProgramFolder() + L"\\file_holder.exe", options);
    SetEvent(m_ready);
  });
  WaitForSingleObject(m_ready, INFINITE);
  EXPECT_TRUE(RefusesWriting(path)) << ToUtf8(path) << " is not held";
}

HeldFile::~HeldFile() {
  SetEvent(m_stop);
  m_holder.join();
  EXPECT_EQ(m_result.exitCode, 0u);
  CloseHandle(m_ready);
  CloseHandle(m_stop);
}

}  // namespace qvtest
