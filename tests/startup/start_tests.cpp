// Bringing the JVM into use: loading the runtime's library, joining the JVM that is there or creating one, what is
// tried again after a failure and what is not.
#include <set>

#include "service/thread_registry.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

using Strings = std::vector<std::string>;

// What the service loads by name, in order; the loads themselves happen.
class LoadWatch {
 public:
  [[nodiscard]] const Strings& Names() const { return m_names; }

 private:
  Strings m_names;
  FunctionHook<decltype(&LoadLibraryA)> m_hook{"LoadLibraryA", [this](const char* name) {
                                                 m_names.emplace_back(name);
                                                 return m_hook.Real(name);
                                               }};
};

struct Flags {
  int32_t loadCount, libraryLoaded, created, joined;
  friend bool operator==(const Flags&, const Flags&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Flags& flags) {
    return out << "count " << flags.loadCount << ", library " << flags.libraryLoaded << ", created " << flags.created
               << ", joined " << flags.joined;
  }
};
Flags Now() { return {g_nJvmLoadCount, g_bJvmLibraryLoaded, g_bJvmCreated, g_bJvmJoined}; }

void ExpectLoadedFrom(const std::wstring& path) {
  wchar_t loaded[MAX_PATH] = {};
  HMODULE const module = GetModuleHandleW(path.substr(path.find_last_of(L'\\') + 1).c_str());
  ASSERT_NE(module, nullptr) << ToUtf8(path);
  GetModuleFileNameW(module, loaded, MAX_PATH);
  EXPECT_EQ(CompareStringOrdinal(loaded, -1, path.c_str(), -1, TRUE), CSTR_EQUAL) << ToUtf8(loaded);
}

TEST(Start, CreatesTheJVMWhenNoneRuns) {
  const StartupWorld world;
  const LoadWatch loads;
  EXPECT_EQ(Now(), (Flags{0, 0, 0, 0}));
  const Created created = CreateVM();
  EXPECT_EQ(created.status, 0);
  EXPECT_EQ(Now(), (Flags{1, 1, 1, 0}));
  EXPECT_EQ(loads.Names(), Strings{"jvm.dll"});
  EXPECT_EQ(world.jvm.Story(), (Strings{"GetCreatedVMs", "CreateVM"})) << "nothing else is called";
  const FakeJvmCall asked = world.jvm.Calls(kFakeGetCreatedVMs).at(0);
  EXPECT_EQ(asked.capacity, 3);
  EXPECT_EQ(asked.countBefore, 0);
  const FakeJvmCall made = world.jvm.Calls(kFakeCreateVM).at(0);
  EXPECT_EQ(made.version, 0x00010002);
  EXPECT_EQ(made.ignoreUnrecognized, 0);
  EXPECT_EQ(made.optionCount, 7);
  EXPECT_EQ(made.threadId, GetCurrentThreadId());
  EXPECT_EQ(QV_AcquireThreadEnv(created.vm.get()), made.env) << "the creating thread is registered";
  int32_t isCreated = 0;
  EXPECT_EQ(created.vm->IsJVMCreated(&isCreated), 0);
  EXPECT_EQ(isCreated, 1);
}

TEST(Start, JoinsTheFirstOfUpToThreeJVMs) {
  for (const int32_t existing : {1, 2, 3}) {
    SCOPED_TRACE(existing);
    const StartupWorld world;
    world.jvm.Script().existing = existing;
    const Created created = CreateVM();
    EXPECT_EQ(created.status, 0);
    EXPECT_EQ(Now(), (Flags{1, 1, 0, 1}));
    EXPECT_EQ(world.jvm.Story(), (Strings{"GetCreatedVMs", "Attach"}));
    const FakeJvmCall attached = world.jvm.Calls(kFakeAttach).at(0);
    EXPECT_EQ(attached.vm, 0) << "the first one";
    EXPECT_EQ(attached.argumentsNull, 0);
    EXPECT_EQ(attached.version, 0x00010002);
    EXPECT_STREQ(attached.threadName, "<null>");
    EXPECT_EQ(attached.threadGroup, nullptr);
    EXPECT_EQ(QV_AcquireThreadEnv(created.vm.get()), attached.env);
    int32_t isCreated = 7;
    EXPECT_EQ(created.vm->IsJVMCreated(&isCreated), 0);
    EXPECT_EQ(isCreated, 0);
  }
}

struct ScriptedStart {
  const char* name;
  int32_t FakeJvmScript::*field;
  int32_t value;
  int32_t existing;
};

TEST(Start, CreatesTheJVMWhateverTheCountOrThePositiveResult) {
  const ScriptedStart rows[] = {{"the query failed", &FakeJvmScript::getCreatedResult, -1, 1},
                                {"the query answered 1", &FakeJvmScript::getCreatedResult, 1, 2},
                                {"a negative count", &FakeJvmScript::getCreatedResult, 0, -1},
                                {"a positive result of the creation", &FakeJvmScript::createResult, 3, 0},
                                {"default arguments that fail", &FakeJvmScript::defaultArgsResult, -1, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const StartupWorld world;
    world.jvm.Script().*row.field = row.value;
    world.jvm.Script().existing = row.existing;
    EXPECT_EQ(CreateVM().status, 0);
    EXPECT_EQ(Now(), (Flags{1, 1, 1, 0}));
    EXPECT_EQ(world.jvm.Story(), (Strings{"GetCreatedVMs", "CreateVM"}));
  }
}

TEST(Start, LaterCallsDoNothingOnceItIsDone) {
  const StartedWorld world;
  const LoadWatch loads;
  EXPECT_EQ(CreateVM(L"C:\\late.jar").status, 8);
  OnThread([] { EXPECT_EQ(CreateVM(L"C:\\late.jar").status, 8); });
  EXPECT_EQ(loads.Names(), Strings());
  EXPECT_EQ(world.jvm.Story(), (Strings{"GetCreatedVMs", "CreateVM"})) << "neither created nor attached again";
  EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(GetCurrentThreadId()), nullptr) << "nor registered";
  EXPECT_EQ(Now(), (Flags{1, 1, 1, 0}));
}

TEST(Start, FailureIsTriedAgainByTheNextCall) {
  const ScriptedStart rows[] = {{"the creation answers -1", &FakeJvmScript::createResult, -1, 0},
                                {"the creation answers -4", &FakeJvmScript::createResult, -4, 0},
                                {"attaching answers -1", &FakeJvmScript::attachResult, -1, 1},
                                {"attaching answers 1", &FakeJvmScript::attachResult, 1, 1},
                                {"the existing VM is null", &FakeJvmScript::firstVmNull, 1, 1},
                                {"the second of two exists, the first is null", &FakeJvmScript::firstVmNull, 1, 2},
                                {"attaching gives no environment", &FakeJvmScript::attachWithoutEnv, 1, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const StartupWorld world;
    world.jvm.Script().existing = row.existing;
    world.jvm.Script().*row.field = row.value;
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(Now(), (Flags{0, 1, 0, 0}));
    const size_t callsOfOneTry = world.jvm.Calls().size();
    const LoadWatch loads;
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.jvm.Calls().size(), 2 * callsOfOneTry) << "the second call tried everything again";
    world.jvm.Script().*row.field = 0;
    EXPECT_EQ(CreateVM().status, 0);
    EXPECT_EQ(Now(), (Flags{1, 1, row.existing == 0, row.existing != 0}));
    EXPECT_EQ(loads.Names(), Strings()) << "the library stays loaded";
    EXPECT_TRUE(world.boxes.Shown().empty());
  }
}

TEST(Start, CreationThatRaisesGivesEFailAndLeavesItsOptions) {
  for (const FakeJvmRaise raise : {kRaiseAccessViolation, kRaiseSoftware, kRaiseCpp}) {
    SCOPED_TRACE(raise);
    StartupWorld world;
    world.jvm.Script().createRaises = raise;
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(Now(), (Flags{0, 1, 0, 0}));
    world.jvm.Script().createRaises = kRaiseNothing;
    EXPECT_EQ(CreateVM().status, 0) << "the next call tries again";
    world.ledger.ExpectLeft(8, "a JVM that raised may have kept the array and its seven texts");
  }
}

TEST(Start, CreationWithoutAnEnvironmentIsStillACreation) {
  const StartupWorld world;
  world.jvm.Script().createWithoutEnv = 1;
  const Created created = CreateVM();
  EXPECT_EQ(created.status, 0) << "the JVM is there";
  EXPECT_EQ(Now(), (Flags{1, 1, 1, 0}));
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u) << "an initializer without an environment has nothing to detach";
  EXPECT_NE(QV_AcquireThreadEnv(created.vm.get()), nullptr) << "the thread attaches at its first call";
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 1u);
}

TEST(Start, MissingEntryPointGivesEFailAfterTheStartRan) {
  const struct {
    const char* missing;
    int32_t existing;
    Strings story;
    Flags flags;
  } rows[] = {{"GetDefaultJavaVMInitArgs", 0, {"GetCreatedVMs", "CreateVM"}, {1, 1, 1, 0}},
              {"GetCreatedJavaVMs", 0, {"CreateVM"}, {1, 1, 1, 0}},
              {"CreateJavaVM", 0, {"GetCreatedVMs"}, {0, 1, 0, 0}},
              {"CreateJavaVM", 1, {"GetCreatedVMs", "Attach"}, {1, 1, 0, 1}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.missing);
    const StartupWorld world({}, FakeJvm::PathWithout(ToWide(row.missing)));
    world.jvm.Script().existing = row.existing;
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.jvm.Story(), row.story);
    EXPECT_EQ(Now(), row.flags);
    EXPECT_EQ(CreateVM().status, QV_E_FAIL) << "also when the JVM is there";
    EXPECT_LE(world.jvm.Count(kFakeCreateVM), 1u);
  }
}

TEST(Start, DiscoveryThatFailsLoadsNothingAndIsTriedAgain) {
  StartupWorld world(L"C:\\hosts\\qv190.exe");
  const LoadWatch loads;
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(Now(), (Flags{0, 0, 0, 0}));
  EXPECT_EQ(loads.Names(), Strings());
  EXPECT_TRUE(world.boxes.Shown().empty()) << "the user sees nothing of missing locations";
  world.ConfigureKnownHost(kQuovantRoot);
  EXPECT_EQ(CreateVM().status, 0);
  EXPECT_EQ(loads.Names(), Strings{"jvm.dll"});
}

TEST(Start, LibraryInTheClientFolderIsTheFallbackAndEachNameIsTriedOnce) {
  for (const bool present : {false, true}) {
    const StartupScene scene;
    const EnvironmentScope noHome(L"JAVA_HOME", std::nullopt);
    const std::wstring library = scene.folder.Path(L"vm\\client\\jvm.dll");
    if (present) scene.folder.CopyIn(FakeJvm::DefaultPath(), L"vm\\client\\jvm.dll");
    const EnvironmentScope path(L"PATH", scene.folder.Path(L"vm") + L";C:\\windows\\system32");
    const LoadWatch loads;
    for (int call = 0; call < 2; ++call) {
      EXPECT_EQ(CreateVM().status, present ? 0 : QV_E_FAIL);
      EXPECT_EQ(loads.Names(), (Strings{"jvm.dll", "client\\jvm.dll"}));
    }
    EXPECT_EQ(Now(), present ? (Flags{1, 1, 1, 0}) : (Flags{0, 0, 0, 0}));
    if (!present) continue;
    const FakeJvm jvm = FakeJvm::AlreadyLoaded();
    ExpectLoadedFrom(library);
    EXPECT_EQ(jvm.Options().at(1).text, "-Xbootclasspath/a:\\deploy.jar;\\javaws.jar;\\plugin.jar")
        << "the library is known under its other name, so no folder of its stands there";
  }
}

TEST(Start, LibraryIsFoundThroughTheDiscoveredFolder) {
  const StartupScene scene;
  EXPECT_EQ(CreateVM().status, 0);
  EXPECT_EQ(FakeJvm::AlreadyLoaded().Count(kFakeCreateVM), 1u);
  EXPECT_EQ(ReadVariable(L"PATH"), FakeJvm::Home() + L"\\BIN\\SERVER;" + kSystemPath);
}

TEST(Start, RuntimeThatCannotBeLoadedStandsOnThePathOnce) {
  const StartupScene scene;
  scene.folder.WriteFile(L"home\\bin\\server\\jvm.dll", "no library");
  const EnvironmentScope home(L"JAVA_HOME", scene.folder.Path(L"home"));
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(ReadVariable(L"PATH"), scene.folder.Path(L"home") + L"\\BIN\\SERVER;" + kSystemPath);
  }
}

TEST(Start, JavaHostSkipsTheDiscoveryAndJoins) {
  StartupWorld world(L"C:\\java\\bin\\javaw.exe");
  world.jvm.Script().existing = 1;
  EXPECT_EQ(CreateVM().status, 0);
  EXPECT_EQ(ReadVariable(L"PATH"), kSystemPath) << "the search path is the host's";
  EXPECT_EQ(Now(), (Flags{1, 1, 0, 1}));
}

// ---- the host's library search ----

TEST(Search, OfTheHostIsLeftAlone) {
  for (const char* changing : {"SetDllDirectoryW", "SetDllDirectoryA", "AddDllDirectory", "SetDefaultDllDirectories"})
    EXPECT_FALSE(ImportHook::Imports(nullptr, changing)) << changing;
}

// A runtime of the test's own: a fake JVM below bin\\server.
class OwnRuntime : public StartupScene {
 public:
  [[nodiscard]] std::wstring Bin(const wchar_t* name) const { return folder.Path(L"home\\bin\\") + name; }
  // The service goes, and with it the runtime: only then can the folder be removed.
  ~OwnRuntime() {
    service.UnloadAndForget();
    while (HMODULE const kept = GetModuleHandleW(L"zip.dll")) FreeLibrary(kept);
  }
  OwnRuntime() { folder.CopyIn(FakeJvm::DefaultPath(), L"home\\bin\\server\\jvm.dll"); }

  const EnvironmentScope home{L"JAVA_HOME", folder.Path(L"home")};
};

TEST(Search, LibraryInBinDoesNotWinOverTheDiscoveredOne) {
  const OwnRuntime runtime;
  runtime.folder.CopyIn(FakeJvm::PathWithout(L"CreateJavaVM"), L"home\\bin\\jvm.dll");
  EXPECT_EQ(CreateVM().status, 0);
  ExpectLoadedFrom(runtime.Bin(L"server\\jvm.dll"));
}

TEST(Search, ClientFolderThatOnlyTheCurrentFolderReachesIsFound) {
  const OwnRuntime runtime;
  runtime.folder.WriteFile(L"home\\bin\\server\\jvm.dll", "no library");
  const std::wstring library = runtime.folder.CopyIn(FakeJvm::DefaultPath(), L"here\\client\\jvm.dll");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(runtime.folder.Path(L"here"));
  EXPECT_EQ(CreateVM().status, 0);
  std::filesystem::current_path(before);
  ExpectLoadedFrom(library);
}

// As in a process whose host has closed its library search.
class ClosedSearch : public ImportHook {
 public:
  ClosedSearch()
      : ImportHook(
            nullptr, "LoadLibraryA", +[](const char*) WINAPI {
              SetLastError(ERROR_MOD_NOT_FOUND);
              return HMODULE{};
            }) {}
};

TEST(Search, RuntimeThatNoNameReachesIsLoadedByItsPath) {
  const OwnRuntime runtime;
  const ClosedSearch search;
  EXPECT_EQ(CreateVM().status, 0);
  ExpectLoadedFrom(runtime.Bin(L"server\\jvm.dll"));
  EXPECT_EQ(g_pThreadRegistry->FindModule("jvm.dll"), GetModuleHandleW(L"jvm.dll")) << "known by its name";
  std::wstring upper = runtime.Bin(L"server\\lib\\");
  CharUpperW(upper.data());
  EXPECT_TRUE(FakeJvm::AlreadyLoaded().OptionTexts().at(1).starts_with("-Xbootclasspath/a:" + ToUtf8(upper)));
}

TEST(Search, ConfiguredRuntimeThatNoNameReachesIsLoadedByItsPath) {
  for (const wchar_t* place : {L"jre\\jvm.dll", L"jre\\client\\jvm.dll"}) {
    StartupScene scene(L"C:\\hosts\\qv190.exe");
    scene.ConfigureKnownHost(kQuovantRoot);
    scene.registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", L"JREBinLocation",
                           scene.folder.Path(L"jre"));
    const std::wstring library = scene.folder.CopyIn(FakeJvm::DefaultPath(), place);
    const ClosedSearch search;
    EXPECT_EQ(CreateVM().status, 0);
    ExpectLoadedFrom(library);
    scene.service.UnloadAndForget();
  }
}

TEST(Search, RuntimeThatIsDiscoveredAfterItsNameFailedIsNotLoadedByItsPath) {
  const OwnRuntime runtime;
  {
    const EnvironmentScope noHome(L"JAVA_HOME", std::nullopt);
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  }
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(GetModuleHandleW(L"jvm.dll"), nullptr);
}

TEST(Search, RuntimesZipLibraryIsThereWhileAJVMIsCreatedAndStaysWithIt) {
  const struct {
    std::string_view name;
    const wchar_t* script;
    int32_t status;
    bool stays;
  } rows[] = {{"created", L"", 0, true},
              {"refused", L"createResult=-1", QV_E_FAIL, false},
              {"raised", L"createRaises=2", QV_E_FAIL, false},
              {"joined", L"existing=1", 0, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    OwnRuntime runtime;
    const EnvironmentScope script(L"FAKEJVM_SCRIPT", row.script);
    const std::wstring zip = runtime.folder.CopyIn(FakeJvm::PathWithout(L"CreateJavaVM"), L"home\\bin\\zip.dll");
    for (int start = 0; start < 2; ++start) EXPECT_EQ(CreateVM().status, row.status);
    if (row.stays) {
      ExpectLoadedFrom(zip);
      FreeLibrary(GetModuleHandleW(L"zip.dll"));
    }
    EXPECT_EQ(GetModuleHandleW(L"zip.dll"), nullptr) << "held once";
    if (row.name == "raised") runtime.ledger.ExpectLeft(16, "the options of two creations");
  }
}

TEST(Search, LibrariesOfTheRuntimeAreLoadedWithoutDialogsAndNotWhenTheProcessHasThem) {
  const OwnRuntime runtime;
  const EnvironmentScope script(L"FAKEJVM_SCRIPT", L"createResult=-1");
  const std::wstring zip = runtime.folder.CopyIn(FakeJvm::PathWithout(L"CreateJavaVM"), L"home\\bin\\zip.dll");
  const ClosedSearch search;
  std::set<std::wstring> loaded;
  std::set<DWORD> modes;
  const FunctionHook<decltype(&LoadLibraryExW)> load("LoadLibraryExW",
                                                     [&](const wchar_t* path, HANDLE file, DWORD flags) {
                                                       loaded.insert(std::filesystem::path(path).filename().wstring());
                                                       modes.insert(GetThreadErrorMode());
                                                       return load.Real(path, file, flags);
                                                     });
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_TRUE(loaded.contains(L"jvm.dll"));
  EXPECT_TRUE(loaded.contains(L"zip.dll"));
  EXPECT_EQ(modes, std::set<DWORD>{SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX});
  const qv::Library hosts(LoadLibraryW(zip.c_str()));
  loaded.clear();
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_FALSE(loaded.contains(L"zip.dll"));
}

TEST(Start, ManyThreadsAtOnceStartOneJVM) {
  const StartupWorld world;
  OnThreads(16, [](int) { EXPECT_EQ(CreateVM().status, 0); });
  EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 1u);
  EXPECT_EQ(world.jvm.Count(kFakeAttach), 0u) << "the others attach when they first need Java";
  EXPECT_EQ(g_nJvmLoadCount, 1);
}

}  // namespace
}  // namespace qvtest
