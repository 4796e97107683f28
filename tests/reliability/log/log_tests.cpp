// The output hook of the very qvjvm.dll, taken from what a recorded JVM is given, on files that cannot be written, that
// vanish, that others hold and that many threads write at once: what it answers, what is lost, and that the next
// message after the trouble arrives.
#include <algorithm>
#include <set>

#include "base/procedure.h"
#include "qvjvm/qvjvm.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/reliability/log/abuse.h"
#include "tests/support/ledger_check.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/reliability.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

// What became of lines that were written to a log.
struct LineCount {
  int found = 0;
  int lost = 0;
  int mixed = 0;  // lines of the file that nobody wrote so: pieces, or several in one
};

// Lines end in "\r\n" or "\n"; empty ones and the log's header do not count.
LineCount CountLines(const std::string& content, const std::set<std::string>& written) {
  LineCount count;
  std::set<std::string> missing = written;
  for (const std::string& line : LinesOf(content)) {
    if (line.empty() || line == "*** Starting JVM Logging ***") continue;
    if (missing.erase(line) != 0) {
      ++count.found;
    } else {
      ++count.mixed;
    }
  }
  count.lost = static_cast<int>(missing.size());
  return count;
}

class LogAbuse : public testing::Test {
 protected:
  void SetUp() override {
    QvshrLedgerOverrideFolder(0, m_folder.Path().c_str());
    m_service = LoadLibraryW((ProgramFolder() + L"\\..\\qvjvm.dll").c_str());
    ASSERT_NE(m_service, nullptr);
    const auto create = qv::FindProcedure<QV_CreateJavaVMFn>(m_service, "QV_CreateJavaVM");
    ASSERT_EQ(create(&m_vm, nullptr), QV_S_OK);
    m_vm->SetLogFileName(m_log.c_str());
  }

  void TearDown() override {
    if (m_vm != nullptr) m_vm->Release();
    QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);  // the recorded runtime goes before the process does
  }

  // Writes lines and counts the answers that were `answer`; 0 stands for the line's length.
  int PrintLines(const char* name, int count, int32_t answer = 0) {
    int asExpected = 0;
    for (int i = 0; i < count; ++i) {
      const std::string line = std::string(name) + " " + std::to_string(i);
      m_written.insert(line);
      const int32_t written = m_jvm.Print("%s\n", line.c_str());
      if (written == (answer != 0 ? answer : static_cast<int32_t>(line.size()) + 1)) ++asExpected;
    }
    return asExpected;
  }

  // The trouble is over: a message arrives, and the service works.
  void ExpectGoesOn() {
    const std::string line = "afterwards";
    EXPECT_EQ(m_jvm.Print("%s\n", line.c_str()), 11);
    EXPECT_EQ(CountLines(ReadWholeFile(m_log), {line}).found, 1);
    OnThread([&] { EXPECT_NE(QV_AcquireThreadEnv(m_vm), nullptr); });
  }

  static void Record(const char* key, const std::string& abuse, int writes, const LineCount& lines,
                     const std::string& afterwards) {
    RecordRow("log", key, {abuse, writes, lines.lost, lines.mixed, HasFailure() ? "failed" : afterwards});
  }

  [[nodiscard]] LineCount CountWritten(const std::wstring& path) const {
    return CountLines(FileExists(path) ? ReadWholeFile(path) : "", m_written);
  }

  TempFolder m_folder;
  RegistrySandbox m_registry{RegistrySandbox::Override::MachineAndUser};
  EnvironmentScope m_path{L"PATH", kSystemPath};
  EnvironmentScope m_javaHome{L"JAVA_HOME", FakeJvm::Home()};
  FakeJvm m_jvm;
  HMODULE m_service = nullptr;
  IQV_JavaVM* m_vm = nullptr;
  std::wstring m_log = m_folder.MakeFolder(L"logs") + L"\\abused.log";
  std::set<std::string> m_written;
};

constexpr int kMessages = 100;
constexpr char kArrives[] = "the next message arrives";
constexpr char kRefused[] = "-1 to the JVM; undone, the next message arrives";

class RefusedLog : public LogAbuse, public testing::WithParamInterface<Abuse> {};

TEST_P(RefusedLog, LosesItsMessagesAndNothingElse) {
  const Abuse& abuse = GetParam();
  m_folder.WriteFile(L"logs\\abused.log", "kept\r\n");
  {
    const auto lasting = abuse.begin(m_log, m_service);
    EXPECT_EQ(PrintLines("refused", kMessages, -1), kMessages);
  }
  EXPECT_EQ(FileExists(m_log) ? ReadWholeFile(m_log) : "", abuse.keepsTheFile ? "kept\r\n" : "");
  ExpectGoesOn();
  Record((std::string("01 ") + abuse.test).c_str(), abuse.name, kMessages, {0, kMessages, 0}, kRefused);
}

INSTANTIATE_TEST_SUITE_P(By, RefusedLog, testing::ValuesIn(Abuses()),
                         [](const auto& row) { return std::string(row.param.test); });

// The JVM is told what the formatter answers, which is done before the disk is asked.
TEST_F(LogAbuse, FullDiskByHook) {
  EXPECT_EQ(PrintLines("before", 1), 1);
  int refused = 0;
  {
    const FullDisk abuse;
    PrintLines("full", kMessages);
    refused = abuse.Refused();
  }
  EXPECT_GE(refused, kMessages);
  const LineCount lines = CountWritten(m_log);
  EXPECT_EQ(lines.found, 1);
  EXPECT_EQ(lines.mixed, 0);
  ExpectGoesOn();
  Record("05", "a full disk (writes refused by a hook)", kMessages, {0, lines.lost, 0}, kArrives);
}

TEST_F(LogAbuse, FullDisk) {
  const std::wstring full = FileOnAFullDisk();
  if (full.empty()) GTEST_SKIP() << "this system has no full disk at hand; the hook stands for it";
  m_vm->SetLogFileName(full.c_str());
  PrintLines("full", kMessages);
  m_jvm.Print("%s", std::string(100000, 'x').c_str());
  m_vm->SetLogFileName(m_log.c_str());
  ExpectGoesOn();
  const LineCount lines = CountWritten(m_log);
  EXPECT_EQ(lines.lost, kMessages);
  Record("06", "a full disk", kMessages, {0, lines.lost, 0}, kArrives);
}

TEST_F(LogAbuse, DeletedBetweenMessages) {
  int found = 0;
  for (int i = 0; i < kMessages; ++i) {
    EXPECT_EQ(PrintLines(("deleted " + std::to_string(i)).c_str(), 1), 1);
    found += CountWritten(m_log).found;
    EXPECT_NE(DeleteFileW(m_log.c_str()), FALSE);
  }
  EXPECT_EQ(found, kMessages) << "each message makes the file again";
  ExpectGoesOn();
  Record("07", "deleted after every message", kMessages, {found, kMessages - found, 0}, kArrives);
}

// Lines of two lengths, so that a piece of one cannot look like another.
std::string LineOf(int thread, int number) {
  return "thread " + std::to_string(thread) + " line " + std::to_string(number) + " " +
         std::string(static_cast<size_t>(number % 2 == 0 ? 20 : 200), static_cast<char>('a' + thread));
}

constexpr int kThreads = 16;
constexpr size_t kNames = 100;

// Every thread writes its lines; work() runs on the side until they have.
class ManyWriters : public LogAbuse {
 protected:
  template <class Work>
  int WriteFromAll(int linesEach, Work&& work) {
    std::atomic<int> refused = 0;
    std::atomic<int> writing = kThreads;
    for (int thread = 0; thread < kThreads; ++thread) {
      for (int number = 0; number < linesEach; ++number) m_written.insert(LineOf(thread, number));
    }
    const Crew crew(kThreads, [&](int thread) {
      for (int number = 0; number < linesEach; ++number) {
        const std::string line = LineOf(thread, number);
        if (m_jvm.Print("%s\n", line.c_str()) != static_cast<int32_t>(line.size()) + 1) ++refused;
      }
      --writing;
    });
    do work();
    while (writing > 0);
    return refused;
  }

  static int LinesEach() { return IsNightly() ? 2000 : 50; }
};

// With a first message of its own, and with the first among all of them.
TEST_F(ManyWriters, AtOnce) {
  for (const bool begun : {true, false}) {
    SCOPED_TRACE(begun ? "after the first message" : "from the first message on");
    m_log = m_folder.Path(begun ? L"begun.log" : L"new.log");
    m_vm->SetLogFileName(m_log.c_str());
    m_written.clear();
    if (begun) PrintLines("first", 1);
    EXPECT_EQ(WriteFromAll(LinesEach(), [] { Sleep(1); }), 0) << "every message could be written";
    const LineCount lines = CountWritten(m_log);
    EXPECT_GT(lines.found, 0);
    ExpectGoesOn();
    Record(begun ? "10" : "11", begun ? "16 threads write at once" : "the same, the first message among them",
           kThreads * LinesEach(), lines, kArrives);
  }
}

TEST_F(ManyWriters, WhileItIsDeleted) {
  // While another thread has it open it cannot be deleted, so that may take more than one round.
  int deleted = 0;
  for (int round = 0; deleted == 0 && round < 200; ++round) {
    DeleteFileW(m_log.c_str());
    WriteFromAll(LinesEach(), [&] {
      if (DeleteFileW(m_log.c_str()) != FALSE) ++deleted;
      Sleep(1);
    });
  }
  EXPECT_GT(deleted, 0);
  const LineCount lines = CountWritten(m_log);
  ExpectGoesOn();
  Record("12", "16 threads write, the file deleted all the time", kThreads * LinesEach(), lines, kArrives);
}

TEST_F(ManyWriters, WhileTheNameIsSwitched) {
  std::vector<std::wstring> logs = {m_log};
  const int refused = WriteFromAll(LinesEach(), [&] {
    if (logs.size() < kNames) {
      logs.push_back(m_folder.Path(L"switched-" + std::to_wstring(logs.size()) + L".log"));
      m_vm->SetLogFileName(logs.back().c_str());
    }
    Sleep(1);
  });
  EXPECT_EQ(refused, 0);
  EXPECT_GT(logs.size(), 1u);
  LineCount all;
  for (const std::wstring& log : logs) {
    const LineCount lines = CountWritten(log);
    all.found += lines.found;
    all.mixed += lines.mixed;
  }
  const int writes = kThreads * LinesEach();
  all.lost = writes - all.found;
  EXPECT_GT(all.found, 0);
  m_vm->SetLogFileName(m_log.c_str());
  ExpectGoesOn();
  Record("13", "16 threads write, the name switched " + std::to_string(logs.size() - 1) + " times", writes, all,
         kArrives);
}

// Under guard pages: a name that is freed while somebody is about to take it would end the test. Every message takes
// it.
TEST_F(LogAbuse, NameIsSwitchedWhileItIsTaken) {
  const GuardPages guard;
  const std::wstring other = m_folder.Path(L"other.log");
  std::atomic<bool> stop = false;
  std::atomic<int> wrong = 0;
  {
    const Crew takers(2, [&](int) {
      while (!stop) {
        IQvString* name = nullptr;
        if (m_vm->GetLogFileName(&name) != QV_S_OK) ++wrong;
        const std::wstring text = TakeText(name);
        if (text != m_log && text != other) ++wrong;
      }
    });
    for (int i = 0; i < (IsNightly() ? 100000 : 10000); ++i) {
      m_vm->SetLogFileName(i % 2 == 0 ? other.c_str() : m_log.c_str());
    }
    stop = true;
  }
  EXPECT_EQ(wrong, 0);
  ExpectGoesOn();
}

TEST_F(LogAbuse, VeryLongMessages) {
  const std::vector<size_t> sizes = {
      511, 512, 4095, 4096, 65536, 1 << 20, IsNightly() ? size_t{64} << 20 : size_t{4} << 20};
  for (const size_t size : sizes) {
    const std::string line(size, 'm');
    m_written.insert(line);
    EXPECT_EQ(m_jvm.Print("%s\n", line.c_str()), static_cast<int32_t>(size) + 1);
  }
  const LineCount lines = CountWritten(m_log);
  EXPECT_EQ(lines.lost, 0);
  EXPECT_EQ(lines.mixed, 0);
  ExpectGoesOn();
  Record("14", "messages of up to " + std::to_string(sizes.back() >> 20) + " MiB", static_cast<int>(sizes.size()),
         lines, kArrives);
}

// A file's path of 300 characters below a folder, in folders that it makes and removes. With the prefix that lifts the
// system's limit, without which they could not be removed either.
class LongPath {
 public:
  explicit LongPath(const std::wstring& folder) : m_file(kPrefix + folder) {
    while (m_file.size() < kPrefix.size() + 200) {
      m_file += L"\\" + std::wstring(80, L'f');
      m_folders.push_back(m_file);
      EXPECT_NE(CreateDirectoryW(m_file.c_str(), nullptr), FALSE) << GetLastError();
    }
    m_file += L"\\" + std::wstring(kPrefix.size() + 300 - m_file.size() - 1, L'n');
  }
  ~LongPath() {
    DeleteFileW(m_file.c_str());
    for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder) RemoveDirectoryW(folder->c_str());
  }
  LongPath(const LongPath&) = delete;
  LongPath& operator=(const LongPath&) = delete;

  [[nodiscard]] const std::wstring& Prefixed() const { return m_file; }
  [[nodiscard]] std::wstring Plain() const { return m_file.substr(kPrefix.size()); }

 private:
  static inline const std::wstring kPrefix = L"\\\\?\\";
  std::wstring m_file;
  std::vector<std::wstring> m_folders;
};

TEST_F(LogAbuse, PathOf300Characters) {
  const LongPath path(m_folder.Path());
  ASSERT_EQ(path.Plain().size(), 300u);
  m_vm->SetLogFileName(path.Plain().c_str());
  const int32_t answer = m_jvm.Print("plain\n");
  const bool there = FileExists(path.Prefixed());
  EXPECT_EQ(answer, there ? 6 : -1) << "refused by the system or written";
  Record("15", "a path of 300 characters", 1, {there ? 1 : 0, there ? 0 : 1, 0}, kArrives);
  m_log = path.Prefixed();
  m_vm->SetLogFileName(m_log.c_str());
  EXPECT_EQ(PrintLines("prefixed", kMessages), kMessages);
  const LineCount lines = CountWritten(m_log);
  EXPECT_EQ(lines.lost, 0);
  ExpectGoesOn();
  Record("16", "the same with the prefix \\\\?\\", kMessages, lines, kArrives);
}

}  // namespace
}  // namespace qvtest
