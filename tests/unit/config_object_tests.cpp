// The configuration object: its defaults and table, and the once-only load, with the host's path as a test gives it.
#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "base/module_handle.h"
#include "tests/support/module_path.h"
#include "tests/support/slot_call.h"
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

TEST_F(ConfigObjectTest, TheTableHoldsDestroyAndLoad) {
  const HostPath host(L"C:\\Q\\qv190.exe");
  auto* const config = new CQV_JVMConfigInfo();
  EXPECT_TRUE(CallSlot<bool>(config, 1));
  EXPECT_TRUE(config->m_bLoaded);
  EXPECT_EQ(CallSlot<void*>(config, 0, uint32_t{1}), config);
}

TEST_F(ConfigObjectTest, DestroyWithoutTheDeleteFlagLeavesTheMemory) {
  auto* const config = new CQV_JVMConfigInfo();
  FakeString path(L"p");
  config->SetLogFilePath(&path);
  config->Destroy(0);
  EXPECT_EQ(path.references, 0u);
  QvshrFree(config);
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

struct LoadCase {
  const wchar_t* path;
  bool known;
  bool quovant;
  bool loomhall;
  const wchar_t* serviceName;
};

TEST_F(ConfigObjectTest, LoadRecognisesTheHostByItsFileNameInAnyLetterCase) {
  for (const LoadCase& row : {LoadCase{L"C:\\Q\\qv190.exe", true, true, false, L"Quovant Java VM Service"},
                              {L"C:\\Q\\QW190.EXE", true, true, false, L"Quovant Java VM Service"},
                              {L"C:\\Q\\Qr190.Exe", true, true, false, L"Quovant Java VM Service"},
                              {L"D:/mixed\\qk190.exe", true, true, false, L"Quovant Java VM Service"},
                              {L"C:\\T\\tk190.exe", true, false, false, L"Tablero Java VM Service"},
                              {L"C:\\T\\TN190.EXE", true, false, false, L"Tablero Java VM Service"},
                              {L"C:\\J\\bin\\JAVAW.EXE", true, true, true, L"Quovant Java VM Service"},
                              {L"C:\\E\\Eclipse.exe", true, true, true, L"Quovant Java VM Service"},
                              {L"C:\\J\\bin\\javaw", false, true, false, L"Quovant Java VM Service"},
                              {L"C:\\Q\\qv190w.exe", false, true, false, L"Quovant Java VM Service"},
                              {L"C:\\Q\\qv195.exe", false, true, false, L"Quovant Java VM Service"},
                              {L"C:\\qv190.exe\\other.exe", false, true, false, L"Quovant Java VM Service"},
                              {L"qv190.exe", true, true, false, L"Quovant Java VM Service"}}) {
    SCOPED_TRACE(ToUtf8(row.path));
    const HostPath host(row.path);
    const ConfigObject config;
    EXPECT_TRUE(config->Load());
    EXPECT_EQ(config->m_bHostKnown, row.known);
    EXPECT_EQ(config->m_bQuovantHost, row.quovant);
    EXPECT_EQ(config->m_bLoomhallHost, row.loomhall);
    EXPECT_STREQ(config->m_szServiceName, row.serviceName);
    EXPECT_TRUE(config->m_bLoaded);
    EXPECT_FALSE(config->m_bFresh);
  }
}

// A path of this many units whose file name is a known host's.
std::wstring PathOfLength(size_t units) {
  const std::wstring name = L"\\qv190.exe";
  return L"C:\\" + std::wstring(units - 3 - name.size(), L'd') + name;
}

TEST_F(ConfigObjectTest, AHostPathOfExactly260UnitsFailsAlthoughItWouldFit) {
  const HostPath host(PathOfLength(260));
  const ConfigObject config;
  EXPECT_FALSE(config->Load());
  EXPECT_FALSE(config->m_bHostKnown);
  EXPECT_TRUE(config->m_bQuovantHost);
  EXPECT_FALSE(config->m_bLoaded);
  EXPECT_FALSE(config->m_bFresh) << "a load began";
  EXPECT_EQ(config->m_pLogFilePath, nullptr);
}

TEST_F(ConfigObjectTest, AHostPathOf259UnitsIsRecognisedAndLongerOnesFail) {
  for (const size_t units : {259u, 261u, 300u, 32000u}) {
    const HostPath host(PathOfLength(units));
    const ConfigObject config;
    EXPECT_EQ(config->Load(), units == 259) << units << " units";
    EXPECT_EQ(config->m_bHostKnown, units == 259) << units << " units";
  }
}

TEST_F(ConfigObjectTest, AFailedLoadIsTriedAgain) {
  const ConfigObject config;
  {
    const HostPath nowhere(L"");
    EXPECT_FALSE(config->Load());
  }
  EXPECT_FALSE(config->m_bLoaded);
  const HostPath found(L"C:\\T\\tk190.exe");
  EXPECT_TRUE(config->Load());
  EXPECT_TRUE(config->m_bHostKnown);
}

TEST_F(ConfigObjectTest, ASecondLoadTouchesNeitherTheLockNorAField) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const ConfigObject config;
  ASSERT_TRUE(config->Load());
  config->m_bFresh = true;
  config->m_bHostKnown = false;
  IQvString* const logPath = config->m_pLogFilePath;
  auto* const lock = std::exchange(g_csConfigLoad, nullptr);
  EXPECT_TRUE(config->Load()) << "without its lock a load that is not done yet fails";
  g_csConfigLoad = lock;
  EXPECT_TRUE(config->m_bFresh);
  EXPECT_FALSE(config->m_bHostKnown);
  EXPECT_EQ(config->m_pLogFilePath, logPath);
  EXPECT_EQ(host.Questions(), 1);
}

TEST_F(ConfigObjectTest, WithoutItsLockNothingIsLoaded) {
  const ConfigObject config;
  auto* const lock = std::exchange(g_csConfigLoad, nullptr);
  EXPECT_FALSE(config->Load());
  g_csConfigLoad = lock;
  EXPECT_TRUE(config->m_bFresh);
}

TEST_F(ConfigObjectTest, ThreadsThatLoadAtOnceLoadOnce) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const ConfigObject config;
  std::atomic<int> loaded = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { loaded += config->Load() ? 1 : 0; });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loaded, 8);
  EXPECT_EQ(host.Questions(), 1);
}

TEST_F(ConfigObjectTest, AHostLibraryWithoutFileNamesMakesTheHostUnknown) {
  const HostPath host(L"C:\\T\\tk190.exe");
  const FailCall fault(kQvshrCallGetFileName, 1);
  const ConfigObject config;
  EXPECT_TRUE(config->Load());
  EXPECT_FALSE(config->m_bHostKnown);
  EXPECT_TRUE(config->m_bQuovantHost);
}

// ---- load: the log path ----

std::wstring LoadedLogPath() {
  const HostPath host(L"C:\\Q\\other.exe");
  const ConfigObject config;
  EXPECT_TRUE(config->Load());
  return TextOf(config->m_pLogFilePath);
}

struct FolderCase {
  const char* name;
  std::wstring inUse;
  const wchar_t* byDefault;
  std::wstring want;
  int32_t lastAsked;  // for the folder in use, or for its default place
};

TEST_F(ConfigObjectTest, TheLogLiesInTheLocalApplicationDataFolderOrElseInItsDefaultPlace) {
  const std::wstring longest = L"C:\\" + std::wstring(256, L'f');
  for (const FolderCase& row :
       {FolderCase{"the folder in use", L"C:\\Users\\u\\Local", L"D:\\Default", L"C:\\Users\\u\\Local\\vm.out", 0},
        FolderCase{"its default place", L"", L"D:\\Default", L"D:\\Default\\vm.out", 1},
        FolderCase{"neither: the root", L"", L"", L"\\vm.out", 1},
        FolderCase{"259 units are not cut", longest, L"", longest + L"\\vm.out", 0}}) {
    SCOPED_TRACE(row.name);
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

struct WebCase {
  const char* name;
  int32_t deployment;
  const wchar_t* library;  // what stands in for the host's runtime library; null for none
  std::optional<std::wstring> named;
  std::wstring want;
};

TEST_F(ConfigObjectTest, InAWebDeploymentTheRuntimeLibraryNamesTheLogOrElseItIsARelativeName) {
  const std::wstring longest = L"E:\\" + std::wstring(257, L'w');
  for (const WebCase& row :
       {WebCase{"no library", 1, nullptr, std::nullopt, L"vm.out"},
        WebCase{"it names the log", 1, L"unit_module.dll", L"E:\\web\\jvm.txt", L"E:\\web\\jvm.txt"},
        WebCase{"260 units are kept whole", -1, L"unit_module.dll", longest, longest},
        WebCase{"it names nothing", 1, L"unit_module.dll", std::nullopt, L"vm.out"},
        WebCase{"it lacks the export", 1, L"..\\qvshr.dll", L"E:\\never", L"vm.out"}}) {
    SCOPED_TRACE(row.name);
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
  EXPECT_TRUE(config->m_bHostKnown);
  EXPECT_EQ(config->m_pLogFilePath, nullptr);
  IQvString* path = nullptr;
  config->GetLogFilePath(&path);
  EXPECT_EQ(TakeText(path), L"vm.out");
}

// ---- the texts ----

TEST(ResourceTest, TheStringTableHoldsTheServiceNamesAndTheRegistryMessages) {
  const struct {
    UINT id;
    const wchar_t* text;
  } rows[] = {
      {1000, L"Quovant Java VM Service"},
      {1001, L"Tablero Java VM Service"},
      {1002, L"Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\%s\\%s"},
      {1003, L"Error initializing Java VM.\nCould not find Registry value:\nHKEY_LOCAL_MACHINE\\%s\\%s\\%s"},
  };
  for (const auto& row : rows) {
    wchar_t text[512] = {};
    LoadStringW(g_hModule, row.id, text, 512);
    EXPECT_STREQ(text, row.text) << row.id;
  }
}

TEST(ResourceTest, TheServiceNamesFitTheirField) {
  for (const UINT id : {1000U, 1001U}) {
    wchar_t text[30] = {};
    EXPECT_EQ(LoadStringW(g_hModule, id, text, 30), 23) << id;
  }
}

}  // namespace
}  // namespace qvtest
