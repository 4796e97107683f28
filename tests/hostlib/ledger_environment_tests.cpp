// The ledger's environment variables, each in a process of its own.
#include <nlohmann/json.hpp>

#include "tests/hostlib/host_process.h"

namespace hosttest {
namespace {

class LedgerEnvironmentTest : public testing::Test {
 protected:
  // The report of a run of these commands.
  nlohmann::json ReportOf(const std::vector<std::wstring>& commands) {
    m_process.environment[L"QVSHR_LEDGER_REPORT"] = m_process.Path(L"report.json");
    m_process.Run(commands);
    return nlohmann::json::parse(qvtest::ReadWholeFile(m_process.Path(L"report.json")));
  }

  HostProcess m_process{kLedgerBuild};
};

TEST_F(LedgerEnvironmentTest, WithoutVariablesEverythingSucceedsAndNothingIsWritten) {
  EXPECT_EQ(m_process.RunOne(L"alloc:5"), "11111");
  EXPECT_FALSE(qvtest::FileExists(m_process.Path(L"report.json")));
}

TEST_F(LedgerEnvironmentTest, GuardStopsAProcessThatWritesPastABlock) {
  m_process.environment[L"QVSHR_LEDGER_GUARD"] = std::nullopt;  // the whole test run may have it
  EXPECT_EQ(m_process.RunOne(L"overrun"), "written past the end");
  EXPECT_EQ(m_process.exitCode, 0u) << "without guard pages it goes on";
  m_process.environment[L"QVSHR_LEDGER_GUARD"] = L"1";
  EXPECT_EQ(m_process.RunOne(L"overrun"), "<0 lines>");
  EXPECT_EQ(m_process.exitCode, DWORD{STATUS_ACCESS_VIOLATION});
  m_process.environment[L"QVSHR_LEDGER_GUARD"] = L"0";
  EXPECT_EQ(m_process.RunOne(L"overrun"), "written past the end");
}

TEST_F(LedgerEnvironmentTest, TheReportOfACleanProcessSaysSo) {
  const nlohmann::json report = ReportOf({L"alloc:3"});
  for (const char* none :
       {"liveBlocks", "liveBytes", "liveStrings", "liveKeys", "failedAllocations", "errors", "torn"}) {
    EXPECT_EQ(report.at(none), 0) << none;
  }
  EXPECT_EQ(report.at("totalAllocations"), 3);
  EXPECT_GT(report.at("pid"), 0);
}

TEST_F(LedgerEnvironmentTest, TheReportNamesWhatIsLeft) {
  const nlohmann::json report = ReportOf({L"leak:100", L"leakstring", L"leak:11", L"leak:-1", L"doublefree"});

  EXPECT_EQ(report.at("liveBlocks"), 3);
  EXPECT_GE(report.at("liveBytes"), 111);
  EXPECT_EQ(report.at("liveStrings"), 1);
  EXPECT_EQ(report.at("totalAllocations"), 4);
  EXPECT_EQ(report.at("failedAllocations"), 1);
  EXPECT_EQ(report.at("errors"), 1);
}

TEST_F(LedgerEnvironmentTest, AFileThatCouldNotBeReadForWantOfMemoryIsReadLater) {
  m_process.WriteSettings("[HKCU\\QvTests\\NoSuchKey]\nx=1\n");
  const std::string answer = m_process.RunOne(L"sweep:HKCU|QvTests\\NoSuchKey");
  EXPECT_EQ(answer.substr(answer.find(' ') + 1), "failed, x=1");
  EXPECT_GE(std::atoi(answer.c_str()), 4) << "the path, the bytes, the text and the keys at least: " << answer;
}

}  // namespace
}  // namespace hosttest
