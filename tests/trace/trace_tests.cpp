// The debugger channel: who listens hears every decision and every text that a failed start discards; nobody pays else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "base/lock.h"
#include "base/trace.h"
#include "config/jvm_config_info.h"
#include "service/jvm_start.h"
#include "service/thread_registry.h"
#include "tests/support/environment.h"
#include "tests/support/import_hook.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/service_process.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::wstring>& Lines() {
  static std::vector<std::wstring> lines;
  return lines;
}
BOOL g_debugger = TRUE;

BOOL WINAPI FakeIsDebuggerPresent() { return g_debugger; }
void WINAPI RecordLine(const wchar_t* text) { Lines().emplace_back(text); }

class Trace : public testing::Test {
 protected:
  const ImportHook m_debugger{nullptr, "IsDebuggerPresent", &FakeIsDebuggerPresent};
  const ImportHook m_output{nullptr, "OutputDebugStringW", &RecordLine};
};

TEST_F(Trace, NobodyListening_NothingIsSaid) {
  g_debugger = FALSE;
  qv::Trace({L"text"});
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Trace, AViewerListens_WithoutADebugger) {
  g_debugger = FALSE;
  const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER");
  ASSERT_NE(section, nullptr);
  qv::Trace({L"text"});
  CloseHandle(section);
  EXPECT_THAT(Lines(), ElementsAre(L"qvjvm: text\n"));
}

TEST_F(Trace, ALongLineIsCut) {
  const std::wstring text(5000, L'x');
  qv::Trace({L"begin ", text, L"end"});
  ASSERT_EQ(Lines().size(), 1U);
  EXPECT_EQ(Lines()[0], L"qvjvm: begin " + std::wstring(1022 - 13, L'x') + L"\n");
}

TEST_F(Trace, NumbersOfEverySize) {
  qv::Trace({qv::TraceNumber(0), L" ", qv::TraceNumber(-7), L" ", qv::TraceNumber(std::numeric_limits<int64_t>::min()),
             L" ", qv::TraceNumber(std::numeric_limits<int64_t>::max())});
  EXPECT_THAT(Lines(), ElementsAre(L"qvjvm: 0 -7 -9223372036854775808 9223372036854775807\n"));
}

// Whether another thread gets through this while a line is written; never without an end.
template <class Work>
bool AnotherThreadGetsThrough(Work&& work) {
  const HANDLE thread = CreateThread(
      nullptr, 0,
      [](void* context) -> DWORD {
        (*static_cast<std::remove_reference_t<Work>*>(context))();
        return 0;
      },
      &work, 0, nullptr);
  const bool through = WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0;
  if (!through) TerminateThread(thread, 1);
  CloseHandle(thread);
  return through;
}

std::vector<bool>& LocksFree() {
  static std::vector<bool> free;
  return free;
}
void WINAPI TakeLocks(const wchar_t* text) {
  Lines().emplace_back(text);
  LocksFree().push_back(AnotherThreadGetsThrough([] {
    { const qv::CriticalSectionGuard guard(*g_csConfigLoad); }
    (void)g_pThreadRegistry->FindModule("any");
  }));
}

TEST_F(Trace, ALineIsWrittenUnderNeitherTheLockOfTheLoadNorThatOfTheRegistry) {
  const ImportHook output(nullptr, "OutputDebugStringW", &TakeLocks);
  const TempFolder nowhere;
  const EnvironmentScope javaHome(L"JAVA_HOME", nowhere.Path());
  const ServiceProcess service;
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_LT(StartJavaVM("no-such-jvm.dll", nullptr), 0);
  ASSERT_GT(Lines().size(), 2U);
  EXPECT_THAT(Lines().front(), HasSubstr(L"qvjvm: host "));
  EXPECT_THAT(Lines().back(), HasSubstr(L"cannot be loaded"));
  for (size_t i = 0; i < Lines().size(); ++i) EXPECT_TRUE(LocksFree()[i]) << "line " << i;
}

TEST_F(Trace, AFailedStartTellsWhatItTried) {
  const RegistrySandbox registry;
  const TempFolder nowhere;
  const EnvironmentScope javaHome(L"JAVA_HOME", nowhere.Path());
  const EnvironmentScope path(L"PATH", nowhere.Path());
  const ServiceProcess service;
  wcscpy(g_szJvmModuleName, L"kernel32.dll");  // a module whose folder holds no private runtime
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_LT(StartJavaVM("no-such-jvm.dll", nullptr), 0);
  std::wstring all;
  for (const std::wstring& line : Lines()) {
    EXPECT_THAT(line, testing::StartsWith(L"qvjvm: "));
    all += line;
  }
  EXPECT_THAT(all, HasSubstr(L"trace_tests.exe, not known"));
  EXPECT_THAT(all, HasSubstr(L"Java runtime, JAVA_HOME " + nowhere.Path() + L"\\BIN\\CLIENT: not there\n"));
  EXPECT_THAT(all, HasSubstr(L"cannot be loaded, Windows error 126"));
}

}  // namespace
}  // namespace qvtest
