// Every allocation of the configuration and of the start-up arguments fails in turn: that one alone, and from there on.
// Each run gives one of the results that its operation names for that, leaves PATH whole and balances the books.
#include <set>

#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

constexpr wchar_t kOldPath[] = L"C:\\old";
const std::wstring kJava = std::wstring(kQuovantRoot) + L"\\Java";

// What a run may give when memory fails.
using Results = std::set<std::wstring>;

class AllocationSweepTest : public ConfigTest {
 protected:
  void TearDown() override {}  // what cannot be read may be shown as missing

  // Sweeps an operation on a fresh configuration object: it gives `whole` when no memory fails, otherwise each of the
  // others at least once and nothing else.
  template <class Run>
  void Sweep(const std::wstring& whole, const Results& withoutMemory, Run run) {
    Results seen;
    SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
      const EnvironmentScope path(L"PATH", kOldPath);
      const LedgerCheck ledger;
      const ConfigObject config;
      m_prepare(*config);
      const FailAllocation fault(n, mode);
      const std::wstring result = Given(*config, run);
      const bool fired = fault.Fired();
      const Results& allowed = fired ? withoutMemory : Results{whole};
      EXPECT_TRUE(allowed.contains(result)) << (fired ? "" : "although none failed: ") << ToUtf8(result);
      if (fired && mode == kQvshrFailOnce) seen.insert(result);
      return fired;
    });
    EXPECT_EQ(seen, withoutMemory) << "a result that is allowed never came";
  }
  void BeHost(HostKind kind) {
    m_prepare = [kind](CQV_JVMConfigInfo& config) { SetHost(config, kind); };
  }

  // What is done with a fresh object before memory fails.
  std::function<void(CQV_JVMConfigInfo&)> m_prepare = [](CQV_JVMConfigInfo&) {};
};

// ---- configuration reads ----

TEST_F(AllocationSweepTest, Locations) {
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  for (const bool kept : {false, true}) {
    m_prepare = [kept](CQV_JVMConfigInfo& config) { config.m_bRuntimeFound = kept; };
    Sweep(L"true: C:\\jdk", {L"false: <null>"}, &CQV_JVMConfigInfo::ReadJDKLocation);
    Sweep(L"true: C:\\jre", {L"false: <null>"}, &CQV_JVMConfigInfo::ReadJREBinLocation);
  }
  EXPECT_EQ(m_boxes.Shown(), std::vector<ShownBox>{});
}

TEST_F(AllocationSweepTest, CountedLists) {
  const std::wstring large(40000, L'x');
  m_registry.SetList(Hive::Machine, kJava + L"\\Plain", {L"a", L"b", L"c"});
  m_registry.SetList(Hive::Machine, kJava + L"\\Large", {large, large});
  for (const wchar_t* count : {L"3", L"2147483647"}) {
    for (const auto& [list, whole] : {std::pair(L"Java\\Plain", std::wstring(L"true: a;b;c")),
                                      {L"Java\\Large", L"true: " + large + L";" + large}}) {
      m_registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\" + list, L"Count", count);
      for (const bool quiet : {true, false}) {
        // An entry that cannot be read for want of memory is not a missing one.
        Sweep(whole, {L"false: ", L"false: <null>"}, [&, of = list](CQV_JVMConfigInfo& config, IQvString** text) {
          return config.ReadCountedList(HKEY_LOCAL_MACHINE, of, 0x20019, text, quiet);
        });
      }
    }
  }
}

TEST_F(AllocationSweepTest, UserClassPath) {
  m_registry.SetList(Hive::User, std::wstring(kQuovantRoot) + L"\\ClassPath", {L"u1", L"u2"});
  Sweep(L"u1;u2", {L"", L"<null>"}, &CQV_JVMConfigInfo::ReadUserClassPath);
}

TEST_F(AllocationSweepTest, EnvironmentVariable) {
  const std::wstring value(3000, L'v');
  const EnvironmentScope variable(L"QV_UNIT_VARIABLE", value);
  Sweep(L"true: " + value, {L"false: <null>", L"true: <null>"}, [](CQV_JVMConfigInfo& config, IQvString** text) {
    return config.ReadEnvironmentVariable(L"QV_UNIT_VARIABLE", text);
  });
}

TEST_F(AllocationSweepTest, LogFilePath) {
  Sweep(L"vm.out", {L"<null>"}, &CQV_JVMConfigInfo::GetLogFilePath);
  m_prepare = [](CQV_JVMConfigInfo& config) { config.SetLogFilePath(qv::MakeString(L"D:\\log").Detach()); };
  Sweep(L"D:\\log", {L"<null>"}, &CQV_JVMConfigInfo::GetLogFilePath);
}

TEST_F(AllocationSweepTest, Load) {
  QvshrLedgerOverrideFolder(0, L"C:\\Local");
  Sweep(L"true: C:\\Local\\vm.out", {L"true: <null>"}, [](CQV_JVMConfigInfo& config) {
    const bool loaded = config.Load();
    return (loaded ? L"true: " : L"false: ") + TextOf(config.m_pLogFilePath);
  });
}

// ---- the class path ----

class ClassPathSweepTest : public AllocationSweepTest {
 protected:
  static constexpr auto kBuild = &CQV_JVMConfigInfo::BuildSystemClassPath;
  static constexpr auto kCompose = &CQV_JVMConfigInfo::ComposeClassPath;
  // What the operation gives when no memory fails; the expectations for that are in the tests of its own.
  std::wstring Whole(bool (CQV_JVMConfigInfo::*read)(IQvString**) noexcept) {
    const ConfigObject config;
    m_prepare(*config);
    const std::wstring whole = Given(*config, read);
    EXPECT_EQ(whole.substr(0, 6), L"true: ");
    return whole;
  }

  TempFolder m_folder;
  LoadedModule m_service{m_folder, L"install\\qvjvm.dll"};
  EnvironmentScope m_classPath{L"CLASSPATH", std::wstring(2000, L'c')};
};

TEST_F(ClassPathSweepTest, OfAnUnknownHost) {
  m_folder.WriteFile(L"install\\JRE\\LIB\\rt.jar");
  m_folder.WriteFile(L"install\\qvjdbc12.jar");
  Sweep(Whole(kBuild), {L"false: <null>"}, kBuild);
  Sweep(Whole(kCompose), {L"false: <null>"}, kCompose);
}

TEST_F(ClassPathSweepTest, OfAKnownHost) {
  m_registry.SetText(Hive::Machine, kJava, L"JDKLocation", L"C:\\jdk");
  m_registry.SetList(Hive::Machine, kJava + L"\\QVIDEConfig\\QVSysclasspath", {L"d1", L"d2"});
  m_registry.SetList(Hive::User, std::wstring(kQuovantRoot) + L"\\ClassPath", {L"u1", L"u2"});
  BeHost(HostKind::Quovant);
  const std::wstring whole = Whole(kCompose);
  // A JDK location and a user list that cannot be read are left out, for whatever reason.
  std::wstring noJdk = whole;
  for (size_t at = noJdk.find(L"C:\\jdk"); at != std::wstring::npos; at = noJdk.find(L"C:\\jdk")) noJdk.erase(at, 6);
  std::wstring noUsers = whole;
  noUsers.erase(noUsers.find(L";u1;u2"), 6);
  Sweep(whole, {L"false: <null>", noJdk, noUsers}, kCompose);
}

TEST_F(ClassPathSweepTest, OfAJavaLauncher) {
  BeHost(HostKind::Loomhall);
  const std::wstring whole = Whole(kCompose);
  // The user's list, which is not there, may fail for whatever reason.
  Sweep(whole, {L"false: <null>", whole}, kCompose);
}

// ---- the start-up arguments ----

class OptionSweepTest : public ClassPathSweepTest {
 protected:
  static std::wstring Properties(CQV_JVMConfigInfo& config) {
    wchar_t** list = nullptr;
    int32_t count = 0;
    std::wstring result = config.ReadJVMProperties(&list, &count) ? L"true:" : L"false:";
    for (int32_t i = 0; i < count; ++i) {
      result += std::wstring(L" ") + list[i];
      QvshrFree(list[i]);
    }
    QvshrFree(list);
    return result;
  }
  // The configured options and the properties.
  static std::wstring Options(CQV_JVMConfigInfo& config) {
    JavaVMOption* options = nullptr;
    int32_t count = 0;
    const bool ok = config.BuildJavaVMOptions(&options, &count, L"extra");
    std::wstring result = ok ? L"true:" : L"false:";
    EXPECT_EQ(ok, options != nullptr);
    for (int32_t i = 4; options != nullptr && i < count; ++i) result += L" " + ToWide(options[i].optionString);
    qv::FreeOptions(options, count);
    return result;
  }
};

TEST_F(OptionSweepTest, OfTheBuiltInTree) {
  // The registry's root, which is not there, may fail for whatever reason.
  Sweep(L"true: -Djava.compiler=NONE", {L"false:", L"true: -Djava.compiler=NONE"}, Properties);
  const std::wstring whole = L"true: -Xmx128m -verbose:jni -Djava.compiler=NONE";
  Sweep(whole, {L"false:", whole}, Options);
}

TEST_F(OptionSweepTest, OptionsOfTheRegistryOrElseOfTheBuiltInTree) {
  m_registry.SetList(Hive::Machine, kJava + L"\\QVRTConfig\\QVJVMconfig", {L"-Xint", L"-Xrs"});
  m_registry.SetText(Hive::Machine, kJava + L"\\QVRTConfig\\QVJVMprops", L"p", L"v");
  // A key of the registry that cannot be opened is replaced by the built-in one, for whatever reason.
  Sweep(L"true: -Xint -Xrs -Dp=v",
        {L"false:", L"true: -Xint -Xrs -Djava.compiler=NONE", L"true: -Xmx128m -verbose:jni -Dp=v"}, Options);
}

TEST_F(OptionSweepTest, OfAKnownHost) {
  m_registry.SetText(Hive::Machine, kJava, L"JDKLocation", L"C:\\jdk");
  m_registry.SetList(Hive::Machine, kJava + L"\\QVIDEConfig\\QVSysclasspath", {L"d"});
  m_registry.SetList(Hive::Machine, kJava + L"\\QVIDEConfig\\QVJVMconfig", {L"-Xint", L"-Xrs"});
  m_registry.SetText(Hive::Machine, kJava + L"\\QVIDEConfig\\QVJVMprops", L"p", L"v");
  m_registry.SetText(Hive::Machine, kJava + L"\\QVIDEConfig\\QVJVMprops", L"q", L"w");
  BeHost(HostKind::Quovant);
  Sweep(L"true: -Dp=v -Dq=w", {L"false:"}, Properties);
  // The other successes are those of a class path without a location or a user list.
  Sweep(L"true: -Xint -Xrs -Dp=v -Dq=w", {L"false:", L"true: -Xint -Xrs -Dp=v -Dq=w"}, Options);
}

TEST_F(OptionSweepTest, BootClassPath) {
  static HMODULE module = nullptr;
  module = m_service.Handle();
  m_prepare = [](CQV_JVMConfigInfo& config) { config.m_pfnFindLoadedModule = [](const char*) { return module; }; };
  constexpr auto kBoot = &CQV_JVMConfigInfo::BuildBootClassPath;
  Sweep(Whole(kBoot), {L"true: <null>"}, kBoot);
}

// ---- runtime discovery ----

class RuntimeSweepTest : public ClassPathSweepTest {
 protected:
  // The result and PATH behind it; the flag says the same as PATH.
  static std::wstring Locate(CQV_JVMConfigInfo& config) {
    const bool ok = config.LocateJavaRuntime();
    const std::wstring path = ReadVariable(L"PATH").value_or(L"<absent>");
    EXPECT_EQ(config.m_bRuntimeFound, path != kOldPath);
    return (ok ? L"true: " : L"false: ") + path;
  }
  std::wstring Found(const std::wstring& folder) const { return L"true: " + folder + L";" + kOldPath; }
  void RegisterHome() {
    m_registry.RegisterRuntime(L"1.8", m_folder.Path(L"registered"));
    m_folder.WriteFile(L"registered\\bin\\server\\jvm.dll");
  }
  std::wstring AddPrivateRuntime() {
    m_folder.WriteFile(L"install\\jre\\bin\\client\\jvm.dll");
    return Found(m_folder.Path(L"install") + L"\\JRE\\BIN\\CLIENT");
  }

  const std::wstring m_nothing = std::wstring(L"false: ") + kOldPath;
};

TEST_F(RuntimeSweepTest, ThroughJavaHome) {
  m_folder.WriteFile(L"home\\bin\\server\\jvm.dll");
  RegisterHome();
  AddPrivateRuntime();
  const EnvironmentScope javaHome(L"JAVA_HOME", m_folder.Path(L"home"));
  // Never another runtime than the one that JAVA_HOME names.
  Sweep(Found(m_folder.Path(L"home") + L"\\BIN\\SERVER"), {m_nothing}, Locate);
}

TEST_F(RuntimeSweepTest, ThroughTheRegistry) {
  RegisterHome();
  const std::wstring privateRuntime = AddPrivateRuntime();
  const EnvironmentScope javaHome(L"JAVA_HOME", std::nullopt);
  // A step in the registry that fails ends the search there, for whatever reason.
  Sweep(Found(m_folder.Path(L"registered") + L"\\BIN\\SERVER"), {m_nothing, privateRuntime}, Locate);
}

TEST_F(RuntimeSweepTest, ThroughTheInstallFolder) {
  const EnvironmentScope javaHome(L"JAVA_HOME", std::nullopt);
  const std::wstring privateRuntime = AddPrivateRuntime();
  Sweep(privateRuntime, {m_nothing, privateRuntime}, Locate);
}

TEST_F(RuntimeSweepTest, ThroughTheConfiguredLocations) {
  m_registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jre");
  BeHost(HostKind::Quovant);
  Sweep(Found(L"C:\\jdk\\BIN;C:\\jre"), {m_nothing}, Locate);
}

TEST_F(RuntimeSweepTest, WithNothingToFind) {
  const EnvironmentScope javaHome(L"JAVA_HOME", std::nullopt);
  const std::wstring lenient = std::wstring(L"true: ") + kOldPath;
  Sweep(lenient, {m_nothing, lenient}, Locate);
}

}  // namespace
}  // namespace qvtest
