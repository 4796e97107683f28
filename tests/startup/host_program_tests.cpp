// Real host programs: one program under many names, the very qvjvm.dll beside it, a registry of its own. What the
// service recognised shows in the options that reach the JVM, in the keys that it opened and in its message boxes.
// Also how such a process ends.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <tuple>

#include "qvjvm/options.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

// An installation folder with the service in it, and the registry that its hosts see.
struct Installation {
  // With the ledger build of the host library, or the one that ships.
  explicit Installation(const wchar_t* hostLibrary = L"\\qvshr.dll") {
    folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm.dll", L"qvjvm.dll");
    folder.CopyIn(ProgramFolder() + hostLibrary, L"qvshr.dll");
    // Every product has its own settings, so that the JVM's options name the product that was recognised.
    for (const std::wstring root : {kQuovantRoot, kTableroRoot, kLoomhallRoot}) {
      const std::wstring known = root + L"\\Java\\QVIDEConfig\\";
      const std::wstring unknown = root + L"\\Java\\QVRTConfig\\";
      registry.SetLocations(root, L"C:\\jdk", L"C:\\jre\\bin");
      registry.SetList(Hive::Machine, known + L"QVSysclasspath", {L"C:\\product.jar"});
      registry.SetList(Hive::Machine, known + L"QVJVMconfig", {L"-Dknown=" + root});
      registry.CreateKey(Hive::Machine, known + L"QVJVMprops");
      registry.SetList(Hive::Machine, unknown + L"QVJVMconfig", {L"-Dunknown=" + root});
      registry.CreateKey(Hive::Machine, unknown + L"QVJVMprops");
    }
  }

  struct Run {
    ChildResult child;
    json report;
  };
  // Runs the program under this name. PATH holds the runtime's folder, since a Java host's runtime is found there.
  [[nodiscard]] Run RunHost(const std::wstring& name, std::vector<std::wstring> arguments = {},
                            std::map<std::wstring, std::optional<std::wstring>> environment = {}) const {
    if (!FileExists(folder.Path(name))) folder.CopyIn(ProgramFolder() + L"\\probe_host.exe", name);
    ChildOptions options;
    options.arguments = {L"machine", registry.Path(Hive::Machine), L"user", registry.Path(Hive::User)};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    options.environment = std::move(environment);
    options.environment.insert({{L"JAVA_HOME", FakeJvm::Home()},
                                {L"PATH", FakeJvm::Home() + L"\\bin\\server;C:\\windows\\system32"},
                                {L"CLASSPATH", std::nullopt}});
    options.workFolder = folder.Path();
    Run run{RunChild(folder.Path(name), options), {}};
    EXPECT_FALSE(run.child.hung);
    run.report = json::parse(run.child.output, nullptr, false);
    EXPECT_FALSE(run.report.is_discarded()) << "exit code " << run.child.exitCode << ", output:\n" << run.child.output;
    if (run.report.is_discarded()) run.report = json::object();
    return run;
  }

  TempFolder folder;
  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
};

std::string SearchPath(bool javaHost, bool known) {
  const std::string own = ToUtf8(FakeJvm::Home()) + "\\bin\\server;C:\\windows\\system32";
  if (javaHost) return own;
  return known ? "C:\\jdk\\BIN;C:\\jre\\bin;" + own : ToUtf8(FakeJvm::Home()) + "\\BIN\\SERVER;" + own;
}

TEST(HostProgram, IsRecognisedByTheNameOfItsFile) {
  Installation installation;
  const struct {
    const wchar_t* name;
    const wchar_t* kind;  // "known" or "unknown"
    const wchar_t* root;
  } rows[] = {{L"qv190.exe", L"known", kQuovantRoot},    {L"QW190.exe", L"known", kQuovantRoot},
              {L"qk190.EXE", L"known", kQuovantRoot},    {L"qr190.exe", L"known", kQuovantRoot},
              {L"tk190.exe", L"known", kTableroRoot},    {L"tn190.exe", L"known", kTableroRoot},
              {L"javaw.exe", L"known", kLoomhallRoot},   {L"JAVAW.exe", L"known", kLoomhallRoot},
              {L"eclipse.exe", L"known", kLoomhallRoot}, {L"java.exe", L"unknown", kQuovantRoot},
              {L"qv195.exe", L"unknown", kQuovantRoot},  {L"qv190w.exe", L"unknown", kQuovantRoot},
              {L"tk19.exe", L"unknown", kQuovantRoot},   {L"javaw", L"unknown", kQuovantRoot},
              {L"qv190", L"unknown", kQuovantRoot},      {L"probe_host.exe", L"unknown", kQuovantRoot}};
  for (const auto& row : rows) {
    SCOPED_TRACE(ToUtf8(row.name));
    // Names that differ in case alone are one file.
    DeleteFileW(installation.folder.Path(row.name).c_str());
    const json report = installation.RunHost(row.name).report;
    EXPECT_EQ(report.value("status", -1), 0);
    EXPECT_EQ(report.value("boxes", json()), json::array());
    const Strings options = report.value("options", Strings());
    ASSERT_EQ(options.size(), 5u);
    EXPECT_EQ(options[4], ToUtf8(std::wstring(L"-D") + row.kind + L"=" + row.root));
    const bool known = std::wstring_view(row.kind) == L"known";
    const bool javaHost = row.root == std::wstring_view(kLoomhallRoot);
    const bool hasRuntimeArchives =
        options[0].find("C:\\jdk\\JRE\\LIB\\rt.jar;C:\\jdk\\LIB\\tools.jar;") != std::string::npos;
    EXPECT_EQ(hasRuntimeArchives, known && !javaHost) << options[0];
    EXPECT_EQ(report.value("path", ""), SearchPath(javaHost, known));
    const Strings keys = report.value("keys", Strings());
    for (const std::string& key : keys) {
      const bool belowTheRoot = key.rfind("below:", 0) == 0;
      EXPECT_TRUE(belowTheRoot || key == "machine:" + ToUtf8(row.root) || key == "user:" + ToUtf8(row.root)) << key;
    }
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "user:" + ToUtf8(row.root)), known ? 1 : 0);
  }
}

TEST(HostProgram, SeesItsProductsNameAndTextInTheMessageBox) {
  for (const auto& [name, root, title] : {std::tuple(L"qv190.exe", kQuovantRoot, "Quovant Java VM Service"),
                                          std::tuple(L"tn190.exe", kTableroRoot, "Tablero Java VM Service")}) {
    Installation installation;
    installation.registry.DeleteKey(Hive::Machine, std::wstring(root) + L"\\Java\\QVIDEConfig\\QVSysclasspath");
    const json report = installation.RunHost(name).report;
    EXPECT_EQ(report.value("status", 0), static_cast<int32_t>(0x80004005));
    const std::string key = ToUtf8(root) + "\\Java\\QVIDEConfig\\QVSysclasspath";
    EXPECT_EQ(report.value("boxes", json()),
              json({{{"text", "Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\" + key},
                     {"title", title},
                     {"style", 16}}}));
  }
}

TEST(HostProgram, WithoutAnyRegistryGetsTheBuiltInConfigurationFromBesideTheService) {
  Installation installation;
  installation.registry.DeleteKey(Hive::Machine, L"Software");
  installation.folder.WriteFile(L"qvejbclient.jar", "");
  installation.folder.WriteFile(L"fop-0.20.5\\build\\fop.jar", "");
  const json report = installation.RunHost(L"any.exe", {L"classpath", L"C:\\mine.jar"}).report;
  EXPECT_EQ(report.value("status", -1), 0);
  std::wstring archives = BuiltInClassPath(installation.folder.Path(L"IDE"));
  for (const wchar_t* present : {L"\\qvejbclient.jar", L"\\fop-0.20.5\\build\\fop.jar"}) {
    const size_t at = archives.find(L"\\IDE" + std::wstring(present));
    ASSERT_NE(at, std::wstring::npos);
    archives.erase(at, 4);
  }
  std::wstring libraries = FakeJvm::Home() + L"\\bin\\server\\LIB";
  CharUpperW(libraries.data());
  EXPECT_EQ(report.value("options", Strings()), (Strings{"-Djava.class.path=C:\\mine.jar;" + ToUtf8(archives) + ";.",
                                                         ToUtf8(BootClassPathOption(libraries)), "vfprintf", "exit",
                                                         "-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}));
}

TEST(HostProgram, LogLiesBelowTheUsersLocalApplicationDataOrInAWebDeploymentIsTheBareName) {
  const Installation installation(L"\\..\\qvshr.dll");
  const std::wstring log = ToWide(installation.RunHost(L"any.exe").report.value("log", ""));
  const std::wstring want = ReadVariable(L"LOCALAPPDATA").value_or(L"?") + L"\\vm.out";
  EXPECT_EQ(CompareStringOrdinal(log.c_str(), -1, want.c_str(), -1, TRUE), CSTR_EQUAL) << ToUtf8(log);
  installation.folder.WriteFile(L"qvshr.ini", "[Host]\r\nWebDeployment=1\r\n");
  EXPECT_EQ(installation.RunHost(L"any.exe").report.value("log", ""), "vm.out");
}

// One character more is too long; such a process cannot be started under Wine, so config_load_tests.cpp tells that
// path.
TEST(HostProgram, WhosePathHas259CharactersIsStillRecognised) {
  Installation installation;
  std::wstring folder = (installation.folder.Path() + L"\\");
  folder.resize(259 - std::size(L"\\qv190.exe") + 1, L'd');
  folder[folder.size() / 2 + 40] = L'\\';  // one name alone would be too long
  const std::wstring relative = folder.substr((installation.folder.Path() + L"\\").size());
  for (const wchar_t* library : {L"qvjvm.dll", L"qvshr.dll"}) {
    installation.folder.CopyIn(installation.folder.Path(library), relative + L"\\" + library);
  }
  const std::wstring program = relative + L"\\qv190.exe";
  ASSERT_EQ(installation.folder.Path(program).size(), 259u);
  const json report = installation.RunHost(program).report;
  EXPECT_EQ(report.value("status", -1), 0);
  EXPECT_EQ(report.value("options", Strings()).at(4), ToUtf8(std::wstring(L"-Dknown=") + kQuovantRoot));
}

// ---- an application's own settings ----

struct SettingsCase {
  const char* name;
  const wchar_t* program;
  std::vector<std::wstring> arguments;
  const char* file;  // qvshr.ini, "" for none
  bool registry;     // whether the registry has anything
  int32_t status;
  Strings options;  // of the JVM, behind the two hooks
  uint32_t ignored;
};
void PrintTo(const SettingsCase& row, std::ostream* out) { *out << row.name; }

constexpr const char* kFile =
    "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMconfig]\nCount=1\n0=-Xmx1g\n"
    "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMprops]\na=file\n"
    "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVIDEConfig\\QVJVMconfig]\nCount=1\n0=-Xmx2g\n";
constexpr const char* kOptionsWithoutCount =
    "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMconfig]\n0=-Xmx1g\n";
constexpr const char* kNoProperties = "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMprops]\n";
constexpr const wchar_t* kUnknown = L"any.exe";
constexpr const wchar_t* kKnown = L"qv190.exe";
constexpr int32_t kFailed = static_cast<int32_t>(0x80004005);

class ApplicationSettingsTest : public testing::TestWithParam<SettingsCase> {};

TEST_P(ApplicationSettingsTest, CountAsTheTableOfTheDocumentSays) {
  const SettingsCase& row = GetParam();
  Installation installation(L"\\..\\qvshr.dll");
  if (!row.registry) installation.registry.DeleteKey(Hive::Machine, L"Software");
  if (*row.file != '\0') installation.folder.WriteFile(L"qvshr.ini", row.file);
  const json report = installation.RunHost(row.program, row.arguments).report;
  EXPECT_EQ(report.value("status", -1), row.status) << report.value("why", "");
  EXPECT_EQ(report.value("ignored", 0u), row.ignored);
  Strings options = report["options"].is_array() ? report.value("options", Strings()) : Strings();
  if (options.size() >= 4) options.erase(options.begin(), options.begin() + 4);
  EXPECT_EQ(options, row.options);
}

INSTANTIATE_TEST_SUITE_P(
    Unknown, ApplicationSettingsTest,
    testing::Values(
        SettingsCase{
            "NothingGiven", kUnknown, {}, "", false, 0, {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"}, 0},
        SettingsCase{"Registry", kUnknown, {}, "", true, 0, {"-Dunknown=Software\\Harlowe\\Quovant\\19.0"}, 0},
        SettingsCase{"File", kUnknown, {}, kFile, false, 0, {"-Xmx1g", "-Da=file"}, 0},
        SettingsCase{"FileBeforeRegistry", kUnknown, {}, kFile, true, 0, {"-Xmx1g", "-Da=file"}, 0},
        SettingsCase{"FileWithoutCount",
                     kUnknown,
                     {},
                     kOptionsWithoutCount,
                     false,
                     0,
                     {"-Xmx128m", "-verbose:jni", "-Djava.compiler=NONE"},
                     0},
        SettingsCase{"FileWithoutProperties", kUnknown, {}, kNoProperties, false, 0, {"-Xmx128m", "-verbose:jni"}, 0},
        SettingsCase{"Heap", kUnknown, {L"heap", L"536870912"}, "", false, 0, {"-Xmx512m", "-Djava.compiler=NONE"}, 0},
        SettingsCase{
            "HeapInKiB", kUnknown, {L"heap", L"10485761"}, "", false, 0, {"-Xmx10241k", "-Djava.compiler=NONE"}, 0},
        SettingsCase{"HeapBeforeOptions",
                     kUnknown,
                     {L"option", L"-Xms1m", L"heap", L"1073741824"},
                     "",
                     true,
                     0,
                     {"-Xmx1024m", "-Xms1m"},
                     0},
        SettingsCase{
            "OptionsBeforeTheFile", kUnknown, {L"option", L"-Xms1m"}, kFile, true, 0, {"-Xms1m", "-Da=file"}, 0},
        SettingsCase{"Compiled", kUnknown, {L"compiled", L"1"}, "", false, 0, {"-Xmx128m", "-verbose:jni"}, 0},
        SettingsCase{"Property", kUnknown, {L"property", L"b=own"}, kFile, false, 0, {"-Xmx1g", "-Db=own"}, 0},
        SettingsCase{"CompiledTakesTheCompilerAway",
                     kUnknown,
                     {L"compiled", L"1", L"property", L"java.compiler=NONE"},
                     "",
                     false,
                     0,
                     {"-Xmx128m", "-verbose:jni"},
                     0},
        SettingsCase{"WrongOption", kUnknown, {L"option", L"Xms1m"}, "", false, QV_E_INVALIDARG, {}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Known, ApplicationSettingsTest,
    testing::Values(
        SettingsCase{"NothingGiven", kKnown, {}, "", false, kFailed, {}, 0},
        SettingsCase{"Registry", kKnown, {}, "", true, 0, {"-Dknown=Software\\Harlowe\\Quovant\\19.0"}, 0},
        SettingsCase{"File", kKnown, {}, kFile, true, 0, {"-Xmx2g"}, 0},
        SettingsCase{"Heap", kKnown, {L"heap", L"536870912"}, kFile, true, 0, {"-Xmx512m"}, 0},
        SettingsCase{"Property", kKnown, {L"property", L"b=own"}, kFile, true, 0, {"-Xmx2g", "-Db=own"}, 0},
        SettingsCase{"OtherProduct", L"tn190.exe", {L"heap", L"536870912"}, kFile, true, 0, {"-Xmx512m"}, 0},
        SettingsCase{"JavaLauncher", L"javaw.exe", {L"heap", L"536870912"}, kFile, true, 0, {"-Xmx512m"}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Joined, ApplicationSettingsTest,
    testing::Values(SettingsCase{"TooLate",
                                 kUnknown,
                                 {L"running", L"1", L"heap", L"536870912", L"option", L"-Xms1m", L"property", L"a=b",
                                  L"compiled", L"1", L"classes", L"none.jar", L"runtime", L"none"},
                                 "",
                                 false,
                                 0,
                                 {},
                                 63},
                    SettingsCase{"OnlyWhatWasAskedFor",
                                 kUnknown,
                                 {L"running", L"1", L"heap", L"536870912"},
                                 kFile,
                                 false,
                                 0,
                                 {},
                                 QV_IGNORED_HEAP},
                    SettingsCase{
                        "TheLogNever", kUnknown, {L"running", L"1", L"logfile", L"own.log"}, "", false, 0, {}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ApplicationStart, ClassPathIsMadeOfFilesAndOfFoldersJarsByName) {
  const Installation installation(L"\\..\\qvshr.dll");
  for (const wchar_t* name : {L"b.jar", L"A.jar", L"c.JAR", L"d.jarx", L"e.zip", L".jar"}) {
    installation.folder.WriteFile(std::wstring(L"lib\\") + name);
  }
  installation.folder.MakeFolder(L"lib\\folder.jar");
  const std::string lib = ToUtf8(installation.folder.Path(L"lib\\"));
  const auto start = [&](const wchar_t* entry) {
    json report = installation.RunHost(L"any.exe", {L"classes", entry}).report;
    const Strings options = report["options"].is_array() ? report.value("options", Strings()) : Strings{""};
    return std::pair(options[0], report.value("why", "?"));
  };
  EXPECT_EQ(start(L"lib\\*").first.rfind("-Djava.class.path=" + lib + "A.jar;" + lib + "b.jar;" + lib + "c.JAR;", 0),
            0u)
      << start(L"lib\\*").first;
  for (const wchar_t* program : {L"any.exe", L"qv190.exe", L"javaw.exe"}) {
    const json report = installation.RunHost(program, {L"classes", L"x.jar"}).report;
    EXPECT_THAT(report.value("options", Strings{""}).at(0),
                testing::StartsWith("-Djava.class.path=" + ToUtf8(installation.folder.Path(L"x.jar;"))));
  }
  EXPECT_EQ(start(L"C:\\x.jar").first.rfind("-Djava.class.path=C:\\x.jar;", 0), 0u);
  EXPECT_EQ(start(L"none\\*"),
            std::pair(std::string(), "the class path names the jars of a folder that is not there: " +
                                         ToUtf8(installation.folder.Path(L"none\\"))));
}

TEST(ApplicationStart, RuntimeStandsBeforeJavaHomeWhichIsPutBack) {
  for (const wchar_t* program : {L"any.exe", L"qv190.exe"}) {
    const Installation installation(L"\\..\\qvshr.dll");
    installation.folder.CopyIn(FakeJvm::DefaultPath(), L"jre\\bin\\server\\jvm.dll");
    const json report = installation.RunHost(program, {L"runtime", L"jre"}, {{L"JAVA_HOME", L"C:\\nowhere"}}).report;
    EXPECT_EQ(report.value("status", -1), 0) << report.value("why", "");
    EXPECT_EQ(report.value("home", ""), "C:\\nowhere");
    const std::wstring path = ToWide(report.value("path", ""));
    const std::wstring want = installation.folder.Path(L"jre") + L"\\BIN";
    EXPECT_EQ(CompareStringOrdinal(path.substr(0, want.size()).c_str(), -1, want.c_str(), -1, TRUE), CSTR_EQUAL)
        << ToUtf8(path);
    const json none = installation.RunHost(program, {L"runtime", L"lib"}).report;
    EXPECT_EQ(none.value("status", 0), QV_E_INVALIDARG);
    EXPECT_EQ(none.value("why", ""),
              "there is no Java runtime, bin\\server\\jvm.dll, in " + ToUtf8(installation.folder.Path(L"lib")));
  }
}

TEST(ApplicationStart, RuntimeIsNothingToAJavaLauncher) {
  const Installation installation(L"\\..\\qvshr.dll");
  installation.folder.CopyIn(FakeJvm::DefaultPath(), L"jre\\bin\\server\\jvm.dll");
  const json report = installation.RunHost(L"javaw.exe", {L"runtime", L"jre"}).report;
  EXPECT_EQ(report.value("status", -1), 0) << report.value("why", "");
  EXPECT_EQ(report.value("path", ""), SearchPath(true, true));
}

TEST(ApplicationStart, LogIsTheApplicationsOwnAndTheLastOnesStay) {
  const Installation installation(L"\\..\\qvshr.dll");
  const std::wstring log = installation.folder.Path(L"own.log");
  for (const char* old : {"first", "second", "third", "fourth"}) {
    installation.folder.WriteFile(L"own.log", old);
    EXPECT_EQ(installation.RunHost(L"any.exe", {L"logfile", L"own.log"}).report.value("log", ""), ToUtf8(log));
  }
  EXPECT_EQ(ReadWholeFile(log + L".1"), "fourth");
  EXPECT_EQ(ReadWholeFile(log + L".2"), "third");
  EXPECT_FALSE(FileExists(log + L".3"));
}

TEST(ApplicationStart, SaysThatAHostLibraryWithoutSettingsOfAnApplicationLacksThem) {
  const Installation installation(L"\\..\\qvshr.dll");
  std::string library = ReadWholeFile(installation.folder.Path(L"qvshr.dll"));
  const size_t name = library.find("QvshrSetApplicationValue");
  ASSERT_NE(name, std::string::npos);
  library[name + std::string_view("QvshrSetApplicationValu").size()] = 'x';
  installation.folder.WriteFile(L"qvshr.dll", library);
  const std::vector<std::wstring> rows[] = {{L"heap", L"536870912"},
                                            {L"option", L"-Xms1m"},
                                            {L"property", L"a=b"},
                                            {L"compiled", L"1"},
                                            {L"runtime", FakeJvm::Home()}};
  for (const std::vector<std::wstring>& asked : rows) {
    const json report = installation.RunHost(L"any.exe", asked).report;
    EXPECT_EQ(report.value("status", 0), QV_E_NOTIMPL) << ToUtf8(asked[0]);
    EXPECT_NE(report.value("why", "").find("qvshr.dll has no settings of an application"), std::string::npos);
    EXPECT_EQ(report["options"], json()) << "nothing was started";
  }
  const json report = installation.RunHost(L"any.exe", {L"classes", L"x.jar", L"logfile", L"own.log"}).report;
  EXPECT_EQ(report.value("status", -1), 0) << "the class path and the log need none";
  EXPECT_EQ(report.value("log", ""), ToUtf8(installation.folder.Path(L"own.log")));
}

TEST(ApplicationStart, NamesWhatIsMissing) {
  const Installation installation(L"\\..\\qvshr.dll");
  const json report = installation
                          .RunHost(L"any.exe", {L"compiled", L"1"},
                                   {{L"JAVA_HOME", L"C:\\nowhere"}, {L"PATH", L"C:\\windows\\system32"}})
                          .report;
  EXPECT_EQ(report.value("status", 0), kFailed);
  const std::string why = report.value("why", "");
  for (const char* part :
       {"no Java VM: no Java runtime was found; JAVA_HOME is C:\\nowhere", "qvjvm-doctor.exe", "vm.out"}) {
    EXPECT_NE(why.find(part), std::string::npos) << why;
  }
}

// ---- how the process ends ----

size_t CountLines(const std::string& log, const std::string& start) {
  size_t count = 0;
  for (size_t at = 0; at < log.size(); at = log.find('\n', at) + 1) {
    if (log.compare(at, start.size(), start) == 0) ++count;
  }
  return count;
}

TEST(ProcessEnd, DetachesNobodyUnlessTheHostLibraryAllowsIt) {
  Installation installation;
  const std::wstring jvmLog = installation.folder.Path(L"jvm.log");
  const std::wstring ledgerLog = installation.folder.Path(L"ledger.json");
  const struct {
    const char* name;
    const wchar_t* end;
    DWORD exitCode;
    const wchar_t* noDetach;  // null: the host library's own answer
    size_t detached;
  } rows[] = {{"returning from main", L"return", 5, nullptr, 0},
              {"ExitProcess", L"exitprocess", 7, nullptr, 0},
              {"returning, detaching allowed", L"return", 5, L"0", 4},
              {"ExitProcess, detaching allowed", L"exitprocess", 7, L"0", 4},
              {"ExitProcess, forbidden for good", L"exitprocess", 7, L"1", 0},
              {"FreeLibrary after the start", L"freelibrary", 10, nullptr, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    DeleteFileW(jvmLog.c_str());
    std::vector<std::wstring> arguments = {L"end", row.end, L"threads", L"3"};
    if (row.noDetach != nullptr) arguments.insert(arguments.end(), {L"nodetach", row.noDetach});
    const Installation::Run run =
        installation.RunHost(L"any.exe", arguments, {{L"FAKEJVM_LOG", jvmLog}, {L"QVSHR_LEDGER_REPORT", ledgerLog}});
    EXPECT_EQ(run.child.exitCode, row.exitCode);
    EXPECT_EQ(run.report.value("status", -1), 0);
    const std::string log = ReadWholeFile(jvmLog);
    EXPECT_EQ(CountLines(log, "Attach "), 3u) << log;
    EXPECT_EQ(CountLines(log, "Detach "), row.detached) << log;
    const json books = json::parse(ReadWholeFile(ledgerLog), nullptr, false);
    EXPECT_EQ(books.value("liveBlocks", 0), 1) << "the load's lock is never deleted: " << books.dump();
    EXPECT_EQ(books.value("liveStrings", -1), 0) << books.dump();
    EXPECT_EQ(books.value("errors", -1), 0) << books.dump();
  }
}

}  // namespace
}  // namespace qvtest
