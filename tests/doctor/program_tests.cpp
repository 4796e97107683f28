// The program itself: its exit codes, its JSON, a trial start that fails, and that it writes nothing.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>

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

TEST(DoctorProgram, LinesOfAFileHaveNoColors) {
  const TempFolder nothing;
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {})).output.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace qvtest
