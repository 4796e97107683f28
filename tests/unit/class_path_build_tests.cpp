// The class path from its sources: the built-in list, files beside the service, the registry, CLASSPATH.
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class ClassPathBuildTest : public ConfigTest {
 protected:
  [[nodiscard]] std::wstring Install() const { return m_folder.Path(L"install"); }
  // Below it lie the entries that are not installed.
  static std::wstring Ide() { return ProgramFolder() + L"\\IDE"; }
  std::wstring Build() { return Given(*m_config, &CQV_JVMConfigInfo::BuildSystemClassPath); }
  std::wstring Compose() { return Given(*m_config, &CQV_JVMConfigInfo::ComposeClassPath); }
  void SetDevelopmentList(const wchar_t* root, const std::vector<std::wstring>& entries) {
    m_registry.SetList(Hive::Machine, std::wstring(root) + L"\\Java\\QVIDEConfig\\QVSysclasspath", entries);
  }

  TempFolder m_folder;
  LoadedModule m_service{m_folder, L"install\\qvjvm.dll"};
  EnvironmentScope m_classPath{L"CLASSPATH", std::nullopt};
};

// ---- an unknown host ----

TEST_F(ClassPathBuildTest, AnUnknownHostGetsTheTenEntriesBehindThePrivateRuntimesLibraryWhenThatIsThere) {
  for (const std::wstring entry : kBuiltInArchives) m_folder.WriteFile(L"install" + entry);
  EXPECT_EQ(Build(), L"true: " + BuiltInClassPath(Install()));
  EXPECT_EQ(Compose(), L"true: " + BuiltInClassPath(Install()) + L";.");
  m_folder.WriteFile(L"install\\jre\\lib\\rt.jar");
  EXPECT_EQ(Build(), L"true: " + Install() + L"\\JRE\\LIB\\rt.jar;" + BuiltInClassPath(Install()));
}

TEST_F(ClassPathBuildTest, ClasspathStandsUnitForUnitBeforeTheCurrentFolderUnlessItIsEmpty) {
  for (const std::wstring& value :
       {std::wstring(L"x"), std::wstring(), std::wstring(L";;a;"), std::wstring(L"\xD83D;\x4E2D"),
        std::wstring(1024, L'c'), std::wstring(30000, L'c')}) {
    const EnvironmentScope classPath(L"CLASSPATH", value);
    const std::wstring last = value.empty() ? L";." : L";" + value + L";.";
    EXPECT_TRUE(Compose() == L"true: " + BuiltInClassPath(Ide()) + last) << value.size() << " units";
  }
}

TEST_F(ClassPathBuildTest, AnEntryThatIsNotInstalledLiesBelowTheHostsIdeFolderWhetherItExistsOrNot) {
  m_folder.WriteFile(L"install\\fop-0.20.5\\lib\\xml-apis.jar");
  m_folder.MakeFolder(L"install\\qvjdbc12.jar");
  std::wstring want;
  for (const std::wstring entry : kBuiltInArchives) {
    const bool installed = entry == kBuiltInArchives[4] || entry == kBuiltInArchives[9];
    want += (want.empty() ? L"" : L";") + (installed ? Install() : Ide()) + entry;
  }
  EXPECT_EQ(Build(), L"true: " + want);
}

TEST_F(ClassPathBuildTest, AnUnknownHostTakesNothingFromTheRegistry) {
  SetDevelopmentList(kQuovantRoot, {L"development.jar"});
  m_registry.SetList(Hive::User, std::wstring(kQuovantRoot) + L"\\ClassPath", {L"users.jar"});
  m_registry.SetList(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig\\QVSysclasspath", {L"\\rt.jar"});
  EXPECT_EQ(Compose(), L"true: " + BuiltInClassPath(Ide()) + L";.");
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallOpenRegistryKey), 0u);
}

// ---- the built-in list ----

TEST_F(ClassPathBuildTest, TheEntriesOfTheListThatAreThereComeBehindTheRuntimesLibrary) {
  const std::wstring ide = Ide();
  using Values = FakeDefaultTree::Values;
  const std::pair<Values, std::wstring> rows[] = {
      {{{L"Count", L"0"}, {L"0", L"\\a.jar"}}, L""},
      {{{L"0", L"\\a.jar"}}, L""},
      {{{L"Count", L"-3"}, {L"0", L"\\a.jar"}}, L""},
      {{{L"Count", L"none"}, {L"0", L"\\a.jar"}}, L""},
      {Values(), L""},
      // Without entry 0 the first that is there still has a separator before it.
      {{{L"Count", L"3"}, {L"1", L"\\b"}, {L"2", L"\\c"}}, L";" + ide + L"\\b;" + ide + L"\\c"},
      {{{L"Count", L"9"}, {L"0", L"\\a"}, {L"7", L"\\h"}}, ide + L"\\a;" + ide + L"\\h"},
      {{{L"5", L"\\f"}, {L"Count", L"2147483647"}, {L"0", L"\\a"}, {L"05", L"\\x"}}, ide + L"\\a;" + ide + L"\\f"},
  };
  for (const bool library : {false, true}) {
    if (library) m_folder.WriteFile(L"install\\JRE\\LIB\\rt.jar");
    for (const auto& [values, want] : rows) {
      const FakeDefaultTree tree(L"QVSysclasspath", values);
      EXPECT_EQ(Build(), L"true: " + (library ? Install() + L"\\JRE\\LIB\\rt.jar;" : L"") + want);
    }
  }
}

TEST_F(ClassPathBuildTest, AnEmptySystemClassPathStillHasASeparatorBehindIt) {
  const FakeDefaultTree tree(L"QVSysclasspath", {{L"Count", L"0"}});
  EXPECT_EQ(Compose(), L"true: ;.");
  const EnvironmentScope classPath(L"CLASSPATH", L"x");
  EXPECT_EQ(Compose(), L"true: ;x;.");
}

TEST_F(ClassPathBuildTest, ACountFoundWithoutAnObjectIsNoEntries) {
  FakeKey key;
  key.values = {{L"Count", {0, std::nullopt}}, {L"0", {0, L"\\a.jar"}}};
  const FakeTree tree(key);
  EXPECT_EQ(Build(), L"true: ");
  EXPECT_EQ(key.opened,
            (std::vector<std::pair<std::wstring, uint32_t>>{{L"Java\\QVRTConfig\\QVSysclasspath", 0x20019}}));
  EXPECT_EQ(key.references, 1u);
}

TEST_F(ClassPathBuildTest, WithoutTheBuiltInTreeOrTheListInItThereIsNoClassPathAndNoMessage) {
  {
    const FailCall fault(kQvshrCallOpenDefaultTree, 1, kQvshrFailFromHere);
    EXPECT_EQ(Build(), L"false: <null>");
    EXPECT_EQ(Compose(), L"false: <null>");
  }
  const FakeDefaultTree tree(L"QVSomethingElse", {{L"Count", L"1"}, {L"0", L"\\a.jar"}});
  EXPECT_EQ(Build(), L"false: <null>");
  EXPECT_EQ(Compose(), L"false: <null>");
}

// ---- a known host ----

TEST_F(ClassPathBuildTest, AKnownHostGetsItsJdksLibrariesTheEntriesAndTheListsOfItsOwnRoot) {
  const std::wstring entries = BuiltInClassPath(Ide());
  const auto expect = [&](const std::wstring& system, const wchar_t* rest) {
    EXPECT_EQ(Build(), L"true: " + system);
    EXPECT_EQ(Compose(), L"true: " + system + rest);
  };
  m_folder.WriteFile(L"install\\JRE\\LIB\\rt.jar");  // nobody looks there
  SetHost(*m_config, HostKind::Quovant);
  SetDevelopmentList(kQuovantRoot, {L"C:\\one.jar", L"two.jar"});
  expect(L"\\JRE\\LIB\\rt.jar;\\LIB\\tools.jar;" + entries + L";C:\\one.jar;two.jar", L";.");
  m_registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", L"JDKLocation", L"C:\\no\\jdk");
  expect(L"C:\\no\\jdk\\JRE\\LIB\\rt.jar;C:\\no\\jdk\\LIB\\tools.jar;" + entries + L";C:\\one.jar;two.jar", L";.");

  SetHost(*m_config, HostKind::Tablero);
  SetDevelopmentList(kTableroRoot, {L"t.jar"});
  m_registry.SetText(Hive::Machine, std::wstring(kTableroRoot) + L"\\Java", L"JDKLocation", L"T");
  m_registry.SetList(Hive::User, std::wstring(kTableroRoot) + L"\\ClassPath", {L"user t"});
  expect(L"T\\JRE\\LIB\\rt.jar;T\\LIB\\tools.jar;" + entries + L";t.jar", L";user t;.");
  m_registry.SetList(Hive::User, std::wstring(kTableroRoot) + L"\\ClassPath", {L"u1", L"u2"});
  const EnvironmentScope classPath(L"CLASSPATH", L"e");
  const FakeDefaultTree tree(L"QVSysclasspath", {{L"Count", L"0"}});
  expect(L"T\\JRE\\LIB\\rt.jar;T\\LIB\\tools.jar;;t.jar", L";u1;u2;e;.");
  SetDevelopmentList(kTableroRoot, {});
  expect(L"T\\JRE\\LIB\\rt.jar;T\\LIB\\tools.jar;;", L";u1;u2;e;.");
}

// The texts are in counted_list_tests.cpp.
TEST_F(ClassPathBuildTest, AKnownHostWithoutItsListHasNoClassPathAndSeesWhatIsMissing) {
  SetHost(*m_config, HostKind::Quovant);
  EXPECT_EQ(Build(), L"false: <null>");
  m_registry.CreateKey(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java");
  EXPECT_EQ(Compose(), L"false: <null>");
  m_registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig\\QVSysclasspath", L"0", L"a");
  EXPECT_EQ(Build(), L"false: <null>");
  const std::vector<ShownBox> shown = m_boxes.Shown();
  m_expectedBoxes = 3;
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_TRUE(shown[0].text.ends_with(L"Registry key:\nHKEY_LOCAL_MACHINE\\" + std::wstring(kQuovantRoot) + L"\\"));
  EXPECT_TRUE(shown[1].text.ends_with(L"\\Java\\QVIDEConfig\\QVSysclasspath"));
  EXPECT_TRUE(shown[2].text.ends_with(L"\\Java\\QVIDEConfig\\QVSysclasspath\\Count"));
}

// ---- a Java launcher ----

TEST_F(ClassPathBuildTest, AJavaLauncherGetsTheBuiltInEntriesAlone) {
  SetHost(*m_config, HostKind::Loomhall);
  m_folder.WriteFile(L"install\\JRE\\LIB\\rt.jar");
  m_registry.SetText(Hive::Machine, std::wstring(kLoomhallRoot) + L"\\Java", L"JDKLocation", L"C:\\jdk");
  SetDevelopmentList(kLoomhallRoot, {L"l.jar"});
  EXPECT_EQ(Build(), L"true: " + BuiltInClassPath(Ide()));
  EXPECT_EQ(Compose(), L"true: " + BuiltInClassPath(Ide()) + L";.");
  m_registry.SetList(Hive::User, std::wstring(kLoomhallRoot) + L"\\ClassPath", {L"u.jar"});
  EXPECT_EQ(Compose(), L"true: " + BuiltInClassPath(Ide()) + L";u.jar;.");
}

// ---- paths ----

TEST_F(ClassPathBuildTest, WithoutThePathOrFolderOfTheServiceThereIsNoClassPath) {
  {
    const FailCall fault(kQvshrCallGetDirectory, 1);
    EXPECT_EQ(Build(), L"false: <null>");
  }
  {
    const UnterminatedModulePath unknown(L"");
    EXPECT_EQ(Build(), L"false: <null>");
  }
  const FailCall fault(kQvshrCallGetDirectory, 2);
  EXPECT_EQ(Build(), L"true: " + BuiltInClassPath(L"\\IDE")) << "without the host's folder they begin at the root";
}

TEST_F(ClassPathBuildTest, EntriesBelowLongFoldersAreWholeAndAModulePathIsCutAt259UnitsAndNotReadPastThem) {
  for (const size_t units : {200u, 246u, 247u, 248u}) {
    const std::wstring folder = L"C:\\" + std::wstring(units - 3, L'd');
    const UnterminatedModulePath path(folder + L"\\qvjvm.dll");
    EXPECT_TRUE(Build() == L"true: " + BuiltInClassPath(folder + L"\\IDE")) << units << " units";
  }
  for (const size_t units : {260u, 261u, 300u}) {
    // The cut falls into the last part, so the folder before it is whole.
    const std::wstring folder = L"C:\\" + std::wstring(240, L'd');
    const UnterminatedModulePath path(folder + L"\\" + std::wstring(units - folder.size() - 1, L'n'));
    EXPECT_TRUE(Build() == L"true: " + BuiltInClassPath(folder + L"\\IDE")) << units << " units";
  }
  const UnterminatedModulePath path(L"C:\\" + std::wstring(296, L'd') + L"\\x");
  EXPECT_EQ(Build(), L"true: " + BuiltInClassPath(L"C:\\IDE")) << "the cut falls into the folder";
}

}  // namespace
}  // namespace qvtest
