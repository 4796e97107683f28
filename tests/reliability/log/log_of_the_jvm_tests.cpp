// What a real runtime prints while its log is abused: the JVM, its threads and every later call must go on, and what it
// prints afterwards must arrive. It prints a report for every exception that Java code throws.
// QV_TEST_RUNTIME names the runtime.
#include <regex>
#include <set>
#include <thread>

#include "tests/real/running_vm.h"
#include "tests/reliability/log/abuse.h"
#include "tests/support/reliability.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

struct Reports {
  std::set<std::string> found;  // "NAME NUMBER" of each
  int mixed = 0;                // lines with a report that is not whole, or with more than one
};

Reports ReadReports(const std::wstring& log) {
  static const std::regex kWhole(
      R"(\[[0-9.,]+s\]\[info *\]\[exceptions *\] Exception <a 'java/lang/IllegalStateException'\{0x[0-9a-f]+\}: noise (\w+ \d+)>)");
  Reports reports;
  if (!FileExists(log)) return reports;
  for (const std::string& line : LinesOf(ReadWholeFile(log))) {
    std::smatch match;
    if (std::regex_match(line, match, kWhole)) {
      reports.found.insert(match[1]);
    } else if (line.find("noise ") != std::string::npos) {
      ++reports.mixed;
    }
  }
  return reports;
}

class LogOfTheJvm : public RunningVmTest {
 protected:
  // Interpreted, because compiled code reports no exception that it catches itself.
  static void SetUpTestSuite() { StartVm({L"-Xint", L"-Xlog:exceptions=info"}); }

  void MakeNoise(const wchar_t* name, int count) const {
    EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticVoidMethod(Find("qvtest/Noise"), "make", "(Ljava/lang/String;I)V",
                                                    String(name).Get(), count)));
  }
  void MakeNoiseFromThreads(int threads, int countEach) const {
    EXPECT_TRUE(
        Ok(Vm(), Vm()->CallStaticVoidMethod(Find("qvtest/Noise"), "makeFromThreads", "(II)V", threads, countEach)));
  }

  // A message arrives, and Java works.
  void ExpectGoesOn() const {
    const TempFolder folder;
    const std::wstring log = folder.Path(L"afterwards.log");
    Vm()->SetLogFileName(log.c_str());
    MakeNoise(L"afterwards", 1);
    EXPECT_EQ(ReadReports(log).found, std::set<std::string>{"afterwards 0"});
    int32_t largest = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticIntField(&largest, Find("java/lang/Integer"), "MAX_VALUE")));
    EXPECT_EQ(largest, 2147483647);
    Vm()->SetLogFileName((InstallFolder() + L"\\LogOfTheJvm.log").c_str());
  }

  static void Record(const char* key, const std::string& abuse, size_t writes, size_t found, int mixed) {
    const std::string runtime = ToUtf8(ReadVariable(L"QV_TEST_RUNTIME").value_or(L"?"));
    RecordRow("log", std::string(key) + " " + runtime,
              {"runtime " + runtime + ": " + abuse, writes, writes - found, mixed,
               HasFailure() ? "failed" : "the JVM goes on, its next message arrives"});
  }
};

constexpr int kReports = 20;
constexpr int kThreads = 16;
constexpr size_t kNames = 100;

TEST_F(LogOfTheJvm, WhatCannotBeWrittenIsLostAndNothingElse) {
  size_t writes = 0;
  size_t found = 0;
  int mixed = 0;
  const auto abuse = [&](const std::wstring& log) {
    Vm()->SetLogFileName(log.c_str());
    MakeNoise(L"abused", kReports);
    writes += kReports;
  };
  const auto count = [&](const std::wstring& log) {
    const Reports reports = ReadReports(log);
    EXPECT_TRUE(reports.found.empty());
    found += reports.found.size();
    mixed += reports.mixed;
    ExpectGoesOn();
  };
  for (const Abuse& row : Abuses()) {
    SCOPED_TRACE(row.name);
    const TempFolder folder;
    const std::wstring log = folder.WriteFile(L"logs\\abused.log");
    {
      const auto lasting = row.begin(log, LoadService().module);
      abuse(log);
    }
    count(log);
  }
  {
    SCOPED_TRACE("a full disk, by a hook");
    const TempFolder folder;
    const std::wstring log = folder.Path(L"abused.log");
    {
      const FullDisk full;
      abuse(log);
      EXPECT_GT(full.Refused(), 0);
    }
    count(log);
  }
  if (const std::wstring log = FileOnAFullDisk(); !log.empty()) {
    SCOPED_TRACE(ToUtf8(log));
    abuse(log);
    ExpectGoesOn();
  }
  Record("20", "read-only, a folder, held, a full disk, no folder, in turn", writes, found, mixed);
}

TEST_F(LogOfTheJvm, SixteenThreadsPrintAtOnce) {
  const int each = IsNightly() ? 500 : 20;
  const TempFolder folder;
  const std::wstring log = folder.Path(L"abused.log");
  Vm()->SetLogFileName(log.c_str());
  MakeNoiseFromThreads(kThreads, each);
  const Reports reports = ReadReports(log);
  EXPECT_GT(reports.found.size(), 0u);
  ExpectGoesOn();
  Record("21", "16 Java threads print at once", static_cast<size_t>(kThreads * each), reports.found.size(),
         reports.mixed);
}

TEST_F(LogOfTheJvm, TheNameIsSwitchedWhileThreadsPrint) {
  const int each = IsNightly() ? 500 : 20;
  const TempFolder folder;
  std::vector<std::wstring> logs;
  const auto switchName = [&] {
    logs.push_back(folder.Path(std::to_wstring(logs.size()) + L".log"));
    Vm()->SetLogFileName(logs.back().c_str());
  };
  switchName();
  std::atomic<bool> stop = false;
  std::thread meddler([&] {
    while (!stop) {
      Sleep(2);
      if (logs.size() < kNames) switchName();
    }
  });
  MakeNoiseFromThreads(kThreads, each);
  stop = true;
  meddler.join();
  EXPECT_GT(logs.size(), 1u);
  std::set<std::string> found;
  int mixed = 0;
  for (const std::wstring& log : logs) {
    const Reports reports = ReadReports(log);
    found.insert(reports.found.begin(), reports.found.end());
    mixed += reports.mixed;
  }
  EXPECT_GT(found.size(), 0u);
  ExpectGoesOn();
  Record("22", "16 Java threads print, the name switched " + std::to_string(logs.size() - 1) + " times",
         static_cast<size_t>(kThreads * each), found.size(), mixed);
}

}  // namespace
}  // namespace qvtest
