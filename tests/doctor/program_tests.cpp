// The program itself: its exit codes, its JSON, a trial start that fails, and that it writes nothing.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/support/child_process.h"
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

TEST(DoctorProgram, ExitCodesTellScriptsEnough) {
  const TempFolder nothing;
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {})).exitCode, 2U);
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {L"--as-joined"})).exitCode, 1U);
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {L"--no-such-option"})).exitCode, 3U);
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {L"--service", nothing.Path()})).exitCode, 3U);
  const ChildResult help = RunChild(kDoctor, On(nothing, {L"--help"}));
  EXPECT_EQ(help.exitCode, 0U);
  EXPECT_THAT(help.output, HasSubstr("--host"));
}

TEST(DoctorProgram, JsonHoldsWhatTheTextShows) {
  const TempFolder nothing;
  const ChildResult result = RunChild(kDoctor, On(nothing, {L"--json", L"--host", L"tk190.exe"}));
  const auto document = nlohmann::json::parse(result.output);
  EXPECT_EQ(document["host"]["name"], "tk190.exe");
  EXPECT_EQ(document["host"]["kind"], "Tablero");
  EXPECT_FALSE(document["findings"].empty());
  EXPECT_EQ(document["findings"][0]["severity"], "problem");
  EXPECT_EQ(document["jvm"], nullptr);
}

TEST(DoctorProgram, AFailingTrialStartIsReported) {
  const TempFolder folder;
  folder.WriteFile(L"bin\\server\\jvm.dll", "no library");
  const ChildResult result = RunChild(kDoctor, On(folder, {L"--start"}));
  EXPECT_EQ(result.exitCode, 2U);
  EXPECT_FALSE(result.hung);
  EXPECT_THAT(result.output, HasSubstr("QV_CreateJavaVM failed"));
  EXPECT_THAT(result.output, HasSubstr("QV_CreateJavaVM: 0x80004005"));
}

TEST(DoctorProgram, LinesOfAFileHaveNoColors) {
  const TempFolder nothing;
  EXPECT_EQ(RunChild(kDoctor, On(nothing, {})).output.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace qvtest
