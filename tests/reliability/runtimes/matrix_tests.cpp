// The tests of the interface's values, texts, errors and threads, unchanged, in JVMs that were started with other
// options: what a host sees must not depend on the runtime, its collector or its compiler.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/reliability/machines/machine.h"
#include "tests/reliability/runtimes/runtime_cell.h"
#include "tests/support/reliability.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

// Without the tests that many threads make long; the soak is about threads.
constexpr wchar_t kTests[] =
    L"--gtest_filter=Values.*:Texts.*:Errors.*:Threads.*:Compression.*"
    L"-Threads.Many*:Threads.FailingThrough*:Threads.RecordsOf*:Threads.ThreadsComeAndGo*";
// Nor those that want more memory.
constexpr wchar_t kSmallTests[] =
    L"--gtest_filter=Values.*:Texts.*:Errors.*:Threads.*"
    L"-Threads.Many*:Threads.FailingThrough*:Threads.RecordsOf*:Threads.ThreadsComeAndGo*";

struct Setting {
  const char* name;  // of the test
  const wchar_t* options;
  bool everyRun;
  const wchar_t* tests = kTests;
  bool mayRefuse = false;  // by runtimes that lack it, or on machines that do

  friend void PrintTo(const Setting& setting, std::ostream* out) { *out << setting.name; }
};

const Setting kSettings[] = {
    {"Plain", L"", true},
    {"CheckJni", L"-Xcheck:jni", true},
    {"Interpreter", L"-Xint", false},
    {"SmallHeap", L"-Xmx16m", false, kSmallTests},
    {"SerialCollector", L"-XX:+UseSerialGC", true},
    {"G1Collector", L"-XX:+UseG1GC", false},
    {"ParallelCollector", L"-XX:+UseParallelGC", false},
    {"ZCollector", L"-XX:+UseZGC", false, kTests, true},
    {"ShenandoahCollector", L"-XX:+UseShenandoahGC", false},
};

// Reports of -Xcheck:jni come from sequences that the interface promises; check_jni_tests.cpp lists every one.
bool IsListedReport(const std::string& warning) {
  return warning.find("JNI call made without checking exceptions") != std::string::npos ||
         warning.find("JNI local refs") != std::string::npos;
}

class Matrix : public testing::TestWithParam<std::tuple<int, Setting>> {};

std::string AllLogs(const TempFolder& folder) {
  std::string logs;
  for (const auto& file : std::filesystem::directory_iterator(folder.Path())) {
    const std::wstring extension = file.path().extension().wstring();
    if (extension == L".log" || extension == L".out") logs += ReadWholeFile(file.path().wstring()) + "\n";
  }
  return logs;
}

// The number after the words, -1 without them.
int NumberAfter(const std::string& text, const std::string& words) {
  const size_t at = text.find(words);
  return at == std::string::npos ? -1 : std::atoi(text.c_str() + at + words.size());
}

// Why the JVM does not start with a collector; empty when it did not say so.
std::string RefusalIn(const std::string& output) {
  for (const std::string& text : SaidIn(output)) {
    for (const char* words : {"is experimental", "not supported", "Failed to reserve", "ZGC requires"}) {
      if (text.find(words) != std::string::npos) return text;
    }
  }
  return "";
}

TEST_P(Matrix, TheSameTestsGiveTheSame) {
  const auto& [runtime, setting] = GetParam();
  if (!setting.everyRun && !IsNightly()) GTEST_SKIP() << "in the long form";
  const std::wstring installation =
      ReadVariable(L"QV_TEST_INSTALLATIONS").value_or(L"") + L"\\" + std::to_wstring(runtime);
  const TempFolder folder;
  for (const wchar_t* file : {L"real_tests.exe", L"qvjvm.dll", L"qvshr.dll", L"qvtests.jar"}) {
    folder.CopyIn(installation + L"\\" + file, file);
  }
  // The log of the start is "vm.out" in the current folder then.
  folder.WriteFile(L"qvshr.ini", "[Host]\r\nWebDeployment=1\r\n");
  ChildOptions options;
  options.arguments = {setting.tests};
  options.environment = {{L"JAVA_HOME", World::InstalledRuntime(runtime)},
                         {L"CLASSPATH", std::nullopt},
                         {L"QV_TEST_JVM_OPTIONS", setting.options}};
  options.workFolder = folder.Path();
  options.limitMs = 600000;
  const ChildResult child = RunChild(folder.Path(L"real_tests.exe"), options);
  EXPECT_FALSE(child.hung);
  const std::string output = child.output + AllLogs(folder);
  std::vector<std::string> warnings = WarningsIn(output);

  std::string result;
  const std::string refusal = child.exitCode != 0 && setting.mayRefuse ? RefusalIn(output) : "";
  if (!refusal.empty()) {
    result = "does not start: " + refusal;
  } else {
    const int passed = NumberAfter(child.output, "[  PASSED  ] ");
    EXPECT_EQ(child.exitCode, 0u) << child.output;
    EXPECT_EQ(passed, NumberAfter(child.output, "[==========] Running "));
    const auto reports = std::remove_if(warnings.begin(), warnings.end(), IsListedReport);
    warnings.erase(reports, warnings.end());
    // The built-in tree asks for what later runtimes no longer have.
    if (*setting.options == L'\0' && runtime >= 21) {
      EXPECT_THAT(warnings, testing::ElementsAre(testing::HasSubstr("java.compiler")));
    } else {
      EXPECT_THAT(warnings, testing::IsEmpty());
    }
    result = std::to_string(passed) + " tests passed";
  }
  RecordRow("runtimes", std::to_string(runtime) + "." + setting.name,
            {runtime, AsCode(ToUtf8(setting.options), "the built-in tree"), result,
             warnings.empty() ? "none" : Joined(warnings, "; ")});
}

INSTANTIATE_TEST_SUITE_P(Runtimes, Matrix, testing::Combine(testing::ValuesIn(kRuntimes), testing::ValuesIn(kSettings)),
                         [](const auto& one) {
                           return "Java" + std::to_string(std::get<0>(one.param)) + std::get<1>(one.param).name;
                         });

}  // namespace
}  // namespace qvtest
