// The program itself: its exit codes, its JSON, a trial start that fails, and that it writes nothing.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <map>

#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

using testing::HasSubstr;

const std::wstring kDoctor = ProgramFolder() + L"\\..\\qvjvm-doctor.exe";

ChildOptions On(const TempFolder& folder, std::vector<std::wstring> arguments) {
  ChildOptions options;
  options.arguments = std::move(arguments);
  options.environment = {
      {L"JAVA_HOME", folder.Path()}, {L"PATH", L"C:\\windows\\system32"}, {L"CLASSPATH", std::nullopt}};
  return options;
}

std::string OriginIn(const nlohmann::json& report, const std::string& option) {
  for (const auto& each : report["options"]) {
    if (each["text"] == option) return each["origin"];
  }
  return "no such option";
}

// For tests/doctor/check-reports, which holds them to the schema.
void SaveReport(const std::string& name, const std::string& json) {
  const auto folder = ReadVariable(L"QV_DOCTOR_REPORTS");
  if (!folder) return;
  std::ofstream(std::filesystem::path(*folder) / (name + ".json"), std::ios::binary) << json;
}

TEST(DoctorProgram, ExitCodesTellScriptsEnough) {
  const TempFolder nothing;
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {})).exitCode, 2U);
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {L"--as-joined"})).exitCode, 0U);
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {L"--no-such-option"})).exitCode, 3U);
  const ChildResult help = RunChild(kDoctor, On(nothing, {L"--help"}));
  EXPECT_EQ(help.exitCode, 0U);
  EXPECT_THAT(help.output, HasSubstr("--host"));
}

// The doctor in a folder of its own, where the product's libraries are missing or spoiled.
TEST(DoctorProgram, StartsWithoutTheLibrariesThatItJudges) {
  const TempFolder folder;
  const std::wstring doctor = folder.CopyIn(kDoctor, L"app\\qvjvm-doctor.exe");
  const auto expect = [&](const char* id, const char* cause, std::vector<std::wstring> arguments = {L"--json"}) {
    const ChildResult result = RunChild(doctor, On(folder, std::move(arguments)));
    EXPECT_EQ(result.exitCode, 2U) << result.output;
    const auto document = nlohmann::json::parse(result.output, nullptr, false);
    ASSERT_TRUE(document.is_object()) << result.output;
    EXPECT_EQ(document["findings"][0]["id"], id);
    EXPECT_THAT(document["findings"][0]["cause"].get<std::string>(), HasSubstr(cause));
    SaveReport(id, result.output);
  };
  expect("product-missing", "app\\qvshr.dll is missing");
  folder.WriteFile(L"app\\qvshr.dll", "MZ");
  expect("product-damaged", "app\\qvshr.dll is damaged: it is cut off");
  // A library with other functions: the wrong one under the right name.
  folder.CopyIn(ProgramFolder() + L"\\unit_module.dll", L"app\\qvshr.dll");
  folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm.dll", L"app\\qvjvm.dll");
  folder.CopyIn(ProgramFolder() + L"\\..\\qvshr.dll", L"other\\qvshr.dll");
  expect("product-version", "app\\qvshr.dll is another version: it lacks 11 functions");
  folder.CopyIn(ProgramFolder() + L"\\..\\qvshr.dll", L"app\\qvshr.dll");
  folder.WriteFile(L"app\\qvshr.ini",
                   "[HKLM\\Software\\X]\nno value\na=1\na=2\n"
                   "[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMconfig]\nCount=1\n0=-Xmx77m\n");
  const ChildResult lines = RunChild(doctor, On(folder, {L"--json"}));
  const auto found = nlohmann::json::parse(lines.output, nullptr, false);
  ASSERT_TRUE(found.is_object()) << lines.output;
  EXPECT_EQ(found["settingsFile"]["badLines"], nlohmann::json({2, 4}));
  EXPECT_EQ(OriginIn(found, "-Xmx77m"), "qvshr.ini Java\\QVRTConfig\\QVJVMconfig");
  EXPECT_THAT(lines.output, HasSubstr("lines that cannot be understood: 2, 4"));
  SaveReport("settings-line", lines.output);
  // The folder of the service counts, not the doctor's own.
  expect("product-missing", "other\\qvjvm.dll is missing", {L"--json", L"--service", folder.Path(L"other")});
}

TEST(DoctorProgram, JsonHoldsWhatTheTextShows) {
  const TempFolder nothing;
  const ChildResult result = RunChild(kDoctor, On(nothing, {L"--json", L"--host", L"tk190.exe"}));
  const auto document = nlohmann::json::parse(result.output);
  EXPECT_EQ(document["host"]["name"], "tk190.exe");
  EXPECT_EQ(document["host"]["kind"], "Tablero");
  EXPECT_FALSE(document["findings"].empty());
  EXPECT_EQ(document["findings"][0]["severity"], "problem");
  EXPECT_EQ(document["findings"][0]["id"], "host-settings-missing");
  EXPECT_EQ(document["runtime"], nullptr);
  SaveReport("tablero", result.output);
}

TEST(DoctorProgram, AFailingTrialStartIsReported) {
  const TempFolder folder;
  folder.WriteFile(L"bin\\server\\jvm.dll", "no library");
  const ChildResult result = RunChild(kDoctor, On(folder, {L"--start", L"--json"}));
  EXPECT_EQ(result.exitCode, 2U);
  EXPECT_FALSE(result.hung);
  const auto document = nlohmann::json::parse(result.output);
  EXPECT_EQ(document["findings"][0]["id"], "runtime-damaged");
  EXPECT_EQ(document["start"]["outcome"], "QV_CreateJavaVM failed");
  EXPECT_EQ(document["start"]["output"][0], "QV_CreateJavaVM: 0x80004005");
  SaveReport("start", result.output);
}

TEST(DoctorProgram, WithoutAFolderForTemporaryFilesTheReportIsWholeAndTellsWhy) {
  const TempFolder folder;
  ChildOptions options = On(folder, {L"--start", L"--json"});
  options.environment[L"TMP"] = folder.Path() + L"\\none";
  options.environment[L"TEMP"] = folder.Path() + L"\\none";
  const ChildResult result = RunChild(kDoctor, options);
  EXPECT_EQ(result.exitCode, 2U);
  const auto document = nlohmann::json::parse(result.output);
  EXPECT_EQ(document["host"]["name"], "program.exe");
  EXPECT_THAT(document["start"]["outcome"].get<std::string>(),
              AllOf(HasSubstr("the trial's copy cannot be made in "), HasSubstr("\\none\\qvjvm-doctor-")));
  EXPECT_FALSE(std::filesystem::exists(folder.Path() + L"\\none"));
}

// The files of a zip, by its directory, which is at its end; nothing is compressed.
std::map<std::string, std::string> FilesOf(const std::string& zip) {
  const auto number = [&](size_t at, size_t bytes) {
    size_t value = 0;
    for (size_t i = 0; i < bytes; ++i)
      value |= static_cast<size_t>(static_cast<unsigned char>(zip.at(at + i))) << 8 * i;
    return value;
  };
  std::map<std::string, std::string> files;
  size_t at = number(zip.size() - 6, 4);
  for (size_t left = number(zip.size() - 12, 2); left > 0; --left) {
    const size_t nameSize = number(at + 28, 2);
    const size_t local = number(at + 42, 4);
    const std::string name = zip.substr(at + 46, nameSize);
    EXPECT_EQ(zip.substr(local + 30, nameSize), name);
    files[name] = zip.substr(local + 30 + nameSize, number(at + 24, 4));
    at += 46 + nameSize;
  }
  return files;
}

TEST(DoctorProgram, ABundleHoldsTheReportsAndNoSecret) {
  const TempFolder folder;
  folder.WriteFile(L"hs_err_1.log", "java_command: app -Dtoken=swordfish --name=any\r\n");
  ChildOptions options = On(folder, {L"--json", L"--bundle", L"support.zip", L"--html", L"page.html"});
  options.workFolder = folder.Path();
  options.environment[L"JAVA_TOOL_OPTIONS"] = L"-Ddb.password=swordfish -Dx=<b>";
  const ChildResult result = RunChild(kDoctor, options);
  EXPECT_EQ(result.exitCode, 2U) << result.output;
  const std::string zip = ReadWholeFile(folder.Path(L"support.zip"));
  ASSERT_GT(zip.size(), 1000U);
  EXPECT_EQ(zip.find("swordfish"), std::string::npos);
  auto files = FilesOf(zip);
  EXPECT_EQ(files["hs_err_1.log"], "java_command: app -Dtoken=*** --name=any\r\n");
  for (const char* const name : {"report.html", "report.json", "report.txt", "hs_err_1.log"}) {
    EXPECT_THAT(files["contents.txt"], HasSubstr(name));
  }
  EXPECT_EQ(nlohmann::json::parse(files["report.json"])["schemaVersion"], 1);
  SaveReport("bundle", files["report.json"]);
  const std::string page = ReadWholeFile(folder.Path(L"page.html"));
  EXPECT_EQ(page, files["report.html"]);
  EXPECT_THAT(page, HasSubstr("-Ddb.password=*** -Dx=&lt;b&gt;"));
  // It needs nothing else, and the network least of all.
  for (const char* const foreign : {"http:", "https:", "src=", "<link", "url("}) {
    EXPECT_EQ(page.find(foreign), std::string::npos) << foreign;
  }
}

TEST(DoctorProgram, LinesOfAFileHaveNoColors) {
  const TempFolder nothing;
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {})).output.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace qvtest
