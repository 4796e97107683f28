// Registry keys: ordinal 4 and the operations of their key objects, over the real registry and hostile data in it.
// Every test owns a key of its own below HKEY_CURRENT_USER and removes it, but not the parent: tests run side by side.
#include <windows.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/hostlib/host_build.h"
#include "tests/support/import_hook.h"

namespace hosttest {
namespace {

class RegistryTest : public HostTest {
 public:
  RegistryTest() : path(L"Software\\QvTests\\" + std::to_wstring(GetCurrentProcessId())) {}
  void SetUp() override {
    HostTest::SetUp();
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &raw, nullptr),
              ERROR_SUCCESS);
  }
  ~RegistryTest() override {
    RegCloseKey(raw);
    RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
  }

  /// Exactly these bytes: what lies behind them in memory is no null, since one would be taken along.
  void SetBytes(const std::wstring& name, DWORD type, std::vector<uint8_t> bytes) const {
    const size_t size = bytes.size();
    bytes.resize(size + 8, 0x58);
    ASSERT_EQ(RegSetValueExW(raw, name.c_str(), 0, type, bytes.data(), static_cast<DWORD>(size)), ERROR_SUCCESS);
  }
  void SetText(const std::wstring& name, const std::wstring& text, DWORD type = REG_SZ) const {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    ASSERT_EQ(RegSetValueExW(raw, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(text.c_str()), bytes),
              ERROR_SUCCESS);
  }
  void MakeSubKey(const std::wstring& name) const {
    HKEY made = nullptr;
    ASSERT_EQ(RegCreateKeyExW(raw, name.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &made, nullptr), ERROR_SUCCESS);
    RegCloseKey(made);
  }
  Key OpenOwn(uint32_t access = KEY_READ) const {
    Key key;
    EXPECT_EQ(host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(path).Get(), access, key.Out()), 0);
    return key;
  }

  const std::wstring path;
  HKEY raw = nullptr;
};
ON_BOTH_HOST_BUILDS(RegistryTest);

// ---- opening
// ----------------------------------------------------------------------------------------------------------

TEST_P(RegistryTest, WhatCannotBeOpenedIsAFailureAndNull) {
  struct Row {
    const char* name;
    HKEY hive;
    std::wstring path;
  };
  for (const Row& row : {Row{"no such key", HKEY_CURRENT_USER, path + L"\\Missing"},
                         {"no such parent", HKEY_CURRENT_USER, path + L"\\Missing\\Deeper"},
                         {"no hive", nullptr, path},
                         {"not a hive", reinterpret_cast<HKEY>(uintptr_t{0x7FFFFFF0}), path},
                         {"a name that is too long", HKEY_CURRENT_USER, path + L"\\" + std::wstring(300, L'k')}}) {
    IQvRegKey* key = Untouched<IQvRegKey>();
    EXPECT_NE(host.OpenRegistryKey(row.hive, MakeText(row.path).Get(), KEY_READ, &key), 0) << row.name;
    EXPECT_EQ(key, nullptr) << row.name;
  }
  IQvRegKey* key = Untouched<IQvRegKey>();
  EXPECT_NE(host.OpenRegistryKey(HKEY_CURRENT_USER, nullptr, KEY_READ, &key), 0);
  EXPECT_EQ(key, nullptr);
  EXPECT_NE(host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(path).Get(), KEY_READ, nullptr), 0);
}

TEST_P(RegistryTest, AnEmptyPathIsTheHiveAndLeavesItUsable) {
  for (int i = 0; i < 2; ++i) {
    Key hive;
    ASSERT_EQ(host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(L"").Get(), KEY_READ, hive.Out()), 0);
    EXPECT_TRUE(OpenSub(hive, path));
  }
}

TEST_P(RegistryTest, SubKeysOpenByPathWithoutCase) {
  MakeSubKey(L"A\\B\\C");
  const Key key = OpenOwn();
  for (const wchar_t* good : {L"A", L"A\\B", L"A\\B\\C", L"a\\b\\c", L""}) EXPECT_TRUE(OpenSub(key, good)) << good;
  for (const wchar_t* bad : {L"B", L"A\\C", L"A\\B\\C\\D", L"A/B", L"X"}) {
    IQvRegKey* sub = Untouched<IQvRegKey>();
    EXPECT_LT(key->OpenSubKey(MakeText(bad).Get(), KEY_READ, &sub), 0) << bad;
    EXPECT_EQ(sub, nullptr) << bad;
  }
}

TEST_P(RegistryTest, ASubKeyOutlivesItsParent) {
  MakeSubKey(L"A");
  Key sub;
  {
    const Key key = OpenOwn();
    sub = OpenSub(key, L"A");
  }
  EXPECT_EQ(Enum(sub, 0), L"<none>");
  EXPECT_EQ(sub->Release(), 0u);
  sub.Forget();
}

TEST_P(RegistryTest, TheLastReleaseClosesTheKey) {
  static decltype(&RegCloseKey) close = nullptr;
  static int closed = 0;
  closed = 0;
  MakeSubKey(L"A");
  const qvtest::ImportHook hook(
      module, "RegCloseKey", +[](HKEY key) WINAPI {
        ++closed;
        return close(key);
      });
  close = hook.Original<decltype(close)>();
  Key key = OpenOwn();
  Key sub = OpenSub(key, L"A");
  EXPECT_EQ(sub->AddRef(), 2u);
  EXPECT_EQ(sub->Release(), 1u);
  EXPECT_EQ(closed, 0) << "closed although a reference is left";
  key = Key();
  EXPECT_EQ(closed, 1);
  sub = Key();
  EXPECT_EQ(closed, 2);
}

TEST_P(RegistryTest, OnlyTheAccessThatWasAskedForIsOpened) {
  SetText(L"v", L"text");
  MakeSubKey(L"A");
  const Key noQuery = OpenOwn(KEY_ENUMERATE_SUB_KEYS);
  EXPECT_EQ(Query(noQuery, L"v"), L"<none>");
  const Key query = OpenOwn(KEY_QUERY_VALUE);
  EXPECT_EQ(Query(query, L"v"), L"text");
  Key sub;
  EXPECT_EQ(query->OpenSubKey(MakeText(L"A").Get(), KEY_ENUMERATE_SUB_KEYS, sub.Out()), 0);
  EXPECT_EQ(Query(sub, L"v"), L"<none>");
}

TEST_P(RegistryTest, MissingArgumentsAreFailures) {
  SetText(L"v", L"text");
  const Key key = OpenOwn();
  IQvRegKey* sub = Untouched<IQvRegKey>();
  EXPECT_LT(key->OpenSubKey(nullptr, KEY_READ, &sub), 0);
  EXPECT_EQ(sub, nullptr);
  EXPECT_LT(key->OpenSubKey(MakeText(L"A").Get(), KEY_READ, nullptr), 0);
  IQvString* text = Untouched<IQvString>();
  EXPECT_LT(key->QueryStringValue(nullptr, &text), 0);
  EXPECT_EQ(text, nullptr);
  EXPECT_LT(key->QueryStringValue(MakeText(L"v").Get(), nullptr), 0);
  text = Untouched<IQvString>();
  EXPECT_LT(key->EnumValue(0, nullptr, &text), 0);
  EXPECT_EQ(text, nullptr);
  text = Untouched<IQvString>();
  EXPECT_LT(key->EnumValue(0, &text, nullptr), 0);
  EXPECT_EQ(text, nullptr);
}

// ---- one value
// --------------------------------------------------------------------------------------------------------

struct DataCase {
  const char* name;
  DWORD type;
  std::vector<uint8_t> bytes;
  const wchar_t* want;  // "<none>" for what is no text
};

TEST_P(RegistryTest, TextIsReadFromWhateverBytesThereAre) {
  const DataCase rows[] = {
      {"terminated", REG_SZ, {'a', 0, 'b', 0, 0, 0}, L"ab"},
      {"not terminated", REG_SZ, {'a', 0, 'b', 0}, L"ab"},
      {"terminated twice", REG_SZ, {'a', 0, 0, 0, 0, 0}, L"a"},
      {"odd length", REG_SZ, {'a', 0, 'b', 0, 'c'}, L"ab"},
      {"odd length behind the null", REG_SZ, {'a', 0, 0, 0, 'c'}, L"a"},
      {"one byte", REG_SZ, {'a'}, L""},
      {"no byte", REG_SZ, {}, L""},
      {"nothing but a null", REG_SZ, {0, 0}, L""},
      {"a null in the middle", REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}, L"a"},
      {"a null at the start", REG_SZ, {0, 0, 'a', 0}, L""},
      {"half a surrogate pair", REG_SZ, {0x3D, 0xD8}, L"\xD83D"},
      {"a reference to the environment", REG_EXPAND_SZ, {'%', 0, 'O', 0, 'S', 0, '%', 0, 0, 0}, L"%OS%"},
      {"expandable, not terminated", REG_EXPAND_SZ, {'x', 0}, L"x"},
      {"expandable, odd", REG_EXPAND_SZ, {'x', 0, 'y'}, L"x"},
      {"a list of texts", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0}, L"<none>"},
      {"a number", REG_DWORD, {1, 0, 0, 0}, L"<none>"},
      {"a long number", REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}, L"<none>"},
      {"bytes", REG_BINARY, {'a', 0, 0, 0}, L"<none>"},
      {"no type", REG_NONE, {'a', 0, 0, 0}, L"<none>"},
      {"a type that nobody knows", 0x1234, {'a', 0, 0, 0}, L"<none>"},
  };
  const Key key = OpenOwn();
  for (const DataCase& row : rows) {
    SCOPED_TRACE(row.name);
    SetBytes(L"v", row.type, row.bytes);
    EXPECT_EQ(Query(key, L"v"), row.want);
    const std::wstring want = row.want;
    EXPECT_EQ(Enum(key, 0), want == L"<none>" ? want : L"v=" + want);
  }
}

TEST_P(RegistryTest, ValuesOfEverySizeAreReadWhole) {
  const Key key = OpenOwn();
  for (const size_t length : {510u, 511u, 512u, 513u, 1023u, 1024u, 1025u, 5000u, 500000u}) {
    const std::wstring text(length, L'\x4E2D');
    SetText(L"v", text);
    EXPECT_TRUE(Query(key, L"v") == text) << length << " characters";
    EXPECT_TRUE(Enum(key, 0) == L"v=" + text) << length << " characters";
    std::vector<uint8_t> bare(length * 2 + 1, 0x41);
    SetBytes(L"v", REG_SZ, bare);
    EXPECT_TRUE(Query(key, L"v") == std::wstring(length, L'\x4141')) << length << " characters without a null";
    EXPECT_TRUE(Enum(key, 0) == L"v=" + std::wstring(length, L'\x4141')) << length << " characters without a null";
  }
}

TEST_P(RegistryTest, LargeValuesOfOtherTypesAreNotText) {
  SetBytes(L"v", REG_BINARY, std::vector<uint8_t>(300000, 0x41));
  const Key key = OpenOwn();
  EXPECT_EQ(Query(key, L"v"), L"<none>");
  EXPECT_EQ(Enum(key, 0), L"<none>");
}

TEST_P(RegistryTest, ValueNamesAreComparedWithoutCase) {
  SetText(
      L"Gr\x00F6\x00DF"
      L"e",
      L"text");
  SetText(L"", L"default");
  const Key key = OpenOwn();
  EXPECT_EQ(Query(key,
                  L"gR\x00D6\x00DF"
                  L"E"),
            L"text");
  EXPECT_EQ(Query(key, L"Gr"), L"<none>");
  EXPECT_EQ(Query(key, L""), L"default");
  EXPECT_EQ(Query(key, std::wstring(20000, L'x')), L"<none>");
}

TEST_P(RegistryTest, AValueThatChangesIsReadInOneOfItsStates) {
  const std::wstring small(3, L's');
  const std::wstring large(9000, L'l');
  SetText(L"v", small);
  const Key key = OpenOwn();
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int i = 0; !stop; ++i) {
      if (i % 4 == 3) {
        RegDeleteValueW(raw, L"v");
      } else if (i % 4 == 2) {
        SetBytes(L"v", REG_BINARY, std::vector<uint8_t>(20000, 1));
      } else {
        SetText(L"v", i % 4 == 1 ? large : small);
      }
    }
  });
  int texts = 0;
  for (int i = 0; i < 3000 && !HasFailure(); ++i) {
    const std::wstring got = Query(key, L"v");
    EXPECT_TRUE(got == small || got == large || got == L"<none>") << "length " << got.size();
    texts += got != L"<none>";
    const std::wstring walked = Enum(key, 0);
    EXPECT_TRUE(walked == L"v=" + small || walked == L"v=" + large || walked == L"<none>") << walked.size();
  }
  stop = true;
  writer.join();
  EXPECT_GT(texts, 0);
}

// ---- walking
// ----------------------------------------------------------------------------------------------------------

TEST_P(RegistryTest, TheWalkSkipsWhatIsNoText) {
  const Key key = OpenOwn();
  EXPECT_EQ(Enum(key, 0), L"<none>");
  SetBytes(L"0number", REG_DWORD, {1, 0, 0, 0});
  SetText(L"1text", L"one");
  SetBytes(L"2bytes", REG_BINARY, std::vector<uint8_t>(5000, 1));
  SetBytes(L"3list", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0});
  SetText(L"4expand", L"%two%", REG_EXPAND_SZ);
  SetBytes(L"5none", REG_NONE, {});
  std::vector<std::wstring> walked;
  for (int32_t i = 0; walked.empty() || walked.back() != L"<none>"; ++i) walked.push_back(Enum(key, i));
  EXPECT_EQ(walked, (std::vector<std::wstring>{L"1text=one", L"4expand=%two%", L"<none>"}));
  for (const int32_t index : {-1, 2, 3, 100000, INT32_MAX, INT32_MIN}) EXPECT_EQ(Enum(key, index), L"<none>") << index;
}

TEST_P(RegistryTest, TheWalkSkipsATextThatIsTooLarge) {
  constexpr size_t kMostBytes = size_t{64} << 20;
  SetText(L"0before", L"one");
  SetBytes(L"1huge", REG_SZ, std::vector<uint8_t>(kMostBytes + 2, 0x41));
  SetText(L"2after", L"two");
  const Key key = OpenOwn();
  std::vector<std::wstring> walked;
  for (int32_t i = 0; walked.empty() || walked.back() != L"<none>"; ++i) walked.push_back(Enum(key, i));
  EXPECT_EQ(walked, (std::vector<std::wstring>{L"0before=one", L"2after=two", L"<none>"}));
  EXPECT_EQ(Query(key, L"1huge"), L"<none>");
  EXPECT_EQ(Query(key, L"2after"), L"two");
}

TEST_P(RegistryTest, AThousandValuesComeInAnyOrderOfIndexes) {
  for (int i = 0; i < 1000; ++i) {
    SetText(L"text" + std::to_wstring(i), L"value" + std::to_wstring(i));
    if (i % 3 == 0) SetBytes(L"number" + std::to_wstring(i), REG_DWORD, {1, 0, 0, 0});
  }
  const Key key = OpenOwn();
  std::vector<std::wstring> walked;
  for (int32_t i = 0; i < 1000; ++i) walked.push_back(Enum(key, i));
  EXPECT_EQ(Enum(key, 1000), L"<none>");
  std::vector<std::wstring> sorted = walked;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(std::unique(sorted.begin(), sorted.end()), sorted.end()) << "a value came twice";
  for (const std::wstring& entry : walked) {
    EXPECT_EQ(entry.substr(4, entry.find(L'=') - 4), entry.substr(entry.find(L'=') + 6));
  }
  for (const int32_t index : {999, 0, 500, 500, 501, 7, 999, 998}) {
    EXPECT_EQ(Enum(key, index), walked[static_cast<size_t>(index)]) << index;
  }
}

TEST_P(RegistryTest, LongNamesAreReadWhole) {
  const Key key = OpenOwn();
  for (const size_t length : {255u, 256u, 257u, 1000u, 16383u}) {
    const std::wstring name(length, L'n');
    SetText(name, L"v");
    EXPECT_TRUE(Enum(key, 0) == name + L"=v") << length << " characters";
    const std::wstring large(3000, L'x');
    SetText(name, large);
    EXPECT_TRUE(Enum(key, 0) == name + L"=" + large) << length << " characters and a long text";
    ASSERT_EQ(RegDeleteValueW(raw, name.c_str()), ERROR_SUCCESS);
  }
}

TEST_P(RegistryTest, ANewWalkSeesWhatChanged) {
  SetText(L"a", L"1");
  SetText(L"b", L"2");
  const Key key = OpenOwn();
  EXPECT_EQ(Enum(key, 0), L"a=1");
  EXPECT_EQ(Enum(key, 1), L"b=2");
  ASSERT_EQ(RegDeleteValueW(raw, L"a"), ERROR_SUCCESS);
  EXPECT_EQ(Enum(key, 0), L"b=2");
  EXPECT_EQ(Enum(key, 1), L"<none>");
  SetText(L"c", L"3");
  EXPECT_EQ(Enum(key, 1), L"c=3");
}

TEST_P(RegistryTest, ThreadsWalkOneKeyWithoutDisturbingEachOther) {
  for (int i = 0; i < 100; ++i) {
    SetText(L"t" + std::to_wstring(i), std::to_wstring(i));
    SetBytes(L"n" + std::to_wstring(i), REG_DWORD, {1, 0, 0, 0});
  }
  const Key key = OpenOwn();
  std::vector<std::wstring> want;
  for (int32_t i = 0; i < 100; ++i) want.push_back(Enum(key, i));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::vector<std::wstring> got(100);
      for (int32_t n = 0; n < 100; ++n) {
        const int32_t index = t % 2 == 0 ? n : 99 - n;
        got[static_cast<size_t>(index)] = Enum(key, index);
      }
      EXPECT_EQ(got, want) << "thread " << t;
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace hosttest
