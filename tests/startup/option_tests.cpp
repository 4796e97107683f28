// The options exactly as they reach JNI_CreateJavaVM: order, text and hooks, for each kind of host and configuration;
// and what the user sees when a known host's configuration is incomplete.
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

// The class path option of an unknown host whose archives are nowhere; this program stands in for the service's module.
std::string ClassPathOption(const std::string& first = {}, const std::string& environment = {}) {
  return "-Djava.class.path=" + first + ToUtf8(BuiltInClassPath(ProgramFolder() + L"\\IDE")) + environment + ";.";
}

// For a server JVM, whose folder stays in.
std::string ServersBootClassPath() {
  std::wstring libraries = FakeJvm::Home() + L"\\BIN\\SERVER\\LIB";
  CharUpperW(libraries.data());
  return ToUtf8(BootClassPathOption(libraries));
}

Strings Expected(const std::string& classPath, const Strings& configured) {
  Strings all = {classPath, ServersBootClassPath(), "vfprintf", "exit"};
  all.insert(all.end(), configured.begin(), configured.end());
  return all;
}

const std::wstring kLongPath(30000, L'p');

TEST(Options, UnknownHostWithoutConfigurationGetsTheSevenBuiltInOnes) {
  const StartedWorld world;
  EXPECT_EQ(world.jvm.OptionTexts(), Expected(ClassPathOption(), {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}));
  const std::vector<SeenOption> options = world.jvm.Options();
  EXPECT_EQ(options.at(2).extraInfo, reinterpret_cast<void*>(&JvmVfprintfHook));
  EXPECT_EQ(options.at(3).extraInfo, reinterpret_cast<void*>(&JvmExitHook));
}

TEST(Options, ThreadsClassPathComesFirstAndTheEnvironmentsBeforeTheCurrentFolder) {
  const struct {
    const char* name;
    const wchar_t* ofThread;
    std::optional<std::wstring> variable;
    std::string first;
    const char* environment;
  } rows[] = {{"of the thread", L"C:\\mine\\a.jar;C:\\mine\\b.jar", {}, "C:\\mine\\a.jar;C:\\mine\\b.jar;", ""},
              {"an empty one is ignored", L"", {}, "", ""},
              {"of the environment", nullptr, L"x", "", ";x"},
              {"a long one arrives whole", kLongPath.c_str(), {}, std::string(30000, 'p') + ";", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const StartupWorld world;
    const EnvironmentScope classPath(L"CLASSPATH", row.variable);
    EXPECT_EQ(CreateVM(row.ofThread).status, 0);
    EXPECT_EQ(world.jvm.OptionTexts().at(0), ClassPathOption(row.first, row.environment));
  }
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

// What stands in for what is missing is in start_options_tests.cpp.
TEST(Options, UnknownHostGetsTheListAndThePropertiesOfTheRegistry) {
  StartupWorld world;
  world.registry.SetList(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMconfig", {L"-Xss1m", L"-Xmx64m"});
  world.registry.SetText(Hive::Machine, std::wstring(kRuntimeConfig) + L"QVJVMprops", L"p", L"");
  ASSERT_EQ(CreateVM().status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(), Expected(ClassPathOption(), {"-Xss1m", "-Xmx64m", "-Dp="}));
}

TEST(Options, ListenersOfTheDebugChannelHearNoSecret) {
  StartupWorld world;
  std::wstring told;
  const ImportHook debugger(
      nullptr, "IsDebuggerPresent", +[]() WINAPI { return BOOL{TRUE}; });
  const FunctionHook<decltype(&OutputDebugStringW)> output("OutputDebugStringW", [&](auto text) { told += text; });
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

struct KnownHost {
  const wchar_t* program;
  const wchar_t* root;
  const wchar_t* service;
};
constexpr KnownHost kKnownHosts[] = {{L"C:\\hosts\\qv190.exe", kQuovantRoot, L"Quovant Java VM Service"},
                                     {L"C:\\hosts\\tk190.exe", kTableroRoot, L"Tablero Java VM Service"}};

TEST(Options, KnownHostGetsItsOwnConfigurationAndNothingBuiltIn) {
  for (const KnownHost& host : kKnownHosts) {
    SCOPED_TRACE(ToUtf8(host.program));
    StartupWorld world(host.program);
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

// Only the numbered class path list has a message, which every attempt shows.
TEST(Options, KnownHostWithoutAPieceOfItsConfigurationGetsNoJVM) {
  const struct {
    const char* name;
    const wchar_t* key;
    const wchar_t* value;    // null: the whole key is gone
    const wchar_t* instead;  // null: the value is gone
    const wchar_t* message;
  } rows[] = {{"no option list", L"QVJVMconfig", nullptr, nullptr, nullptr},
              {"no Count in it", L"QVJVMconfig", L"Count", nullptr, nullptr},
              {"a gap in it", L"QVJVMconfig", L"Count", L"1", nullptr},
              {"no properties key", L"QVJVMprops", nullptr, nullptr, nullptr},
              {"no class path list", L"QVSysclasspath", nullptr, nullptr,
               L"Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\"},
              {"no Count in it", L"QVSysclasspath", L"Count", nullptr,
               L"Error initializing Java VM.\nCould not find Registry value:\nHKEY_LOCAL_MACHINE\\"}};
  for (const KnownHost& host : kKnownHosts) {
    for (const auto& row : rows) {
      SCOPED_TRACE(ToUtf8(host.program) + ": " + row.name);
      StartupWorld world(host.program);
      world.ConfigureKnownHost(host.root);
      const std::wstring key = std::wstring(host.root) + L"\\Java\\QVIDEConfig\\" + row.key;
      if (row.value == nullptr) {
        world.registry.DeleteKey(Hive::Machine, key);
      } else if (row.instead == nullptr) {
        world.registry.DeleteValue(Hive::Machine, key, row.value);
      } else {
        world.registry.SetText(Hive::Machine, key, row.value, row.instead);
      }
      std::vector<ShownBox> boxes;
      for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(CreateVM().status, QV_E_FAIL);
        if (row.message != nullptr) {
          const std::wstring missing = row.value != nullptr ? key + L"\\" + row.value : key;
          boxes.push_back({row.message + missing, host.service, MB_ICONERROR, false});
        }
        EXPECT_EQ(world.boxes.Shown(), boxes);
      }
      EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 0u);
    }
  }
}

TEST(Options, FirstClassPathOfAThreadCountsWhenItsStartsFail) {
  const StartupWorld world;
  world.jvm.Script().createResult = -1;
  EXPECT_EQ(CreateVM(L"C:\\first.jar").status, QV_E_FAIL);
  world.jvm.Script().createResult = 0;
  EXPECT_EQ(CreateVM(L"C:\\second.jar").status, 0);
  EXPECT_EQ(world.jvm.OptionTexts(1).at(0), ClassPathOption("C:\\first.jar;"));
}

}  // namespace
}  // namespace qvtest
