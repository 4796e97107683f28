// Parts of paths and the shell's folders: ordinals 7, 8 and 9.
#include <windows.h>

#include <algorithm>
#include <shlobj.h>

#include "tests/hostlib/host_build.h"

namespace hosttest {
namespace {

class PathTest : public HostTest {};
ON_BOTH_HOST_BUILDS(PathTest);

using PathFunction = int32_t (*)(const wchar_t*, wchar_t*, int32_t);

constexpr wchar_t kFill = L'#';

// Runs the function on a buffer with as much room as `capacity` says and looks at what lies behind it.
std::wstring Ask(PathFunction function, const wchar_t* path, int32_t capacity) {
  wchar_t buffer[64];
  std::fill(std::begin(buffer), std::end(buffer), kFill);
  const int32_t written = function(path, buffer, capacity);
  EXPECT_LE(written, std::max(0, capacity - 1));
  const auto used = written > 0 ? written + 1 : 0;
  EXPECT_TRUE(std::all_of(buffer + used, std::end(buffer), [](wchar_t c) { return c == kFill; }))
      << "something was written outside of the result, capacity " << capacity;
  if (written == 0) return L"<none>";
  EXPECT_EQ(buffer[written], L'\0');
  return std::wstring(buffer, static_cast<size_t>(written));
}

struct PathCase {
  const wchar_t* path;
  const wchar_t* directory;
  const wchar_t* name;
};

TEST_P(PathTest, DirectoryAndFileNameAreWhatStandsBeforeAndBehindTheLastSeparator) {
  for (const PathCase& row : {PathCase{L"C:\\Java\\bin\\jvm.dll", L"C:\\Java\\bin", L"jvm.dll"},
                              {L"C:\\Java\\", L"C:\\Java", L"<none>"},
                              {L"C:\\Java\\\\jvm.dll", L"C:\\Java", L"jvm.dll"},
                              {L"C:\\x", L"C:", L"x"},
                              {L"C:\\", L"C:", L"<none>"},
                              {L"\\\\server\\share\\file", L"\\\\server\\share", L"file"},
                              {L"dir\\file", L"dir", L"file"},
                              {L"dir/file", L"dir", L"file"},
                              {L"C:/Java\\bin/jvm.dll", L"C:/Java\\bin", L"jvm.dll"},
                              {L"C:/Java/bin/jvm.dll", L"C:/Java/bin", L"jvm.dll"},
                              {L"C:\\Java/jvm.dll", L"C:\\Java", L"jvm.dll"},
                              {L"C:/Java\\jvm.dll", L"C:/Java", L"jvm.dll"},
                              {L"..\\file", L"..", L"file"},
                              {L"a b\\c d", L"a b", L"c d"},
                              {L"file", L"<none>", L"file"},
                              {L"C:file", L"<none>", L"C:file"},
                              {L"\\file", L"<none>", L"file"},
                              {L"\\\\", L"<none>", L"<none>"},
                              {L"dir\\", L"dir", L"<none>"},
                              {L"dir/", L"dir", L"<none>"},
                              {L"", L"<none>", L"<none>"},
                              {nullptr, L"<none>", L"<none>"}}) {
    SCOPED_TRACE(testing::Message() << (row.path != nullptr ? row.path : L"(null)"));
    EXPECT_EQ(Ask(host.GetDirectory, row.path, 64), row.directory);
    EXPECT_EQ(Ask(host.GetFileName, row.path, 64), row.name);
  }
}

TEST_P(PathTest, WhatDoesNotFitWithItsNullIsNotWritten) {
  for (int32_t capacity = -1; capacity <= 7; ++capacity) {
    EXPECT_EQ(Ask(host.GetDirectory, L"C:\\abc\\file", capacity), capacity >= 7 ? L"C:\\abc" : L"<none>") << capacity;
    EXPECT_EQ(Ask(host.GetFileName, L"C:\\abc.de", capacity), capacity >= 7 ? L"abc.de" : L"<none>") << capacity;
  }
  EXPECT_EQ(Ask(host.GetDirectory, L"C:\\abc\\file", INT32_MIN), L"<none>");
  EXPECT_EQ(host.GetDirectory(L"C:\\abc\\file", nullptr, 64), 0);
  EXPECT_EQ(host.GetFileName(L"C:\\abc\\file", nullptr, 64), 0);
}

TEST_P(PathTest, TheBufferMayBeThePathItself) {
  wchar_t directory[] = L"C:\\Java\\bin";
  EXPECT_EQ(host.GetDirectory(directory, directory, 12), 7);
  EXPECT_STREQ(directory, L"C:\\Java");
  wchar_t name[] = L"C:\\Ja\\jvm.dll";
  EXPECT_EQ(host.GetFileName(name, name, 14), 7);
  EXPECT_STREQ(name, L"jvm.dll");
}

TEST_P(PathTest, PathsMayBeLongerThanOldLimits) {
  const std::wstring directory = L"C:\\" + std::wstring(1000, L'd');
  const std::wstring name(900, L'n');
  const std::wstring path = directory + L"\\" + name;
  std::wstring buffer(2048, L'\0');
  EXPECT_EQ(host.GetDirectory(path.c_str(), buffer.data(), 2048), 1003);
  EXPECT_STREQ(buffer.c_str(), directory.c_str());
  EXPECT_EQ(host.GetFileName(path.c_str(), buffer.data(), 2048), 900);
  EXPECT_STREQ(buffer.c_str(), name.c_str());
}

// ---- the shell's folders ----

constexpr int32_t kLocalAppData = 28;

std::wstring ShellFolder(int folder, DWORD which) {
  wchar_t path[MAX_PATH] = {};
  EXPECT_EQ(SHGetFolderPathW(nullptr, folder, nullptr, which, path), S_OK);
  return path;
}

TEST_P(PathTest, TheUsersLocalApplicationDataIsFolder28) {
  wchar_t folder[MAX_PATH] = {};
  EXPECT_NE(host.GetSpecialFolder(kLocalAppData, folder, MAX_PATH, 1, 0), 0);
  EXPECT_EQ(folder, ShellFolder(CSIDL_LOCAL_APPDATA, SHGFP_TYPE_CURRENT));
  EXPECT_NE(GetFileAttributesW(folder) & FILE_ATTRIBUTE_DIRECTORY, 0u) << "it is not there";
  EXPECT_NE(folder[std::wstring(folder).size() - 1], L'\\');
}

TEST_P(PathTest, TheDefaultPlaceIsAskedForBySwitch) {
  wchar_t folder[MAX_PATH] = {};
  EXPECT_NE(host.GetSpecialFolder(kLocalAppData, folder, MAX_PATH, 0, 1), 0);
  EXPECT_EQ(folder, ShellFolder(CSIDL_LOCAL_APPDATA, SHGFP_TYPE_DEFAULT));
}

TEST_P(PathTest, AFolderThatDoesNotFitOrIsUnknownIsAFailure) {
  const std::wstring folder = ShellFolder(CSIDL_LOCAL_APPDATA, SHGFP_TYPE_CURRENT);
  const auto length = static_cast<int32_t>(folder.size());
  wchar_t buffer[MAX_PATH];
  for (const int32_t capacity : {INT32_MIN, -1, 0, 1, length - 1, length}) {
    std::fill(std::begin(buffer), std::end(buffer), kFill);
    EXPECT_EQ(host.GetSpecialFolder(kLocalAppData, buffer, capacity, 0, 0), 0) << "capacity " << capacity;
    EXPECT_TRUE(std::all_of(std::begin(buffer), std::end(buffer), [](wchar_t c) { return c == kFill; })) << capacity;
  }
  EXPECT_NE(host.GetSpecialFolder(kLocalAppData, buffer, length + 1, 0, 0), 0);
  EXPECT_EQ(buffer, folder);
  EXPECT_EQ(host.GetSpecialFolder(0x7F, buffer, MAX_PATH, 0, 0), 0);
  EXPECT_EQ(host.GetSpecialFolder(kLocalAppData, nullptr, MAX_PATH, 0, 0), 0);
}

}  // namespace
}  // namespace hosttest
