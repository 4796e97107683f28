// The JVM's output log: header, truncation, appending, redirection and silence, and the two hooks as the JVM calls
// them. Files are text files, so a line ends in two characters on disk.
#include <cstdarg>

#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

constexpr char kHeader[] = "*** Starting JVM Logging ***\r\n\r\n";

// As the JVM calls the hook. Its stream belongs to another C runtime: this address is nobody's.
int32_t Print(const char* format, ...) {
  va_list args;
  va_start(args, format);
  // Through a pointer, as the JVM does: some of its formats no compiler knows.
  jint(JNICALL* const hook)(FILE*, const char*, va_list) = JvmVfprintfHook;
  const int32_t written = hook(reinterpret_cast<FILE*>(uintptr_t{0x10}), format, args);
  va_end(args);
  return written;
}

// A world with a service object whose log goes to vm.out in the test's folder.
class LogWorld : public StartedWorld {
 public:
  const std::wstring log = folder.Path(L"vm.out");
};

TEST(OutputLog, FirstMessageBeginsTheFileWithTheHeaderAndTheNextIsAppendedWithoutIt) {
  const LogWorld world;
  world.folder.WriteFile(L"vm.out", "from another day\n");
  EXPECT_FALSE(g_bJvmLogStarted);
  EXPECT_EQ(Print("one\n"), 4);
  EXPECT_TRUE(g_bJvmLogStarted);
  EXPECT_EQ(ReadWholeFile(world.log), std::string(kHeader) + "one\r\n");
  EXPECT_EQ(Print("%s %d", "two", 2), 5);
  EXPECT_EQ(ReadWholeFile(world.log), std::string(kHeader) + "one\r\ntwo 2");
}

TEST(OutputLog, SilencedItGives1AndCreatesNoFileAndOpenedAgainItContinuesTheSameOne) {
  const LogWorld world;
  QV_SetJavaVMDebugMode(0);
  EXPECT_EQ(Print("dropped"), 1);
  QV_SetJavaVMDebugMode(1);
  EXPECT_EQ(world.vm->SetJvmLogEnabled(0), 0);
  EXPECT_EQ(g_bJvmLogEnabled, 0);
  EXPECT_EQ(Print("dropped"), 1);
  EXPECT_FALSE(FileExists(world.log));
  EXPECT_FALSE(g_bJvmLogStarted);
  world.vm->SetJvmLogEnabled(1);
  Print("a");
  QV_SetJavaVMDebugMode(0);
  Print("lost");
  QV_SetJavaVMDebugMode(1);
  Print("b");
  world.vm->SetJvmLogEnabled(0);
  Print("lost too");
  world.vm->SetJvmLogEnabled(1);
  Print("c");
  EXPECT_EQ(ReadWholeFile(world.log), std::string(kHeader) + "abc");
}

TEST(OutputLog, SwitchTakesAnyNumberAndEveryOneBut0Logs) {
  const LogWorld world;
  EXPECT_EQ(g_bJvmLogEnabled, 1) << "on at first";
  for (const int32_t value : {-1, 2, INT32_MIN}) {
    EXPECT_EQ(world.vm->SetJvmLogEnabled(value), 0);
    EXPECT_EQ(g_bJvmLogEnabled, value);
    EXPECT_EQ(Print("x"), 1);
  }
  EXPECT_EQ(ReadWholeFile(world.log), std::string(kHeader) + "xxx");
}

TEST(OutputLog, NewPathIsTruncatedAndGetsTheHeader) {
  const LogWorld world;
  Print("first");
  const std::wstring redirected = world.folder.WriteFile(L"other.log", "old content");
  g_bJvmLogEnabled = 0;
  EXPECT_EQ(world.vm->SetLogFileName(redirected.c_str()), 0);
  EXPECT_FALSE(g_bJvmLogStarted);
  EXPECT_EQ(g_bJvmLogEnabled, 1) << "naming a file switches the log on";
  Print("second");
  EXPECT_EQ(ReadWholeFile(redirected), std::string(kHeader) + "second");
  EXPECT_EQ(ReadWholeFile(world.log), std::string(kHeader) + "first") << "the old file stays as it was";
  world.vm->SetLogFileName(redirected.c_str());
  Print("third");
  EXPECT_EQ(ReadWholeFile(redirected), std::string(kHeader) + "third") << "the same path, named again";
}

TEST(OutputLog, PathWithoutItsFolderGivesMinus1AndLeavesTheState) {
  const LogWorld world;
  world.vm->SetLogFileName(world.folder.Path(L"no\\such\\folder\\vm.log").c_str());
  EXPECT_EQ(Print("lost"), -1);
  EXPECT_FALSE(g_bJvmLogStarted) << "so the next message begins the file again";
  world.folder.MakeFolder(L"no\\such\\folder");
  Print("kept");
  EXPECT_EQ(ReadWholeFile(world.folder.Path(L"no\\such\\folder\\vm.log")), std::string(kHeader) + "kept");

  world.folder.WriteFile(L"other\\vm.log");
  world.vm->SetLogFileName(world.folder.Path(L"other\\vm.log").c_str());
  Print("a");
  MoveFileW(world.folder.Path(L"other").c_str(), world.folder.Path(L"away").c_str());
  EXPECT_EQ(Print("lost"), -1);
  EXPECT_TRUE(g_bJvmLogStarted) << "so the next message is appended";
  MoveFileW(world.folder.Path(L"away").c_str(), world.folder.Path(L"other").c_str());
  Print("b");
  EXPECT_EQ(ReadWholeFile(world.folder.Path(L"other\\vm.log")), std::string(kHeader) + "ab");
}

// What was opened, and how.
class OpenWatch {
 public:
  [[nodiscard]] const std::vector<std::wstring>& Story() const { return m_story; }

 private:
  std::vector<std::wstring> m_story;
  FunctionHook<decltype(&_wfopen)> m_open{"_wfopen", [this](const wchar_t* path, const wchar_t* mode) {
                                            m_story.push_back(std::wstring(L"open ") + mode + L" " + path);
                                            return m_open.Real(path, mode);
                                          }};
  FunctionHook<decltype(&fclose)> m_close{"fclose", [this](FILE* file) {
                                            m_story.push_back(L"close");
                                            return m_close.Real(file);
                                          }};
};

TEST(OutputLog, FileIsOpenedAndClosedForEveryMessage) {
  const LogWorld world;
  const OpenWatch watch;
  Print("one");
  Print("two");
  Print("three");
  EXPECT_EQ(watch.Story(), (std::vector<std::wstring>{L"open w " + world.log, L"close", L"open a " + world.log,
                                                      L"close", L"open a " + world.log, L"close"}));
}

const std::string kLongText(100000, 'm');

TEST(OutputLog, FormatsOfTheJVMAreKnownAndMessagesOfAnyLengthArriveWhole) {
  const struct {
    std::string want;
    int32_t (*print)();
  } rows[] = {{"18446744073709551615", [] { return Print("%zu", SIZE_MAX); }},
              {"-9223372036854775808", [] { return Print("%lld", INT64_MIN); }},
              {"-9223372036854775808", [] { return Print("%I64d", INT64_MIN); }},
              {"18446744073709551615", [] { return Print("%llu", UINT64_MAX); }},
              {"7fffffffffffffff", [] { return Print("%llx", INT64_MAX); }},
              {"[00ff] [   7] [-7  ] [+7]", [] { return Print("[%04x] [%4d] [%-4d] [%+d]", 0xFF, 7, -7, 7); }},
              {"1.50 a% text", [] { return Print("%.2f %c%% %s", 1.5, 'a', "text"); }},
              {"tex  ", [] { return Print("%-5.3s", "text"); }},
              {"  12", [] { return Print("%*d", 4, 12); }},
              {"", [] { return Print("%s", ""); }},
              {kLongText, [] { return Print("%s", kLongText.c_str()); }}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.want.substr(0, 80));
    const LogWorld world;
    EXPECT_EQ(row.print(), static_cast<int32_t>(row.want.size()));
    EXPECT_TRUE(ReadWholeFile(world.log) == kHeader + row.want);
  }
}

TEST(OutputLog, PointersAreWrittenInHexadecimal) {
  const LogWorld world;
  Print("%p", reinterpret_cast<void*>(uintptr_t{0x1234ABCD5678}));
  const std::string text = ReadWholeFile(world.log);
  EXPECT_TRUE(text.find("1234ABCD5678") != std::string::npos || text.find("1234abcd5678") != std::string::npos) << text;
}

TEST(OutputLog, WithoutAPathItIsVmOutInTheCurrentFolder) {
  const LogWorld world;
  wchar_t before[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, before);
  const std::wstring current = world.folder.MakeFolder(L"current");
  SetCurrentDirectoryW(current.c_str());
  {
    const FailCall fault(kQvshrCallCreateString, 1);
    EXPECT_EQ(world.vm->SetLogFileName(L"C:\\never.log"), 0) << "success all the same";
    EXPECT_TRUE(fault.Fired());
  }
  EXPECT_EQ(JVMConfigInfo().m_pLogFilePath, nullptr);
  IQvString* name = nullptr;
  EXPECT_EQ(world.vm->GetLogFileName(&name), 0);
  EXPECT_EQ(TakeText(name), L"vm.out");
  Print("here");
  EXPECT_EQ(ReadWholeFile(world.folder.Path(L"current\\vm.out")), std::string(kHeader) + "here");
  SetCurrentDirectoryW(before);
}

TEST(OutputLog, NameThatWasSetIsAnsweredAsANewString) {
  const LogWorld world;
  IQvString* name = nullptr;
  EXPECT_EQ(world.vm->GetLogFileName(&name), 0);
  EXPECT_EQ(TakeText(name), world.log);
  world.vm->SetLogFileName(L"C:\\logs\\java.log");
  IQvString* again = nullptr;
  EXPECT_EQ(world.vm->GetLogFileName(&name), 0);
  EXPECT_EQ(world.vm->GetLogFileName(&again), 0);
  EXPECT_NE(name, again);
  EXPECT_EQ(TakeText(name), L"C:\\logs\\java.log");
  EXPECT_EQ(TakeText(again), L"C:\\logs\\java.log");
}

TEST(OutputLog, WithoutMemoryForThePathNothingIsWritten) {
  const LogWorld world;
  const FailAllocation fault(1, kQvshrFailFromHere);
  EXPECT_EQ(Print("lost"), -1);
  EXPECT_FALSE(FileExists(world.log));
  EXPECT_FALSE(g_bJvmLogStarted);
}

TEST(ExitHook, DoesNothing) {
  const LogWorld world;
  JvmExitHook(0);
  JvmExitHook(17);
  EXPECT_FALSE(FileExists(world.log));
  EXPECT_EQ(world.jvm.Count(kFakeDetach), 0u);
}

}  // namespace
}  // namespace qvtest
