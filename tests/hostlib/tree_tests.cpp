// Built-in trees: ordinal 5 and the operations of their key objects.
#include "tests/hostlib/host_build.h"
#include "tests/support/threads.h"

namespace hosttest {
namespace {

using Record = DefaultConfigRecord;

Record Open(const wchar_t* name) { return {kOpenKey, name, nullptr, {}}; }
Record Value(const wchar_t* name, const wchar_t* value) { return {kStringValue, name, value, {}}; }
Record Close() { return {kCloseKey, nullptr, nullptr, {}}; }
Record End() { return {kEndOfTable, nullptr, nullptr, {}}; }

std::vector<Record> SampleTable() {
  return {Open(L"Root"),
          Value(L"First", L"1"),
          Open(L"Java"),
          Value(L"Home", L"C:\\Java"),
          Open(L"Options"),
          Value(L"b", L"-Xmx128m"),
          Value(L"a", L""),
          Close(),
          Value(L"Version", L"17"),
          Close(),
          Open(L"Empty"),
          Close(),
          Value(L"Last", L"\u00DCber"),
          Close(),
          End()};
}

class TreeTest : public HostTest {
 public:
  Key OpenTable(const std::vector<Record>& table) const {
    Key key;
    EXPECT_EQ(host.OpenDefaultTree(table.data(), key.Out()), 0);
    return key;
  }
};
ON_BOTH_HOST_BUILDS(TreeTest);

TEST_P(TreeTest, TheKeyIsThatOfTheFirstRecordAndItsValuesComeInOrderAroundItsSubKeys) {
  const Key root = OpenTable(SampleTable());
  ASSERT_TRUE(root);
  EXPECT_EQ(Query(root, L"First"), L"1");
  EXPECT_EQ(Query(root, L"Last"), L"\u00DCber");
  EXPECT_EQ(Query(root, L"Home"), L"<none>") << "that is a value of a sub key";

  EXPECT_EQ(Walk(root), (Strings{L"First=1", L"Last=\u00DCber"}));
  EXPECT_EQ(Walk(OpenSub(root, L"Java")), (Strings{L"Home=C:\\Java", L"Version=17"}));
  const Key options = OpenSub(root, L"Java\\Options");
  EXPECT_EQ(Walk(options), (Strings{L"b=-Xmx128m", L"a="})) << "not sorted, and an empty text is a value";
  EXPECT_EQ(Enum(options, 1), L"a=");
  EXPECT_EQ(Enum(options, 0), L"b=-Xmx128m") << "in any order of indexes";
  EXPECT_EQ(Walk(OpenSub(root, L"Empty")), Strings{});
  for (const int32_t index : {-1, 2, 3, 1000000, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(Enum(root, index), L"<none>") << index;
  }
}

TEST_P(TreeTest, NamesAreComparedWithoutCase) {
  const Key root = OpenTable({Open(L"Root"), Open(L"J\x00E4va"), Value(L"H\x00F6me", L"x"), Close(), Close(), End()});
  const Key java = OpenSub(root, L"j\x00C4VA");
  ASSERT_TRUE(java);
  EXPECT_EQ(Query(java, L"h\x00D6ME"), L"x");
  EXPECT_EQ(Query(java, L"H\x00F6m"), L"<none>");
  EXPECT_EQ(Query(java, L"H\x00F6me "), L"<none>");
}

struct SubKeyCase {
  const wchar_t* path;
  const wchar_t* firstValue;  // "<no key>" when it cannot be opened
};

TEST_P(TreeTest, SubKeysOpenByPath) {
  const Key root = OpenTable(SampleTable());
  for (const SubKeyCase& row : {SubKeyCase{L"Java", L"Home=C:\\Java"},
                                {L"Java\\Options", L"b=-Xmx128m"},
                                {L"JAVA\\options", L"b=-Xmx128m"},
                                {L"Java\\Options\\", L"b=-Xmx128m"},
                                {L"", L"First=1"},
                                {L"Options", L"<no key>"},
                                {L"Root", L"<no key>"},
                                {L"Java\\Home", L"<no key>"},
                                {L"Java/Options", L"<no key>"},
                                {L"Java\\Options\\More", L"<no key>"},
                                {L"Empty\\Java", L"<no key>"},
                                {L"Jav", L"<no key>"},
                                {L"JavaX", L"<no key>"}}) {
    IQvRegKey* opened = Untouched<IQvRegKey>();
    const int32_t status = root->OpenSubKey(MakeText(row.path).Get(), KEY_QUERY_VALUE, &opened);
    EXPECT_EQ(status == 0, opened != nullptr) << row.path << " status " << status;
    EXPECT_LE(status, 0) << row.path;
    const Key key(opened);
    EXPECT_EQ(key ? Enum(key, 0) : L"<no key>", row.firstValue) << row.path;
  }
}

TEST_P(TreeTest, TheFirstOfTwoEqualNamesWins) {
  const Key root = OpenTable({Open(L"Root"), Value(L"v", L"first"), Value(L"V", L"second"), Value(L"w", L"other"),
                              Open(L"k"), Value(L"in", L"first key"), Close(), Open(L"K"), Value(L"in", L"second key"),
                              Close(), Close(), End()});
  EXPECT_EQ(Query(root, L"V"), L"first");
  EXPECT_EQ(Walk(root), (Strings{L"v=first", L"w=other"}));
  EXPECT_EQ(Enum(OpenSub(root, L"K"), 0), L"in=first key");
}

TEST_P(TreeTest, ANullValueIsAnEmptyTextAndAnEmptyNameIsAName) {
  const Key root = OpenTable({Open(L""), Value(L"", L"default"), Value(L"none", nullptr), Close(), End()});
  EXPECT_EQ(Query(root, L""), L"default");
  EXPECT_EQ(Enum(root, 1), L"none=");
}

TEST_P(TreeTest, ReservedBytesTheFieldsOfClosingRecordsAndWhatLiesBehindTheEndAreIgnored) {
  std::vector<Record> table = SampleTable();
  table.push_back({77, nullptr, nullptr, {}});

  for (Record& record : table) {
    std::fill(std::begin(record.reserved), std::end(record.reserved), uint8_t{0xEE});
    if (record.kind == kOpenKey) record.value = Untouched<const wchar_t>();
    if (record.kind == kCloseKey || record.kind == kEndOfTable) record.name = record.value = Untouched<const wchar_t>();
  }
  EXPECT_EQ(Enum(OpenTable(table), 1), L"Last=\u00DCber");
}

TEST_P(TreeTest, MalformedTablesAreFailures) {
  std::vector<Record> endless = {Open(L"Root")};
  endless.insert(endless.end(), 20000, Value(L"v", L"x"));
  std::vector<Record> deep(5000, Open(L"k"));
  deep.insert(deep.end(), 4999, Close());
  deep.insert(deep.end(), {Close(), End()});
  const struct {
    const char* name;
    std::vector<Record> table;
  } rows[] = {
      {"nothing but an end", {End()}},
      {"a value first", {Value(L"a", L"1"), End()}},
      {"a close first", {Close(), End()}},
      {"the root is not closed", {Open(L"Root"), End()}},
      {"a sub key is not closed", {Open(L"Root"), Open(L"k"), Close(), End()}},
      {"one close too many", {Open(L"Root"), Close(), Close(), End()}},
      {"a value behind the root", {Open(L"Root"), Close(), Value(L"a", L"1"), End()}},
      {"a second root", {Open(L"Root"), Close(), Open(L"Second"), Close(), End()}},
      {"a key without a name", {Open(L"Root"), Open(nullptr), Close(), Close(), End()}},
      {"the root has no name", {Open(nullptr), Close(), End()}},
      {"a value without a name", {Open(L"Root"), Value(nullptr, L"1"), Close(), End()}},
      {"kind 4", {Open(L"Root"), Record{4, L"a", L"b", {}}, Close(), End()}},
      {"kind -1", {Open(L"Root"), Record{-1, L"a", L"b", {}}, Close(), End()}},
      {"an unknown kind behind the root", {Open(L"Root"), Close(), Record{9, L"a", L"b", {}}, End()}},
      {"no end", endless},
      {"thousands of levels", deep},
  };
  for (const auto& row : rows) {
    IQvRegKey* key = Untouched<IQvRegKey>();
    EXPECT_LT(host.OpenDefaultTree(row.table.data(), &key), 0) << row.name;
    EXPECT_EQ(key, nullptr) << row.name;
  }
}

TEST_P(TreeTest, MissingArgumentsAreFailures) {
  IQvRegKey* key = Untouched<IQvRegKey>();
  EXPECT_LT(host.OpenDefaultTree(nullptr, &key), 0);
  EXPECT_EQ(key, nullptr);
  EXPECT_LT(host.OpenDefaultTree(SampleTable().data(), nullptr), 0);
  ExpectRefusesMissingArguments(OpenTable({Open(L"Root"), Value(L"x", L"1"), Open(L"x"), Close(), Close(), End()}));
}

TEST_P(TreeTest, ASubKeyKeepsTheTreeAliveAndTheTableMayGo) {
  Key options;
  {
    std::wstring name = L"Options";
    std::vector<Record> table = {Open(L"Root"), Open(name.c_str()), Value(L"a", L"kept"), Close(), Close(), End()};
    Key root = OpenTable(table);
    options = OpenSub(root, L"Options");
    table.assign(table.size(), Record{});
    name.assign(name.size(), L'X');
    EXPECT_EQ(root->AddRef(), 2u);
    EXPECT_EQ(root->Release(), 1u);
  }
  EXPECT_EQ(Query(options, L"a"), L"kept");
}

TEST_P(TreeTest, SixtyFourLevelsAndThousandsOfValuesAreFine) {
  std::vector<std::wstring> names;
  for (int i = 0; i < 5000; ++i) names.push_back(L"value" + std::to_wstring(i));
  std::vector<Record> table(64, Open(L"k"));
  for (const std::wstring& name : names) table.push_back(Value(name.c_str(), name.c_str()));
  table.insert(table.end(), 64, Close());
  table.push_back(End());
  const Key root = OpenTable(table);
  std::wstring path = L"k";
  for (int i = 1; i < 63; ++i) path += L"\\K";
  const Key deepest = OpenSub(root, path);
  ASSERT_TRUE(deepest);
  EXPECT_EQ(Enum(deepest, 4999), L"value4999=value4999");
  EXPECT_EQ(Enum(deepest, 5000), L"<none>");
}

TEST_P(TreeTest, ThreadsShareAKey) {
  const Key root = OpenTable(SampleTable());
  qvtest::OnThreads(4, [&](int) {
    for (int n = 0; n < 500; ++n) {
      ASSERT_EQ(Query(OpenSub(root, L"Java"), L"version"), L"17");
      ASSERT_EQ(Enum(root, 1), L"Last=\u00DCber");
    }
  });
  EXPECT_EQ(root->AddRef(), 2u);
  EXPECT_EQ(root->Release(), 1u);
}

}  // namespace
}  // namespace hosttest
