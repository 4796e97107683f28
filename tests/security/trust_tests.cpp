// Who controls what the service reads controls what runs in the host: a runtime, a class or an option is planted where
// somebody might, and the test says what comes of it. The host asks Java for a class of an archive that it was not
// given. Java 17 is the runtime that the machine means to use, Java 21 the planted one.
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

std::wstring PlantedArchive() { return ProgramFolder() + L"\\..\\real\\qvejbclient.jar"; }
std::wstring PlantedJvmFolder() { return World::InstalledRuntime(21) + L"\\bin\\server"; }

// The planted class as a file of its own below a folder.
void PlantClassFiles(const std::wstring& folder) {
  const std::wstring classes = ReadVariable(L"QV_TEST_CLASSES").value_or(L"?");
  CreateDirectoryW((folder + L"\\outside").c_str(), nullptr);
  for (const wchar_t* name : {L"\\outside\\Base.class", L"\\outside\\Greeter.class"}) {
    EXPECT_NE(CopyFileW((classes + name).c_str(), (folder + name).c_str(), FALSE), FALSE) << GetLastError();
  }
}

const Break kNoRuntimeToDiscover = Variable(L"JAVA_HOME", std::nullopt);
const Break kPlantedOnPath = Variable(L"PATH", PlantedJvmFolder() + L";" + kSystemPath);
const Break kInPlantedFolder = WorkFolder(PlantedJvmFolder());

// What the host says of its start: that it failed, or which Java runs and whether that has the planted class.
struct Outcome {
  std::string java;
  bool planted = false;

  bool operator==(const Outcome&) const = default;
  friend void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << (outcome.java.empty() ? "no JVM"
                                  : "Java " + outcome.java + (outcome.planted ? " with the planted class" : ""));
  }
};
const Outcome kNoJvm{};
const Outcome kAsMeant{"17"};
const Outcome kPlantedClass{"17", true};
const Outcome kPlantedRuntime{"21"};

struct Trust {
  const char* name;
  Break plant;
  Outcome outcome;
  Host host = kUnknownHost;

  friend void PrintTo(const Trust& row, std::ostream* out) { *out << row.name; }
};

class TrustTest : public testing::TestWithParam<Trust> {};

TEST_P(TrustTest, DecidesWhatRuns) {
  World world(17, GetParam().host);
  world.Argument(L"find", L"outside/Greeter");
  GetParam().plant(world);
  const ChildResult child = RunChild(world.Program(), world.Child());
  Outcome outcome;
  bool called = false;
  for (const auto& report : ReportsIn(child.output)) {
    if (!report.contains("status")) continue;
    called = true;
    outcome = {report.value("java", "").substr(0, 2), report.value("found", false)};
  }
  EXPECT_TRUE(called) << "exit code " << child.exitCode << "\n" << child.output;
  EXPECT_EQ(outcome, GetParam().outcome) << child.output;
}

const Trust kRows[] = {
    {"NothingPlanted", [](World&) {}, kAsMeant},

    // ---- runtimes ----
    {"JavaHome", Variable(L"JAVA_HOME", World::InstalledRuntime(21)), kPlantedRuntime},
    {"RegisteredRuntime",
     [](World& world) {
       kNoRuntimeToDiscover(world);
       world.registry.RegisterRuntime(L"21", World::InstalledRuntime(21));
     },
     kPlantedRuntime},
    {"ConfiguredRuntimeOfAKnownHost",
     [](World& world) {
       world.registry.SetText(Hive::Machine, world.ProductKey(), L"JREBinLocation", PlantedJvmFolder());
     },
     kPlantedRuntime, kQuovantHost},
    {"JavaHomeOfAKnownHost", Variable(L"JAVA_HOME", World::InstalledRuntime(21)), kAsMeant, kQuovantHost},
    {"JvmDllOnPathWithoutARuntimeToDiscover", kNoRuntimeToDiscover + kPlantedOnPath, kPlantedRuntime},
    {"JvmDllOnPathBehindTheDiscoveredRuntime", kPlantedOnPath, kAsMeant},
    {"JvmDllInTheCurrentFolderWithoutARuntimeToDiscover", kNoRuntimeToDiscover + kInPlantedFolder, kPlantedRuntime},
    {"JvmDllInTheCurrentFolderBeforeTheDiscoveredRuntime", kInPlantedFolder, kPlantedRuntime},
    {"JvmDllInTheCurrentFolderThatTheHostDoesNotSearch", kInPlantedFolder + Argument(L"search", L"current"), kAsMeant},
    {"JvmDllInTheCurrentFolderOfAHardenedHost", kInPlantedFolder + Argument(L"search", L"path"), kAsMeant},
    {"JvmDllBesideTheHost",  // no JVM's library at all, and loaded all the same
     [](World& world) { world.folder.CopyIn(ProgramFolder() + L"\\unit_module.dll", L"host\\jvm.dll"); }, kNoJvm},

    // ---- classes ----
    {"ClassPathVariable", Variable(L"CLASSPATH", PlantedArchive()), kPlantedClass},
    {"ClassPathVariableOfAKnownHost", Variable(L"CLASSPATH", PlantedArchive()), kPlantedClass, kQuovantHost},
    {"CurrentFolder",
     [](World& world) {
       PlantClassFiles(world.folder.MakeFolder(L"downloads"));
       world.workFolder = world.folder.Path(L"downloads");
     },
     kPlantedClass},
    {"UsersClassPathOfAKnownHost",
     [](World& world) {
       world.registry.SetList(Hive::User, std::wstring(kQuovantHost.root) + L"\\ClassPath", {PlantedArchive()});
     },
     kPlantedClass, kQuovantHost},
    {"UsersClassPathOfAnUnknownHost",
     [](World& world) {
       world.registry.SetList(Hive::User, std::wstring(kUnknownHost.root) + L"\\ClassPath", {PlantedArchive()});
     },
     kAsMeant},
    {"ArchiveBesideTheService", [](World& world) { world.folder.CopyIn(PlantedArchive(), L"host\\qvejbclient.jar"); },
     kPlantedClass},
    {"ArchiveInTheHostsIdeFolder",
     [](World& world) { world.folder.CopyIn(PlantedArchive(), L"host\\IDE\\qvejbclient.jar"); }, kPlantedClass},

    // ---- options ----
    {"OptionInTheRegistry", Options({L"-Xbootclasspath/a:" + PlantedArchive()}), kPlantedClass},
    {"JavaToolOptions", Variable(L"JAVA_TOOL_OPTIONS", L"\"-Xbootclasspath/a:" + PlantedArchive() + L"\""),
     kPlantedClass},
    {"UnderscoreJavaOptions", Variable(L"_JAVA_OPTIONS", L"\"-Xbootclasspath/a:" + PlantedArchive() + L"\""),
     kPlantedClass},
    {"JdkJavaOptions",  // the java launcher's alone
     Variable(L"JDK_JAVA_OPTIONS", L"-Xbootclasspath/a:" + PlantedArchive()), kAsMeant},
};

INSTANTIATE_TEST_SUITE_P(Trusted, TrustTest, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Trust>& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace qvtest
