// Strings and their conversion: ordinals 3 and 6 and the operations of IQvString.
#include "tests/hostlib/host_build.h"
#include "tests/support/threads.h"

namespace hosttest {
namespace {

class TextTest : public HostTest {};
ON_BOTH_HOST_BUILDS(TextTest);

struct LengthCase {
  const wchar_t* text;
  int32_t length;
};

TEST_P(TextTest, LengthCountsTheNullAndTheTextIsTheCallers) {
  for (const LengthCase& row : {LengthCase{L"", 1}, {L"a", 2}, {L"ab c", 5}, {L"\xD83D\xDE00", 3}, {L"\xD800", 2}}) {
    const Text text = MakeText(row.text);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->GetLength(), row.length) << row.text;
    EXPECT_STREQ(text->GetText(), row.text);
  }
}

TEST_P(TextTest, NullMakesAnEmptyStringAndAMissingOutIsAFailure) {
  Text text;
  ASSERT_EQ(host.CreateString(nullptr, text.Out()), 0);
  EXPECT_STREQ(text->GetText(), L"");
  EXPECT_EQ(text->GetLength(), 1);
  EXPECT_LT(host.CreateString(L"x", nullptr), 0);
}

TEST_P(TextTest, LaterChangesOfTheSourceDoNotReachTheString) {
  wchar_t source[] = L"before";
  const Text text = MakeText(source);
  source[0] = L'X';
  EXPECT_STREQ(text->GetText(), L"before");
}

TEST_P(TextTest, AMillionCharactersAreKept) {
  const std::wstring million(1000000, L'\x4E2D');
  const Text text = MakeText(million);
  EXPECT_EQ(text->GetLength(), 1000001);
  EXPECT_TRUE(text->GetText() == million);
}

TEST_P(TextTest, ThreadsShareTheReferenceCount) {
  const Text text = MakeText(L"shared");
  qvtest::OnThreads(4, [&](int) {
    for (int n = 0; n < 20000; ++n) text->AddRef();
    for (int n = 0; n < 20000; ++n) text->Release();
  });
  EXPECT_EQ(text->AddRef(), 2u);
  EXPECT_EQ(text->Release(), 1u);
}

struct ConcatCase {
  const wchar_t* left;
  const wchar_t* right;
  const wchar_t* joined;
  int32_t length;
};

TEST_P(TextTest, ConcatMakesANewStringAndLeavesItsOperands) {
  for (const ConcatCase& row : {ConcatCase{L"abc", L"de", L"abcde", 6},
                                {L"", L"de", L"de", 3},
                                {L"abc", L"", L"abc", 4},
                                {L"", L"", L"", 1},
                                {L"\xD83D", L"\xDE00", L"\xD83D\xDE00", 3}}) {
    const Text left = MakeText(row.left);
    const Text right = MakeText(row.right);
    Text joined;
    ASSERT_EQ(left->Concat(right.Get(), joined.Out()), 0);
    EXPECT_STREQ(joined->GetText(), row.joined);
    EXPECT_EQ(joined->GetLength(), row.length);
    EXPECT_NE(joined.Get(), left.Get());
    EXPECT_NE(joined.Get(), right.Get());
    EXPECT_STREQ(left->GetText(), row.left);
    EXPECT_STREQ(right->GetText(), row.right);
    EXPECT_EQ(joined->AddRef(), 2u) << "the new string starts with one reference";
    joined->Release();
  }
}

TEST_P(TextTest, ConcatOutlivesItsOperandsWhichMayBeOne) {
  Text joined;
  ASSERT_EQ(MakeText(L"left ")->Concat(MakeText(L"right").Get(), joined.Out()), 0);
  EXPECT_STREQ(joined->GetText(), L"left right");
  const Text text = MakeText(L"ab");
  ASSERT_EQ(text->Concat(text.Get(), joined.Out()), 0);
  EXPECT_STREQ(joined->GetText(), L"abab");
}

TEST_P(TextTest, ConcatWithoutOperandOrOutIsAFailure) {
  const Text text = MakeText(L"x");
  IQvString* joined = Untouched<IQvString>();
  EXPECT_LT(text->Concat(nullptr, &joined), 0);
  EXPECT_EQ(joined, nullptr);
  EXPECT_LT(text->Concat(text.Get(), nullptr), 0);
}

// ---- narrow text ----

struct NarrowCase {
  const wchar_t* text;
  uint32_t codePage;
  const char* want;  // null: a failure
};

TEST_P(TextTest, WideTextBecomesNarrowInTheCodePage) {
  for (const NarrowCase& row : {NarrowCase{L"", 0, ""},
                                {L"C:\\Java", 0, "C:\\Java"},
                                {L"", 65001, ""},
                                {L"\x00E9\x20AC", 65001, "\xC3\xA9\xE2\x82\xAC"},
                                {L"\xD83D\xDE00", 65001, "\xF0\x9F\x98\x80"},
                                {L"\x00E9\x20AC", 1252, "\xE9\x80"},
                                {L"a\x4E2D", 1252, "a?"},
                                {L"\x0416", 1251, "\xC6"},
                                {L"x", 54321, nullptr},
                                {nullptr, 65001, nullptr},
                                {nullptr, 0, nullptr}}) {
    char* const narrow = host.WideToMultiByte(row.text, row.codePage);
    EXPECT_STREQ(narrow, row.want) << "code page " << row.codePage;
    host.Free(narrow);
  }
}

TEST_P(TextTest, CodePageZeroIsTheAnsiCodePageOfTheSystemAndAnyLengthFits) {
  const wchar_t text[] = L"gr\x00FC\x00DF \x4E2D";
  char* const automatic = host.WideToMultiByte(text, 0);
  char* const named = host.WideToMultiByte(text, GetACP());
  EXPECT_STREQ(automatic, named);
  host.Free(automatic);
  host.Free(named);

  const std::wstring wide(300000, L'\x20AC');
  char* const narrow = host.WideToMultiByte(wide.c_str(), 65001);
  ASSERT_NE(narrow, nullptr);
  EXPECT_EQ(std::string(narrow).size(), 900000u);
  host.Free(narrow);
}

}  // namespace
}  // namespace hosttest
