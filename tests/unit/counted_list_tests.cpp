// Numbered lists: what a Count text means, which entries come, where the separators stand, and the two messages.
#include <climits>

#include "store/counted_list.h"
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

// ---- number texts ----

TEST(CountTextTest, TheDecimalNumberAtItsStartCountsAndANegativeOneIs0) {
  const std::pair<int32_t, std::vector<const wchar_t*>> rows[] = {
      {0, {L"0", L"-5", L"-0", L"abc", L"", L"0x10", L"- 5", L"--5", L"-2147483648"}},
      {1, {L"1.9"}},
      {3, {L"3", L"3;4"}},
      {4, {L"\t+4"}},
      {7, {L"007", L" 7"}},
      {10, {L"10"}},
      {12, {L"12abc"}},
      {INT_MAX, {L"2147483647"}}};
  for (const auto& [want, texts] : rows) {
    for (const wchar_t* text : texts) EXPECT_EQ(qv::CountFromText(text), want) << ToUtf8(text);
  }
}

TEST(CountTextTest, ANumberThatNoCountCanHoldIsStillACount) {
  for (const wchar_t* text : {L"2147483648", L"4294967295", L"4294967300", L"9223372036854775808",
                              L"99999999999999999999999999", L"-99999999999999999999999999"}) {
    EXPECT_GE(qv::CountFromText(text), 0) << ToUtf8(text);
  }
}

TEST(IndexTextTest, AnIndexIsItsPlainDecimalText) {
  EXPECT_STREQ(qv::IndexName(0).Text(), L"0");
  EXPECT_STREQ(qv::IndexName(7).Text(), L"7");
  EXPECT_STREQ(qv::IndexName(10).Text(), L"10");
  EXPECT_STREQ(qv::IndexName(INT_MAX).Text(), L"2147483647");
}

TEST(IndexTextTest, OnlyTheExactTextOfAnIndexStandsForIt) {
  const std::pair<const wchar_t*, int32_t> rows[] = {
      {L"0", 0},           {L"7", 7},           {L"10", 10},          {L"4096", 4096},      {L"2147483647", INT_MAX},
      {L"2147483648", -1}, {L"9999999999", -1}, {L"10000000000", -1}, {L"00000000001", -1}, {L"07", -1},
      {L"00", -1},         {L"+7", -1},         {L"-1", -1},          {L" 7", -1},          {L"7 ", -1},
      {L"7a", -1},         {L"", -1},           {L"Count", -1},       {L"\x0661", -1},      {L"\xFF11", -1},
      {L"1.0", -1}};
  for (const auto& [name, want] : rows) EXPECT_EQ(qv::IndexFromName(name), want) << ToUtf8(name);
}

// ---- lists in the registry ----

const std::wstring kList = std::wstring(kQuovantRoot) + L"\\Java\\QVIDEConfig\\QVSysclasspath";

class CountedListTest : public ConfigTest {
 protected:
  using Values = std::vector<std::pair<std::wstring, std::wstring>>;

  void SetList(const std::wstring& count, const Values& values) {
    m_registry.CreateKey(Hive::Machine, kList);
    m_registry.DeleteKey(Hive::Machine, kList);
    m_registry.SetText(Hive::Machine, kList, L"Count", count);
    for (const auto& [name, text] : values) m_registry.SetText(Hive::Machine, kList, name, text);
  }
  std::wstring Read(bool quiet = false) {
    return ResultAndText([&](IQvString** list) {
      return m_config->ReadCountedList(HKEY_LOCAL_MACHINE, L"Java\\QVIDEConfig\\QVSysclasspath", 0x20019, list, quiet);
    });
  }
};

const std::vector<std::pair<std::wstring, std::wstring>> kFive = {
    {L"0", L"a"}, {L"1", L"b"}, {L"2", L"c"}, {L"3", L"d"}, {L"4", L"e"}};

// A huge count gives what a plain loop would give.
TEST_F(CountedListTest, TheEntriesBelowTheCountComeInIndexOrderJoinedBySemicolons) {
  const struct {
    const char* name;
    const wchar_t* count;
    Values values;
    const wchar_t* want;
  } rows[] = {
      {"all of five", L"5", kFive, L"a;b;c;d;e"},
      {"three of five", L"3", kFive, L"a;b;c"},
      {"one", L"1", kFive, L"a"},
      {"more than there are", L"9", kFive, L"a;b;c;d;e"},
      {"a count of 0", L"0", kFive, L""},
      {"a negative count", L"-5", kFive, L""},
      {"a count with letters behind it", L"12abc", kFive, L"a;b;c;d;e"},
      {"no entries", L"3", {}, L""},
      {"entry 0 is missing", L"3", {{L"1", L"b"}, {L"2", L"c"}}, L";b;c"},
      {"entry 0 alone is missing of two", L"2", {{L"1", L"b"}}, L";b"},
      {"one in the middle is missing", L"4", {{L"0", L"a"}, {L"3", L"d"}}, L"a;d"},
      {"the last ones are missing", L"9", {{L"0", L"a"}, {L"1", L"b"}}, L"a;b"},
      {"empty entries keep their separators", L"3", {{L"0", L""}, {L"1", L""}, {L"2", L"c"}}, L";;c"},
      {"entries hold separators themselves", L"2", {{L"0", L"a;b;"}, {L"1", L";c"}}, L"a;b;;;c"},
      {"names with padding or signs are no entries", L"3", {{L"00", L"x"}, {L"+1", L"x"}, {L"02", L"x"}}, L""},
      {"ten and more", L"12", {{L"9", L"j"}, {L"10", L"k"}, {L"11", L"l"}, {L"2", L"c"}}, L";c;j;k;l"},
      {"the largest count, five entries", L"2147483647", kFive, L"a;b;c;d;e"},
      {"entries far apart, not in order",
       L"2147483647",
       {{L"2147483646", L"z"}, {L"100000", L"y"}, {L"5", L"x"}, {L"30", L"w"}},
       L";x;w;y;z"},
      {"entry 2147483647 is not below the count", L"2147483647", {{L"0", L"a"}, {L"2147483647", L"x"}}, L"a"},
      {"entry 2147483648 is none", L"2147483647", {{L"0", L"a"}, {L"2147483648", L"x"}}, L"a"},
      {"other names do not count", L"2147483647", {{L"0", L"a"}, {L"01", L"x"}, {L"one", L"x"}, {L"", L"x"}}, L"a"},
      {"the largest plain loop", L"4096", {{L"0", L"a"}, {L"4095", L"b"}, {L"4096", L"x"}}, L"a;b"},
      {"one above it", L"4097", {{L"0", L"a"}, {L"4095", L"b"}, {L"4096", L"c"}, {L"4097", L"x"}}, L"a;b;c"},
      {"entry 0 is missing", L"1000000000", {{L"999999999", L"b"}, {L"1000000000", L"x"}}, L";b"},
      {"no entries", L"2147483647", {}, L""},
  };
  for (const auto& row : rows) {
    SetList(row.count, row.values);
    EXPECT_EQ(Read(), std::wstring(L"true: ") + row.want) << row.name;
  }
}

TEST_F(CountedListTest, ACountThatNoIntegerHoldsSaturatesOrWraps) {
  for (const auto& [count, wrapped] : {std::pair(L"4294967300", L"true: a;b;c;d"), {L"2147483648", L"true: "}}) {
    SetList(count, kFive);
    const std::wstring read = Read();
    EXPECT_TRUE(read == L"true: a;b;c;d;e" || read == wrapped) << ToUtf8(read);
  }
}

TEST_F(CountedListTest, AHugeCountAsksForTheEntriesThatAreThereAndNoOthers) {
  FakeKey key;
  key.values = {{L"Count", {0, L"2147483647"}}, {L"0", {0, L"a"}}, {L"7", {0, L"b"}}, {L"x", {0, L"c"}}};
  const FakeRegistry registry(key);
  EXPECT_EQ(Read(), L"true: a;b");
  EXPECT_EQ(key.queried, (std::vector<std::wstring>{L"Count", L"0", L"7"}));
  EXPECT_EQ(key.enumerations, 5) << "four values and the end";
  EXPECT_EQ(key.references, 1u);
}

TEST_F(CountedListTest, AThousandEntriesUnderAHugeCountComeInIndexOrder) {
  FakeKey key;
  key.values[L"Count"] = {0, L"2000000000"};
  std::wstring want;
  for (int i = 0; i < 1000; ++i) {
    const std::wstring index = std::to_wstring(i * 1000);
    key.values[index] = {0, index};
    want += (i > 0 ? L";" : L"") + index;
  }
  const FakeRegistry registry(key);
  EXPECT_TRUE(Read() == L"true: " + want);
}

TEST_F(CountedListTest, AnEntryCountsOnlyWhenItsQueryAnswersExactly0) {
  FakeKey key;
  key.values = {{L"Count", {0, L"4"}}, {L"0", {1, L"a"}}, {L"1", {0, L"b"}}, {L"2", {-1, L"c"}}, {L"3", {0, L"d"}}};
  // What a failing query hands out all the same is released like any other.
  const FakeRegistry registry(key);
  EXPECT_EQ(Read(), L"true: ;b;d");
  EXPECT_EQ(key.queried, (std::vector<std::wstring>{L"Count", L"0", L"1", L"2", L"3"}));
}

TEST_F(CountedListTest, AnEntryFoundWithoutAnObjectIsAnEmptyTextAndSuchACountNoEntries) {
  FakeKey key;
  key.values = {{L"Count", {0, L"3"}}, {L"0", {0, L"a"}}, {L"1", {0, std::nullopt}}, {L"2", {0, L"c"}}};
  const FakeRegistry registry(key);
  EXPECT_EQ(Read(), L"true: a;;c");
  key.values[L"Count"].text = std::nullopt;
  EXPECT_EQ(Read(), L"true: ");
}

TEST_F(CountedListTest, TheRootIsOpenedWithTheAccessAskedAndTheListWithReadAccess) {
  FakeKey key;
  key.values[L"Count"].text = L"0";
  const FakeRegistry registry(key);
  IQvString* list = nullptr;
  EXPECT_TRUE(m_config->ReadCountedList(HKEY_CURRENT_USER, L"Some\\Path", 0xABC, &list, true));
  EXPECT_EQ(TakeText(list), L"");
  EXPECT_EQ(registry.Requests(), (std::vector<FakeRegistry::Request>{{HKEY_CURRENT_USER, kQuovantRoot, 0xABC}}));
  EXPECT_EQ(key.opened, (std::vector<std::pair<std::wstring, uint32_t>>{{L"Some\\Path", 0x20019}}));
  EXPECT_EQ(key.references, 1u);
}

// ---- hostile data ----

TEST_F(CountedListTest, EntriesAndCountAreTakenFromWhateverBytesTheRegistryHolds) {
  for (const wchar_t* count : {L"3", L"2147483647"}) {
    SetList(count, {{L"0", L"a"}, {L"2", L"c"}});
    for (const RegistryBytes& row : kRegistryBytes) {
      m_registry.SetRaw(Hive::Machine, kList, L"1", row.type, row.bytes);
      EXPECT_EQ(Read(), L"true: a;" + (row.text ? *row.text + L";c" : L"c")) << row.name << ", Count " << ToUtf8(count);
    }
  }
  m_registry.SetRaw(Hive::Machine, kList, L"Count", REG_SZ, {'1', 0, '9'});
  EXPECT_EQ(Read(), L"true: a");
  m_registry.SetRaw(Hive::Machine, kList, L"Count", REG_DWORD, {1, 0, 0, 0});
  EXPECT_EQ(Read(true), L"false: ");
}

TEST_F(CountedListTest, EntriesOfOneMebibyteAreReadWhole) {
  const std::wstring large(512 * 1024, L'x');
  SetList(L"3", {{L"0", large}, {L"1", L"b"}, {L"2", large}});
  EXPECT_TRUE(Read() == L"true: " + large + L";b;" + large);
}

// ---- messages ----

class ListMessageTest : public ConfigTest {
 protected:
  ListMessageTest() { lstrcpynW(m_config->m_szServiceName, L"Quovant Java VM Service", 30); }

  // Reads, expects a failure with an empty list, and this to be shown; nothing when the text is null.
  void ExpectShown(const std::optional<std::wstring>& text, HKEY hive, const std::wstring& subKey, bool quiet = false) {
    const std::wstring read = ResultAndText(
        [&](IQvString** list) { return m_config->ReadCountedList(hive, subKey.c_str(), 0x20019, list, quiet); });
    EXPECT_EQ(read, L"false: ");
    if (text) m_expectedBoxes += 1;
    ASSERT_EQ(m_boxes.Shown().size(), m_expectedBoxes) << ToUtf8(subKey);
    if (text) {
      EXPECT_EQ(m_boxes.Shown().back(), (ShownBox{*text, m_config->m_szServiceName, MB_OK | MB_ICONERROR, false}));
    }
  }
};

const std::wstring kMissingKey = L"Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\";
const std::wstring kMissingValue = L"Error initializing Java VM.\nCould not find Registry value:\nHKEY_LOCAL_MACHINE\\";

TEST_F(ListMessageTest, WhatIsMissingIsNamedAndQuietReadersShowNothing) {
  const std::wstring list = std::wstring(kQuovantRoot) + L"\\Java\\L";
  const auto expectShown = [&](const std::wstring& text) {
    ExpectShown(text, HKEY_LOCAL_MACHINE, L"Java\\L");
    ExpectShown(std::nullopt, HKEY_LOCAL_MACHINE, L"Java\\L", true);
  };
  expectShown(kMissingKey + kQuovantRoot + L"\\");
  m_registry.CreateKey(Hive::Machine, kQuovantRoot);
  expectShown(kMissingKey + list);
  m_registry.SetText(Hive::Machine, list, L"0", L"a");
  expectShown(kMissingValue + list + L"\\Count");
}

TEST_F(ListMessageTest, TheTextsSayTheMachineWhateverHiveWasRead) {
  ExpectShown(kMissingKey + kQuovantRoot + L"\\", HKEY_CURRENT_USER, L"L");
  m_registry.CreateKey(Hive::User, std::wstring(kQuovantRoot) + L"\\L");
  ExpectShown(kMissingValue + kQuovantRoot + L"\\L\\Count", HKEY_CURRENT_USER, L"L");
}

TEST_F(ListMessageTest, TheTitleIsTheServicesNameAndTheRootIsTheHosts) {
  lstrcpynW(m_config->m_szServiceName, L"Tablero Java VM Service", 30);
  SetHost(*m_config, HostKind::Tablero);
  ExpectShown(kMissingKey + kTableroRoot + L"\\", HKEY_LOCAL_MACHINE, L"L");
  SetHost(*m_config, HostKind::Loomhall);
  ExpectShown(kMissingKey + kLoomhallRoot + L"\\", HKEY_LOCAL_MACHINE, L"L");
  EXPECT_EQ(m_boxes.Shown().back().title, L"Tablero Java VM Service");
}

TEST_F(ListMessageTest, AMessageIsCutTo511UnitsHasFormatSignsAsTheyAreAndIsEmptyWithoutItsResource) {
  m_registry.CreateKey(Hive::Machine, kQuovantRoot);
  ExpectShown(kMissingKey + kQuovantRoot + L"\\100%s%n%d", HKEY_LOCAL_MACHINE, L"100%s%n%d");
  for (const size_t units : {480u, 1000u, 2000u}) {
    std::wstring path = L"k";
    while (path.size() < units) path += L"\\key";
    ExpectShown((kMissingKey + kQuovantRoot + L"\\" + path).substr(0, 511), HKEY_LOCAL_MACHINE, path);
  }
  const ImportHook strings(
      nullptr, "LoadStringW", +[](HINSTANCE, UINT, LPWSTR, int) WINAPI { return 0; });
  ExpectShown(L"", HKEY_LOCAL_MACHINE, L"L");
}

}  // namespace
}  // namespace qvtest
