// Which runtime is chosen, decided from plain values. The order of the places and what PATH becomes are in
// runtime_locate_tests.cpp and configured_path_tests.cpp.
#include <set>

#include "config/runtime_choice.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class RuntimeChoiceTest : public LedgerTest {};

TEST_F(RuntimeChoiceTest, OnlyTheNumber1InOneOrTwoCharactersKeepsTheCurrentRuntimeOut) {
  const struct {
    int32_t read;
    const wchar_t* text;
    bool disabled;
  } rows[] = {{1, L"1", true},   {2, L"1", true},   {2, L" 1", true},   {2, L"1x", true}, {2, L"01", true},
              {1, L"0", false},  {1, L"2", false},  {1, L"9", false},   {1, L"x", false}, {1, L" ", false},
              {2, L"10", false}, {2, L"11", false}, {2, L"-1", false},  {0, L"1", false}, {0, L"", false},
              {3, L"1", false},  {-1, L"1", false}, {1000, L"1", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(qv::CurrentRuntimeDisabled(row.read, row.text), row.disabled) << row.read << " of " << ToUtf8(row.text);
  }
}

// What is probed below a home, which folder is taken when these files are there, and what is told of each place.
struct Probed {
  qv::Discovery result;
  std::wstring folder;
  std::vector<std::wstring> probes;
  std::vector<std::pair<std::wstring, qv::RuntimeVerdict>> told;
};

using qv::RuntimeVerdict;

Probed Find(const std::wstring& home, std::span<const std::wstring_view> folders, const std::set<std::wstring>& files,
            qv::Discovery taking = qv::Discovery::Taken) {
  Probed probed;
  const auto exists = [&](const wchar_t* path) {
    probed.probes.emplace_back(path);
    return files.contains(path);
  };
  const auto take = [&](qv::HostText folder) {
    probed.folder = folder.View();
    return taking;
  };
  const auto tell = [&](std::wstring_view subFolder, RuntimeVerdict verdict) {
    probed.told.emplace_back(subFolder, verdict);
  };
  probed.result = qv::DiscoverBelow(home, folders, exists, take, tell);
  return probed;
}

TEST_F(RuntimeChoiceTest, TheFirstPlaceWithAJvmIsTakenAndNoneIsTriedAfterIt) {
  const std::set<std::wstring> files = {L"H\\JRE\\BIN\\CLIENT\\JVM.DLL", L"H\\BIN\\SERVER\\JVM.DLL"};
  for (const auto& [taking, verdict] : {std::pair(qv::Discovery::Taken, RuntimeVerdict::Taken),
                                        std::pair(qv::Discovery::PathRefused, RuntimeVerdict::PathRefused)}) {
    const Probed probed = Find(L"H", qv::kJavaHomeFolders, files, taking);
    EXPECT_EQ(probed.result, taking);
    EXPECT_EQ(probed.folder, L"H\\BIN\\SERVER");
    EXPECT_EQ(probed.probes.size(), 2u);
    EXPECT_EQ(probed.told, (decltype(probed.told){{L"\\BIN\\CLIENT", RuntimeVerdict::NotThere},
                                                  {L"\\BIN\\SERVER", verdict},
                                                  {L"\\JRE\\BIN\\CLIENT", RuntimeVerdict::FoundBefore},
                                                  {L"\\JRE\\BIN\\SERVER", RuntimeVerdict::FoundBefore},
                                                  {L"\\JRE\\BIN\\CLASSIC", RuntimeVerdict::FoundBefore}}));
  }
}

TEST_F(RuntimeChoiceTest, AHomeIsTakenAsItIsWritten) {
  EXPECT_EQ(Find(L"H", qv::kJavaHomeFolders, {}).result, qv::Discovery::NotFound);
  for (const wchar_t* home : {L"", L"C:\\", L"C:\\Java\\", L"a b;c", L"\\\\server\\share", L"C:/x"}) {
    const std::wstring folder = home + std::wstring(L"\\BIN\\CLIENT");
    EXPECT_EQ(Find(home, qv::kJavaHomeFolders, {folder + L"\\JVM.DLL"}).folder, folder);
  }
}

TEST_F(RuntimeChoiceTest, WithoutMemoryForAPlaceNothingIsProbed) {
  for (const uint64_t n : {1u, 2u}) {
    const FailAllocation fault(n, kQvshrFailOnce);
    const Probed probed = Find(L"H", qv::kJavaHomeFolders, {L"H\\BIN\\CLIENT\\JVM.DLL"});
    EXPECT_EQ(probed.result, qv::Discovery::NoMemory) << "allocation " << n;
    EXPECT_TRUE(probed.probes.empty()) << "allocation " << n;
  }
  EXPECT_EQ(Find(L"H", qv::kJavaHomeFolders, {L"H\\BIN\\CLIENT\\JVM.DLL"}, qv::Discovery::NoMemory).told.size(), 0u)
      << "taking it failed, so nobody hears of a choice";
}

TEST_F(RuntimeChoiceTest, ARuntimesLibrariesLieAboveTheFolderOfItsJvm) {
  EXPECT_EQ(qv::RuntimeBinFolder(L"C:\\J\\BIN\\SERVER"), L"C:\\J\\BIN");
  EXPECT_EQ(qv::RuntimeBinFolder(L"C:/J/bin/server"), L"C:/J/bin");
  EXPECT_EQ(qv::RuntimeBinFolder(L"SERVER"), L"");
  EXPECT_EQ(qv::RuntimeBinFolder(L""), L"");
}

}  // namespace
}  // namespace qvtest
