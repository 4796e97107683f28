// The debugger channel: who listens hears every decision and every text that a failed start discards; nobody pays else.
#include <gmock/gmock.h>

#include <limits>

#include "base/lock.h"
#include "base/trace.h"
#include "service/jvm_start.h"
#include "service/thread_registry.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/support/environment.h"
#include "tests/support/import_hook.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/service_process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Trace : public testing::Test {
 protected:
  BOOL m_isDebugged = TRUE;
  std::vector<std::wstring> m_lines;
  std::function<void()> m_atEachLine = [] {};
  const FunctionHook<decltype(&IsDebuggerPresent)> m_debugger{"IsDebuggerPresent", [this] { return m_isDebugged; }};
  const FunctionHook<decltype(&OutputDebugStringW)> m_output{"OutputDebugStringW", [this](const wchar_t* text) {
                                                               m_lines.emplace_back(text);
                                                               m_atEachLine();
                                                             }};
};

TEST_F(Trace, NobodyListening_NothingIsSaid) {
  m_isDebugged = FALSE;
  qv::Trace({L"text"});
  EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(Trace, AViewerListens_WithoutADebugger) {
  m_isDebugged = FALSE;
  const qv::Handle section(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER"));
  ASSERT_TRUE(section);
  qv::Trace({L"text"});
  EXPECT_THAT(m_lines, ElementsAre(L"qvjvm: text\n"));
}

TEST_F(Trace, ALongLineIsCut) {
  const std::wstring text(5000, L'x');
  qv::Trace({L"begin ", text, L"end"});
  ASSERT_EQ(m_lines.size(), 1U);
  EXPECT_EQ(m_lines[0], L"qvjvm: begin " + std::wstring(1022 - 13, L'x') + L"\n");
}

TEST_F(Trace, NumbersOfEverySize) {
  qv::Trace({qv::TraceNumber(0), L" ", qv::TraceNumber(-7), L" ", qv::TraceNumber(std::numeric_limits<int64_t>::min()),
             L" ", qv::TraceNumber(std::numeric_limits<int64_t>::max())});
  EXPECT_THAT(m_lines, ElementsAre(L"qvjvm: 0 -7 -9223372036854775808 9223372036854775807\n"));
}

// Whether another thread gets through this while a line is written; never without an end.
template <class Work>
bool AnotherThreadGetsThrough(Work&& work) {
  const HostThread thread(std::forward<Work>(work));
  const bool through = thread.Join(20000);
  if (!through) TerminateThread(thread.Handle(), 1);
  return through;
}

TEST_F(Trace, ALineIsWrittenUnderNeitherTheLockOfTheLoadNorThatOfTheRegistry) {
  std::vector<bool> locksFree;
  m_atEachLine = [&] {
    locksFree.push_back(AnotherThreadGetsThrough([] {
      { const qv::CriticalSectionGuard guard(*g_csConfigLoad); }
      (void)g_pThreadRegistry->FindModule("any");
    }));
  };
  const TempFolder nowhere;
  const EnvironmentScope javaHome(L"JAVA_HOME", nowhere.Path());
  const ServiceProcess service;
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_LT(StartJavaVM("no-such-jvm.dll", nullptr), 0);
  ASSERT_GT(m_lines.size(), 2U);
  EXPECT_THAT(m_lines.front(), HasSubstr(L"qvjvm: host "));
  EXPECT_THAT(m_lines.back(), HasSubstr(L"cannot be loaded"));
  for (size_t i = 0; i < m_lines.size(); ++i) EXPECT_TRUE(locksFree[i]) << "line " << i;
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
  for (const std::wstring& line : m_lines) {
    EXPECT_THAT(line, testing::StartsWith(L"qvjvm: "));
    all += line;
  }
  EXPECT_THAT(all, HasSubstr(L"trace_tests.exe, not known"));
  EXPECT_THAT(all, HasSubstr(L"Java runtime, JAVA_HOME " + nowhere.Path() + L"\\BIN\\CLIENT: not there\n"));
  EXPECT_THAT(all, HasSubstr(L"cannot be loaded, Windows error 126"));
}

TEST_F(Trace, AJvmThatRefusesToStartIsTold) {
  const FakeJvm jvm;
  jvm.Script().createResult = -1;
  const EnvironmentScope javaHome(L"JAVA_HOME", FakeJvm::Home());
  const EnvironmentScope path(L"PATH", kSystemPath);
  const ServiceProcess service;
  ASSERT_TRUE(JVMConfigInfo().Load());
  EXPECT_LT(StartJavaVM("jvm.dll", nullptr), 0);
  EXPECT_THAT(m_lines, testing::Contains(L"qvjvm: Java VM not initialized properly. Cannot proceed!!\n"));
}

}  // namespace
}  // namespace qvtest
