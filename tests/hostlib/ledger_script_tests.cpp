// What a test can script in the ledger build: failing allocations and calls, settings, folders, switches.
#include <functional>

#include "host/host_memory.h"
#include "tests/hostlib/host_build.h"
#include "tests/support/ledger_check.h"
#include "tests/support/registry_sandbox.h"

namespace hosttest {
namespace {

using qvtest::Books;
using qvtest::Hive;
using qvtest::RegistrySandbox;

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

TEST_F(LedgerScriptTest, ANewScriptCountsFromNowAndFailedAllocationsAreCounted) {
  QvshrLedgerFailAt(3, kQvshrFailOnce);
  EXPECT_EQ(Allocations(2), "11");
  QvshrLedgerFailAt(3, kQvshrFailOnce);
  EXPECT_EQ(Allocations(4), "1101");
  const QvshrLedgerState before = Books();
  QvshrLedgerFailAt(2, kQvshrFailOnce);
  Allocations(3);
  EXPECT_EQ(QvshrAlloc(SIZE_MAX), nullptr);
  const QvshrLedgerState now = Books();
  EXPECT_EQ(now.failedAllocations, before.failedAllocations + 2) << "the scripted one and the real one";
  EXPECT_EQ(now.totalAllocations, before.totalAllocations + 2);
}

// ---- failing operations ----

constexpr DefaultConfigRecord kTable[] = {{kOpenKey, L"Root", nullptr, {}},      {kOpenKey, L"Sub", nullptr, {}},
                                          {kStringValue, L"name", L"value", {}}, {kCloseKey, nullptr, nullptr, {}},
                                          {kCloseKey, nullptr, nullptr, {}},     {kEndOfTable, nullptr, nullptr, {}}};

// What operations on objects need: a tree's root and its key "Sub", and a key of the registry with a large value.
struct Objects {
  Objects() {
    registry.SetText(Hive::User, L"", L"name", std::wstring(3000, L'x'));
    EXPECT_EQ(QvshrCreateString(L"Sub", sub.Out()), 0);
    EXPECT_EQ(QvshrCreateString(L"name", name.Out()), 0);
    EXPECT_EQ(QvshrCreateString(registry.Path(Hive::User).c_str(), registryPath.Out()), 0);
    EXPECT_EQ(QvshrOpenDefaultTree(kTable, root.Out()), 0);
    EXPECT_EQ(root->OpenSubKey(sub.Get(), KEY_READ, key.Out()), 0);
    EXPECT_EQ(QvshrOpenRegistryKey(HKEY_CURRENT_USER, registryPath.Get(), KEY_READ, registryKey.Out()), 0);
  }

  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
  Text sub;
  Text name;
  Text registryPath;
  Key root;
  Key key;
  Key registryKey;
};

// A call with one object as its result: true on success; a failure must be negative and leave null.
template <class T, class Call>
bool Gives(Call&& call) {
  T* out = Untouched<T>();
  const int32_t status = call(&out);
  EXPECT_EQ(status == 0, out != nullptr) << status;
  EXPECT_LE(status, 0);
  if (out != nullptr) out->Release();
  return status == 0;
}

// A call of an operation that can fail; `allocates` when it needs memory of its own.
struct Operation {
  const char* name;
  QvshrCall call;
  bool allocates;
  std::function<bool()> succeeds;  // false: the failure that the contract names
};

std::vector<Operation> Operations(const Objects& objects) {
  static wchar_t buffer[300];
  const auto query = [&](const Key& key) {
    return Gives<IQvString>([&](auto** out) { return key->QueryStringValue(objects.name.Get(), out); });
  };
  const auto walk = [](const Key& key) {
    IQvString* name = Untouched<IQvString>();
    const bool given = Gives<IQvString>([&](auto** value) { return key->EnumValue(0, &name, value); });
    EXPECT_EQ(name != nullptr, given);
    if (name != nullptr) name->Release();
    return given;
  };
  return {
      {"Alloc", kQvshrCallAlloc, false, [] { return qv::HostPtr<void>(QvshrAlloc(16)) != nullptr; }},
      {"CreateString", kQvshrCallCreateString, true,
       [] { return Gives<IQvString>([](auto** out) { return QvshrCreateString(L"x", out); }); }},
      {"OpenDefaultTree", kQvshrCallOpenDefaultTree, true,
       [] { return Gives<IQvRegKey>([](auto** out) { return QvshrOpenDefaultTree(kTable, out); }); }},
      {"OpenRegistryKey", kQvshrCallOpenRegistryKey, true,
       [&] {
         return Gives<IQvRegKey>([&](auto** out) {
           // Its failures are no HRESULT: only 0 is a success.
           return -QvshrOpenRegistryKey(HKEY_CURRENT_USER, objects.registryPath.Get(), KEY_READ, out);
         });
       }},
      {"WideToMultiByte", kQvshrCallWideToMultiByte, true,
       [] { return qv::HostPtr<char>(QvshrWideToMultiByte(L"x", 0)) != nullptr; }},
      {"Concat", kQvshrCallConcat, true,
       [&] { return Gives<IQvString>([&](auto** out) { return objects.sub->Concat(objects.name.Get(), out); }); }},
      {"OpenSubKey of a tree", kQvshrCallOpenSubKey, true,
       [&] {
         return Gives<IQvRegKey>(
             [&](auto** out) { return objects.root->OpenSubKey(objects.sub.Get(), KEY_READ, out); });
       }},
      {"EnumValue of a tree", kQvshrCallEnumValue, true, [&, walk] { return walk(objects.key); }},
      {"QueryStringValue of a tree", kQvshrCallQueryStringValue, true, [&, query] { return query(objects.key); }},
      {"EnumValue of the registry", kQvshrCallEnumValue, true, [&, walk] { return walk(objects.registryKey); }},
      {"QueryStringValue of the registry", kQvshrCallQueryStringValue, true,
       [&, query] { return query(objects.registryKey); }},
      {"GetDirectory", kQvshrCallGetDirectory, false, [] { return QvshrGetDirectory(L"C:\\a\\b", buffer, 300) == 4; }},
      {"GetFileName", kQvshrCallGetFileName, false, [] { return QvshrGetFileName(L"C:\\a\\b", buffer, 300) == 1; }},
      {"GetSpecialFolder", kQvshrCallGetSpecialFolder, false,
       [] { return QvshrGetSpecialFolder(28, buffer, 300, 0, 0) != 0; }},
      {"GetSetting", kQvshrCallGetSetting, false,
       [] { return QvshrGetSetting(L"S", L"key", L"fallback", buffer, 300) == 8; }},
      {"IsWebDeployment", kQvshrCallIsWebDeployment, false, [] { return QvshrIsWebDeployment(0) == 1; }},
      {"NoDetachQuery", kQvshrCallNoDetachQuery, false, [] { return QvshrNoDetachQuery() == 1; }},
  };
}

TEST_F(LedgerScriptTest, TheLibrarysOwnAllocationsFailToo) {
  const Objects objects;
  for (const Operation& operation : Operations(objects)) {
    if (!operation.allocates) continue;
    SCOPED_TRACE(operation.name);
    const qvtest::LedgerCheck books;
    qvtest::SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
      const qvtest::FailAllocation fault(n, mode);
      const bool succeeded = operation.succeeds();
      EXPECT_EQ(succeeded, !fault.Fired());
      return fault.Fired();
    });
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

TEST_F(LedgerScriptTest, TheNthCallOfAnOperationFailsOnceOrFromThereOn) {
  const Objects objects;
  for (const Operation& operation : Operations(objects)) {
    SCOPED_TRACE(operation.name);
    QvshrLedgerOverrideInt(kQvshrCallIsWebDeployment, 1);
    QvshrLedgerOverrideInt(kQvshrCallNoDetachQuery, 1);
    const auto fourCalls = [&] {
      std::string answers;
      for (int i = 0; i < 4; ++i) answers += operation.succeeds() ? '1' : '0';
      return answers;
    };
    EXPECT_EQ(fourCalls(), "1111");
    QvshrLedgerFailCall(operation.call, 2, kQvshrFailOnce);
    EXPECT_EQ(fourCalls(), "1011");
    EXPECT_EQ(QvshrLedgerCallFired(operation.call), 1u);
    QvshrLedgerFailCall(operation.call, 2, kQvshrFailFromHere);
    EXPECT_EQ(fourCalls(), "1000");
    EXPECT_EQ(QvshrLedgerCallFired(operation.call), 3u);
    QvshrLedgerFailCall(operation.call, 0, kQvshrFailOnce);
    EXPECT_EQ(fourCalls(), "1111");
    EXPECT_EQ(QvshrLedgerCallFired(operation.call), 0u);
  }
}

TEST_F(LedgerScriptTest, AFailedOpeningOfTheRegistryIsNoHresult) {
  const Objects objects;
  QvshrLedgerFailCall(kQvshrCallOpenRegistryKey, 1, kQvshrFailOnce);
  IQvRegKey* key = Untouched<IQvRegKey>();
  EXPECT_GT(QvshrOpenRegistryKey(HKEY_CURRENT_USER, objects.registryPath.Get(), KEY_READ, &key), 0)
      << "only 0 is a success";
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
  const QvshrLedgerState before = Books();
  QvshrFree(QvshrAlloc(8));
  const QvshrLedgerState now = Books();
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

TEST_F(LedgerScriptTest, ASettingIsScriptedUntilAResetAndCutToItsRoom) {
  EXPECT_EQ(Setting(L"S", L"k"), L"fallback");
  for (const std::wstring& text : {std::wstring(L"first"), std::wstring(), std::wstring(1500, L't')}) {
    QvshrLedgerOverrideSetting(L"S", L"k", text.c_str());
    EXPECT_EQ(Setting(L"S", L"k"), text);
    EXPECT_EQ(Setting(L"s", L"K"), text) << "compared without case";
    EXPECT_EQ(Setting(L"S", L"other"), L"fallback");
    EXPECT_EQ(Setting(L"T", L"k"), L"fallback");
  }
  wchar_t text[3] = {L'#', L'#', L'#'};
  EXPECT_EQ(QvshrGetSetting(L"S", L"k", L"f", text, 2), 1);
  EXPECT_EQ(std::wstring(text, 3), std::wstring(L"t\0#", 3));
  QvshrLedgerReset();
  EXPECT_EQ(Setting(L"S", L"k"), L"fallback");
}

TEST_F(LedgerScriptTest, FoldersAreScriptedByPlaceAndTheRequestIsKept) {
  wchar_t folder[300] = {};
  QvshrLedgerOverrideFolder(0, L"C:\\in use");
  QvshrLedgerOverrideFolder(1, L"C:\\default");
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
  QvshrLedgerOverrideFolder(0, L"");
  EXPECT_EQ(QvshrGetSpecialFolder(28, folder, 300, 0, 0), 0) << "an empty text is a failure";
  QvshrLedgerOverrideFolder(0, nullptr);
  EXPECT_NE(QvshrGetSpecialFolder(28, folder, 300, 0, 0), 0);
  EXPECT_STRNE(folder, L"C:\\in use") << "the real folder again";
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
  const QvshrLedgerState before = Books();
  EXPECT_EQ(before.errors, 1u);
  QvshrLedgerReset();
  const QvshrLedgerState now = Books();
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
