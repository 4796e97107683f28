// Runtime discovery with its effects: files in folders of the test's own, the real registry, the process's PATH.
#include "tests/unit/fake_key.h"
#include "tests/unit/runtime_fixture.h"

namespace qvtest {
namespace {

// ---- below a Java home ----

TEST_F(RuntimeLocateTest, EachOfTheFivePlacesBelowJavaHomeIsFound) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"install\\JRE\\bin\\client");
  // From the last to the first, so that each new one is found before those after it.
  for (const wchar_t* place :
       {L"\\JRE\\BIN\\CLASSIC", L"\\JRE\\BIN\\SERVER", L"\\JRE\\BIN\\CLIENT", L"\\BIN\\SERVER", L"\\BIN\\CLIENT"}) {
    AddJvm(L"home" + std::wstring(place));
    EXPECT_EQ(LocateAfresh(), Home() + place + L";" + kOldPath);
  }
}

TEST_F(RuntimeLocateTest, FoldersWithoutAJvmAreNoneAndAFolderNamedLikeTheJvmCountsToo) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  m_folder.MakeFolder(L"home\\bin\\client");
  m_folder.MakeFolder(L"home\\bin\\server");
  AddJvm(L"home\\jre\\bin\\client");
  EXPECT_EQ(LocateAfresh(), Home() + L"\\JRE\\BIN\\CLIENT;" + kOldPath);
  m_folder.MakeFolder(L"home\\bin\\server\\jvm.dll");
  EXPECT_EQ(LocateAfresh(), Home() + L"\\BIN\\SERVER;" + kOldPath);
}

TEST_F(RuntimeLocateTest, AJavaHomeThatPointsNowhereKeepsTheRegistryUnaskedAndTheInstallFolderIsNext) {
  const EnvironmentScope javaHome(L"JAVA_HOME", m_folder.Path(L"nowhere"));
  AddJvm(L"home\\bin\\server");
  AddJvm(L"install\\JRE\\bin\\server");
  RegisterCurrentRuntime(Home());
  EXPECT_EQ(LocateAfresh(), Install() + L"\\JRE\\BIN\\SERVER;" + kOldPath);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallOpenRegistryKey), 0u);
}

TEST_F(RuntimeLocateTest, JavaHomeComesBeforeTheRegistryAndTheInstallFolder) {
  AddJvm(L"home\\jre\\bin\\classic");
  AddJvm(L"other\\bin\\client");
  AddJvm(L"install\\JRE\\bin\\client");
  RegisterCurrentRuntime(m_folder.Path(L"other"));
  m_registry.SetText(Hive::Machine, std::wstring(kJavaSoft) + L"\\1.4", L"JavaHome", m_folder.Path(L"old"));
  for (const std::optional<std::wstring>& home : {std::optional<std::wstring>(), std::optional<std::wstring>(L"")}) {
    const EnvironmentScope javaHome(L"JAVA_HOME", home);
    EXPECT_EQ(LocateAfresh(), m_folder.Path(L"other") + L"\\BIN\\CLIENT;" + kOldPath) << "an empty one is none";
  }
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  EXPECT_EQ(LocateAfresh(), Home() + L"\\JRE\\BIN\\CLASSIC;" + kOldPath);
}

TEST_F(RuntimeLocateTest, ALongJavaHomeIsNotCut) {
  const std::wstring home = Home() + L"\\" + std::wstring(120, L'a') + L"\\" + std::wstring(120, L'b');
  ASSERT_GT(home.size(), 260u);
  const EnvironmentScope javaHome(L"JAVA_HOME", home);
  const EveryFile there(true);
  EXPECT_EQ(LocateAfresh(), home + L"\\BIN\\CLIENT;" + kOldPath);
}

// ---- the registered current runtime ----

TEST_F(RuntimeLocateTest, EveryMissingStepInTheRegistryEndsTheSearchThere) {
  AddJvm(L"home\\bin\\client");
  const std::wstring key = kJavaSoft;
  EXPECT_EQ(LocateAfresh(), kOldPath) << "no key";
  m_registry.SetText(Hive::Machine, key + L"\\1.8", L"JavaHome", Home());
  EXPECT_EQ(LocateAfresh(), kOldPath) << "no CurrentVersion";
  m_registry.SetText(Hive::Machine, key, L"CurrentVersion", L"1.9");
  EXPECT_EQ(LocateAfresh(), kOldPath) << "no key of the current version";
  m_registry.CreateKey(Hive::Machine, key + L"\\1.9");
  EXPECT_EQ(LocateAfresh(), kOldPath) << "no JavaHome";
  m_registry.SetRaw(Hive::Machine, key + L"\\1.9", L"JavaHome", REG_BINARY, {'C', 0, ':', 0, 0, 0});
  EXPECT_EQ(LocateAfresh(), kOldPath) << "JavaHome is no text";
  m_registry.SetText(Hive::Machine, key + L"\\1.9", L"JavaHome", L"");
  EXPECT_EQ(LocateAfresh(), kOldPath) << "JavaHome is empty";
  m_registry.SetRaw(Hive::Machine, key, L"CurrentVersion", REG_DWORD, {8, 0, 0, 0});
  EXPECT_EQ(LocateAfresh(), kOldPath) << "CurrentVersion is no text";
  m_registry.SetText(Hive::Machine, key, L"CurrentVersion", L"1.8");
  EXPECT_EQ(LocateAfresh(), Home() + L"\\BIN\\CLIENT;" + kOldPath);
}

TEST_F(RuntimeLocateTest, TheRegistryIsOpenedWithReadAccessAndAVersionWithoutAnObjectEndsTheSearchThere) {
  FakeKey key;
  key.values[L"CurrentVersion"].text = L"17.0.1";
  key.values[L"JavaHome"].text = L"C:\\nowhere";
  const FakeRegistry registry(key);
  EXPECT_EQ(LocateAfresh(), kOldPath);
  ASSERT_FALSE(registry.Requests().empty());
  EXPECT_EQ(registry.Requests()[0], (FakeRegistry::Request{HKEY_LOCAL_MACHINE, kJavaSoft, 0x20019}));
  ASSERT_FALSE(key.opened.empty());
  EXPECT_EQ(key.opened[0], (std::pair<std::wstring, uint32_t>{L"17.0.1", 0x20019}));
  EXPECT_EQ(key.references, 1u);
  key.values[L"CurrentVersion"].text = std::nullopt;
  key.queried.clear();
  EXPECT_EQ(LocateAfresh(), kOldPath);
  EXPECT_EQ(key.queried, (std::vector<std::wstring>{L"CurrentVersion", L"JDKLocation"})) << "the last resort is next";
  EXPECT_EQ(key.references, 1u);
}

// ---- the setting that keeps the current runtime out ----

TEST_F(RuntimeLocateTest, Setting1SkipsJavaHomeAndTheRegistry) {
  AddJvm(L"home\\bin\\client");
  AddJvm(L"install\\JRE\\bin\\classic");
  RegisterCurrentRuntime(Home());
  QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", L"1");
  const std::wstring privateRuntime = Install() + L"\\JRE\\BIN\\CLASSIC;" + kOldPath;
  EXPECT_EQ(LocateAfresh(), privateRuntime);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallOpenRegistryKey), 0u);
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  EXPECT_EQ(LocateAfresh(), privateRuntime);
}

TEST_F(RuntimeLocateTest, OtherSettingsKeepJavaHomeAndOfALongerOneTheFirstCharacterCounts) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\client");
  AddJvm(L"install\\JRE\\bin\\client");
  const std::wstring current = Home() + L"\\BIN\\CLIENT;" + kOldPath;
  EXPECT_EQ(LocateAfresh(), current) << "no setting at all";
  for (const wchar_t* setting : {L"0", L"2", L"", L"x", L" 1", L"-1", L"01", L"21"}) {
    QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", setting);
    EXPECT_EQ(LocateAfresh(), current) << ToUtf8(setting);
  }
  QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", L"10");
  EXPECT_EQ(LocateAfresh(), Install() + L"\\JRE\\BIN\\CLIENT;" + kOldPath);
}

TEST_F(RuntimeLocateTest, TheSettingIsAskedForOnceWithItsDefaultAndTwoCharacters) {
  std::vector<std::wstring> asked;
  using GetSettingFn = int32_t (*)(const wchar_t*, const wchar_t*, const wchar_t*, wchar_t*, int32_t);
  const FunctionHook<GetSettingFn> setting(
      "qvshr.dll", 10, [&](const std::wstring& section, auto key, auto fallback, wchar_t* out, int32_t capacity) {
        asked.push_back(section + L"|" + key + L"|" + fallback + L"|" + std::to_wstring(capacity));
        wcscpy(out, L"0");
        return 1;
      });
  EXPECT_EQ(LocateAfresh(), kOldPath);
  EXPECT_EQ(asked, (std::vector<std::wstring>{L"QV|QVJRENOTUSECURRENT|0|2"}));
}

// ---- the install folder ----

TEST_F(RuntimeLocateTest, EachOfTheThreePlacesBelowTheInstallFolderIsFoundAndBinRightBelowItIsNotTried) {
  AddJvm(L"install\\bin\\client");
  AddJvm(L"install\\bin\\server");
  EXPECT_EQ(LocateAfresh(), kOldPath);
  for (const wchar_t* place : {L"\\JRE\\BIN\\CLASSIC", L"\\JRE\\BIN\\SERVER", L"\\JRE\\BIN\\CLIENT"}) {
    AddJvm(L"install" + std::wstring(place));
    EXPECT_EQ(LocateAfresh(), Install() + place + L";" + kOldPath);
  }
}

TEST_F(RuntimeLocateTest, TheFilesTriedComeInThisOrder) {
  const EnvironmentScope javaHome(L"JAVA_HOME", L"H");
  const EveryFile missing(false);
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(
      missing.Asked(),
      (std::vector<std::wstring>{
          L"H\\BIN\\CLIENT\\JVM.DLL", L"H\\BIN\\SERVER\\JVM.DLL", L"H\\JRE\\BIN\\CLIENT\\JVM.DLL",
          L"H\\JRE\\BIN\\SERVER\\JVM.DLL", L"H\\JRE\\BIN\\CLASSIC\\JVM.DLL", Install() + L"\\JRE\\BIN\\CLIENT\\JVM.DLL",
          Install() + L"\\JRE\\BIN\\SERVER\\JVM.DLL", Install() + L"\\JRE\\BIN\\CLASSIC\\JVM.DLL"}));
}

TEST_F(RuntimeLocateTest, WithoutThePathOrTheFolderOfTheServiceTheResultIsFalse) {
  AddJvm(L"install\\JRE\\bin\\client");
  for (const bool folder : {true, false}) {
    std::optional<UnterminatedModulePath> noPath;
    std::optional<FailCall> noFolder;
    if (folder) noFolder.emplace(kQvshrCallGetDirectory, 1);
    if (!folder) noPath.emplace(L"");
    EXPECT_FALSE(m_config->LocateJavaRuntime()) << folder;
    EXPECT_FALSE(m_config->m_bRuntimeFound) << folder;
    EXPECT_EQ(Path(), kOldPath) << folder;
  }
}

TEST_F(RuntimeLocateTest, AServicePathThatFillsItsBufferIsNotReadPastItsEnd) {
  const UnterminatedModulePath path(L"pp\\" + std::wstring(300, L'p'));
  const EveryFile missing(false);
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(missing.Asked(),
            (std::vector<std::wstring>{L"pp\\JRE\\BIN\\CLIENT\\JVM.DLL", L"pp\\JRE\\BIN\\SERVER\\JVM.DLL",
                                       L"pp\\JRE\\BIN\\CLASSIC\\JVM.DLL"}));
}

// ---- nothing found ----

TEST_F(RuntimeLocateTest, TheConfiguredLocationsAreAnUnknownHostsLastResort) {
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre\\bin");
  EXPECT_EQ(LocateAfresh(), std::wstring(L"C:\\jdk\\BIN;C:\\jre\\bin;") + kOldPath);
}

TEST_F(RuntimeLocateTest, NoRuntimeAnywhereIsTrueAndTheSearchIsRepeatedUntilOneIsFound) {
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_FALSE(m_config->m_bRuntimeFound);
  EXPECT_EQ(Path(), kOldPath);
  EXPECT_EQ(m_config->DiscoveredJvmFolder(), L"");
  EXPECT_EQ(m_boxes.Shown(), std::vector<ShownBox>{});
  AddJvm(L"install\\JRE\\bin\\server");
  const std::wstring found = Install() + L"\\JRE\\BIN\\SERVER;" + kOldPath;
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_TRUE(m_config->m_bRuntimeFound);
  EXPECT_EQ(m_config->DiscoveredJvmFolder(), Install() + L"\\JRE\\BIN\\SERVER");
  EXPECT_EQ(Path(), found);
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\client");
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(Path(), found) << "a call after success leaves it";
  SetHost(*m_config, HostKind::Quovant);
  EXPECT_TRUE(m_config->LocateJavaRuntime()) << "whatever the host is";
  EXPECT_EQ(Path(), found);
}

// ---- what listeners hear ----

// Every decision as a line.
class HeardDecisions final : public qv::DecisionListener {
 public:
  explicit HeardDecisions(CQV_JVMConfigInfo& config) { config.m_pListener = this; }
  void OnRuntimePlace(const qv::RuntimePlace& place) noexcept override {
    lines.push_back(std::wstring(qv::TextOf(place.source)) + L" " + std::wstring(place.home) +
                    std::wstring(place.subFolder) + L": " + std::wstring(qv::TextOf(place.verdict)));
  }
  void OnListKey(const wchar_t*, qv::KeyOrigin) noexcept override {}
  void OnConfiguredOptions(int32_t) noexcept override {}
  void OnMissing(const qv::StoreMessage&, const wchar_t*) noexcept override {}

  std::vector<std::wstring> lines;
};

TEST_F(RuntimeLocateTest, ListenersHearOfEachPlaceInItsOrder) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\server");
  HeardDecisions heard(*m_config);
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  const std::wstring home = L"JAVA_HOME " + Home();
  EXPECT_EQ(heard.lines, (std::vector<std::wstring>{home + L"\\BIN\\CLIENT: not there", home + L"\\BIN\\SERVER: taken",
                                                    home + L"\\JRE\\BIN\\CLIENT: not tried: one was found before",
                                                    home + L"\\JRE\\BIN\\SERVER: not tried: one was found before",
                                                    home + L"\\JRE\\BIN\\CLASSIC: not tried: one was found before",
                                                    L"registry : not tried: JAVA_HOME is set",
                                                    L"beside the service : not tried: one was found before"}));
}

TEST_F(RuntimeLocateTest, ListenersHearWhyASourceWasNotSearched) {
  const std::wstring install = L"beside the service " + Install() + L"\\JRE\\BIN\\";
  for (const wchar_t* why : {L"not set", L"not tried: QVJRENOTUSECURRENT is 1"}) {
    HeardDecisions heard(*m_config);
    EXPECT_TRUE(m_config->LocateJavaRuntime());
    EXPECT_EQ(heard.lines,
              (std::vector<std::wstring>{
                  std::wstring(L"JAVA_HOME : ") + why, std::wstring(L"registry : ") + why,
                  install + L"CLIENT: not there", install + L"SERVER: not there", install + L"CLASSIC: not there",
                  L"configured JREBinLocation : not used: JDKLocation or JREBinLocation is missing"}));
    QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", L"1");
  }
}

TEST_F(RuntimeLocateTest, ListenersHearWhatBecameOfTheConfiguredLocations) {
  SetHost(*m_config, HostKind::Quovant);
  HeardDecisions heard(*m_config);
  EXPECT_FALSE(m_config->LocateJavaRuntime());
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"");
  EXPECT_FALSE(m_config->LocateJavaRuntime());
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  {
    const PathWrites writes({FALSE});
    EXPECT_FALSE(m_config->LocateJavaRuntime());
  }
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_EQ(heard.lines, (std::vector<std::wstring>{
                             L"configured JREBinLocation : not used: JDKLocation or JREBinLocation is missing",
                             L"configured JREBinLocation : not used: JDKLocation or JREBinLocation is empty",
                             L"configured JREBinLocation C:\\jre: found, but PATH cannot be set",
                             L"configured JREBinLocation C:\\jre: taken"}));
}

// ---- PATH ----

TEST_F(RuntimeLocateTest, TheOldPathIsKeptUnitForUnitBehindASeparatorWhichStandsAlsoWithoutOne) {
  AddJvm(L"install\\JRE\\bin\\server");
  for (const std::optional<std::wstring>& old : OldPaths()) {
    const EnvironmentScope path(L"PATH", old);
    const ConfigObject config;
    EXPECT_TRUE(config->LocateJavaRuntime());
    EXPECT_TRUE(Path() == Install() + L"\\JRE\\BIN\\SERVER;" + old.value_or(L""))
        << ToUtf8(old.value_or(L"").substr(0, 40));
  }
}

TEST_F(RuntimeLocateTest, APathThatCannotBeSetForJavaHomeIsTriedWithTheInstallFolder) {
  const EnvironmentScope javaHome(L"JAVA_HOME", Home());
  AddJvm(L"home\\bin\\client");
  AddJvm(L"install\\JRE\\bin\\client");
  {
    const ConfigObject config;
    const PathWrites writes({2});
    EXPECT_TRUE(config->LocateJavaRuntime()) << "any success is enough";
    EXPECT_TRUE(config->m_bRuntimeFound);
    EXPECT_EQ(config->DiscoveredJvmFolder(), Home() + L"\\BIN\\CLIENT");
    EXPECT_EQ(writes.Written(), (std::vector<std::wstring>{L"PATH=" + Home() + L"\\BIN\\CLIENT;" + kOldPath}));
  }
  const PathWrites writes({FALSE, TRUE});
  EXPECT_TRUE(m_config->LocateJavaRuntime());
  EXPECT_TRUE(m_config->m_bRuntimeFound);
  EXPECT_EQ(writes.Written(), (std::vector<std::wstring>{L"PATH=" + Home() + L"\\BIN\\CLIENT;" + kOldPath,
                                                         L"PATH=" + Install() + L"\\JRE\\BIN\\CLIENT;" + kOldPath}));
  EXPECT_EQ(m_config->DiscoveredJvmFolder(), Install() + L"\\JRE\\BIN\\CLIENT");
}

TEST_F(RuntimeLocateTest, TheInstallFolderNeedsTheResult1AlthoughAnyOtherSuccessCountsAsFound) {
  AddJvm(L"install\\JRE\\bin\\client");
  for (const BOOL result : {FALSE, 2}) {
    const ConfigObject config;
    const PathWrites writes({result});
    EXPECT_FALSE(config->LocateJavaRuntime()) << result;
    EXPECT_EQ(config->m_bRuntimeFound, result != FALSE) << result;
    EXPECT_EQ(writes.Written().size(), 1u) << result;
  }
}

}  // namespace
}  // namespace qvtest
