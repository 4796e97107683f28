// The built-in configuration, record by record and as the host library presents it.
#include <cstring>

#include "store/config_store.h"
#include "store/default_tree.h"
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

constexpr struct {
  int32_t kind;
  const wchar_t* name;
  const wchar_t* value;
} kRecords[] = {
    {0, L"ROOT", nullptr},
    {0, L"Java", nullptr},
    {0, L"QVRTConfig", nullptr},
    {0, L"QVSysclasspath", nullptr},
    {1, L"Count", L"10"},
    {1, L"0", L"\\fop-0.20.5\\build\\fop.jar"},
    {1, L"1", L"\\fop-0.20.5\\lib\\batik.jar"},
    {1, L"2", L"\\fop-0.20.5\\lib\\xalan-2.4.1.jar"},
    {1, L"3", L"\\fop-0.20.5\\lib\\xercesImpl-2.2.1.jar"},
    {1, L"4", L"\\fop-0.20.5\\lib\\xml-apis.jar"},
    {1, L"5", L"\\fop-0.20.5\\lib\\avalon-framework-cvs-20020806.jar"},
    {1, L"6", L"\\fop-0.20.5\\lib\\logkit-1.0.jar"},
    {1, L"7", L"\\fop-0.20.5\\lib\\jimi-1.0.jar"},
    {1, L"8", L"\\qvejbclient.jar"},
    {1, L"9", L"\\qvjdbc12.jar"},
    {2, nullptr, nullptr},
    {0, L"QVJVMConfig", nullptr},
    {1, L"Count", L"2"},
    {1, L"0", L"-Xmx128m"},
    {1, L"1", L"-verbose:jni"},
    {2, nullptr, nullptr},
    {0, L"QVJVMprops", nullptr},
    {1, L"java.compiler", L"NONE"},
    {2, nullptr, nullptr},
    {2, nullptr, nullptr},
    {2, nullptr, nullptr},
    {2, nullptr, nullptr},
    {3, nullptr, nullptr},
};

std::wstring OrNone(const wchar_t* text) { return text != nullptr ? text : L"<null>"; }

TEST(DefaultTreeTest, EveryRecordIsAsHostsKnowIt) {
  ASSERT_EQ(std::size(qv::g_DefaultConfigTree), 28u);
  ASSERT_EQ(std::size(kRecords), 28u);
  for (size_t i = 0; i < std::size(kRecords); ++i) {
    const DefaultConfigRecord& record = qv::g_DefaultConfigTree[i];
    EXPECT_EQ(record.kind, kRecords[i].kind) << "record " << i;
    EXPECT_EQ(OrNone(record.name), OrNone(kRecords[i].name)) << "record " << i;
    EXPECT_EQ(OrNone(record.value), OrNone(kRecords[i].value)) << "record " << i;
    for (const uint8_t byte : record.reserved) EXPECT_EQ(byte, 0) << "record " << i;
  }
}

TEST(DefaultTreeTest, TheTableHasThePackedLayoutThatTheHostLibraryReads) {
  EXPECT_EQ(sizeof(qv::g_DefaultConfigTree), 1008u);
  const auto* const bytes = reinterpret_cast<const std::byte*>(qv::g_DefaultConfigTree);
  const auto pointerAt = [&](size_t offset) {
    const wchar_t* text = nullptr;
    std::memcpy(&text, bytes + offset, sizeof(text));
    return std::wstring(text);
  };
  EXPECT_EQ(pointerAt(4 * 36 + 4), L"Count");
  EXPECT_EQ(pointerAt(4 * 36 + 12), L"10");
  EXPECT_EQ(pointerAt(22 * 36 + 4), L"java.compiler");
  EXPECT_EQ(pointerAt(22 * 36 + 12), L"NONE");
}

class OpenedTreeTest : public LedgerTest {
 protected:
  OpenedTreeTest() { EXPECT_TRUE(qv::OpenDefaultTree(m_root)); }
  [[nodiscard]] bool Opens(const wchar_t* path) const {
    qv::KeyRef key;
    return qv::OpenSubKey(*m_root, path, key);
  }
  [[nodiscard]] std::vector<std::wstring> ValuesOf(const wchar_t* path) const {
    qv::KeyRef key;
    std::vector<std::wstring> values;
    if (!qv::OpenSubKey(*m_root, path, key)) return {L"<no key>"};
    qv::StringRef name;
    qv::StringRef value;
    while (key->EnumValue(static_cast<int32_t>(values.size()), name.Out(), value.Out()) >= 0) {
      values.push_back(TextOf(name.Get()) + L"=" + TextOf(value.Get()));
    }
    return values;
  }

  qv::KeyRef m_root;
};

TEST_F(OpenedTreeTest, ThePathOfTheOptionListFindsTheKeyThatIsSpelledWithACapital) {
  EXPECT_EQ(ValuesOf(L"Java\\QVRTConfig\\QVJVMconfig"),
            (std::vector<std::wstring>{L"Count=2", L"0=-Xmx128m", L"1=-verbose:jni"}));
}

TEST_F(OpenedTreeTest, ValuesComeInRecordOrder) {
  std::vector<std::wstring> archives = {L"Count=10"};
  for (size_t i = 5; i < 15; ++i) archives.push_back(std::wstring(kRecords[i].name) + L"=" + kRecords[i].value);
  EXPECT_EQ(ValuesOf(L"Java\\QVRTConfig\\QVSysclasspath"), archives);
  EXPECT_EQ(ValuesOf(L"Java\\QVRTConfig\\QVJVMprops"), (std::vector<std::wstring>{L"java.compiler=NONE"}));
}

TEST_F(OpenedTreeTest, PathsAreRelativeToTheRootKeyAndThereIsNoDevelopmentConfiguration) {
  EXPECT_TRUE(Opens(L"Java"));
  EXPECT_TRUE(Opens(L"java\\qvrtconfig\\qvjvmPROPS"));
  EXPECT_FALSE(Opens(L"ROOT\\Java"));
  EXPECT_FALSE(Opens(L"Java\\QVIDEConfig"));
  EXPECT_FALSE(Opens(L"Java\\QVRTConfig\\QVSysclasspath\\0"));
  EXPECT_FALSE(Opens(L"ClassPath"));
}

TEST_F(OpenedTreeTest, ATreeThatComesWithAPositiveStatusIsOpen) {
  FakeKey tree;
  for (const auto& [status, opens] : {std::pair(0, true), {1, true}, {INT32_MAX, true}, {-1, false}}) {
    const FakeTree hook(tree, status);
    qv::KeyRef key;
    EXPECT_EQ(qv::OpenDefaultTree(key), opens) << status;
  }
  EXPECT_EQ(tree.references, 1u);
}

}  // namespace
}  // namespace qvtest
