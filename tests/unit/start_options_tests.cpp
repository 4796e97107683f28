// The start-up options from their sources: the registry, the built-in configuration, and the rules between the two.
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

using Texts = std::vector<std::string>;

class StartOptionsTest : public ConfigTest {
 protected:
  StartOptionsTest() {
    m_config->m_pfnVfprintfHook = &m_vfprintf;
    m_config->m_pfnExitHook = &m_exit;
  }

  struct Built {
    bool ok = false;
    int32_t count = 0;
    JavaVMOption* options = nullptr;
    Texts texts;
  };
  // With the out values as the caller sets them.
  Built Build(const wchar_t* extraClassPath = nullptr) {
    Built built;
    built.ok = m_config->BuildJavaVMOptions(&built.options, &built.count, extraClassPath);
    EXPECT_EQ(built.ok, built.options != nullptr);
    for (int32_t i = 0; built.options != nullptr && i < built.count; ++i) {
      built.texts.emplace_back(built.options[i].optionString != nullptr ? built.options[i].optionString : "<null>");
    }
    if (built.texts.size() > 3) {
      EXPECT_EQ(built.options[2].extraInfo, &m_vfprintf);
      EXPECT_EQ(built.options[3].extraInfo, &m_exit);
    }
    qv::FreeOptions(built.options, built.count);
    return built;
  }
  // The options behind the four fixed ones; one line that says why when there are none.
  Texts Configured() {
    const Built built = Build();
    if (!built.ok) return {"false, count " + std::to_string(built.count)};
    EXPECT_EQ(built.texts[0], ClassPathOption());
    EXPECT_EQ(built.texts[1], "-Xbootclasspath/a:\\deploy.jar;\\javaws.jar;\\plugin.jar");
    EXPECT_EQ(built.texts[2], "vfprintf");
    EXPECT_EQ(built.texts[3], "exit");
    return {built.texts.begin() + 4, built.texts.end()};
  }
  std::string ClassPathOption() {
    IQvString* path = nullptr;
    EXPECT_TRUE(m_config->ComposeClassPath(&path));
    return "-Djava.class.path=" + ToUtf8(TakeText(path));
  }
  // The keys of an unknown host, or after BecomeKnown those of a known one.
  [[nodiscard]] std::wstring List() const { return m_key + L"QVJVMconfig"; }
  [[nodiscard]] std::wstring Props() const { return m_key + L"QVJVMprops"; }
  void SetOptions(const std::vector<std::wstring>& options) { m_registry.SetList(Hive::Machine, List(), options); }
  void SetOption(const std::wstring& name, const std::wstring& text) {
    m_registry.SetText(Hive::Machine, List(), name, text);
  }
  void SetProperty(const std::wstring& name, const std::wstring& text) {
    m_registry.SetText(Hive::Machine, Props(), name, text);
  }
  void MakeProps() { m_registry.CreateKey(Hive::Machine, Props()); }
  // A known host with everything that it needs but the two keys of this file.
  void BecomeKnown() {
    SetHost(*m_config, HostKind::Quovant);
    m_key = std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig\\";
    m_registry.SetList(Hive::Machine, m_key + L"QVSysclasspath", {L"d.jar"});
  }
  // The properties as the reader gives them, or the reason why not.
  std::vector<std::wstring> ReadProperties() {
    auto** list = reinterpret_cast<wchar_t**>(uintptr_t{0x5A5A});
    int32_t count = -77;
    const bool ok = m_config->ReadJVMProperties(&list, &count);
    if (!ok) return {L"false, count " + std::to_wstring(count) + (list != nullptr ? L", a list" : L"")};
    EXPECT_EQ(count > 0, list != nullptr);
    std::vector<std::wstring> texts;
    for (int32_t i = 0; i < count; ++i) {
      texts.emplace_back(list[i]);
      QvshrFree(list[i]);
    }
    QvshrFree(list);
    return texts;
  }

  std::wstring m_key = std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig\\";
  TempFolder m_folder;
  LoadedModule m_service{m_folder, L"install\\qvjvm.dll"};
  EnvironmentScope m_classPath{L"CLASSPATH", std::nullopt};
  int m_vfprintf = 0;
  int m_exit = 0;
};

const Texts kDefaults = {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"};

// ---- an unknown host ----

TEST_F(StartOptionsTest, AnUnknownHostWithoutARegistryGetsSevenOptions) {
  const Built built = Build();
  EXPECT_TRUE(built.ok);
  EXPECT_EQ(built.count, 7);
  EXPECT_EQ(built.texts, (Texts{ClassPathOption(), "-Xbootclasspath/a:\\deploy.jar;\\javaws.jar;\\plugin.jar",
                                "vfprintf", "exit", "-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}));
}

TEST_F(StartOptionsTest, AnUnknownHostGetsWhatIsRegisteredAndTheDefaultsForEachKeyThatIsMissing) {
  m_registry.CreateKey(Hive::Machine, kQuovantRoot);
  EXPECT_EQ(Configured(), kDefaults) << "a root";
  m_registry.CreateKey(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java\\QVRTConfig");
  EXPECT_EQ(Configured(), kDefaults) << "a key without lists";
  SetOption(L"0", L"-Xint");
  EXPECT_EQ(Configured(), kDefaults) << "a list without a Count";
  m_registry.SetRaw(Hive::Machine, List(), L"Count", REG_DWORD, {1, 0, 0, 0});
  EXPECT_EQ(Configured(), kDefaults) << "a Count that is no text";
  SetOption(L"Count", L"2");
  EXPECT_EQ(Configured(), (Texts{"false, count 7"})) << "entry 1 is missing: lists are never merged";
  SetOptions({L"-Xint"});
  EXPECT_EQ(Configured(), (Texts{"-Xint", "-Djava.compiler=NONE"})) << "options without properties";
  SetOptions({});
  EXPECT_EQ(Configured(), (Texts{"-Djava.compiler=NONE"})) << "a Count of 0";
  EXPECT_EQ(Build().count, 5);
  MakeProps();
  EXPECT_EQ(Configured(), Texts{}) << "an empty key of properties is not replaced";
  EXPECT_EQ(Build().count, 4);
  m_registry.DeleteKey(Hive::Machine, List());
  EXPECT_EQ(Configured(), (Texts{"-Xmx128m", "-verbose:jni"})) << "no options";
  SetProperty(L"user.x", L"1");
  EXPECT_EQ(Configured(), (Texts{"-Xmx128m", "-verbose:jni", "-Duser.x=1"})) << "properties without options";
}

TEST_F(StartOptionsTest, ACountIsReadAsADecimalNumberAndANegativeOneIs0) {
  const std::pair<const wchar_t*, Texts> rows[] = {{L"3", {"a", "b", "c"}},
                                                   {L"1", {"a"}},
                                                   {L"2abc", {"a", "b"}},
                                                   {L" 2", {"a", "b"}},
                                                   {L"-5", {}},
                                                   {L"abc", {}},
                                                   {L"", {}},
                                                   {L"4", {"false, count 8"}},
                                                   {L"1000", {"false, count 1004"}}};
  SetOptions({L"a", L"b", L"c"});
  MakeProps();
  for (const auto& [count, want] : rows) {
    SetOption(L"Count", count);
    EXPECT_EQ(Configured(), want) << ToUtf8(count);
  }
}

TEST_F(StartOptionsTest, AHugeCountIsFalseWithNothingLeft) {
  SetOptions({L"a", L"b", L"c"});
  for (const wchar_t* count : {L"2147483647", L"2147483643", L"2147483000", L"1000000000", L"20000000"}) {
    SetOption(L"Count", count);
    EXPECT_FALSE(Build().ok) << ToUtf8(count);
  }
}

TEST_F(StartOptionsTest, MoreThanAMillionOptionsAreHandedOutWhenAllOfThemAreThere) {
  const GuardPages none(false);  // they would take a page for each of the texts
  FakeKey key;
  key.values = {{L"Count", {0, L"1048577"}}};
  key.anyOther = {0, L"-Dx"};
  const FakeRegistry registry(key);
  const Texts options = Configured();
  ASSERT_EQ(options.size(), 1048578u) << "and the Count, which stands for the one property";
  EXPECT_EQ(std::count(options.begin(), options.end(), "-Dx"), 1048577);
}

TEST_F(StartOptionsTest, ACountThatNoIntegerHoldsIsFalseOrAWrappedCount) {
  SetOptions({L"a", L"b", L"c", L"d"});
  MakeProps();
  for (const auto& [text, wrapped] : {std::pair(L"4294967300", 8), {L"4294967296", 4}, {L"99999999999999999999", 4}}) {
    SetOption(L"Count", text);
    const Built built = Build();
    if (built.ok) {
      EXPECT_EQ(built.count, wrapped) << ToUtf8(text);
    }
  }
}

TEST_F(StartOptionsTest, OptionsAreTakenFromWhateverBytesTheRegistryHolds) {
  const std::wstring list = List();
  MakeProps();
  m_registry.SetRaw(Hive::Machine, list, L"Count", REG_SZ, {'3', 0});
  m_registry.SetRaw(Hive::Machine, list, L"0", REG_SZ, {'-', 0, 'a', 0});
  m_registry.SetRaw(Hive::Machine, list, L"1", REG_EXPAND_SZ, {'%', 0, 'b', 0, '%', 0, 'x'});
  m_registry.SetRaw(Hive::Machine, list, L"2", REG_SZ, {});
  EXPECT_EQ(Configured(), (Texts{"-a", "%b%", ""}));
  m_registry.SetRaw(Hive::Machine, list, L"1", REG_DWORD, {1, 0, 0, 0});
  EXPECT_EQ(Configured(), (Texts{"false, count 7"})) << "a number is no option, so entry 1 is missing";
}

TEST_F(StartOptionsTest, AnOptionOfOneMebibyteIsKeptWhole) {
  const std::wstring large(512 * 1024, L'x');
  SetOptions({large});
  SetProperty(L"p", large);
  const Texts options = Configured();
  ASSERT_EQ(options.size(), 2u);
  EXPECT_TRUE(options[0] == std::string(large.size(), 'x'));
  EXPECT_TRUE(options[1] == "-Dp=" + std::string(large.size(), 'x'));
}

// ---- the class path option ----

TEST_F(StartOptionsTest, AnExtraClassPathComesFirstFollowedByASeparatorAndAnEmptyOneIsIgnored) {
  const std::string plain = Build(nullptr).texts.at(0);
  EXPECT_EQ(plain, ClassPathOption());
  EXPECT_EQ(Build(L"").texts.at(0), plain);
  const std::string prefix = "-Djava.class.path=";
  EXPECT_EQ(Build(L"C:\\x y.jar;z").texts.at(0), prefix + "C:\\x y.jar;z;" + plain.substr(prefix.size()));
}

TEST_F(StartOptionsTest, TheFixedOptionsAreOfferedWithTheBootClassPathOfTheRecordedLibrary) {
  const LoadedModule jvm(m_folder, L"jre\\bin\\client\\jvm.dll");
  static HMODULE recorded = nullptr;
  recorded = jvm.Handle();
  m_config->m_pfnFindLoadedModule = [](const char*) { return recorded; };
  std::wstring libraries = m_folder.Path(L"jre") + L"\\LIB";
  CharUpperBuffW(libraries.data(), static_cast<DWORD>(libraries.size()));
  EXPECT_EQ(Build().texts.at(1), ToUtf8(BootClassPathOption(libraries)));
}

// ---- a known host ----

TEST_F(StartOptionsTest, AKnownHostReadsItsDevelopmentConfigurationAlone) {
  SetOptions({L"-wrong"});
  SetProperty(L"wrong", L"v");
  BecomeKnown();
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"false, count 0"}));
  SetOptions({L"-Xint", L"-Xrs"});
  EXPECT_EQ(Configured(), (Texts{"false, count 0"})) << "no properties";
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"false, count 0"}));
  SetProperty(L"p", L"v");
  EXPECT_EQ(Configured(), (Texts{"-Xint", "-Xrs", "-Dp=v"}));
  SetOption(L"Count", L"3");
  EXPECT_EQ(Configured(), (Texts{"false, count 8"})) << "a missing entry: the full count";
  m_registry.DeleteKey(Hive::Machine, List());
  EXPECT_EQ(Configured(), (Texts{"false, count 0"})) << "no options";
  SetOption(L"0", L"-Xint");
  JavaVMOption* options = nullptr;
  int32_t count = -77;
  EXPECT_FALSE(m_config->BuildJavaVMOptions(&options, &count, nullptr)) << "no Count";
  EXPECT_EQ(options, nullptr);
  EXPECT_EQ(count, -77) << "left as it was";
}

TEST_F(StartOptionsTest, AKnownHostWithoutItsRootIsFalseAndAJavaLauncherIsOneWithItsOwn) {
  SetHost(*m_config, HostKind::Tablero);
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"false, count 0"}));
  EXPECT_FALSE(Build().ok);
  m_expectedBoxes = 1;  // its class path list is missing as well
  SetHost(*m_config, HostKind::Loomhall);
  EXPECT_FALSE(Build().ok);
  m_key = std::wstring(kLoomhallRoot) + L"\\Java\\QVIDEConfig\\";
  MakeProps();
  SetOptions({L"-Xrs"});
  EXPECT_EQ(Configured(), (Texts{"-Xrs"}));
}

// ---- false for want of something else ----

TEST_F(StartOptionsTest, WithoutTheBuiltInTreeThereIsNoClassPathAndAnUnknownHostHasNoProperties) {
  const FailCall fault(kQvshrCallOpenDefaultTree, 1, kQvshrFailFromHere);
  EXPECT_EQ(Configured(), (Texts{"false, count 0"}));
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"false, count 0"}));
}

TEST_F(StartOptionsTest, ABuiltInTreeWithoutTheKeyIsFalse) {
  const FakeDefaultTree tree(L"QVSysclasspath", {{L"Count", L"0"}});
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"false, count 0"}));
  EXPECT_FALSE(Build().ok);
  MakeProps();
  SetOption(L"0", L"no count");
  EXPECT_FALSE(Build().ok) << "and none to replace a list without a Count";
}

// ---- properties ----

TEST_F(StartOptionsTest, PropertiesComeInTheOrderOfTheKey) {
  FakeKey key;
  key.values = {{L"b", {0, L"2"}}, {L"a", {0, L"1"}}, {L"c", {0, L""}}, {L"", {0, L"x"}}, {L"d", {0, std::nullopt}}};
  const FakeRegistry registry(key);
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"-D=x", L"-Da=1", L"-Db=2", L"-Dc=", L"-Dd="}));
  EXPECT_EQ(key.opened, (std::vector<std::pair<std::wstring, uint32_t>>{{L"Java\\QVRTConfig\\QVJVMprops", 0x20019}}));
  EXPECT_EQ(registry.Requests(), (std::vector<FakeRegistry::Request>{{HKEY_LOCAL_MACHINE, kQuovantRoot, 0x20019}}));
  EXPECT_EQ(key.references, 1u);
}

TEST_F(StartOptionsTest, ValuesThatAreNoTextAreNoProperties) {
  const std::wstring key = Props();
  m_registry.SetRaw(Hive::Machine, key, L"number", REG_DWORD, {1, 0, 0, 0});
  m_registry.SetRaw(Hive::Machine, key, L"open", REG_SZ, {'v', 0});
  m_registry.SetRaw(Hive::Machine, key, L"bytes", REG_BINARY, std::vector<unsigned char>(3000, 1));
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"-Dopen=v"}));
}

TEST_F(StartOptionsTest, AThousandPropertiesAreAllRead) {
  const std::wstring key = Props();
  std::vector<std::wstring> want;
  for (int i = 0; i < 1000; ++i) {
    const std::wstring number = std::to_wstring(i);
    m_registry.SetText(Hive::Machine, key, L"p" + number, number);
    want.push_back(L"-Dp" + number + L"=" + number);
  }
  std::vector<std::wstring> read = ReadProperties();
  std::sort(read.begin(), read.end());
  std::sort(want.begin(), want.end());
  EXPECT_EQ(read, want);
}

// One key stands for both lists.
TEST_F(StartOptionsTest, TheOptionListIsProbedForItsCountBeforeItIsUsedAndACountWithoutAnObjectIs0) {
  EXPECT_EQ(ReadProperties(), (std::vector<std::wstring>{L"-Djava.compiler=NONE"})) << "for a missing key";
  FakeKey key;
  key.values = {{L"0", {0, L"-Xint"}}};
  {
    const FakeRegistry registry(key);
    EXPECT_EQ(Configured(), (Texts{"-Xmx128m", "-verbose:jni", "-D0=-Xint"}))
        << "properties as they are, options replaced for want of a Count";
  }
  EXPECT_EQ(key.references, 1u);
  key.values[L"Count"] = {0, std::nullopt};
  const FakeRegistry registry(key);
  EXPECT_EQ(Configured(), (Texts{"-D0=-Xint", "-DCount="}));
}

}  // namespace
}  // namespace qvtest
