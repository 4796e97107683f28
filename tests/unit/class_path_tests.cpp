// The composition of the class path from plain values.
#include <set>

#include "config/class_path.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class ClassPathTest : public LedgerTest {};

TEST_F(ClassPathTest, ThePiecesAreJoinedAndTheCurrentFolderIsAlwaysLast) {
  const struct {
    const wchar_t* system;
    const wchar_t* user;
    const wchar_t* environment;  // null: the variable does not exist
    const wchar_t* want;
  } rows[] = {
      {L"s", L"u", L"e", L"s;u;e;."},
      {L"s", L"u", nullptr, L"s;u;."},
      {L"s", L"", L"e", L"s;e;."},
      {L"s", L"", nullptr, L"s;."},
      {L"", L"u", L"e", L"u;e;."},
      {L"", L"u", nullptr, L"u;."},
      {L"", L"", nullptr, L";."},
      {L"", L"", L"x", L";x;."},
      {L"", L"", L"", L";."},
      {L"s", L"u", L"", L"s;u;."},
      {L"a;b;", L";c", L";d;", L"a;b;;;c;;d;;."},
      {L".", L".", L".", L".;.;.;."},
      {L" ", L" ", L" ", L" ; ; ;."},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(qv::JoinClassPath(row.system, row.user, row.environment).View(), row.want)
        << ToUtf8(row.system) << "|" << ToUtf8(row.user) << "|"
        << (row.environment != nullptr ? ToUtf8(row.environment) : "<absent>");
  }
}

TEST_F(ClassPathTest, AConfiguredJdkGivesItsTwoLibrariesUnseenAndAnAbsentOneTheirNames) {
  for (const wchar_t* jdk : {L"C:\\jdk 8", L""}) {
    qv::HostText path;
    qv::AppendConfiguredLibraries(path, jdk);
    EXPECT_EQ(path.View(), jdk + std::wstring(L"\\JRE\\LIB\\rt.jar;") + jdk + L"\\LIB\\tools.jar;");
  }
}

TEST_F(ClassPathTest, APrivateRuntimeGivesItsLibraryWhenItIsThere) {
  for (const bool there : {true, false}) {
    qv::HostText path{L"before;"};
    std::vector<std::wstring> probes;
    qv::AppendPrivateRuntimeLibrary(path, L"C:\\I", [&](const wchar_t* file) {
      probes.emplace_back(file);
      return there;
    });
    EXPECT_EQ(probes, (std::vector<std::wstring>{L"C:\\I\\JRE\\LIB\\rt.jar"}));
    EXPECT_EQ(path.View(), there ? L"before;C:\\I\\JRE\\LIB\\rt.jar;" : L"before;");
  }
}

TEST_F(ClassPathTest, AnEntryLiesBelowTheInstallFolderOrElseBelowTheHostsIdeFolder) {
  const struct {
    const char* name;
    const wchar_t* before;
    int32_t index;
    const wchar_t* entry;
    bool installed;
    const wchar_t* want;
  } rows[] = {{"the first, installed", L"", 0, L"\\a.jar", true, L"C:\\I\\a.jar"},
              {"the first, not installed", L"", 0, L"\\a.jar", false, L"D:\\H\\IDE\\a.jar"},
              {"the second", L"x", 1, L"\\lib\\b.jar", true, L"x;C:\\I\\lib\\b.jar"},
              {"the second, alone", L"", 1, L"\\b.jar", true, L";C:\\I\\b.jar"},
              {"the first behind the libraries", L"rt;", 0, L"\\a.jar", true, L"rt;C:\\I\\a.jar"},
              {"a later one behind the libraries", L"rt;", 5, L"\\a.jar", true, L"rt;;C:\\I\\a.jar"},
              {"an empty one", L"x", 2, L"", true, L"x;C:\\I"},
              {"an empty one that is not there", L"x", 2, L"", false, L"x;D:\\H\\IDE"},
              {"without a backslash", L"", 0, L"a.jar", true, L"C:\\Ia.jar"}};
  for (const auto& row : rows) {
    qv::HostText path{row.before};
    std::vector<std::wstring> probes;
    qv::AppendListEntry(path, row.index, row.entry, L"C:\\I", L"D:\\H", [&](const wchar_t* file) {
      probes.emplace_back(file);
      return row.installed;
    });
    EXPECT_EQ(path.View(), row.want) << row.name;
    EXPECT_EQ(probes, (std::vector<std::wstring>{std::wstring(L"C:\\I") + row.entry})) << row.name;
  }
}

}  // namespace
}  // namespace qvtest
