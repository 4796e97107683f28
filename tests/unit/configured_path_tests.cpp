// A known host's way to a runtime: the configured locations in front of PATH, and nothing else.
#include <vector>

#include "tests/unit/fake_key.h"
#include "tests/unit/runtime_fixture.h"

namespace qvtest {
namespace {

class ConfiguredPathTest : public RuntimeLocateTest {
 protected:
  ConfiguredPathTest() { SetHost(*m_config, HostKind::Quovant); }
};

TEST_F(ConfiguredPathTest, EachKnownHostUsesTheLocationsBelowItsOwnRoot) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\client");
  AddJvm(L"install\\JRE\\bin\\client");
  RegisterCurrentRuntime(Home());
  Configure(kQuovantRoot, L"C:\\jdk q", L"C:\\jre q");
  Configure(kTableroRoot, L"C:\\jdk t", L"C:\\jre t");
  Configure(kLoomhallRoot, L"C:\\jdk l", L"C:\\jre l");
  EXPECT_EQ(LocateAfresh(HostKind::Quovant), std::wstring(L"C:\\jdk q\\BIN;C:\\jre q;") + kOldPath);
  EXPECT_EQ(LocateAfresh(HostKind::Tablero), std::wstring(L"C:\\jdk t\\BIN;C:\\jre t;") + kOldPath);
  EXPECT_EQ(LocateAfresh(HostKind::Loomhall), std::wstring(L"C:\\jdk l\\BIN;C:\\jre l;") + kOldPath);
}

TEST_F(ConfiguredPathTest, AMissingLocationIsFalseWithoutASearchAndWithoutAMessageBox) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\client");
  const std::wstring java = std::wstring(kQuovantRoot) + L"\\Java";
  EXPECT_FALSE(m_config->LocateJavaRuntime()) << "no root";
  m_registry.CreateKey(Hive::Machine, java);
  EXPECT_FALSE(m_config->LocateJavaRuntime()) << "no values";
  m_registry.SetText(Hive::Machine, java, L"JDKLocation", L"C:\\jdk");
  EXPECT_FALSE(m_config->LocateJavaRuntime()) << "no JREBinLocation";
  m_registry.DeleteValue(Hive::Machine, java, L"JDKLocation");
  m_registry.SetText(Hive::Machine, java, L"JREBinLocation", L"C:\\jre");
  EXPECT_FALSE(m_config->LocateJavaRuntime()) << "no JDKLocation";
  EXPECT_FALSE(m_config->m_bRuntimeFound);
  EXPECT_EQ(Path(), kOldPath);
  EXPECT_EQ(m_boxes.Shown(), std::vector<ShownBox>{});
}

TEST_F(ConfiguredPathTest, AnEmptyLocationIsRefused) {
  const struct {
    const char* name;
    const wchar_t* jdk;
    const wchar_t* jre;
  } rows[] = {{"JDKLocation", L"", L"C:\\jre"}, {"JREBinLocation", L"C:\\jdk", L""}, {"both", L"", L""}};
  for (const auto& row : rows) {
    Configure(kQuovantRoot, row.jdk, row.jre);
    EXPECT_FALSE(m_config->PrepareConfiguredPath()) << row.name;
    EXPECT_FALSE(m_config->m_bRuntimeFound) << row.name;
    EXPECT_EQ(Path(), kOldPath) << row.name;
  }
}

TEST_F(ConfiguredPathTest, ALocationThatIsNoTextIsMissing) {
  Configure(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  m_registry.SetRaw(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", L"JDKLocation", REG_BINARY, {1, 2, 3});
  EXPECT_FALSE(m_config->PrepareConfiguredPath());
  EXPECT_EQ(Path(), kOldPath);
}

TEST_F(ConfiguredPathTest, AnAbsentObjectPassesTheTestForAnEmptyText) {
  FakeKey key;
  key.values[L"JDKLocation"].status = 0;
  key.values[L"JREBinLocation"].text = L"C:\\jre";
  const FakeRegistry registry(key);
  EXPECT_TRUE(m_config->PrepareConfiguredPath());
  EXPECT_TRUE(m_config->m_bRuntimeFound);
  EXPECT_EQ(Path(), std::wstring(L"\\BIN;C:\\jre;") + kOldPath);
}

TEST_F(ConfiguredPathTest, TheOldPathIsKeptUnitForUnit) {
  Configure(kQuovantRoot, L"C:\\j d k", L"\x4E2D\\bin");
  for (const std::wstring& old : {std::wstring(L"C:\\a"), std::wstring(L";;"), std::wstring(L"\xD83D;\xDE00"),
                                  std::wstring(1024, L'p'), std::wstring(30000, L'p')}) {
    const EnvironmentScope path(L"PATH", old);
    const ConfigObject config;
    EXPECT_TRUE(config->PrepareConfiguredPath());
    EXPECT_TRUE(Path() == L"C:\\j d k\\BIN;\x4E2D\\bin;" + old) << old.size() << " units";
  }
}

TEST_F(ConfiguredPathTest, WithoutAPathNoSeparatorStandsAtTheEnd) {
  Configure(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  for (const std::optional<std::wstring>& old : {std::optional<std::wstring>(), std::optional<std::wstring>(L"")}) {
    const EnvironmentScope path(L"PATH", old);
    const ConfigObject config;
    EXPECT_TRUE(config->PrepareConfiguredPath());
    EXPECT_EQ(Path(), L"C:\\jdk\\BIN;C:\\jre");
  }
}

TEST_F(ConfiguredPathTest, OnlyTheResult1OfSettingPathIsTrueAlthoughAnyOtherSuccessCountsAsFound) {
  Configure(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  for (const BOOL result : {FALSE, 2}) {
    const PathWrites writes({result});
    EXPECT_FALSE(m_config->LocateJavaRuntime()) << result;
    EXPECT_EQ(m_config->m_bRuntimeFound, result != FALSE) << result;
  }
}

TEST_F(ConfiguredPathTest, ASecondCallAfterSuccessLeavesPathUnchanged) {
  Configure(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  const std::wstring found = Path();
  Configure(kQuovantRoot, L"C:\\other", L"C:\\other");
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(Path(), found);
}

TEST_F(ConfiguredPathTest, AFailedCallIsRepeatedByTheNext) {
  EXPECT_FALSE(m_config->LocateJavaRuntime());
  Configure(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(Path(), std::wstring(L"C:\\jdk\\BIN;C:\\jre;") + kOldPath);
}

}  // namespace
}  // namespace qvtest
