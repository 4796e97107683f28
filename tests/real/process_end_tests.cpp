// Processes that end while the JVM runs: by every way out, with idle and with busy threads attached. None hangs, none
// crashes, each keeps its exit code. Two at a time, each with a time limit of its own.
// QV_TEST_ENDS says how often each is tried.
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include "tests/real/running_vm.h"
#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

constexpr DWORD kExitCode = 87;

struct WayOut {
  const char* name;
  std::wstring way;
  std::wstring load;
};
void PrintTo(const WayOut& way, std::ostream* out) { *out << way.name; }

class ProcessEnd : public testing::TestWithParam<WayOut> {
 protected:
  // What is wrong with one end; empty when it went well.
  static std::string TryOnce() {
    const TempFolder folder;
    ChildOptions options;
    options.arguments = {GetParam().way, GetParam().load, std::to_wstring(kExitCode)};
    options.workFolder = folder.Path();
    const ChildResult child = RunChild(InstallFolder() + L"\\process_end_host.exe", options);
    if (child.hung) return "hung after: " + child.output;
    if (child.output.find("ending") == std::string::npos) return "did not get to its end: " + child.output;
    if (child.exitCode != kExitCode) return "exit code " + std::to_string(child.exitCode) + ": " + child.output;
    // The JVM writes a report into the current folder when it crashes.
    if (!std::filesystem::is_empty(folder.Path())) return "left files behind: " + child.output;
    return {};
  }
};

TEST_P(ProcessEnd, NeitherHangsNorCrashesAndKeepsItsExitCode) {
  std::atomic<int> left = std::stoi(ReadVariable(L"QV_TEST_ENDS").value_or(L"1"));
  std::mutex lock;
  std::vector<std::string> troubles;
  const auto work = [&] {
    while (left-- > 0) {
      const std::string trouble = TryOnce();
      const std::lock_guard guard(lock);
      if (!trouble.empty()) troubles.push_back(trouble);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_TRUE(troubles.empty()) << troubles.size() << " ends went wrong, the first: " << troubles.front();
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessEnd,
                         testing::Values(WayOut{"ReturnFromMainWithIdleThreads", L"return", L"idle"},
                                         WayOut{"ReturnFromMainWithBusyThreads", L"return", L"busy"},
                                         WayOut{"ExitProcessWithBusyThreads", L"exit", L"busy"},
                                         WayOut{"ExitProcessElsewhereWithBusyThreads", L"exit-elsewhere", L"busy"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace qvtest
