// The options exactly as they reach JNI_CreateJavaVM: order, text and hooks, for each kind of host and configuration.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/jvm_config_info.h"
#include "service/output_log.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

std::string UpperCase(std::wstring text) {
  CharUpperW(text.data());
  return ToUtf8(text);
}

// The class path option of an unknown host whose archives are nowhere.
std::string ClassPathOption(const StartupScene& scene, const std::string& first = {},
                            const std::string& environment = {}) {
  return "-Djava.class.path=" + first + ToUtf8(BuiltInClassPath(scene.programFolder + L"\\IDE")) + environment + ";.";
}

// For a server JVM, whose folder stays in.
std::string BootClassPathOption() {
  const std::string lib = UpperCase(FakeJvm::Home()) + "\\BIN\\SERVER\\LIB\\";
  return "-Xbootclasspath/a:" + lib + "deploy.jar;" + lib + "javaws.jar;" + lib + "plugin.jar";
}

Strings Expected(const std::string& classPath, const Strings& configured) {
  Strings all = {classPath, BootClassPathOption(), "vfprintf", "exit"};
  all.insert(all.end(), configured.begin(), configured.end());
  return all;
}

TEST(Options, UnknownHostWithoutConfigurationGetsTheSevenBuiltInOnes) {
  const StartupWorld world;
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(),
            Expected(ClassPathOption(world), {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}));
  const std::vector<SeenOption> options = world.jvm.Options();
  EXPECT_EQ(options.at(2).extraInfo, reinterpret_cast<void*>(&JvmVfprintfHook));
  EXPECT_EQ(options.at(3).extraInfo, reinterpret_cast<void*>(&JvmExitHook));
}

TEST(Options, ThreadsClassPathComesFirst) {
  const StartupWorld world;
  ASSERT_EQ(CreateVM(L"C:\\mine\\a.jar;C:\\mine\\b.jar").status, 0);
  EXPECT_EQ(world.jvm.OptionTexts().at(0), ClassPathOption(world, "C:\\mine\\a.jar;C:\\mine\\b.jar;"));
}

TEST(Options, EmptyClassPathOfTheThreadIsIgnored) {
  const StartupWorld world;
  ASSERT_EQ(CreateVM(L"").status, 0);
  EXPECT_EQ(world.jvm.OptionTexts().at(0), ClassPathOption(world));
}

TEST(Options, EnvironmentsClassPathStandsBeforeTheCurrentFolder) {
  const StartupWorld world;
  const EnvironmentScope classPath(L"CLASSPATH", L"x");
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_EQ(world.jvm.OptionTexts().at(0), ClassPathOption(world, {}, ";x"));
}

TEST(Options, LongClassPathArrivesWhole) {
  const StartupWorld world;
  const std::wstring longPath(30000, L'p');
  ASSERT_EQ(CreateVM(longPath.c_str()).status, 0);
  EXPECT_EQ(world.jvm.OptionTexts().at(0), ClassPathOption(world, std::string(30000, 'p') + ";"));
}

TEST(Options, TextsAreInTheAnsiCodePage) {
  const StartupWorld world;
  ASSERT_EQ(CreateVM(L"C:\\caf\u00E9.jar").status, 0);
  const std::string option = world.jvm.OptionTexts().at(0);
  std::wstring back(option.size() + 1, L'\0');
  back.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, option.data(), static_cast<int>(option.size()),
                                                      back.data(), static_cast<int>(back.size()))));
  EXPECT_EQ(back.rfind(L"-Djava.class.path=C:\\caf\u00E9.jar;", 0), 0u) << ToUtf8(back);
}

TEST(Options, ArchivesBesideTheServiceWinOverThoseBelowIDE) {
  // The stand-in for the service's folder is this program's, so a host path of our own moves both.
  const TempFolder product;
  product.WriteFile(L"qvjdbc12.jar");
  product.WriteFile(L"JRE\\LIB\\rt.jar");
  const StartupWorld world(product.Path(L"program.exe"));
  ASSERT_EQ(CreateVM().status, 0);
  std::string builtIn = ToUtf8(BuiltInClassPath(product.Path() + L"\\IDE"));
  const std::string last = ToUtf8(product.Path()) + "\\IDE\\qvjdbc12.jar";
  ASSERT_EQ(builtIn.substr(builtIn.size() - last.size()), last);
  builtIn = builtIn.substr(0, builtIn.size() - last.size()) + ToUtf8(product.Path()) + "\\qvjdbc12.jar";
  EXPECT_EQ(world.jvm.OptionTexts().at(0),
            "-Djava.class.path=" + ToUtf8(product.Path()) + "\\JRE\\LIB\\rt.jar;" + builtIn + ";.");
}

constexpr wchar_t kRuntimeConfig[] = L"Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\";

struct UnknownHostCase {
  const char* name;
  std::optional<std::vector<std::wstring>> list;  // QVJVMconfig, none: no such key
  std::optional<std::wstring> count;              // instead of the list's own Count
  std::optional<std::vector<std::pair<const wchar_t*, const wchar_t*>>> properties;
  Strings want;
};

TEST(Options, UnknownHostsRegistryStandsInPieceByPiece) {
  for (const UnknownHostCase& row : {
           UnknownHostCase{"the list alone: the properties are the built-in ones",
                           {{L"-Xss1m"}},
                           {},
                           {},
                           {"-Xss1m", "-Djava.compiler=NONE"}},
           UnknownHostCase{"the properties alone: the list is the built-in one",
                           {},
                           {},
                           {{{L"a.b", L"c d"}}},
                           {"-Xmx128m", "-verbose:jni", "-Da.b=c d"}},
           UnknownHostCase{"both", {{L"-Xss1m", L"-Xmx64m"}}, {}, {{{L"p", L""}}}, {"-Xss1m", "-Xmx64m", "-Dp="}},
           UnknownHostCase{"an empty properties key is not replaced", {{L"-Xss1m"}}, {}, {{}}, {"-Xss1m"}},
           UnknownHostCase{"Count 0", {{}}, {}, {{}}, {}},
           UnknownHostCase{"a Count below the list", {{L"-Xss1m", L"-Xmx64m"}}, L"1", {{}}, {"-Xss1m"}},
           UnknownHostCase{"a negative Count", {{L"-Xss1m"}}, L"-1", {{}}, {}},
           UnknownHostCase{"a Count that is no number", {{L"-Xss1m"}}, L"many", {{}}, {}},
           UnknownHostCase{"a Count with a tail", {{L"-Xss1m", L"-Xmx64m"}}, L"1.9", {{}}, {"-Xss1m"}},
       }) {
    SCOPED_TRACE(row.name);
    StartupWorld world;
    const std::wstring list = std::wstring(kRuntimeConfig) + L"QVJVMconfig";
    const std::wstring properties = std::wstring(kRuntimeConfig) + L"QVJVMprops";
    if (row.list) world.registry.SetList(Hive::Machine, list, *row.list);
    if (row.count) world.registry.SetText(Hive::Machine, list, L"Count", *row.count);
    if (row.properties) world.registry.CreateKey(Hive::Machine, properties);
    for (const auto& [name, value] :
         row.properties.value_or(std::vector<std::pair<const wchar_t*, const wchar_t*>>())) {
      world.registry.SetText(Hive::Machine, properties, name, value);
    }
    EXPECT_EQ(CreateVM().status, 0);
    EXPECT_EQ(world.jvm.OptionTexts(), Expected(ClassPathOption(world), row.want));
  }
}

TEST(Options, UnknownHostsListWithoutCountIsReplacedByTheBuiltInOne) {
  StartupWorld world;
  world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig", L"0", L"-Xss1m");
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(),
            Expected(ClassPathOption(world), {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}));
}

TEST(Options, UnknownHostsListWithAGapIsNoConfiguration) {
  StartupWorld world;
  world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig", L"Count", L"2");
  world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig", L"0", L"-Xss1m");
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 0u);
}

TEST(Options, ListenersOfTheDebugChannelHearNoSecret) {
  StartupWorld world;
  static std::wstring told;
  told.clear();
  const ImportHook debugger(
      nullptr, "IsDebuggerPresent", +[]() WINAPI { return BOOL{TRUE}; });
  const ImportHook output(
      nullptr, "OutputDebugStringW", +[](const wchar_t* text) WINAPI { told += text; });
  world.registry.SetList(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig",
                         {L"-agentlib:x=user=me,Pwd=h1dden", L"-Xss1m"});
  world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMprops", L"my.PassWord", L"h1dden");
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_NE(told.find(L"option -agentlib:x=user=me,Pwd=***\n"), std::wstring::npos) << ToUtf8(told);
  EXPECT_NE(told.find(L"option -Xss1m\n"), std::wstring::npos) << ToUtf8(told);
  EXPECT_NE(told.find(L"option -Dmy.PassWord=***\n"), std::wstring::npos) << ToUtf8(told);
  EXPECT_EQ(told.find(L"h1dden"), std::wstring::npos) << ToUtf8(told);
  EXPECT_EQ(world.jvm.OptionTexts().at(6), "-Dmy.PassWord=h1dden") << "the JVM gets it whole";
}

TEST(Options, CountThatNoListCanHaveEndsQuicklyAndSafely) {
  for (const wchar_t* count : {L"2147483647", L"2147483643", L"4294967296", L"99999999999999999999"}) {
    SCOPED_TRACE(ToUtf8(count));
    StartupWorld world;
    world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig", L"Count", count);
    const int32_t status = CreateVM().status;
    // A number that does not fit may saturate or wrap to 0; it must not start a JVM with options that are not there.
    if (status != QV_E_FAIL) {
      EXPECT_EQ(world.jvm.OptionTexts(), Expected(ClassPathOption(world), {"-Djava.compiler=NONE"}));
    }
  }
}

struct KnownHost {
  const char* program;
  const wchar_t* root;
};

TEST(Options, KnownHostGetsItsOwnConfigurationAndNothingBuiltIn) {
  for (const KnownHost& host : {KnownHost{"qv190.exe", kQuovantRoot}, KnownHost{"tk190.exe", kTableroRoot}}) {
    SCOPED_TRACE(host.program);
    StartupWorld world(L"C:\\hosts\\" + ToWide(host.program));
    const std::wstring java = std::wstring(host.root) + L"\\Java";
    world.ConfigureKnownHost(host.root);
    world.registry.SetList(Hive::Machine, java + L"\\QVIDEConfig\\QVSysclasspath", {L"C:\\one.jar", L"C:\\two.jar"});
    world.registry.SetList(Hive::Machine, java + L"\\QVIDEConfig\\QVJVMconfig", {L"-Xmx64m", L"-verbose"});
    world.registry.SetText(Hive::Machine, java + L"\\QVIDEConfig\\QVJVMprops", L"user.x", L"y");
    world.registry.SetList(Hive::User, std::wstring(host.root) + L"\\ClassPath", {L"C:\\user.jar"});
    const EnvironmentScope classPath(L"CLASSPATH", L"C:\\env.jar");
    EXPECT_EQ(CreateVM(L"C:\\thread.jar").status, 0);
    EXPECT_EQ(world.jvm.OptionTexts(),
              Expected("-Djava.class.path=C:\\thread.jar;C:\\jdk\\JRE\\LIB\\rt.jar;C:\\jdk\\LIB\\tools.jar;" +
                           ToUtf8(BuiltInClassPath(L"C:\\hosts\\IDE")) +
                           ";C:\\one.jar;C:\\two.jar;C:\\user.jar;C:\\env.jar;.",
                       {"-Xmx64m", "-verbose", "-Duser.x=y"}));
    EXPECT_TRUE(world.boxes.Shown().empty());
  }
}

TEST(Options, JavaHostGetsNoRuntimeArchivesAndNoRegistryList) {
  StartupWorld world(L"C:\\java\\bin\\javaw.exe");
  const std::wstring config = std::wstring(kLoomhallRoot) + L"\\Java\\QVIDEConfig";
  world.registry.SetList(Hive::Machine, config + L"\\QVSysclasspath", {L"C:\\not-read.jar"});
  world.registry.SetList(Hive::Machine, config + L"\\QVJVMconfig", {L"-Xmx32m"});
  world.registry.CreateKey(Hive::Machine, config + L"\\QVJVMprops");
  world.registry.SetList(Hive::User, std::wstring(kLoomhallRoot) + L"\\ClassPath", {L"C:\\user.jar"});
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(),
            Expected("-Djava.class.path=" + ToUtf8(BuiltInClassPath(L"C:\\java\\bin\\IDE")) + ";C:\\user.jar;.",
                     {"-Xmx32m"}));
}

TEST(Options, KnownHostWithoutAPieceOfItsConfigurationGetsNoJVM) {
  const std::wstring config = std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig";
  struct Row {
    const char* name;
    void (*spoil)(RegistrySandbox& registry, const std::wstring& config);
  };
  for (const Row& row : {
           Row{"no option list", [](auto&r, auto&c) { r.DeleteKey(Hive::Machine, c + L"\\QVJVMconfig"); }},
           Row{"no Count in it", [](auto&r, auto&c) { r.DeleteValue(Hive::Machine, c + L"\\QVJVMconfig", L"Count"); }},
           Row{"a gap in it", [](auto&r, auto&c) { r.SetText(Hive::Machine, c + L"\\QVJVMconfig", L"Count", L"1"); }},
           Row{"no properties key", [](auto&r, auto&c) { r.DeleteKey(Hive::Machine, c + L"\\QVJVMprops"); }},
       }) {
    SCOPED_TRACE(row.name);
    StartupWorld world(L"C:\\hosts\\qr190.exe");
    world.ConfigureKnownHost(kQuovantRoot);
    row.spoil(world.registry, config);
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 0u);
    EXPECT_TRUE(world.boxes.Shown().empty()) << "only the numbered class path list has a message";
  }
}

TEST(Options, FirstClassPathOfAThreadCountsWhenItsStartsFail) {
  const StartupWorld world;
  world.jvm.Script().createResult = -1;
  EXPECT_EQ(CreateVM(L"C:\\first.jar").status, QV_E_FAIL);
  world.jvm.Script().createResult = 0;
  EXPECT_EQ(CreateVM(L"C:\\second.jar").status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(1).at(0), ClassPathOption(world, "C:\\first.jar;"));
}

}  // namespace
}  // namespace qvtest
