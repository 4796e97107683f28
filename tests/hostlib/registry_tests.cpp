// Registry keys: ordinal 4 and the operations of their key objects, over the real registry and hostile data in it.
// Every test has a key of its own below HKEY_CURRENT_USER.
#include <algorithm>
#include <atomic>

#include "tests/hostlib/host_build.h"
#include "tests/support/import_hook.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/threads.h"

namespace hosttest {
namespace {

using qvtest::Hive;
using qvtest::RegistrySandbox;

class RegistryTest : public HostTest {
 public:
  void SetBytes(const std::wstring& name, DWORD type, const std::vector<uint8_t>& bytes) {
    registry.SetRaw(Hive::User, L"", name, type, bytes);
  }
  void SetText(const std::wstring& name, const std::wstring& text, DWORD type = REG_SZ) {
    registry.SetText(Hive::User, L"", name, text, type);
  }
  void Remove(const std::wstring& name) { registry.DeleteValue(Hive::User, L"", name); }
  void MakeSubKey(const std::wstring& name) { registry.CreateKey(Hive::User, name); }
  Key OpenOwn(uint32_t access = KEY_READ) const {
    Key key;
    EXPECT_EQ(host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(path).Get(), access, key.Out()), 0);
    return key;
  }

  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
  const std::wstring path = registry.Path(Hive::User);
};
ON_BOTH_HOST_BUILDS(RegistryTest);

// ---- opening ----

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

TEST_P(RegistryTest, TheLastReleaseClosesTheKey) {
  int closed = 0;
  MakeSubKey(L"A");
  const qvtest::FunctionHook<decltype(&RegCloseKey)> hook(
      "RegCloseKey",
      [&](HKEY key) {
        ++closed;
        return hook.Real(key);
      },
      host.module);
  Key key = OpenOwn();
  Key sub = OpenSub(key, L"A");
  EXPECT_EQ(sub->AddRef(), 2u);
  EXPECT_EQ(sub->Release(), 1u);
  EXPECT_EQ(closed, 0) << "closed although a reference is left";
  key = Key();
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(Enum(sub, 0), L"<none>") << "it outlives its parent";
  EXPECT_EQ(sub.Detach()->Release(), 0u);
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
  SetText(L"x", L"text");
  MakeSubKey(L"x");
  ExpectRefusesMissingArguments(OpenOwn());
}

// ---- one value ----

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
      {"many bytes", REG_BINARY, std::vector<uint8_t>(300000, 0x41), L"<none>"},

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

TEST_P(RegistryTest, ValueNamesAreComparedWithoutCase) {
  SetText(L"Gr\u00F6\u00DFe", L"text");
  SetText(L"", L"default");
  const Key key = OpenOwn();
  EXPECT_EQ(Query(key, L"gR\u00D6\u00DFE"), L"text");
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
  const qvtest::HostThread writer([&] {
    for (int i = 0; !stop; ++i) {
      if (i % 4 == 3) {
        Remove(L"v");
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
  writer.Join();
  EXPECT_GT(texts, 0);
}

// ---- walking ----

TEST_P(RegistryTest, TheWalkSkipsWhatIsNoText) {
  const Key key = OpenOwn();
  EXPECT_EQ(Enum(key, 0), L"<none>");
  SetBytes(L"0number", REG_DWORD, {1, 0, 0, 0});
  SetText(L"1text", L"one");
  SetBytes(L"2bytes", REG_BINARY, std::vector<uint8_t>(5000, 1));
  SetBytes(L"3list", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0});
  SetText(L"4expand", L"%two%", REG_EXPAND_SZ);
  SetBytes(L"5none", REG_NONE, {});
  EXPECT_EQ(Walk(key), (Strings{L"1text=one", L"4expand=%two%"}));
  for (const int32_t index : {-1, 2, 3, 100000, INT32_MAX, INT32_MIN}) EXPECT_EQ(Enum(key, index), L"<none>") << index;
}

TEST_P(RegistryTest, TheWalkSkipsATextThatIsTooLarge) {
  constexpr size_t kMostBytes = size_t{64} << 20;
  SetText(L"0before", L"one");
  SetBytes(L"1huge", REG_SZ, std::vector<uint8_t>(kMostBytes + 2, 0x41));
  SetText(L"2after", L"two");
  const Key key = OpenOwn();
  EXPECT_EQ(Walk(key), (Strings{L"0before=one", L"2after=two"}));
  EXPECT_EQ(Query(key, L"1huge"), L"<none>");
  EXPECT_EQ(Query(key, L"2after"), L"two");
}

TEST_P(RegistryTest, AThousandValuesComeInAnyOrderOfIndexes) {
  for (int i = 0; i < 1000; ++i) {
    SetText(L"text" + std::to_wstring(i), L"value" + std::to_wstring(i));
    if (i % 3 == 0) SetBytes(L"number" + std::to_wstring(i), REG_DWORD, {1, 0, 0, 0});
  }
  const Key key = OpenOwn();
  const Strings walked = Walk(key);
  ASSERT_EQ(walked.size(), 1000u);
  Strings sorted = walked;
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
    Remove(name);
  }
}

TEST_P(RegistryTest, ANewWalkSeesWhatChanged) {
  SetText(L"a", L"1");
  SetText(L"b", L"2");
  const Key key = OpenOwn();
  EXPECT_EQ(Walk(key), (Strings{L"a=1", L"b=2"}));
  Remove(L"a");
  EXPECT_EQ(Walk(key), (Strings{L"b=2"}));
  SetText(L"c", L"3");
  EXPECT_EQ(Enum(key, 1), L"c=3");
}

TEST_P(RegistryTest, ThreadsWalkOneKeyWithoutDisturbingEachOther) {
  for (int i = 0; i < 100; ++i) {
    SetText(L"t" + std::to_wstring(i), std::to_wstring(i));
    SetBytes(L"n" + std::to_wstring(i), REG_DWORD, {1, 0, 0, 0});
  }
  const Key key = OpenOwn();
  const Strings want = Walk(key);
  ASSERT_EQ(want.size(), 100u);
  qvtest::OnThreads(4, [&](int thread) {
    Strings got(100);
    for (int32_t n = 0; n < 100; ++n) {
      const int32_t index = thread % 2 == 0 ? n : 99 - n;
      got[static_cast<size_t>(index)] = Enum(key, index);
    }
    EXPECT_EQ(got, want) << "thread " << thread;
  });
}

}  // namespace
}  // namespace hosttest
