// Java strings to and from the host's wide text.
#include "tests/bridge/bridge_test.h"
#include "tests/support/import_hook.h"

namespace qvtest {
namespace {

using Strings = BridgeTest;

// What has gone wrong with strings before: nothing, surrogates whole and broken, the longest unit, much text.
const std::vector<std::wstring> kTexts = {L"",
                                          L"x",
                                          L"Gr\x00FC\x00DF"
                                          L"e",
                                          L"\xD83D\xDE00",
                                          L"\xD800",
                                          L"\xDC00\xD800",
                                          L"\xFFFF\xFFFE",
                                          std::wstring(255, L'e'),
                                          std::wstring(256, L'f'),
                                          std::wstring(511, L'a'),
                                          std::wstring(512, L'b'),
                                          std::wstring(100000, L'c') + L"\xD83D\xDE00"};

// The text that a reference to a string stands for.
std::wstring TextBehind(FakeJni& jni, qv_jstring string) { return jni.Vm().Look(&jni, string, "the test")->text; }

TEST_F(Strings, NewStringTakesEveryUnitBeforeTheNull) {
  for (const std::wstring& text : kTexts) {
    SCOPED_TRACE(text.size());
    qv_jstring string = this;
    Watch();
    EXPECT_EQ(Api().NewString(&string, text.c_str()), S_OK);
    EXPECT_EQ(TextBehind(Jni(), string), text);
    const Lines log = Log();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ((Lines{log.begin(), log.begin() + 2}), (Lines{"slot 14 NewString", kEnvironment}));
    EXPECT_TRUE(log[2].ends_with(", " + std::to_string(text.size()) + ")")) << log[2];
    Renew();
  }
}

// The length counts units, a copy is the whole string and its null whatever the size says, and a host's string ends at
// a null within.
TEST_F(Strings, AreReadUnitForUnit) {
  std::vector<std::wstring> texts = kTexts;
  texts.emplace_back(L"with\0null\0s", 11);
  for (const std::wstring& text : texts) {
    SCOPED_TRACE(text.size());
    const jstring string = Jni().GivenString(text);
    int32_t length = -1;
    EXPECT_EQ(Api().GetStringLength(&length, string), S_OK);
    EXPECT_EQ(length, static_cast<int32_t>(text.size()));
    auto* host = reinterpret_cast<IQvString*>(this);
    EXPECT_EQ(Api().GetStringValue(&host, string), S_OK);
    EXPECT_EQ(TakeText(host), text.substr(0, text.find(L'\0')));
    int32_t tooSmall = 1;
    for (int32_t* size : {&tooSmall, static_cast<int32_t*>(nullptr)}) {
      std::wstring buffer(text.size() + 2, L'#');
      EXPECT_EQ(Api().GetStringChars(buffer.data(), size, string), S_OK);
      EXPECT_EQ(buffer, text + L'\0' + L'#') << "the string, one null, and nothing behind it";
    }
    EXPECT_EQ(tooSmall, 1);
  }
}

TEST_F(Strings, CopyingTakesItsLengthFromSlot15) {
  const jstring string = Jni().GivenString(L"whole");
  wchar_t buffer[512] = L"before";
  Watch().Replace<15>([](void*, int32_t* length, qv_jstring) {
    *length = 2;
    return S_OK;
  });
  EXPECT_EQ(Api().GetStringChars(buffer, nullptr, string), S_OK);
  EXPECT_STREQ(buffer, L"wh");
}

TEST_F(Strings, AHostStringHasTheStatusOfItsMakingAndTheCharactersAreReleased) {
  const jstring string = Jni().GivenString(L"x");
  int32_t made = 0;
  const FunctionHook<int32_t (*)(const wchar_t*, IQvString**)> hook("qvshr.dll", 3,
                                                                    [&](const wchar_t*, IQvString**) { return made; });
  Watch();
  for (const int32_t status : {E_OUTOFMEMORY, E_FAIL, S_FALSE}) {
    made = status;
    auto* host = reinterpret_cast<IQvString*>(this);
    EXPECT_EQ(Api().GetStringValue(&host, string), status);
    EXPECT_EQ(host, nullptr);
    EXPECT_EQ(Log(), (Lines{"slot 17 GetStringValue", kEnvironment, "GetStringLength(\"x\")", "GetStringChars(\"x\")",
                            "ReleaseStringChars(\"x\", characters)"}));
  }
}

}  // namespace
}  // namespace qvtest
