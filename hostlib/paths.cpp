// Parts of a path as text, and the shell's folders. A result is written only when it fits with its null; a failure
// leaves the caller's buffer as it was. The buffer may be the path itself.
#include <windows.h>

#include <atomic>
#include <shlobj.h>
#include <string_view>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/wide_text.h"

namespace qvshr {
namespace {

constexpr std::wstring_view kSeparators = L"\\/";

std::wstring_view WithoutTrailingSeparators(std::wstring_view path) noexcept {
  return path.substr(0, path.find_last_not_of(kSeparators) + 1);
}

using FolderQuery = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, LPWSTR);

// The shell is loaded with the first question, because few hosts ask one, and then stays.
FolderQuery FindFolderQuery() noexcept {
  static std::atomic<FolderQuery> cached{nullptr};
  FolderQuery query = cached.load();
  if (query == nullptr) {
    const HMODULE shell = LoadLibraryExW(L"shell32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const FARPROC found = shell != nullptr ? GetProcAddress(shell, "SHGetFolderPathW") : nullptr;
    query = reinterpret_cast<FolderQuery>(reinterpret_cast<void*>(found));
    cached.store(query);
  }
  return query;
}

}  // namespace
}  // namespace qvshr

using namespace qvshr;

// The text before the last backslash or slash, without separators at its end: "C:\x" gives "C:", and a backslash with
// a name can be appended to every result. A path right below the root ("\x") has no directory part.
extern "C" int32_t QvshrGetDirectory(const wchar_t* path, wchar_t* out, int32_t capacity) noexcept {
  if (CallFails(kQvshrCallGetDirectory) || path == nullptr) return 0;
  const std::wstring_view text = path;
  const size_t last = text.find_last_of(kSeparators);
  if (last == std::wstring_view::npos) return 0;
  return CopyWhole(WithoutTrailingSeparators(text.substr(0, last)), out, capacity);
}

extern "C" int32_t QvshrGetFileName(const wchar_t* path, wchar_t* out, int32_t capacity) noexcept {
  if (CallFails(kQvshrCallGetFileName) || path == nullptr) return 0;
  const std::wstring_view text = path;
  return CopyWhole(text.substr(text.find_last_of(kSeparators) + 1), out, capacity);  // npos + 1 is 0
}

extern "C" int32_t QvshrGetSpecialFolder(int32_t folderId, wchar_t* out, int32_t capacity, int32_t create,
                                         int32_t useDefault) noexcept {
  if (CallFails(kQvshrCallGetSpecialFolder) || out == nullptr || capacity <= 0) return 0;
  int32_t answer = 0;
  if (ScriptedFolder(folderId, out, capacity, create, useDefault, &answer)) return answer;
  const FolderQuery query = FindFolderQuery();
  if (query == nullptr) return 0;
  wchar_t folder[MAX_PATH] = {};
  const int place = create != 0 ? folderId | CSIDL_FLAG_CREATE : folderId;
  const DWORD which = useDefault != 0 ? SHGFP_TYPE_DEFAULT : SHGFP_TYPE_CURRENT;
  if (query(nullptr, place, nullptr, which, folder) != S_OK) return 0;  // S_FALSE: known, but not there
  folder[MAX_PATH - 1] = L'\0';
  return CopyWhole(WithoutTrailingSeparators(folder), out, capacity) != 0 ? 1 : 0;
}
