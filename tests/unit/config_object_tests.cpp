// The configuration object: its defaults and table, and the once-only load, with the host's path as a test gives it.
#include "base/module_handle.h"
#include "tests/support/module_path.h"
#include "tests/support/slot_call.h"
#include "tests/support/threads.h"
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class ConfigObjectTest : public LedgerTest {
 protected:
  ConfigObjectTest() { QvshrLedgerOverrideFolder(0, L"C:\\Users\\u\\Local"); }
};

TEST_F(ConfigObjectTest, StartsWithTheDefaultOfEveryField) {
  const ConfigObject config;
  EXPECT_FALSE(config->m_bHostKnown);
  EXPECT_TRUE(config->m_bQuovantHost);
  EXPECT_TRUE(config->m_bFresh);
  EXPECT_FALSE(config->m_bLoaded);
  EXPECT_FALSE(config->m_bRuntimeFound);
  EXPECT_FALSE(config->m_bLoomhallHost);
  EXPECT_EQ(config->m_pJDKLocation, nullptr);
  EXPECT_EQ(config->m_pJREBinLocation, nullptr);
  EXPECT_EQ(config->m_pLogFilePath, nullptr);
  EXPECT_EQ(config->m_pfnVfprintfHook, nullptr);
  EXPECT_EQ(config->m_pfnExitHook, nullptr);
  EXPECT_TRUE(config->m_bDebugMode);
  EXPECT_STREQ(g_szJvmModuleName, L"qvjvm.dll");
  EXPECT_EQ(std::size(config->m_szRegistryRoot), 50u);
  EXPECT_EQ(std::size(config->m_szServiceName), 30u);
}

TEST_F(ConfigObjectTest, TheTableHoldsLoadAndDestroyWhichLeavesTheMemoryWithoutTheDeleteFlag) {
  const HostPath host(L"C:\\Q\\qv190.exe");
  for (const uint32_t flag : {0u, 1u}) {
    auto* const config = new CQV_JVMConfigInfo();
    EXPECT_EQ(CallSlot<uint8_t>(config, 1), 1u);
    EXPECT_TRUE(config->m_bLoaded);
    FakeString path(L"p");
    config->SetLogFilePath(&path);
    EXPECT_EQ(CallSlot<void*>(config, 0, flag), config);
    EXPECT_EQ(path.references, 0u);
    if (flag == 0) QvshrFree(config);
  }
}

TEST_F(ConfigObjectTest, TheStringsAreReleasedInFieldOrder) {
  std::vector<std::string> gone;
  FakeString jdk(L"a", [&] { gone.push_back("JDK location"); });
  FakeString jre(L"b", [&] { gone.push_back("JRE bin location"); });
  FakeString log(L"c", [&] { gone.push_back("log file path"); });
  {
    const ConfigObject config;
    config->m_pJDKLocation = &jdk;
    config->m_pJREBinLocation = &jre;
    config->m_pLogFilePath = &log;
  }
  EXPECT_EQ(gone, (std::vector<std::string>{"JDK location", "JRE bin location", "log file path"}));
}

// ---- load: the host ----

struct Kind {
  bool known;
  bool quovant;
  bool loomhall;
  const wchar_t* serviceName;
  const wchar_t* root;
};
constexpr Kind kUnknown = {false, true, false, L"Quovant Java VM Service", kQuovantRoot};
constexpr Kind kQuovant = {true, true, false, L"Quovant Java VM Service", kQuovantRoot};
constexpr Kind kTablero = {true, false, false, L"Tablero Java VM Service", kTableroRoot};
constexpr Kind kJava = {true, true, true, L"Quovant Java VM Service", kLoomhallRoot};

void ExpectHost(const ConfigObject& config, const Kind& kind) {
  EXPECT_EQ(config->m_bHostKnown, kind.known);
  EXPECT_EQ(config->m_bQuovantHost, kind.quovant);
  EXPECT_EQ(config->m_bLoomhallHost, kind.loomhall);
}

// Host recognition's own tests have the names; here it matters that the file's name is what counts.
TEST_F(ConfigObjectTest, LoadRecognisesTheHostByItsFileNameInAnyLetterCase) {
  const std::pair<Kind, std::vector<const wchar_t*>> rows[] = {
      {kQuovant, {L"C:\\Q\\qv190.exe", L"C:\\Q\\QW190.EXE", L"C:\\Q\\Qr190.Exe", L"D:/mixed\\qk190.exe", L"qv190.exe"}},
      {kTablero, {L"C:\\T\\tk190.exe", L"C:\\T\\TN190.EXE", L"C:\\T\\Tn190.Exe"}},
      {kJava,
       {L"C:\\J\\bin\\javaw.exe", L"C:\\J\\bin\\JAVAW.EXE", L"C:\\J\\bin\\JavaW.exe", L"C:\\E\\eclipse.exe",
        L"C:\\E\\Eclipse.EXE"}},
      {kUnknown, {L"C:\\J\\bin\\javaw", L"C:\\Q\\qv190w.exe", L"C:\\Q\\qv195.exe", L"C:\\qv190.exe\\other.exe"}}};
  RegistrySandbox registry;
  for (const wchar_t* root : {kQuovantRoot, kTableroRoot, kLoomhallRoot}) registry.CreateKey(Hive::Machine, root);
  for (const auto& [kind, paths] : rows) {
    for (const wchar_t* path : paths) {
      SCOPED_TRACE(ToUtf8(path));
      const HostPath host(path);
      const ConfigObject config;
      EXPECT_TRUE(config->Load());
      ExpectHost(config, kind);
      EXPECT_STREQ(config->m_szServiceName, kind.serviceName);
      EXPECT_TRUE(config->m_bLoaded);
      EXPECT_FALSE(config->m_bFresh);
      qv::KeyRef key;
      EXPECT_TRUE(config->OpenRootKey(HKEY_LOCAL_MACHINE, 0x20019, key.Out()));
      EXPECT_STREQ(config->m_szRegistryRoot, kind.root);
    }
  }
}

// A path of this many units whose file name is a known host's.
std::wstring PathOfLength(size_t units) {
  const std::wstring name = L"\\qv190.exe";
  return L"C:\\" + std::wstring(units - 3 - name.size(), L'd') + name;
}

TEST_F(ConfigObjectTest, AHostPathOf260UnitsFailsAlthoughItWouldFitAndTheNextLoadTriesAgain) {
  const MessageBoxCatcher boxes;
  const ConfigObject config;
  for (const size_t units : {0u, 260u, 261u, 300u, 5000u, 32000u}) {
    SCOPED_TRACE(units);
    const HostPath host(units != 0 ? PathOfLength(units) : L"");
    EXPECT_FALSE(config->Load());
    ExpectHost(config, kUnknown);
    EXPECT_FALSE(config->m_bLoaded);
    EXPECT_FALSE(config->m_bFresh) << "a load began: the one thing that a failed one changes";
    EXPECT_EQ(config->m_pLogFilePath, nullptr);
    EXPECT_STREQ(config->m_szServiceName, L"");
  }
  const HostPath host(PathOfLength(259));
  EXPECT_TRUE(config->Load());
  ExpectHost(config, kQuovant);
  EXPECT_EQ(boxes.Shown(), std::vector<ShownBox>{});
}

TEST_F(ConfigObjectTest, ASecondLoadTouchesNeitherTheLockNorAField) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const ConfigObject config;
  auto* const lock = std::exchange(g_csConfigLoad, nullptr);
  EXPECT_FALSE(config->Load()) << "without its lock nothing is loaded";
  EXPECT_TRUE(config->m_bFresh);
  g_csConfigLoad = lock;
  ASSERT_TRUE(config->Load());
  config->m_bFresh = true;
  config->m_bHostKnown = false;
  config->m_bQuovantHost = true;
  config->m_szServiceName[0] = L'x';
  IQvString* const logPath = config->m_pLogFilePath;
  g_csConfigLoad = nullptr;
  EXPECT_TRUE(config->Load());
  g_csConfigLoad = lock;
  EXPECT_TRUE(config->m_bFresh);
  ExpectHost(config, kUnknown);
  EXPECT_EQ(config->m_szServiceName[0], L'x');
  EXPECT_EQ(config->m_pLogFilePath, logPath);
  EXPECT_EQ(host.Questions(), 1);
}

TEST_F(ConfigObjectTest, ThreadsThatLoadAtOnceLoadOnce) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const ImportHook slow(
      nullptr, "CharLowerW", +[](LPWSTR text) WINAPI {
        Sleep(1);  // the other threads come in meanwhile
        return text;
      });
  const ConfigObject config;
  std::atomic<int> loaded = 0;
  OnThreads(16, [&](int) { loaded += config->Load() && config->m_bLoaded ? 1 : 0; });
  EXPECT_EQ(loaded, 16);
  EXPECT_EQ(host.Questions(), 1);
}

TEST_F(ConfigObjectTest, AHostLibraryWithoutFileNamesMakesTheHostUnknown) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const FailCall fault(kQvshrCallGetFileName, 1);
  const ConfigObject config;
  EXPECT_TRUE(config->Load());
  ExpectHost(config, kUnknown);
}

TEST_F(ConfigObjectTest, TheServiceNameIsAResourceOfTheServicesModuleAndItsLackNoFailure) {
  std::vector<UINT> asked;
  const FunctionHook<decltype(&LoadStringW)> strings("LoadStringW", [&](HINSTANCE from, UINT id, LPWSTR, int capacity) {
    EXPECT_EQ(from, GetModuleHandleW(nullptr));
    EXPECT_EQ(capacity, 30);
    asked.push_back(id);
    return 0;
  });
  HINSTANCE const module = std::exchange(g_hModule, GetModuleHandleW(nullptr));
  for (const wchar_t* path : {L"C:\\Q\\qv190.exe", L"C:\\T\\tk190.exe", L"C:\\J\\javaw.exe", L"C:\\any.exe"}) {
    const HostPath host(path);
    const ConfigObject config;
    wcscpy(config->m_szServiceName, L"as it was");
    EXPECT_TRUE(config->Load());
    EXPECT_STREQ(config->m_szServiceName, L"as it was");
  }
  g_hModule = module;
  EXPECT_EQ(asked, (std::vector<UINT>{1000, 1001, 1000, 1000}));
}

// ---- load: the log path ----

std::wstring LoadedLogPath() {
  const HostPath host(L"C:\\Q\\other.exe");
  const ConfigObject config;
  EXPECT_TRUE(config->Load());
  EXPECT_TRUE(config->Load()) << "which asks nobody again";
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallIsWebDeployment), 1u);
  return TextOf(config->m_pLogFilePath);
}

TEST_F(ConfigObjectTest, TheLogLiesInTheLocalApplicationDataFolderOrElseInItsDefaultPlace) {
  const std::wstring longest = L"C:\\" + std::wstring(256, L'f');
  const struct {
    const char* name;
    std::wstring inUse;
    const wchar_t* byDefault;
    std::wstring want;
    int32_t lastAsked;  // for the folder in use, or for its default place
  } rows[] = {{"the folder in use", L"C:\\Users\\u\\Local", L"D:\\Default", L"C:\\Users\\u\\Local\\vm.out", 0},
              {"its default place", L"", L"D:\\Default", L"D:\\Default\\vm.out", 1},
              {"neither: the root", L"", L"", L"\\vm.out", 1},
              {"259 units are not cut", longest, L"", longest + L"\\vm.out", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    QvshrLedgerReset();
    QvshrLedgerOverrideFolder(0, row.inUse.c_str());
    QvshrLedgerOverrideFolder(1, row.byDefault);
    EXPECT_EQ(LoadedLogPath(), row.want);
    QvshrLedgerFolderRequest request{};
    QvshrLedgerLastFolderRequest(&request);
    EXPECT_EQ(request.folderId, 28);
    EXPECT_EQ(request.capacity, 260);
    EXPECT_EQ(request.create, 1);
    EXPECT_EQ(request.useDefault, row.lastAsked);
  }
}

TEST_F(ConfigObjectTest, InAWebDeploymentTheRuntimeLibraryNamesTheLogOrElseItIsARelativeName) {
  const std::wstring longest = L"E:\\" + std::wstring(257, L'w');
  const struct {
    const char* name;
    int32_t deployment;
    const wchar_t* library;  // what stands in for the host's runtime library; null for none
    std::optional<std::wstring> named;
    std::wstring want;
  } rows[] = {{"no library", 1, nullptr, std::nullopt, L"vm.out"},
              {"it names the log", 1, L"unit_module.dll", L"E:\\web\\jvm.txt", L"E:\\web\\jvm.txt"},
              {"260 units are kept whole", -1, L"unit_module.dll", longest, longest},
              {"it names nothing", 1, L"unit_module.dll", std::nullopt, L"vm.out"},
              {"it lacks the export", 1, L"..\\qvshr.dll", L"E:\\never", L"vm.out"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    QvshrLedgerReset();
    QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, row.deployment);
    const EnvironmentScope log(L"QV_UNIT_WEB_LOG", row.named);
    const TempFolder folder;
    HMODULE library = nullptr;
    if (row.library != nullptr) {
      library = LoadLibraryW(folder.CopyIn(ProgramFolder() + L"\\" + row.library, L"qvrth.dll").c_str());
      ASSERT_NE(library, nullptr);
    }
    EXPECT_EQ(LoadedLogPath(), row.want);
    EXPECT_EQ(QvshrLedgerCalls(kQvshrCallGetSpecialFolder), 0u);
    if (library != nullptr) FreeLibrary(library);
  }
}

TEST_F(ConfigObjectTest, InAWebDeploymentTheRuntimeLibraryIsLoadedThroughTheSearchPathAndStays) {
  QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1);
  const TempFolder folder;
  folder.CopyIn(ProgramFolder() + L"\\unit_module.dll", L"qvrth.dll");
  const EnvironmentScope path(L"PATH", folder.Path() + L";" + ReadVariable(L"PATH").value_or(L""));
  const EnvironmentScope log(L"QV_UNIT_WEB_LOG", L"E:\\web.txt");
  ASSERT_EQ(GetModuleHandleW(L"qvrth.dll"), nullptr);
  EXPECT_EQ(LoadedLogPath(), L"E:\\web.txt");
  HMODULE const library = GetModuleHandleW(L"qvrth.dll");
  ASSERT_NE(library, nullptr) << "it was freed";
  FreeLibrary(library);
}

TEST_F(ConfigObjectTest, ALoadWithoutMemoryForTheLogPathSucceedsWithoutOne) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const ConfigObject config;
  {
    const FailAllocation fault(1, kQvshrFailFromHere);
    EXPECT_TRUE(config->Load());
    EXPECT_TRUE(fault.Fired());
  }
  EXPECT_TRUE(config->m_bLoaded);
  ExpectHost(config, kTablero);
  EXPECT_EQ(config->m_pLogFilePath, nullptr);
  EXPECT_EQ(Given(*config, &CQV_JVMConfigInfo::GetLogFilePath), L"vm.out");
}

// ---- the texts ----

TEST(ResourceTest, TheStringTableHoldsTheServiceNamesAndTheRegistryMessages) {
  const std::pair<UINT, const wchar_t*> rows[] = {
      {1000, L"Quovant Java VM Service"},
      {1001, L"Tablero Java VM Service"},
      {1002, L"Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\%s\\%s"},
      {1003, L"Error initializing Java VM.\nCould not find Registry value:\nHKEY_LOCAL_MACHINE\\%s\\%s\\%s"}};
  for (const auto& [id, text] : rows) {
    wchar_t loaded[512] = {};
    const int units = LoadStringW(g_hModule, id, loaded, 512);
    EXPECT_STREQ(loaded, text) << id;
    if (id <= 1001) {
      EXPECT_LT(units, 30) << "it fits its field";
    }
  }
}

}  // namespace
}  // namespace qvtest
