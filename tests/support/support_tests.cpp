// What the shared helpers must not get wrong: each detector is shown something that it has to report, and each scope
// has to put back what it changed. The program is also its own child: QV_SUPPORT_CHILD says what the child does. No
// service here: the helpers alone.
#include <windows.h>
// After windows.h, whose types it needs.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <cstdio>
#include <cstring>
#include <shellapi.h>

#include "base/compiler.h"
#include "host/host_memory.h"
#include "host/host_ref.h"
#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/message_box.h"
#include "tests/support/module_path.h"
#include "tests/support/process_counters.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/slot_call.h"
#include "tests/support/temp_folder.h"
#include "tests/support/watchdog.h"

namespace {

using namespace qvtest;

constexpr wchar_t kChildRole[] = L"QV_SUPPORT_CHILD";
constexpr wchar_t kChildVariable[] = L"QV_SUPPORT_VARIABLE";

// "Name" of "Software\\Maker".
std::wstring ReadValue(HKEY hive) {
  wchar_t text[64] = {};
  DWORD bytes = sizeof(text) - sizeof(wchar_t);
  const LSTATUS status = RegGetValueW(hive, L"Software\\Maker", L"Name", RRF_RT_REG_SZ, nullptr, text, &bytes);
  return status == ERROR_SUCCESS ? text : L"<error " + std::to_wstring(status) + L">";
}

// Runs before main when this process is a child.
bool PlayChildRole() {
  const auto role = ReadVariable(kChildRole);
  if (!role) return false;
  int argumentCount = 0;
  wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &argumentCount);
  if (role == L"hang") {
    std::puts("about to hang");
    std::fflush(stdout);
    Sleep(INFINITE);
  }
  if (role == L"hang-watched") {
    const std::atomic<uint64_t> progress = 7;
    const Watchdog watchdog(progress, 200, [] { return std::string("at work on seven\n"); });
    Sleep(INFINITE);
  }
  if (role == L"work-watched") {
    std::atomic<uint64_t> progress = 0;
    const Watchdog watchdog(progress, 2000);
    for (int i = 0; i < 25; ++i, ++progress) Sleep(100);
  }
  if (role == L"report") {
    std::printf("variable=%s\n", ToUtf8(ReadVariable(kChildVariable).value_or(L"<none>")).c_str());
    for (int i = 1; i < argumentCount; ++i) std::printf("[%s]\n", ToUtf8(arguments[i]).c_str());
    std::fflush(stdout);
    std::fputs("and an error line\n", stderr);
    std::fflush(stderr);
  }
  if (role == L"flood") {
    for (int i = 0; i < 20000; ++i) std::puts("0123456789");
  }
  if (role == L"registry") {
    const bool overridden = argumentCount > 1 && OverrideHive(Hive::Machine, arguments[1]);
    std::printf("%s\n", overridden ? ToUtf8(ReadValue(HKEY_LOCAL_MACHINE)).c_str() : "not overridden");
  }
  LocalFree(arguments);
  std::fflush(stdout);
  ExitProcess(42);
}
const bool g_isChild = PlayChildRole();

ChildResult RunSelf(const wchar_t* role, ChildOptions options = {}) {
  options.environment[kChildRole] = role;
  return RunChild(ProgramFolder() + L"\\support_tests.exe", options);
}

std::string WithoutCarriageReturns(std::string text) {
  std::erase(text, '\r');
  return text;
}

TEST(ChildProcess, GivesOutputOfBothStreamsAndTheExitCode) {
  const EnvironmentScope variable(kChildVariable, L"a value");
  const ChildResult result =
      RunSelf(L"report", {.arguments = {L"plain", L"with space", L"quo\"te", L"back\\slash\\ ", L""}});
  EXPECT_FALSE(result.hung);
  EXPECT_EQ(result.exitCode, 42u);
  EXPECT_EQ(WithoutCarriageReturns(result.output),
            "variable=a value\n[plain]\n[with space]\n[quo\"te]\n[back\\slash\\ ]\n[]\nand an error line\n");
}

TEST(ChildProcess, RemovesAndReplacesVariablesForTheChildAlone) {
  const EnvironmentScope variable(kChildVariable, L"mine");
  const auto told = [](const std::optional<std::wstring>& value) {
    return RunSelf(L"report", {.environment = {{kChildVariable, value}}}).output;
  };
  EXPECT_THAT(told(std::nullopt), testing::HasSubstr("variable=<none>"));
  EXPECT_THAT(told(L"the child's"), testing::HasSubstr("variable=the child's"));
  EXPECT_EQ(ReadVariable(kChildVariable), L"mine");
}

TEST(ChildProcess, OneThatHangsIsEndedAndReportedAndNoOther) {
  const ChildResult result = RunSelf(L"hang", {.limitMs = 3000});
  EXPECT_TRUE(result.hung);
  EXPECT_EQ(WithoutCarriageReturns(result.output), "about to hang\n");
  const ChildResult flood = RunSelf(L"flood");
  EXPECT_FALSE(flood.hung) << "more output than a pipe holds stops nobody";
  EXPECT_EQ(WithoutCarriageReturns(flood.output).size(), 20000u * 11);
}

TEST(Watchdog, EndsAProcessThatHangsAndSaysWhereItsThreadsAre) {
  const ChildResult result = RunSelf(L"hang-watched");
  EXPECT_FALSE(result.hung);
  EXPECT_EQ(result.exitCode, kHungExitCode);
  // The caller of Sleep is this program.
  for (const char* part : {"at work on seven\n", "\nthread ", "  program+0x"}) {
    EXPECT_THAT(result.output, testing::HasSubstr(part));
  }
}

TEST(Watchdog, LeavesAProcessAloneThatMovesOn) {
  const ChildResult result = RunSelf(L"work-watched");
  EXPECT_EQ(result.exitCode, 42U);
  EXPECT_EQ(result.output, "");
}

TEST(EnvironmentScope, RestoresAbsentEmptyAndPresentVariables) {
  EXPECT_EQ(ReadVariable(kChildVariable), std::nullopt);
  {
    const EnvironmentScope outer(kChildVariable, L"");
    EXPECT_EQ(ReadVariable(kChildVariable), L"");
    {
      const EnvironmentScope inner(kChildVariable, std::nullopt);
      EXPECT_EQ(ReadVariable(kChildVariable), std::nullopt);
    }
    EXPECT_EQ(ReadVariable(kChildVariable), L"");
    const EnvironmentScope longest(kChildVariable, std::wstring(32000, L'x'));
    EXPECT_EQ(ReadVariable(kChildVariable), std::wstring(32000, L'x'));
  }
  EXPECT_EQ(ReadVariable(kChildVariable), std::nullopt);
}

// The compiler may keep an import's address in a register for the whole of one function, so what is hooked is called
// from a function of its own.
QV_NOINLINE DWORD AskTicks() { return GetTickCount(); }
QV_NOINLINE void* AskBlock() { return QvshrAlloc(8); }

DWORD WINAPI SevenTicks() { return 7; }
DWORD WINAPI NoVariable(const wchar_t*, wchar_t*, DWORD) { return 0; }

void* NoMemory(size_t) noexcept { return nullptr; }

TEST(ImportHook, ReplacesByNameOrOrdinalAndRestores) {
  {
    const ImportHook hook(nullptr, "GetTickCount", &SevenTicks);
    const ImportHook byOrdinal(nullptr, "QVSHR.dll", 1, reinterpret_cast<void*>(&NoMemory));
    EXPECT_TRUE(hook.Installed());
    EXPECT_EQ(AskTicks(), 7u);
    EXPECT_NE(hook.Original<DWORD(WINAPI*)()>(), &SevenTicks);
    EXPECT_EQ(AskBlock(), nullptr);
  }
  EXPECT_NE(AskTicks(), 7u);
  const qv::HostPtr<void> block(AskBlock());
  EXPECT_NE(block, nullptr);
}

TEST(ImportHook, LeavesOtherModulesAlone) {
  const EnvironmentScope variable(kChildVariable, L"a value");
  const ImportHook hook(GetModuleHandleW(L"qvshr.dll"), "GetEnvironmentVariableW", &NoVariable);
  EXPECT_EQ(ReadVariable(kChildVariable), L"a value");
}

TEST(ImportHook, FindingNothingFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(ImportHook(nullptr, "NoSuchFunction", reinterpret_cast<void*>(&SevenTicks)),
                          "does not import NoSuchFunction");
  EXPECT_NONFATAL_FAILURE(ImportHook(nullptr, "qvshr.dll", 99, reinterpret_cast<void*>(&SevenTicks)),
                          "does not import qvshr.dll ordinal 99");
}

TEST(MessageBoxCatcher, RecordsTextTitleAndStyleAndAnswersOk) {
  const MessageBoxCatcher boxes;
  EXPECT_EQ(MessageBoxW(nullptr, L"a text", L"a title", MB_ICONERROR), IDOK);
  OnThread([] { MessageBoxW(nullptr, L"from a thread", nullptr, MB_YESNO); });
  const std::vector<ShownBox> want = {{L"a text", L"a title", 0x10, false}, {L"from a thread", L"<null>", 4, false}};
  EXPECT_EQ(boxes.Shown(), want);
}

TEST(LedgerCheck, BalancedWorkPasses) {
  LedgerCheck ledger;
  QvshrFree(QvshrAlloc(10));
  IQvString* string = nullptr;
  QvshrCreateString(L"text", &string);
  string->Release();
  EXPECT_EQ(ledger.Allocations(), 2u);
}

TEST(LedgerCheck, ReportsWhatIsNotEven) {
  qv::HostPtr<void> before;  // made before the check
  qv::HostPtr<void> block;
  qv::StringRef string;
  const std::pair<const char*, std::function<void(LedgerCheck&)>> rows[] = {
      {"123 bytes, made at support_tests.exe+0x", [&](LedgerCheck&) { block.reset(QvshrAlloc(123)); }},
      {"blocks left behind", [&](LedgerCheck&) { before.reset(); }},
      {"string objects left behind",
       [&](LedgerCheck& ledger) {
         QvshrCreateString(L"left", string.Out());
         ledger.ExpectLeft(1, "the string's own block");
       }},
      {"was freed twice",
       [](LedgerCheck&) {
         void* const twice = QvshrAlloc(1);
         QvshrFree(twice);
         QvshrFree(twice);
       }},
      {"written over at an edge",
       [](LedgerCheck&) {
         auto* const overrun = static_cast<char*>(QvshrAlloc(5));
         overrun[5] = 'x';
         QvshrFree(overrun);
       }},
      {"two that a contract leaves", [](LedgerCheck& ledger) { ledger.ExpectLeft(2, "two that a contract leaves"); }},
  };
  for (const auto& [report, work] : rows) {
    SCOPED_TRACE(report);
    before.reset(QvshrAlloc(1));
    EXPECT_NONFATAL_FAILURE(
        {
          LedgerCheck ledger;
          work(ledger);
        },
        report);
    block.reset();
    string.Reset();
  }
}

TEST(FailCall, FailsTheCallThatItNames) {
  const FailCall fault(kQvshrCallCreateString, 2);
  IQvString* first = nullptr;
  IQvString* second = nullptr;
  EXPECT_EQ(QvshrCreateString(L"a", &first), 0);
  EXPECT_LT(QvshrCreateString(L"b", &second), 0);
  EXPECT_EQ(second, nullptr);
  EXPECT_TRUE(fault.Fired());
  first->Release();
}

TEST(SweepAllocations, FailsEachAllocationAloneAndThenEachWithAllBehindIt) {
  std::string runs;
  const uint64_t failed = SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
    const FailAllocation fault(n, mode);
    for (int i = 0; i < 2; ++i) runs += qv::HostPtr<void>(QvshrAlloc(1)) ? '+' : '-';
    runs += ' ';
    return fault.Fired();
  });
  EXPECT_EQ(runs, "-+ +- ++ -- +- ++ ") << "each fault ends with its object";
  EXPECT_EQ(failed, 4u);
}

TEST(SweepAllocations, WorkThatAllocatesNothingOrAlwaysMoreFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(SweepAllocations([](uint64_t, QvshrLedgerMode) { return false; }), "nothing was tested");
  EXPECT_NONFATAL_FAILURE(SweepAllocations([](uint64_t, QvshrLedgerMode) { return true; }, {kQvshrFailOnce}),
                          "it never needs fewer");
}

TEST(Threads, OfACrewAreThereTogetherAndEachHasItsNumber) {
  std::atomic<int> numbers = 0;
  std::atomic<int> arrived = 0;
  Event all;
  OnThreads(4, [&](int number) {
    numbers += 1 << (4 * number);
    if (++arrived == 4) all.Set();
    EXPECT_TRUE(all.Wait(60000));
  });
  EXPECT_EQ(numbers, 0x1111);
}

TEST(Threads, OneThatWaitsGoesOnWhenItIsLetGo) {
  std::string story;
  {
    const WaitingThread thread([&] { story += "work "; }, [&] { story += "rest"; });
    EXPECT_EQ(story, "work ");
  }
  EXPECT_EQ(story, "work rest");
  DWORD inside = 0;
  EXPECT_EQ(OnThread([&] { inside = GetCurrentThreadId(); }), inside);
}

QV_NOINLINE std::wstring AskPath(HMODULE module, DWORD capacity) {
  wchar_t path[16] = {};
  const DWORD units = GetModuleFileNameW(module, path, capacity);
  return std::to_wstring(units) + L" " + path;
}

TEST(HostPath, IsToldForTheProgramAloneAndCutAsWindowsDoes) {
  HostPath host(L"C:\\host.exe");
  EXPECT_EQ(AskPath(nullptr, 16), L"11 C:\\host.exe");
  EXPECT_EQ(AskPath(nullptr, 11), L"11 C:\\host.ex");
  EXPECT_EQ(host.Questions(), 2);
  EXPECT_NE(AskPath(GetModuleHandleW(L"kernel32.dll"), 4), L"4 C:\\h");
  host.Fail();
  EXPECT_EQ(AskPath(nullptr, 16), L"0 ");
}

TEST(CountProcess, HandlesThatAreMadeOrClosedShow) {
  const int64_t before = CountProcess().handles;
  EXPECT_GT(before, 0);
  std::vector<Event> made;
  for (const int64_t count : {1, 2, 1000}) {
    while (static_cast<int64_t>(made.size()) < count) made.emplace_back();
    EXPECT_EQ(CountProcess().handles, before + count);
  }
  made.erase(made.begin(), made.end() - 1);
  EXPECT_EQ(CountProcess().handles, before + 1) << "the last one made is left, far behind the others";
  made.clear();
  EXPECT_EQ(CountProcess().handles, before);
}

TEST(CountProcess, MemoryThatIsTakenOrGivenBackShows) {
  constexpr size_t kBytes = size_t{64} << 20;
  const uint64_t before = CountProcess().privateBytes;
  EXPECT_GT(before, 0u);
  void* const memory = VirtualAlloc(nullptr, kBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  ASSERT_NE(memory, nullptr);
  std::memset(memory, 1, kBytes);
  const uint64_t with = CountProcess().privateBytes;
  EXPECT_GE(with, before + kBytes);
  VirtualFree(memory, 0, MEM_RELEASE);
  EXPECT_LT(CountProcess().privateBytes, with - kBytes / 2);
}

TEST(RegistrySandbox, WritesReachTheProcessesOwnHivesAlone) {
  using Override = RegistrySandbox::Override;
  const std::wstring machine = ReadValue(HKEY_LOCAL_MACHINE);
  const std::wstring user = ReadValue(HKEY_CURRENT_USER);
  for (const Override which : {Override::Machine, Override::MachineAndUser}) {
    RegistrySandbox registry(which);
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE), L"<error 2>");
    registry.SetText(Hive::Machine, L"Software\\Maker", L"Name", L"sand");
    registry.SetText(Hive::User, L"Software\\Maker", L"Name", L"of the user");
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE), L"sand");
    EXPECT_EQ(ReadValue(HKEY_CURRENT_USER), which == Override::Machine ? user : L"of the user");
  }
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE), machine);
  EXPECT_EQ(ReadValue(HKEY_CURRENT_USER), user);
}

TEST(RegistrySandbox, ChildSeesWhatItIsPointedAt) {
  RegistrySandbox registry(RegistrySandbox::Override::Nothing);
  registry.SetText(Hive::Machine, L"Software\\Maker", L"Name", L"for the child");
  const ChildResult result = RunSelf(L"registry", {.arguments = {registry.Path(Hive::Machine)}});
  EXPECT_EQ(WithoutCarriageReturns(result.output), "for the child\n");
}

TEST(TempFolder, IsGoneAfterwardsWithEverythingInIt) {
  std::wstring path;
  {
    const TempFolder folder;
    path = folder.Path();
    EXPECT_EQ(ReadWholeFile(folder.WriteFile(L"a\\b\\file.txt", "con\ntent")), "con\ntent");
    EXPECT_TRUE(FileExists(folder.CopyIn(folder.Path(L"a\\b\\file.txt"), L"c\\copy.txt")));
  }
  EXPECT_FALSE(FileExists(path));
}

struct Numbers {
  virtual int First(int) { return 1; }
  virtual int Second(int value) { return value + m_base; }
  int m_base = 40;

 protected:
  ~Numbers() = default;
};

TEST(CallSlot, ReachesAnOperationByItsNumber) {
  struct Object final : Numbers {
  } object;
  EXPECT_EQ((CallSlot<int>(&object, 0, 5)), 1);
  EXPECT_EQ((CallSlot<int>(&object, 1, 2)), 42);
}

TEST(Text, SurrogatesThatStandAloneBecomeEscapesAndLinesEndEitherWay) {
  const wchar_t text[] = {L'a', 0xD83D, 0xDE00, L'b', 0xD83D, 0};
  EXPECT_EQ(ToUtf8(text),
            "a\xF0\x9F\x98\x80"
            "b\\uD83D");
  EXPECT_EQ(ToWide("\xC3\xA4"), L"\u00E4");
  EXPECT_EQ(qvtest::TextOf(nullptr), L"<null>");
  EXPECT_THAT(LinesOf("a\r\n\nb"), testing::ElementsAre("a", "", "b"));
}

}  // namespace
