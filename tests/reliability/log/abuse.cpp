// The C runtime of these programs and of the service is one, so its WriteFile is everybody's.
#include "tests/reliability/log/abuse.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "base/handle.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

template <class End>
std::shared_ptr<void> Until(End end) {
  return {nullptr, [end](void*) { end(); }};
}

std::shared_ptr<void> MakeReadOnly(const std::wstring& log, HMODULE opener) {
  EXPECT_NE(SetFileAttributesW(log.c_str(), FILE_ATTRIBUTE_READONLY), FALSE);
  using OpenHook = FunctionHook<decltype(&_wfopen)>;
  std::shared_ptr<OpenHook> hook;
  if (!RefusesWriting(log)) {
    hook = std::make_shared<OpenHook>(
        "_wfopen",
        [log](const wchar_t* path, const wchar_t* mode) -> FILE* {
          if (path != log) return _wfopen(path, mode);
          errno = EACCES;
          return nullptr;
        },
        opener);
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
  return !qv::Handle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::wstring FileOnAFullDisk() {
  const std::wstring path = L"Z:\\dev\\full";
  return RefusesWriting(path) ? std::wstring() : path;
}

}  // namespace qvtest
