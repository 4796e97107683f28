// The once-only load of the configuration: which product the host is, what the service is called, where the log goes.
// Hosts are told by the path that the service is given for the executable; the tests of host programs with real names
// are in host_program_tests.cpp.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/module_handle.h"
#include "config/jvm_config_info.h"
#include "host/host_ref.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

constexpr wchar_t kQuovant[] = L"Quovant Java VM Service";
constexpr wchar_t kTablero[] = L"Tablero Java VM Service";

std::wstring LogPath() { return TextOf(JVMConfigInfo().m_pLogFilePath); }

struct Flags {
  bool known, quovant, loomhall;
  friend bool operator==(const Flags&, const Flags&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Flags& flags) {
    return out << (flags.known ? "known" : "unknown") << (flags.quovant ? ", Quovant" : ", Tablero")
               << (flags.loomhall ? ", Java host" : "");
  }
};
constexpr Flags kUnknownHost = {false, true, false};
constexpr Flags kQuovantHost = {true, true, false};
constexpr Flags kTableroHost = {true, false, false};
constexpr Flags kJavaHost = {true, true, true};

Flags Now() {
  const CQV_JVMConfigInfo& config = JVMConfigInfo();
  return {config.m_bHostKnown, config.m_bQuovantHost, config.m_bLoomhallHost};
}

TEST(ConfigurationLoad, ObjectStartsWithItsDefaults) {
  const StartupScene scene;
  const CQV_JVMConfigInfo& config = JVMConfigInfo();
  EXPECT_EQ(Now(), kUnknownHost);
  EXPECT_TRUE(config.m_bFresh);
  EXPECT_FALSE(config.m_bLoaded);
  EXPECT_FALSE(config.m_bRuntimeFound);
  EXPECT_TRUE(config.m_bDebugMode);
  EXPECT_EQ(config.m_pJDKLocation, nullptr);
  EXPECT_EQ(config.m_pJREBinLocation, nullptr);
  EXPECT_EQ(config.m_pLogFilePath, nullptr);
  EXPECT_EQ(config.m_pfnVfprintfHook, nullptr);
  EXPECT_EQ(config.m_pfnExitHook, nullptr);
  EXPECT_STREQ(g_szJvmModuleName, L"qvjvm.dll");
}

struct HostCase {
  const wchar_t* path;
  Flags flags;
  const wchar_t* serviceName;
};

TEST(ConfigurationLoad, HostIsRecognisedByItsFileNameInAnyLetterCase) {
  for (const HostCase& row : {
           HostCase{L"C:\\hosts\\qv190.exe", kQuovantHost, kQuovant},
           HostCase{L"C:\\hosts\\qk190.exe", kQuovantHost, kQuovant},
           HostCase{L"C:\\hosts\\qr190.exe", kQuovantHost, kQuovant},
           HostCase{L"C:\\hosts\\qw190.exe", kQuovantHost, kQuovant},
           HostCase{L"C:\\hosts\\tk190.exe", kTableroHost, kTablero},
           HostCase{L"C:\\hosts\\tn190.exe", kTableroHost, kTablero},
           HostCase{L"C:\\HOSTS\\QW190.EXE", kQuovantHost, kQuovant},
           HostCase{L"C:\\hosts\\Tn190.Exe", kTableroHost, kTablero},
           HostCase{L"C:\\java\\bin\\javaw.exe", kJavaHost, kQuovant},
           HostCase{L"C:\\java\\bin\\JAVAW.EXE", kJavaHost, kQuovant},
           HostCase{L"C:\\java\\bin\\JavaW.exe", kJavaHost, kQuovant},
           HostCase{L"C:\\eclipse\\eclipse.exe", kJavaHost, kQuovant},
           HostCase{L"C:\\eclipse\\Eclipse.EXE", kJavaHost, kQuovant},
           HostCase{L"C:\\hosts\\javaw", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\eclipse", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\java.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\javaw.exe.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\xjavaw.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv190w.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv195.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv19.0.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv190.com", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv190.exe.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv190.exec", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv190", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\qv.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\tv190.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\hosts\\tk195.exe", kUnknownHost, kQuovant},
           HostCase{L"C:\\qv190.exe\\other.exe", kUnknownHost, kQuovant},
           HostCase{L"qv190.exe", kQuovantHost, kQuovant},
       }) {
    SCOPED_TRACE(ToUtf8(row.path));
    const StartupScene scene(row.path);
    EXPECT_TRUE(JVMConfigInfo().Load());
    EXPECT_EQ(Now(), row.flags);
    EXPECT_STREQ(JVMConfigInfo().m_szServiceName, row.serviceName);
    EXPECT_TRUE(JVMConfigInfo().m_bLoaded);
    EXPECT_FALSE(JVMConfigInfo().m_bFresh);
  }
}

TEST(ConfigurationLoad, RegistryRootFollowsTheHost) {
  struct Row {
    const wchar_t* path;
    const wchar_t* root;
  };
  for (const Row& row : {Row{L"C:\\hosts\\qv190.exe", L"Software\\Harlowe\\Quovant\\19.0"},
                         Row{L"C:\\hosts\\any.exe", L"Software\\Harlowe\\Quovant\\19.0"},
                         Row{L"C:\\hosts\\tn190.exe", L"Software\\Harlowe\\Tablero\\19.0"},
                         Row{L"C:\\java\\javaw.exe", L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents"},
                         Row{L"C:\\e\\eclipse.exe", L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents"}}) {
    SCOPED_TRACE(ToUtf8(row.path));
    StartupScene scene(row.path);
    scene.registry.CreateKey(Hive::Machine, row.root);
    ASSERT_TRUE(JVMConfigInfo().Load());
    qv::KeyRef key;
    EXPECT_TRUE(JVMConfigInfo().OpenRootKey(HKEY_LOCAL_MACHINE, 0x20019, key.Out()));
    EXPECT_STREQ(JVMConfigInfo().m_szRegistryRoot, row.root);
  }
}

DWORD WINAPI NoModuleFileName(HMODULE, wchar_t*, DWORD) { return 0; }

// The path of exactly that many characters that ends in a name which would be known.
std::wstring PathOfLength(size_t characters) {
  const std::wstring name = L"\\qv190.exe";
  return L"C:\\" + std::wstring(characters - 3 - name.size(), L'p') + name;
}

TEST(ConfigurationLoad, PathOf260CharactersFailsAlthoughAllOfItWouldFit) {
  StartupScene scene;
  for (const size_t characters : {260u, 261u, 5000u}) {
    const HostPath host(PathOfLength(characters));
    EXPECT_FALSE(JVMConfigInfo().Load()) << characters;
    EXPECT_FALSE(JVMConfigInfo().m_bFresh) << "the one thing that a failed load changes";
    EXPECT_EQ(Now(), kUnknownHost);
    EXPECT_FALSE(JVMConfigInfo().m_bLoaded);
    EXPECT_EQ(JVMConfigInfo().m_pLogFilePath, nullptr);
    EXPECT_STREQ(JVMConfigInfo().m_szServiceName, L"");
  }
  EXPECT_TRUE(scene.boxes.Shown().empty());
  const HostPath host(PathOfLength(259));
  EXPECT_TRUE(JVMConfigInfo().Load()) << "the next request tries again";
  EXPECT_EQ(Now(), kQuovantHost);
}

TEST(ConfigurationLoad, NoPathAtAllFails) {
  const StartupScene scene;
  {
    const ImportHook hook(nullptr, "GetModuleFileNameW", &NoModuleFileName);
    EXPECT_FALSE(JVMConfigInfo().Load());
    EXPECT_FALSE(JVMConfigInfo().m_bFresh);
    EXPECT_FALSE(JVMConfigInfo().m_bLoaded);
  }
  EXPECT_TRUE(JVMConfigInfo().Load());
}

LONG g_locksTaken = 0;
LONG g_pathsAsked = 0;
CRITICAL_SECTION* g_watchedLock = nullptr;
decltype(&EnterCriticalSection) g_realEnter = nullptr;
decltype(&GetModuleFileNameW) g_realFileName = nullptr;

void WINAPI CountEnter(CRITICAL_SECTION* section) {
  if (section == g_watchedLock) InterlockedIncrement(&g_locksTaken);
  g_realEnter(section);
}
DWORD WINAPI CountPath(HMODULE module, wchar_t* buffer, DWORD capacity) {
  if (module == nullptr) InterlockedIncrement(&g_pathsAsked);
  Sleep(1);  // the other threads come in meanwhile
  return g_realFileName(module, buffer, capacity);
}

TEST(ConfigurationLoad, SecondLoadTouchesNeitherTheLockNorAnyField) {
  const StartupScene scene;
  const ImportHook enter(nullptr, "EnterCriticalSection", &CountEnter);
  g_realEnter = enter.Original<decltype(&EnterCriticalSection)>();
  g_watchedLock = reinterpret_cast<CRITICAL_SECTION*>(g_csConfigLoad);
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(g_locksTaken, 1) << "the first one takes it";
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  config.m_bHostKnown = true;
  config.m_bQuovantHost = false;
  config.m_bFresh = true;
  config.m_szServiceName[0] = L'x';
  IQvString* const log = config.m_pLogFilePath;
  EXPECT_TRUE(config.Load());
  EXPECT_EQ(g_locksTaken, 1);
  EXPECT_TRUE(config.m_bHostKnown);
  EXPECT_FALSE(config.m_bQuovantHost);
  EXPECT_TRUE(config.m_bFresh);
  EXPECT_EQ(config.m_szServiceName[0], L'x');
  EXPECT_EQ(config.m_pLogFilePath, log);
}

TEST(ConfigurationLoad, ManyThreadsAtOnceLoadOnce) {
  const StartupScene scene;
  const ImportHook fileName(nullptr, "GetModuleFileNameW", &CountPath);
  g_realFileName = fileName.Original<decltype(&GetModuleFileNameW)>();
  HANDLE threads[16];
  for (HANDLE& thread : threads) {
    thread = CreateThread(
        nullptr, 0, [](void*) -> DWORD { return JVMConfigInfo().Load() && JVMConfigInfo().m_bLoaded ? 1 : 0; }, nullptr,
        0, nullptr);
  }
  WaitForMultipleObjects(16, threads, TRUE, INFINITE);
  for (HANDLE thread : threads) {
    DWORD good = 0;
    GetExitCodeThread(thread, &good);
    EXPECT_EQ(good, 1u);
    CloseHandle(thread);
  }
  EXPECT_EQ(g_pathsAsked, 1);
}

TEST(ConfigurationLoad, WithoutItsLockItFails) {
  const StartupScene scene;
  auto* const lock = std::exchange(g_csConfigLoad, nullptr);
  EXPECT_FALSE(JVMConfigInfo().Load());
  g_csConfigLoad = lock;
}

int WINAPI NoString(HINSTANCE, UINT, wchar_t*, int) { return 0; }

TEST(ConfigurationLoad, MissingServiceNameIsNoFailure) {
  const StartupScene scene;
  const ImportHook hook(nullptr, "LoadStringW", &NoString);
  wcscpy(JVMConfigInfo().m_szServiceName, L"as it was");
  EXPECT_TRUE(JVMConfigInfo().Load());
  EXPECT_STREQ(JVMConfigInfo().m_szServiceName, L"as it was");
}

UINT g_stringId = 0;
int g_stringCapacity = 0;
HINSTANCE g_stringModule = nullptr;
int WINAPI NoteString(HINSTANCE module, UINT id, wchar_t*, int capacity) {
  g_stringModule = module;
  g_stringId = id;
  g_stringCapacity = capacity;
  return 0;
}

TEST(ConfigurationLoad, ServiceNameIsAResourceOfItsOwnModule) {
  for (const auto& [path, id] : {std::pair(L"C:\\hosts\\qv190.exe", 1000u), std::pair(L"C:\\hosts\\tk190.exe", 1001u),
                                 std::pair(L"C:\\java\\javaw.exe", 1000u), std::pair(L"C:\\any.exe", 1000u)}) {
    const StartupScene scene(path);
    const ImportHook hook(nullptr, "LoadStringW", &NoteString);
    EXPECT_TRUE(JVMConfigInfo().Load());
    EXPECT_EQ(g_stringId, id) << ToUtf8(path);
    EXPECT_EQ(g_stringCapacity, 30);
    EXPECT_EQ(g_stringModule, g_hModule);
  }
}

// ---- where the log goes ----

TEST(LogPath, IsBelowTheUsersLocalApplicationData) {
  const StartupScene scene;
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), scene.folder.Path() + L"\\vm.out");
  QvshrLedgerFolderRequest request{};
  QvshrLedgerLastFolderRequest(&request);
  EXPECT_EQ(request.folderId, 28);
  EXPECT_EQ(request.capacity, 260);
  EXPECT_EQ(request.create, 1);
  EXPECT_EQ(request.useDefault, 0);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallIsWebDeployment), 1u);
}

TEST(LogPath, DefaultPlaceIsAskedForWhenThereIsNoFolderInUse) {
  const StartupScene scene;
  QvshrLedgerOverrideFolder(0, L"");
  QvshrLedgerOverrideFolder(1, L"C:\\default place");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"C:\\default place\\vm.out");
  QvshrLedgerFolderRequest request{};
  QvshrLedgerLastFolderRequest(&request);
  EXPECT_EQ(request.folderId, 28);
  EXPECT_EQ(request.capacity, 260);
  EXPECT_EQ(request.create, 1);
  EXPECT_EQ(request.useDefault, 1);
}

TEST(LogPath, NoFolderAtAllLeavesABackslashAndTheName) {
  const StartupScene scene;
  QvshrLedgerOverrideFolder(0, L"");
  QvshrLedgerOverrideFolder(1, L"");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"\\vm.out");
}

TEST(LogPath, LongestFolderFits) {
  const StartupScene scene;
  const std::wstring longest = L"C:\\" + std::wstring(256, L'f');  // 259 characters and their null
  QvshrLedgerOverrideFolder(0, longest.c_str());
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), longest + L"\\vm.out");
}

TEST(LogPath, StaysAbsentWithoutMemoryAndTheLoadSucceeds) {
  const StartupScene scene;
  {
    const FailAllocation fault(1, kQvshrFailFromHere);
    EXPECT_TRUE(JVMConfigInfo().Load());
    EXPECT_TRUE(fault.Fired());
  }
  EXPECT_EQ(JVMConfigInfo().m_pLogFilePath, nullptr);
  IQvString* path = nullptr;
  JVMConfigInfo().GetLogFilePath(&path);
  EXPECT_EQ(TakeText(path), L"vm.out");
}

// ---- web deployment: the host's runtime library names the log ----

// The fake of that library, loaded for the life of the object.
class HostRuntime {
 public:
  explicit HostRuntime(const wchar_t* folder)
      : m_module(LoadLibraryW((FakeJvm::Home() + L"\\" + folder + L"\\qvrth.dll").c_str())) {
    EXPECT_NE(m_module, nullptr);
  }
  ~HostRuntime() { FreeLibrary(m_module); }
  HostRuntime(const HostRuntime&) = delete;
  HostRuntime& operator=(const HostRuntime&) = delete;
  [[nodiscard]] int Ask(const char* question) const {
    return reinterpret_cast<int (*)()>(reinterpret_cast<void*>(GetProcAddress(m_module, question)))();
  }

 private:
  HMODULE m_module;
};

class WebScene : public StartupScene {
 public:
  WebScene() { QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1); }
};

TEST(WebDeployment, WithoutTheHostsLibraryTheLogIsTheBareName) {
  const WebScene scene;
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"vm.out");
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallGetSpecialFolder), 0u);
}

TEST(WebDeployment, AnyNumberBut0IsOne) {
  const StartupScene scene;
  QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, -1);
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"vm.out");
}

TEST(WebDeployment, LoadedLibraryNamesTheLog) {
  const WebScene scene;
  const EnvironmentScope answer(L"QVRTH_LOG_PATH", L"D:\\web\\java.log");
  const HostRuntime runtime(L"host");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"D:\\web\\java.log");
  EXPECT_EQ(runtime.Ask("FakeQvrthCalls"), 1);
  EXPECT_EQ(runtime.Ask("FakeQvrthBuffersWereZero"), 1) << "261 and 1024 zeroed characters";
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(runtime.Ask("FakeQvrthCalls"), 1) << "asked once in a process";
}

TEST(WebDeployment, LibraryThatNamesNothingLeavesTheBareName) {
  const WebScene scene;
  const HostRuntime runtime(L"host");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"vm.out");
  EXPECT_EQ(runtime.Ask("FakeQvrthCalls"), 1);
}

TEST(WebDeployment, LibraryWithoutTheHookLeavesTheBareName) {
  const WebScene scene;
  const HostRuntime runtime(L"host-without-hook");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"vm.out");
}

TEST(WebDeployment, LibraryIsLoadedWhenItIsNotThereYetAndNeverFreed) {
  StartupScene scene;
  QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1);
  const EnvironmentScope answer(L"QVRTH_LOG_PATH", L"D:\\web\\java.log");
  const EnvironmentScope path(L"PATH", FakeJvm::Home() + L"\\host");
  ASSERT_EQ(GetModuleHandleW(L"qvrth.dll"), nullptr);
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), L"D:\\web\\java.log");
  scene.service.Unload();
  EXPECT_NE(GetModuleHandleW(L"qvrth.dll"), nullptr);
}

TEST(WebDeployment, LongestNameOfTheLogFits) {
  const WebScene scene;
  const std::wstring longest(260, L'w');
  const EnvironmentScope answer(L"QVRTH_LOG_PATH", longest);
  const HostRuntime runtime(L"host");
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_EQ(LogPath(), longest);
}

}  // namespace
}  // namespace qvtest
