// What each runtime does with each option of the built-in tree, and with those that the doctor knows of: given alone,
// in a start-up of its own. What the doctor says of them and what docs/runtimes.md says must be what happens.
#include <gmock/gmock.h>

#include "doctor/option_notes.h"
#include "tests/reliability/machines/machine.h"
#include "tests/reliability/runtimes/runtime_cell.h"
#include "tests/support/reliability.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

struct Reaction {
  bool starts = false;
  bool endsTheProcess = false;
  bool interpreted = false;
  size_t logBytes = 0;
  std::vector<std::string> warnings;

  [[nodiscard]] std::string Text() const {
    const std::string said = Joined(warnings, "; ");
    if (!starts) return (endsTheProcess ? "ends the process: " : "refuses: ") + said.substr(0, said.find(';'));
    if (interpreted) return said.empty() ? "interprets" : "interprets; warns: " + said;
    return said.empty() ? "accepts" : "warns: " + said;
  }
};

// No options: the built-in tree as it is.
Reaction Start(int runtime, const std::vector<std::wstring>& options) {
  World world(runtime, kUnknownHost);
  if (!options.empty()) world.Options(options);
  const ChildResult child = RunChild(world.Program(), world.Child());
  EXPECT_FALSE(child.hung);
  Reaction reaction;
  std::string console;
  const std::vector<nlohmann::json> reports = ReportsIn(child.output, &console);
  EXPECT_FALSE(reports.empty()) << child.output;
  reaction.endsTheProcess = reports.size() == 1;
  if (reports.size() > 1) {
    reaction.starts = reports[1].value("status", -1) == 0;
    reaction.interpreted = reports[1].value("mode", "").starts_with("interpreted");
    EXPECT_EQ(reports[1].value("java", "").substr(0, reaction.starts ? 2 : 0),
              reaction.starts ? std::to_string(runtime) : "");
  }
  reaction.logBytes = world.Log().size();
  // What is printed comes from the JVM; the log holds more than warnings when a native method is resolved.
  reaction.warnings = SaidIn(console + world.Log());
  return reaction;
}

struct Option {
  const char* name;  // of the test
  const wchar_t* text;
  bool everyRun = false;

  friend void PrintTo(const Option& option, std::ostream* out) { *out << option.name; }
};

const Option kOptions[] = {
    {"MaximumHeap", L"-Xmx128m", true},
    {"VerboseJni", L"-verbose:jni", true},
    {"JavaCompiler", L"-Djava.compiler=NONE", true},
    {"NoSignals", L"-Xrs"},
    {"CheckJni", L"-Xcheck:jni"},
    {"Interpreter", L"-Xint"},
    {"ServerVm", L"-server"},
    {"ExtensionFolders", L"-Djava.ext.dirs=C:\\ext"},
    {"EndorsedFolders", L"-Djava.endorsed.dirs=C:\\endorsed"},
    {"BootClassPathInFront", L"-Xbootclasspath/p:C:\\boot.jar"},
    {"BootClassPath", L"-Xbootclasspath:C:\\boot.jar"},
    {"MaxPermSize", L"-XX:MaxPermSize=64m"},
    {"PermSize", L"-XX:PermSize=64m"},
    {"IncrementalCollector", L"-Xincgc"},
    {"ConcurrentCollector", L"-XX:+UseConcMarkSweepGC"},
    {"ParNewCollector", L"-XX:+UseParNewGC"},
    {"AggressiveOptions", L"-XX:+AggressiveOpts"},
    {"SecurityManager", L"-Djava.security.manager"},
    {"UnknownOption", L"-Xnosuch"},
    {"EmptyOption", L""},
    {"NoHyphen", L"server"},
};

class DefaultOptions : public testing::TestWithParam<Option> {};

void CompareWithTheDoctor(const Option& option, int runtime, const Reaction& reaction) {
  const std::optional<doctor::OptionNote> note = doctor::NoteFor(option.text, runtime);
  const std::wstring said = note ? note->text : L"";
  const auto says = [&](const wchar_t* part) { return said.find(part) != std::wstring::npos; };
  EXPECT_EQ(!reaction.starts, note && note->fatal) << "the doctor says: \"" << ToUtf8(said) << "\"";
  if (!reaction.starts) return;
  EXPECT_EQ(!reaction.warnings.empty(), says(L"warning") || says(L"deprecated"))
      << "the doctor says: \"" << ToUtf8(said) << "\"";
  EXPECT_EQ(reaction.interpreted, says(L"in the interpreter") || std::wstring_view(option.text) == L"-Xint");
  EXPECT_EQ(reaction.logBytes > 2000, says(L"fills the JVM log"));
}

TEST_P(DefaultOptions, AreTakenAsTheDoctorSays) {
  const Option& option = GetParam();
  if (!option.everyRun && !IsNightly()) GTEST_SKIP() << "in the long form";
  std::vector<Cell> cells = {AsCode(ToUtf8(option.text), "an empty one")};
  for (const int runtime : kRuntimes) {
    SCOPED_TRACE("Java " + std::to_string(runtime));
    const Reaction reaction = Start(runtime, {option.text});
    SCOPED_TRACE(reaction.Text());
    CompareWithTheDoctor(option, runtime, reaction);
    cells.emplace_back(reaction.Text());
  }
  const auto* const place = std::find_if(std::begin(kOptions), std::end(kOptions),
                                         [&](const Option& one) { return std::wstring_view(one.text) == option.text; });
  RecordRow("default-options", std::to_string(place - std::begin(kOptions)), cells);
}

INSTANTIATE_TEST_SUITE_P(Options, DefaultOptions, testing::ValuesIn(kOptions),
                         [](const auto& one) { return std::string(one.param.name); });

// The line of docs/runtimes.md for a runtime.
std::string Documented(int runtime) {
  for (const std::string& line :
       LinesOf(ReadWholeFile(ReadVariable(L"QV_TEST_DOCS").value_or(L"") + L"\\runtimes.md"))) {
    if (line.starts_with("| " + std::to_string(runtime) + " |")) return line;
  }
  return "";
}

TEST(BuiltInTree, StartsEveryRuntimeAsItsPageSays) {
  std::vector<Cell> cells = {"all of the built-in tree"};
  for (const int runtime : kRuntimes) {
    SCOPED_TRACE("Java " + std::to_string(runtime));
    const Reaction reaction = Start(runtime, {});
    EXPECT_TRUE(reaction.starts) << reaction.Text();
    const std::string page = Documented(runtime);
    EXPECT_EQ(reaction.interpreted, page.find("`java.compiler=NONE` interprets") != std::string::npos) << page;
    EXPECT_EQ(!reaction.interpreted, page.find("ignores `java.compiler`") != std::string::npos) << page;
    EXPECT_EQ(!reaction.warnings.empty(), page.find("`java.compiler` with a warning") != std::string::npos)
        << reaction.Text() << "\n"
        << page;
    cells.emplace_back(reaction.Text());
  }
  RecordRow("default-options", "99", cells);
}

}  // namespace
}  // namespace qvtest
