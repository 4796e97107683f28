// A known host's way to a runtime: the configured locations in front of PATH, and nothing else.
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
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk q", L"C:\\jre q");
  m_registry.SetLocations(kTableroRoot, L"C:\\jdk t", L"C:\\jre t");
  m_registry.SetLocations(kLoomhallRoot, L"C:\\jdk l", L"C:\\jre l");
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
}

TEST_F(ConfiguredPathTest, AnEmptyLocationOrOneThatIsNoTextIsRefused) {
  for (const auto& [jdk, jre] : {std::pair(L"", L"C:\\jre"), {L"C:\\jdk", L""}, {L"", L""}, {L"bytes", L"C:\\jre"}}) {
    SCOPED_TRACE(ToUtf8(jdk) + ", " + ToUtf8(jre));
    m_registry.SetLocations(kQuovantRoot, jdk, jre);
    if (std::wstring_view(jdk) == L"bytes") {
      m_registry.SetRaw(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", L"JDKLocation", REG_BINARY, {1, 2, 3});
    }
    EXPECT_FALSE(m_config->PrepareConfiguredPath());
    EXPECT_FALSE(m_config->m_bRuntimeFound);
    EXPECT_EQ(Path(), kOldPath);
  }
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

TEST_F(ConfiguredPathTest, TheOldPathIsKeptUnitForUnitBehindASeparatorUnlessThereWasNone) {
  m_registry.SetLocations(kQuovantRoot, L"C:\\j d k", L"\x4E2D\\bin");
  for (const std::optional<std::wstring>& old : OldPaths()) {
    const EnvironmentScope path(L"PATH", old);
    const ConfigObject config;
    EXPECT_TRUE(config->PrepareConfiguredPath());
    const std::wstring rest = old.value_or(L"").empty() ? L"" : L";" + *old;
    EXPECT_TRUE(Path() == L"C:\\j d k\\BIN;\x4E2D\\bin" + rest) << ToUtf8(rest.substr(0, 40));
  }
}

TEST_F(ConfiguredPathTest, OnlyTheResult1OfSettingPathIsTrueAlthoughAnyOtherSuccessCountsAsFound) {
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  for (const BOOL result : {FALSE, 2}) {
    const PathWrites writes({result});
    EXPECT_FALSE(m_config->LocateJavaRuntime()) << result;
    EXPECT_EQ(m_config->m_bRuntimeFound, result != FALSE) << result;
  }
}

TEST_F(ConfiguredPathTest, AFailedCallIsRepeatedByTheNextAndOneAfterSuccessLeavesPathUnchanged) {
  EXPECT_FALSE(m_config->LocateJavaRuntime());
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  for (int call = 0; call < 2; ++call) {
    EXPECT_TRUE(m_config->LocateJavaRuntime());
    EXPECT_EQ(Path(), std::wstring(L"C:\\jdk\\BIN;C:\\jre;") + kOldPath);
    m_registry.SetLocations(kQuovantRoot, L"C:\\other", L"C:\\other");
  }
}

}  // namespace
}  // namespace qvtest
