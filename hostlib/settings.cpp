// The host's settings: qvshr.ini beside the host executable, read anew with every question, so an edit counts at once
// (the sections that stand for registry keys are another file's business: application_keys.cpp).
// The path is worked out while the library is being attached and never changes; nothing here allocates.
#include <windows.h>

#include <string_view>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/library.h"
#include "hostlib/wide_text.h"

namespace qvshr {
namespace {

constexpr std::wstring_view kFileName = L"qvshr.ini";
constexpr DWORD kPathUnits = 32768;  // Windows has no longer ones
wchar_t g_path[kPathUnits];          // written during attach only

// What stands for "no such setting": no text file can hold it.
constexpr wchar_t kAbsent[] = L"\xFFFF";

// Asked at every thread's end, so a host without the file must not pay for reading one.
int32_t HostSwitch(const wchar_t* key) noexcept {
  if (g_path[0] == L'\0' || GetFileAttributesW(g_path) == INVALID_FILE_ATTRIBUTES) return 0;
  return static_cast<int32_t>(GetPrivateProfileIntW(L"Host", key, 0, g_path));
}

}  // namespace

const wchar_t* SettingsPath() noexcept { return g_path; }

void FindSettings() noexcept {
  const DWORD length = GetModuleFileNameW(nullptr, g_path, kPathUnits);
  const std::wstring_view executable(g_path, length);
  const size_t folder = executable.find_last_of(L'\\') + 1;  // npos + 1 is 0
  const bool whole = length != 0 && length < kPathUnits;
  const bool fits = folder != 0 && folder + kFileName.size() < kPathUnits;
  if (!whole || !fits) {
    g_path[0] = L'\0';
    return;
  }
  CopyCut(kFileName, g_path + folder, static_cast<int32_t>(kPathUnits - folder));
}

}  // namespace qvshr

using namespace qvshr;

extern "C" int32_t QvshrGetSetting(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* out,
                                   int32_t capacity) noexcept {
  const bool fails = CallFails(kQvshrCallGetSetting);
  if (out == nullptr || capacity <= 0) return 0;
  const std::wstring_view absentText = fallback != nullptr ? fallback : L"";
  int32_t written = 0;
  if (fails) return CopyCut(L"", out, capacity);
  if (section == nullptr || key == nullptr) return CopyCut(absentText, out, capacity);
  if (ScriptedSetting(section, key, out, capacity, &written)) return written;
  // The fallback is copied here because the profile functions would trim it.
  if (g_path[0] == L'\0') return CopyCut(absentText, out, capacity);
  if (capacity == 1) return CopyCut(L"", out, capacity);
  const DWORD length = GetPrivateProfileStringW(section, key, kAbsent, out, static_cast<DWORD>(capacity), g_path);
  if (length == 1 && out[0] == kAbsent[0]) return CopyCut(absentText, out, capacity);
  return static_cast<int32_t>(length);
}

extern "C" int32_t QvshrIsWebDeployment(int32_t) noexcept {
  int32_t value = 0;
  if (CallFails(kQvshrCallIsWebDeployment)) return 0;
  return ScriptedInt(kQvshrCallIsWebDeployment, &value) ? value : HostSwitch(L"WebDeployment");
}

extern "C" int32_t QvshrNoDetachQuery(void) noexcept {
  int32_t value = 0;
  if (CallFails(kQvshrCallNoDetachQuery)) return 0;
  if (ScriptedInt(kQvshrCallNoDetachQuery, &value)) return value;
  return ProcessIsEnding() ? 1 : HostSwitch(L"NoDetach");
}
