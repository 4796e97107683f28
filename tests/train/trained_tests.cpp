// qvjvm-train with hosts of their own: an archive is made, used and checked, and a failure changes nothing. JAVA_HOME
// is the runtime.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kBefore =
    "; "
    "mine\r\n[HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMprops]\r\nqv.name=Gr\xC3\xBC\xC3\x9F\r\n";

class Trained : public testing::Test {
 protected:
  Trained() {
    for (const wchar_t* const file : {L"qvjvm.dll", L"qvshr.dll", L"trained_host.exe", L"clienttests.jar"}) {
      folder.CopyIn(ProgramFolder() + L"\\" + file, file);
    }
    settings = folder.WriteFile(L"qvshr.ini", kBefore);
  }

  [[nodiscard]] ChildResult Train(std::vector<std::wstring> arguments, const wchar_t* exitCode = L"0") const {
    ChildOptions options;
    options.arguments = std::move(arguments);
    options.arguments.insert(options.arguments.begin(), {L"--", host, exitCode});
    if (options.arguments.back() == L"--check") {
      options.arguments.pop_back();
      options.arguments.insert(options.arguments.begin(), L"--check");
    }
    options.workFolder = folder.Path();
    options.limitMs = 120000;
    return RunChild(ProgramFolder() + L"\\qvjvm-train.exe", options);
  }
  [[nodiscard]] std::set<std::wstring> Files() const {
    std::set<std::wstring> files;
    for (const auto& file : std::filesystem::directory_iterator(folder.Path())) {
      files.insert(file.path().filename().wstring());
    }
    return files;
  }

  TempFolder folder;
  std::wstring host = folder.Path(L"trained_host.exe");
  std::wstring settings;
};

TEST_F(Trained, AnArchiveIsMadeAndUsedUntilAJarChanges) {
  const ChildResult made = Train({});
  ASSERT_EQ(made.exitCode, 0u) << made.output;
  EXPECT_THAT(made.output, testing::Not(HasSubstr("Java's own alone")));
  EXPECT_THAT(ReadWholeFile(settings), StartsWith(kBefore));
  EXPECT_THAT(ReadWholeFile(settings), HasSubstr("=-XX:SharedArchiveFile=" + ToUtf8(folder.Path(L"trained_host.jsa"))));
  EXPECT_THAT(Files(), testing::Contains(L"trained_host.jsa"));
  const std::string trained = ReadWholeFile(settings);

  const ChildResult fits = Train({L"--check"});
  EXPECT_EQ(fits.exitCode, 0u) << fits.output;

  // Another length: a jar may have bytes before its entries.
  folder.WriteFile(L"clienttests.jar", "more" + ReadWholeFile(folder.Path(L"clienttests.jar")));
  const ChildResult changed = Train({L"--check"});
  EXPECT_EQ(changed.exitCode, 1u) << changed.output;
  EXPECT_THAT(changed.output, HasSubstr("train it again"));
  EXPECT_EQ(ReadWholeFile(settings), trained) << "a check changes nothing";
}

TEST_F(Trained, AHostWithOptionsOfItsOwnIsToldWhatToAskFor) {
  const ChildResult made = Train({L"own"});
  ASSERT_EQ(made.exitCode, 0u) << made.output;
  EXPECT_THAT(made.output,
              HasSubstr("qvjvm-train:   -XX:SharedArchiveFile=" + ToUtf8(folder.Path(L"trained_host.jsa"))));
  EXPECT_EQ(ReadWholeFile(settings), kBefore);
}

TEST_F(Trained, AJobThatFailsChangesNothing) {
  const std::set<std::wstring> before = Files();
  const ChildResult failed = Train({}, L"7");
  EXPECT_EQ(failed.exitCode, 2u) << failed.output;
  EXPECT_THAT(failed.output, HasSubstr("exit code 7"));
  EXPECT_EQ(ReadWholeFile(settings), kBefore);
  EXPECT_EQ(Files(), before);
}

TEST_F(Trained, AJobThatFailsWithTheArchiveChangesNothing) {
  std::set<std::wstring> before = Files();
  const ChildResult failed = Train({L"once"});
  EXPECT_EQ(failed.exitCode, 1u) << failed.output;
  EXPECT_EQ(ReadWholeFile(settings), kBefore);
  before.insert(L"done");
  EXPECT_EQ(Files(), before);
}

TEST_F(Trained, CtrlCChangesNothing) {
  std::set<std::wstring> before = Files();
  const TempFolder temporary;
  ChildOptions options;
  options.arguments = {L"console", ProgramFolder() + L"\\qvjvm-train.exe", L"--", host, L"0", L"interrupt"};
  options.workFolder = folder.Path();
  options.environment = {{L"TEMP", temporary.Path()}, {L"TMP", temporary.Path()}};
  options.limitMs = 50000;  // the job alone would take longer
  const ChildResult ended = RunChild(host, options);
  EXPECT_FALSE(ended.hung);
  EXPECT_EQ(ended.exitCode, 4u) << ended.output;
  EXPECT_THAT(ended.output, HasSubstr("stopped; everything is as it was"));
  EXPECT_THAT(ended.output, HasSubstr("the job again")) << "it comes while the settings are changed";
  EXPECT_EQ(ReadWholeFile(settings), kBefore);
  before.insert(L"done");
  EXPECT_EQ(Files(), before);
  for (const auto& left : std::filesystem::directory_iterator(temporary.Path())) {
    EXPECT_THAT(left.path().filename().string(), testing::Not(StartsWith("qvjvm-train"))) << "left behind";
  }
}

TEST_F(Trained, WithoutAnArchiveThereIsNothingToCheck) {
  const ChildResult checked = Train({L"--check"});
  EXPECT_EQ(checked.exitCode, 1u);
  EXPECT_THAT(checked.output, HasSubstr("there is no archive"));
}

}  // namespace
}  // namespace qvtest
