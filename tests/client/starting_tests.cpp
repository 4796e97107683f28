// Java that starts beside the host's own work, in hosts of their own: who waits, who is told, what happens to one that
// is dropped, and processes that end while Java starts. JAVA_HOME is the runtime; QV_TEST_STARTING says how many ends
// of each kind there are, instead of the number that belongs to this form of the test.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/child_process.h"
#include "tests/support/reliability.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

// What the host printed, without what Java warns of.
std::string RunHost(const std::vector<std::wstring>& arguments) {
  ChildOptions options;
  options.arguments = arguments;
  // Later JVMs complain under Wine when they count the processors themselves.
  options.environment[L"JAVA_TOOL_OPTIONS"] =
      L"-XX:ActiveProcessorCount=" + std::to_wstring(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
  const ChildResult child = RunChild(ProgramFolder() + L"\\starting_host.exe", options);
  EXPECT_TRUE(child.started);
  EXPECT_FALSE(child.hung) << child.output;
  EXPECT_EQ(child.exitCode, 87U) << child.output;
  std::string said;
  std::istringstream lines(child.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.starts_with("OpenJDK") && !line.starts_with("Picked up")) said += line + "\n";
  }
  return said;
}

TEST(ClientStarting, AllThreadsGetTheSameAndAFailureIsToldToEach) { EXPECT_EQ(RunHost({L"use"}), "done\n"); }

TEST(ClientStarting, OneThatIsDroppedStartsJavaAllTheSame) { EXPECT_EQ(RunHost({L"drop"}), "done\n"); }

TEST(ClientStarting, HostsInCHaveItAsWell) { EXPECT_EQ(RunHost({L"c"}), "done\n"); }

// At moments that lie all over the start.
TEST(ClientStarting, AProcessEndsWhileJavaStarts) {
  const uint64_t ends = TimesOfThisRun(L"QV_TEST_STARTING", 40, 3);
  for (uint64_t end = 0; end < ends; ++end) {
    for (const wchar_t* const way : {L"return", L"exit", L"ExitProcess"}) {
      SCOPED_TRACE(testing::Message() << "end " << end);
      EXPECT_EQ(RunHost({way, std::to_wstring(end * 800 / ends)}), "ending\n");
    }
  }
}

// No Java is needed: it never comes that far.
TEST(ClientStartingEnds, WhileTheStartStandsStill) {
  for (const wchar_t* const way : {L"gate-return", L"gate-exit", L"gate-ExitProcess"}) {
    EXPECT_EQ(RunHost({way}), "ending\n");
  }
}

TEST(ClientStartingEnds, WhoAsksInADetachIsTold) {
  EXPECT_EQ(RunHost({L"gate-detach"}), "ending\nthe thread that starts Java is gone, because the process ends\n");
}

}  // namespace
}  // namespace qvtest
