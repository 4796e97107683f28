// What a test can script in the ledger build: failing allocations and calls, settings, folders, switches.
#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "host/qvshr.h"
#include "tests/hostlib/host_build.h"
#include "tests/ledger/ledger.h"

namespace hosttest {
namespace {

class LedgerScriptTest : public testing::Test {
 protected:
  LedgerScriptTest() { QvshrLedgerReset(); }
  ~LedgerScriptTest() override { QvshrLedgerReset(); }

  // '1' for each allocation that gave a block, '0' for each that did not.
  static std::string Allocations(int count) {
    std::string answers;
    for (int i = 0; i < count; ++i) {
      void* const block = QvshrAlloc(16);
      answers += block != nullptr ? '1' : '0';
      QvshrFree(block);
    }
    return answers;
  }
};

// ---- failing allocations ----

TEST_F(LedgerScriptTest, TheNthAllocationFailsOnceOrFromThereOn) {
  const struct {
    uint64_t n;
    QvshrLedgerMode mode;
    const char* want;
    uint64_t fired;
  } rows[] = {{1, kQvshrFailOnce, "011111", 1},     {3, kQvshrFailOnce, "110111", 1},
              {7, kQvshrFailOnce, "111111", 0},     {1, kQvshrFailFromHere, "000000", 6},
              {3, kQvshrFailFromHere, "110000", 4}, {7, kQvshrFailFromHere, "111111", 0},
              {0, kQvshrFailOnce, "111111", 0},     {0, kQvshrFailFromHere, "111111", 0}};
  for (const auto& row : rows) {
    QvshrLedgerFailAt(row.n, row.mode);
    EXPECT_EQ(Allocations(6), row.want) << row.n << " mode " << row.mode;
    EXPECT_EQ(QvshrLedgerFired(), row.fired) << row.n << " mode " << row.mode;
  }
  QvshrLedgerFailAt(0, kQvshrFailOnce);
  EXPECT_EQ(QvshrLedgerFired(), 0u);
}

TEST_F(LedgerScriptTest, ANewScriptCountsFromNow) {
  QvshrLedgerFailAt(3, kQvshrFailOnce);
  EXPECT_EQ(Allocations(2), "11");
  QvshrLedgerFailAt(3, kQvshrFailOnce);
  EXPECT_EQ(Allocations(4), "1101");
}

TEST_F(LedgerScriptTest, FailedAllocationsAreCounted) {
  QvshrLedgerState before{};
  QvshrLedgerSnapshot(&before);
  QvshrLedgerFailAt(2, kQvshrFailOnce);
  Allocations(3);
  EXPECT_EQ(QvshrAlloc(SIZE_MAX), nullptr);
  QvshrLedgerState now{};
  QvshrLedgerSnapshot(&now);
  EXPECT_EQ(now.failedAllocations, before.failedAllocations + 2) << "the scripted one and the real one";
  EXPECT_EQ(now.totalAllocations, before.totalAllocations + 2);
}

// Operations that allocate inside the library, each with what it answers without memory.
struct Operation {
  const char* name;
  std::function<bool()> succeeds;  // false: the failure that the contract names, with null out values
};

constexpr DefaultConfigRecord kTable[] = {{kOpenKey, L"Root", nullptr, {}},      {kOpenKey, L"Sub", nullptr, {}},
                                          {kStringValue, L"name", L"value", {}}, {kCloseKey, nullptr, nullptr, {}},
                                          {kCloseKey, nullptr, nullptr, {}},     {kEndOfTable, nullptr, nullptr, {}}};

// A string, a tree's root and its key "Sub", for operations on objects.
struct Objects {
  Objects() {
    EXPECT_EQ(QvshrCreateString(L"Sub", sub.Out()), 0);
    EXPECT_EQ(QvshrCreateString(L"name", name.Out()), 0);
    EXPECT_EQ(QvshrOpenDefaultTree(kTable, root.Out()), 0);
    EXPECT_EQ(root->OpenSubKey(sub.Get(), KEY_READ, key.Out()), 0);
    const std::wstring path = L"Software\\QvTests\\ledger" + std::to_wstring(GetCurrentProcessId());
    EXPECT_EQ(QvshrCreateString(path.c_str(), registryPath.Out()), 0);
    HKEY raw = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                              &raw, nullptr),
              0);
    const std::wstring large(3000, L'x');
    EXPECT_EQ(RegSetValueExW(raw, L"name", 0, REG_SZ, reinterpret_cast<const BYTE*>(large.c_str()), 6002), 0);
    RegCloseKey(raw);
    EXPECT_EQ(QvshrOpenRegistryKey(HKEY_CURRENT_USER, registryPath.Get(), KEY_READ, registryKey.Out()), 0);
  }
  ~Objects() { RegDeleteTreeW(HKEY_CURRENT_USER, registryPath->GetText()); }

  Text sub;
  Text name;
  Text registryPath;
  Key root;
  Key key;
  Key registryKey;
};

// True on success; a failure must be negative and leave null.
template <class T>
bool Judge(int32_t status, T* out) {
  EXPECT_EQ(status == 0, out != nullptr) << status;
  EXPECT_LE(status, 0);
  if (out != nullptr) out->Release();
  return status == 0;
}

std::vector<Operation> Operations(Objects& objects) {
  const auto query = [](IQvRegKey* key, IQvString* name) {
    IQvString* value = Untouched<IQvString>();
    const int32_t status = key->QueryStringValue(name, &value);
    return Judge(status, value);
  };
  const auto walk = [](IQvRegKey* key) {
    IQvString* name = Untouched<IQvString>();
    IQvString* value = Untouched<IQvString>();
    const int32_t status = key->EnumValue(0, &name, &value);
    EXPECT_EQ(name == nullptr, value == nullptr);
    if (name != nullptr) name->Release();
    return Judge(status, value);
  };
  return {
      {"CreateString",
       [] {
         IQvString* text = Untouched<IQvString>();
         const int32_t status = QvshrCreateString(L"x", &text);
         return Judge(status, text);
       }},
      {"OpenDefaultTree",
       [] {
         IQvRegKey* key = Untouched<IQvRegKey>();
         const int32_t status = QvshrOpenDefaultTree(kTable, &key);
         return Judge(status, key);
       }},
      {"OpenRegistryKey",
       [&] {
         IQvRegKey* key = Untouched<IQvRegKey>();
         const int32_t status = QvshrOpenRegistryKey(HKEY_CURRENT_USER, objects.registryPath.Get(), KEY_READ, &key);
         EXPECT_EQ(status == 0, key != nullptr);
         if (key != nullptr) key->Release();
         return status == 0;
       }},
      {"WideToMultiByte",
       [] {
         char* const text = QvshrWideToMultiByte(L"x", 0);
         QvshrFree(text);
         return text != nullptr;
       }},
      {"Concat",
       [&] {
         IQvString* joined = Untouched<IQvString>();
         const int32_t status = objects.sub->Concat(objects.name.Get(), &joined);
         return Judge(status, joined);
       }},
      {"OpenSubKey of a tree",
       [&] {
         IQvRegKey* key = Untouched<IQvRegKey>();
         const int32_t status = objects.root->OpenSubKey(objects.sub.Get(), KEY_READ, &key);
         return Judge(status, key);
       }},
      {"EnumValue of a tree", [&, walk] { return walk(objects.key.Get()); }},
      {"QueryStringValue of a tree", [&, query] { return query(objects.key.Get(), objects.name.Get()); }},
      {"EnumValue of the registry", [&, walk] { return walk(objects.registryKey.Get()); }},
      {"QueryStringValue of the registry", [&, query] { return query(objects.registryKey.Get(), objects.name.Get()); }},
  };
}

TEST_F(LedgerScriptTest, TheLibrarysOwnAllocationsFailToo) {
  Objects objects;
  for (const Operation& operation : Operations(objects)) {
    SCOPED_TRACE(operation.name);
    QvshrLedgerState before{};
    QvshrLedgerSnapshot(&before);
    uint64_t n = 0;
    for (bool fired = true; fired;) {
      QvshrLedgerFailAt(++n, kQvshrFailOnce);
      const bool succeeded = operation.succeeds();
      fired = QvshrLedgerFired() != 0;
      EXPECT_EQ(succeeded, !fired) << "allocation " << n;
      ASSERT_LT(n, 20u);
    }
    QvshrLedgerFailAt(0, kQvshrFailOnce);
    EXPECT_GT(n, 1u) << "it allocates nothing";
    QvshrLedgerState now{};
    QvshrLedgerSnapshot(&now);
    EXPECT_EQ(now.liveBlocks, before.liveBlocks);
    EXPECT_EQ(now.liveStrings, before.liveStrings);
    EXPECT_EQ(now.liveKeys, before.liveKeys);
    EXPECT_EQ(now.errors, 0u);
  }
}

TEST_F(LedgerScriptTest, AReadWithoutMemoryIsToldFromAMissingValue) {
  Objects objects;
  constexpr int32_t kNoMemory = static_cast<int32_t>(0x8007000E);
  for (IQvRegKey* key : {objects.key.Get(), objects.registryKey.Get()}) {
    QvshrLedgerFailAt(1, kQvshrFailOnce);
    IQvString* value = nullptr;
    EXPECT_EQ(key->QueryStringValue(objects.name.Get(), &value), kNoMemory);
    QvshrLedgerFailAt(1, kQvshrFailOnce);
    IQvString* name = nullptr;
    EXPECT_EQ(key->EnumValue(0, &name, &value), kNoMemory);
    QvshrLedgerFailAt(0, kQvshrFailOnce);
    const int32_t missing = key->QueryStringValue(objects.sub.Get(), &value);
    EXPECT_LT(missing, 0);
    EXPECT_NE(missing, kNoMemory);
    const int32_t past = key->EnumValue(1, &name, &value);
    EXPECT_LT(past, 0);
    EXPECT_NE(past, kNoMemory);
  }
}

// ---- failing calls ----

// Every operation that can fail by name, with a call of it that succeeds otherwise.
std::vector<std::pair<QvshrCall, std::function<bool()>>> FailingCalls(Objects& objects) {
  const std::vector<Operation> operations = Operations(objects);
  static wchar_t buffer[300];
  return {
      {kQvshrCallAlloc,
       [] {
         void* const block = QvshrAlloc(16);
         QvshrFree(block);
         return block != nullptr;
       }},
      {kQvshrCallCreateString, operations[0].succeeds},
      {kQvshrCallOpenDefaultTree, operations[1].succeeds},
      {kQvshrCallOpenRegistryKey, operations[2].succeeds},
      {kQvshrCallWideToMultiByte, operations[3].succeeds},
      {kQvshrCallConcat, operations[4].succeeds},
      {kQvshrCallOpenSubKey, operations[5].succeeds},
      {kQvshrCallEnumValue, operations[6].succeeds},
      {kQvshrCallQueryStringValue, operations[7].succeeds},
      {kQvshrCallGetDirectory, [] { return QvshrGetDirectory(L"C:\\a\\b", buffer, 300) == 4; }},
      {kQvshrCallGetFileName, [] { return QvshrGetFileName(L"C:\\a\\b", buffer, 300) == 1; }},
      {kQvshrCallGetSpecialFolder, [] { return QvshrGetSpecialFolder(28, buffer, 300, 0, 0) != 0; }},
      {kQvshrCallGetSetting, [] { return QvshrGetSetting(L"S", L"key", L"fallback", buffer, 300) == 8; }},
      {kQvshrCallIsWebDeployment, [] { return QvshrIsWebDeployment(0) == 1; }},
      {kQvshrCallNoDetachQuery, [] { return QvshrNoDetachQuery() == 1; }},
  };
}

TEST_F(LedgerScriptTest, TheNthCallOfAnOperationFailsOnceOrFromThereOn) {
  Objects objects;
  for (const auto& row : FailingCalls(objects)) {
    const QvshrCall call = row.first;
    const std::function<bool()>& succeeds = row.second;
    SCOPED_TRACE(testing::Message() << "call " << call);
    QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1);
    QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);
    const auto fourCalls = [&] {
      std::string answers;
      for (int i = 0; i < 4; ++i) answers += succeeds() ? '1' : '0';
      return answers;
    };
    EXPECT_EQ(fourCalls(), "1111");
    QvshrLedgerFailCall(call, 2, kQvshrFailOnce);
    EXPECT_EQ(fourCalls(), "1011");
    EXPECT_EQ(QvshrLedgerCallFired(call), 1u);
    QvshrLedgerFailCall(call, 2, kQvshrFailFromHere);
    EXPECT_EQ(fourCalls(), "1000");
    EXPECT_EQ(QvshrLedgerCallFired(call), 3u);
    QvshrLedgerFailCall(call, 0, kQvshrFailOnce);
    EXPECT_EQ(fourCalls(), "1111");
    EXPECT_EQ(QvshrLedgerCallFired(call), 0u);
  }
}

TEST_F(LedgerScriptTest, TheRegistrysOperationsFailByNameLikeTheTrees) {
  Objects objects;
  const std::vector<Operation> operations = Operations(objects);
  QvshrLedgerFailCall(kQvshrCallEnumValue, 1, kQvshrFailOnce);
  EXPECT_FALSE(operations[8].succeeds());
  EXPECT_TRUE(operations[8].succeeds());
  QvshrLedgerFailCall(kQvshrCallQueryStringValue, 1, kQvshrFailOnce);
  EXPECT_FALSE(operations[9].succeeds());
  EXPECT_TRUE(operations[9].succeeds());
  QvshrLedgerFailCall(kQvshrCallOpenRegistryKey, 1, kQvshrFailOnce);
  IQvRegKey* key = Untouched<IQvRegKey>();
  EXPECT_GT(QvshrOpenRegistryKey(HKEY_CURRENT_USER, objects.registryPath.Get(), KEY_READ, &key), 0)
      << "a failure that is no HRESULT: only 0 is a success";
  EXPECT_EQ(key, nullptr);
}

TEST_F(LedgerScriptTest, CallsAreCountedByNameUntilAReset) {
  Objects objects;
  QvshrLedgerReset();
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallAlloc), 0u);
  Allocations(3);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallAlloc), 3u);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallFree), 3u);
  (void)objects.name->GetText();
  (void)objects.name->GetLength();
  (void)objects.name->GetLength();
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallGetText), 1u);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallGetLength), 2u);
  EXPECT_EQ(QvshrLedgerCalls(9999), 0u);
  QvshrLedgerReset();
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallFree), 0u);
}

TEST_F(LedgerScriptTest, TextLengthAndFreeCannotFail) {
  Objects objects;
  for (const QvshrCall call : {kQvshrCallGetText, kQvshrCallGetLength, kQvshrCallFree}) {
    QvshrLedgerFailCall(call, 1, kQvshrFailFromHere);
  }
  EXPECT_STREQ(objects.name->GetText(), L"name");
  EXPECT_EQ(objects.name->GetLength(), 5);
  QvshrLedgerState before{};
  QvshrLedgerSnapshot(&before);
  QvshrFree(QvshrAlloc(8));
  QvshrLedgerState now{};
  QvshrLedgerSnapshot(&now);
  EXPECT_EQ(now.liveBlocks, before.liveBlocks);
  QvshrLedgerFailCall(9999, 1, kQvshrFailOnce);
  EXPECT_EQ(QvshrLedgerCallFired(9999), 0u);
}

// ---- scripted answers ----

std::wstring Setting(const wchar_t* section, const wchar_t* key) {
  wchar_t text[2000] = {};
  const int32_t written = QvshrGetSetting(section, key, L"fallback", text, 2000);
  EXPECT_EQ(static_cast<size_t>(written), std::wcslen(text));
  return text;
}

TEST_F(LedgerScriptTest, ASettingIsScriptedForASectionAKeyBothOrAny) {
  EXPECT_EQ(Setting(L"S", L"k"), L"fallback");
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"k", L"exact"), 1);
  EXPECT_EQ(Setting(L"S", L"k"), L"exact");
  EXPECT_EQ(Setting(L"s", L"K"), L"exact") << "compared without case";
  EXPECT_EQ(Setting(L"S", L"other"), L"fallback");
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", nullptr, L"any key"), 1);
  EXPECT_EQ(Setting(L"S", L"k"), L"any key") << "the latest fitting script counts";
  EXPECT_EQ(Setting(L"S", L"other"), L"any key");
  EXPECT_EQ(Setting(L"T", L"k"), L"fallback");
  EXPECT_EQ(QvshrLedgerOverrideSetting(nullptr, nullptr, L""), 1);
  EXPECT_EQ(Setting(L"T", L"x"), L"") << "an empty text is an answer";
  EXPECT_EQ(QvshrLedgerOverrideSetting(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", nullptr, nullptr), 1);
  EXPECT_EQ(Setting(L"S", L"k"), L"exact") << "the others were taken back";
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"k", nullptr), 1);
  EXPECT_EQ(Setting(L"S", L"k"), L"fallback");
}

TEST_F(LedgerScriptTest, AScriptedSettingIsCutToItsRoom) {
  QvshrLedgerOverrideSetting(L"S", L"k", L"abc");
  wchar_t text[3] = {L'#', L'#', L'#'};
  EXPECT_EQ(QvshrGetSetting(L"S", L"k", L"f", text, 2), 1);
  EXPECT_EQ(std::wstring(text, 3), std::wstring(L"a\0#", 3));
}

TEST_F(LedgerScriptTest, SixteenSettingsFitAndTextsHaveALimit) {
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", std::to_wstring(i).c_str(), L"x"), 1) << i;
  }
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"one more", L"x"), 0);
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"3", L"changed"), 1) << "one that is there already";
  EXPECT_EQ(Setting(L"S", L"3"), L"changed");
  QvshrLedgerReset();
  EXPECT_EQ(Setting(L"S", L"3"), L"fallback");
  const std::wstring most(1023, L't');
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"k", most.c_str()), 1);
  EXPECT_EQ(Setting(L"S", L"k"), most);
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", L"k", (most + L"t").c_str()), 0);
  EXPECT_EQ(QvshrLedgerOverrideSetting(std::wstring(64, L's').c_str(), L"k", L"x"), 0);
  EXPECT_EQ(QvshrLedgerOverrideSetting(L"S", std::wstring(64, L'k').c_str(), L"x"), 0);
}

TEST_F(LedgerScriptTest, FoldersAreScriptedByPlaceAndTheRequestIsKept) {
  wchar_t folder[300] = {};
  EXPECT_EQ(QvshrLedgerOverrideFolder(0, L"C:\\in use"), 1);
  EXPECT_EQ(QvshrLedgerOverrideFolder(1, L"C:\\default"), 1);
  EXPECT_NE(QvshrGetSpecialFolder(28, folder, 300, 1, 0), 0);
  EXPECT_STREQ(folder, L"C:\\in use");
  QvshrLedgerFolderRequest request{};
  QvshrLedgerLastFolderRequest(&request);
  EXPECT_EQ(request.folderId, 28);
  EXPECT_EQ(request.create, 1);
  EXPECT_EQ(request.useDefault, 0);
  EXPECT_EQ(request.capacity, 300);
  EXPECT_NE(QvshrGetSpecialFolder(5, folder, 200, 0, 1), 0);
  EXPECT_STREQ(folder, L"C:\\default");
  QvshrLedgerLastFolderRequest(&request);
  EXPECT_EQ(request.folderId, 5);
  EXPECT_EQ(request.useDefault, 1);
  EXPECT_EQ(QvshrGetSpecialFolder(28, folder, 9, 0, 0), 0) << "it does not fit with its null";
  EXPECT_NE(QvshrGetSpecialFolder(28, folder, 10, 0, 0), 0);
  EXPECT_EQ(QvshrLedgerOverrideFolder(0, L""), 1);
  EXPECT_EQ(QvshrGetSpecialFolder(28, folder, 300, 0, 0), 0) << "an empty text is a failure";
  EXPECT_EQ(QvshrLedgerOverrideFolder(0, nullptr), 1);
  EXPECT_NE(QvshrGetSpecialFolder(28, folder, 300, 0, 0), 0);
  EXPECT_STRNE(folder, L"C:\\in use") << "the real folder again";
  EXPECT_EQ(QvshrLedgerOverrideFolder(2, L"x"), 0);
  EXPECT_EQ(QvshrLedgerOverrideFolder(-1, L"x"), 0);
  EXPECT_EQ(QvshrLedgerOverrideFolder(0, std::wstring(1024, L'x').c_str()), 0);
}

TEST_F(LedgerScriptTest, SwitchesAreScriptedUntilTheyAreTakenBack) {
  for (const int32_t value : {1, 0, -7}) {
    QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, value);
    QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, value);
    EXPECT_EQ(QvshrIsWebDeployment(0), value);
    EXPECT_EQ(QvshrNoDetachQuery(), value);
  }
  QvshrLedgerClearInt(kQvshrCallIsWebDeployment);
  EXPECT_EQ(QvshrIsWebDeployment(0), 0);
  EXPECT_EQ(QvshrNoDetachQuery(), -7);
  QvshrLedgerReset();
  EXPECT_EQ(QvshrNoDetachQuery(), 0);
}

TEST_F(LedgerScriptTest, AResetTakesBackEverythingButBlocksAndGuard) {
  QvshrLedgerSetGuard(1);
  auto* const block = static_cast<char*>(QvshrAlloc(16));
  QvshrLedgerFailAt(1, kQvshrFailFromHere);
  QvshrLedgerFailCall(kQvshrCallCreateString, 1, kQvshrFailFromHere);
  QvshrLedgerOverrideFolder(0, L"C:\\x");
  int nobodys = 0;
  QvshrFree(&nobodys);
  QvshrLedgerState before{};
  QvshrLedgerSnapshot(&before);
  EXPECT_EQ(before.errors, 1u);
  QvshrLedgerReset();
  QvshrLedgerState now{};
  QvshrLedgerSnapshot(&now);
  EXPECT_EQ(now.errors, 0u);
  EXPECT_EQ(now.liveBlocks, before.liveBlocks);
  EXPECT_EQ(Allocations(2), "11");
  Text text;
  EXPECT_EQ(QvshrCreateString(L"x", text.Out()), 0);
  MEMORY_BASIC_INFORMATION page{};
  VirtualQuery(block + 16, &page, sizeof(page));
  EXPECT_NE(page.State, DWORD{MEM_COMMIT}) << "the guard page stays";
  QvshrFree(block);
  QvshrLedgerSetGuard(0);
}

}  // namespace
}  // namespace hosttest
