// The lines of qvshr.ini and what each of them says: hostlib/key_lines.h, without a library.
#include <gtest/gtest.h>

#include "hostlib/key_lines.h"
#include "tests/support/random.h"
#include "tests/support/text.h"

namespace hosttest {
namespace {

using namespace qvshr;

// "K M path", "V name|value", "B", and "-" for what is nobody's, one for each line.
std::string Understood(std::wstring_view text) {
  std::wstring all;
  SettingsLine line;
  uint32_t number = 0;
  for (SettingsLines lines(text); lines.Next(line);) {
    EXPECT_EQ(line.number, ++number);
    if (!all.empty()) all += L"\n";
    switch (line.kind) {
      case LineKind::Other:
        all += L"-";
        break;
      case LineKind::Bad:
        all += L"B";
        break;
      case LineKind::Key:
        all += (line.key.root == Root::Machine ? L"K M " : L"K U ") + std::wstring(line.key.path);
        break;
      case LineKind::Value:
        all += L"V " + std::wstring(line.name) + L"|" + std::wstring(line.value);
        break;
    }
  }
  return qvtest::ToUtf8(all);
}

struct LineCase {
  const char* name;
  std::wstring text;
  const char* want;
};
void PrintTo(const LineCase& row, std::ostream* out) { *out << row.name; }

class KeyLinesTest : public testing::TestWithParam<LineCase> {};

TEST_P(KeyLinesTest, SaysThis) { EXPECT_EQ(Understood(GetParam().text), GetParam().want); }

INSTANTIATE_TEST_SUITE_P(
    Rows, KeyLinesTest,
    testing::Values(
        LineCase{"NoText", L"", ""},
        LineCase{"AKeyAndItsValues", L"[HKLM\\A\\B]\r\nx=1\r\ny=2", "K M A\\B\nV x|1\nV y|2"},
        LineCase{"TheUsersRoot", L"[HKCU\\A]", "K U A"},
        LineCase{"LongRootsInAnyCase", L"[hkey_local_machine\\A]\n[HKEY_Current_User\\B]", "K M A\nK U B"},
        LineCase{"EveryLineEnd", L"[HKLM\\A]\rx=1\ny=2\r\n\r\nz=3", "K M A\nV x|1\nV y|2\n-\nV z|3"},
        LineCase{"SpacesAround", L"  [ HKLM\\A ] \n\t name one \t = two words  ", "K M A\nV name one|two words"},
        LineCase{"QuotesKeepSpaces", L"[HKLM\\A]\nx=\" y \"\nz=\"\nw=\"a\"b\"", "K M A\nV x| y \nV z|\"\nV w|a\"b"},
        LineCase{"TheFirstEqualsSignParts", L"[HKLM\\A]\n0=-Da=b", "K M A\nV 0|-Da=b"},
        LineCase{"AnEmptyValue", L"[HKLM\\A]\nx=", "K M A\nV x|"},
        LineCase{"CommentsAtTheStartAlone", L"[HKLM\\A]\n;x=1\n #y=2\nz=3 ; three", "K M A\n-\n-\nV z|3 ; three"},
        LineCase{"WithoutEqualsSignOrName", L"[HKLM\\A]\nx\n=1\n = 1\ny=2", "K M A\nB\nB\nB\nV y|2"},
        LineCase{"BackslashesAtTheEnds", L"[HKLM\\\\A\\B\\]", "K M A\\B"},
        LineCase{"ARootAlone", L"[HKLM]\nx=1\n[HKCU\\]\nx=1", "B\n-\nB\n-"},
        LineCase{"OtherRoots", L"[HKU\\A]\n[HKCR\\A]\n[HKEY_USERS\\A]\n[HKCC\\A]\nx=1", "B\nB\nB\nB\n-"},
        LineCase{"NotClosed", L"[HKLM\\A\nx=1\n[\n[Host", "B\n-\nB\nB"},
        LineCase{"SomethingBehindTheBracket", L"[HKLM\\A] x\ny=1", "B\n-"},
        LineCase{"OtherSections", L"[Host]\nNoDetach=1\nnonsense\n[HKLM\\A]\n[]\nx=1", "-\n-\n-\nK M A\n-\n-"},
        LineCase{"BeforeTheFirstSection", L"x=1\nnonsense", "-\n-"},
        LineCase{"AnOtherSectionEndsAKey", L"[HKLM\\A]\nx=1\n[Host]\ny=2", "K M A\nV x|1\n-\n-"},
        LineCase{"ANullOrWhatIsNoText", std::wstring(L"[HKLM\\A]\nx=\0\ny=\xFFFD\n;\xFFFD\nz=1", 23),
                 "K M A\nB\nB\n-\nV z|1"},
        LineCase{"AHeadThatIsNoText", L"[HKLM\\\xFFFD]\nx=1", "B\n-"},
        LineCase{"NothingButLineEnds", L"\n\r\r\n", "-\n-\n-"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(KeyLinesFuzzTest, AnyTextEndsAndEveryPieceLiesInIt) {
  constexpr std::wstring_view kPieces[] = {L"[",  L"]", L"HKLM", L"HKCU", L"\\", L"=",      L"\"",     L"\r",
                                           L"\n", L" ", L"x",    L";",    L"#",  L"\xFFFD", {L"\0", 1}};
  qvtest::Random random(20);
  for (int round = 0; round < 20000; ++round) {
    std::wstring text;
    for (uint64_t i = random.Below(30); i > 0; --i) text += kPieces[random.Below(std::size(kPieces))];
    const auto inside = [&](std::wstring_view piece) {
      return piece.empty() || (piece.data() >= text.data() && piece.data() + piece.size() <= text.data() + text.size());
    };
    SettingsLine line;
    uint32_t lines = 0;
    for (SettingsLines reader(text); reader.Next(line); ++lines) {
      ASSERT_TRUE(inside(line.key.path) && inside(line.name) && inside(line.value)) << "round " << round;
      ASSERT_EQ(line.kind == LineKind::Key, line.kind == LineKind::Key && line.key.root != Root::None);
      ASSERT_FALSE(line.kind == LineKind::Value && line.name.empty()) << "round " << round;
    }
    ASSERT_LE(lines, text.size()) << "round " << round;
  }
}

}  // namespace
}  // namespace hosttest
