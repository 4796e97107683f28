// The option array from plain values: order, hooks, counts, and what happens when an entry is missing.
#include <climits>
#include <map>

#include "store/option_plan.h"
#include "store/secret.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class OptionPlanTest : public LedgerTest {};

TEST_F(OptionPlanTest, TheNumberOfOptionsIsFourMoreThanWhatIsConfigured) {
  EXPECT_EQ(qv::OptionCount(0, 0), 4);
  EXPECT_EQ(qv::OptionCount(2, 1), 7);
  EXPECT_EQ(qv::OptionCount(INT_MAX - 4, 0), INT_MAX);
  EXPECT_EQ(qv::OptionCount(INT_MAX - 5, 1), INT_MAX);
  EXPECT_EQ(qv::OptionCount(INT_MAX - 3, 0), -1);
  EXPECT_EQ(qv::OptionCount(INT_MAX, INT_MAX), -1);
}

TEST_F(OptionPlanTest, AThreadsClassPathStandsBeforeTheSystems) {
  EXPECT_EQ(qv::ClassPathOption(L"", L"a;b;.").View(), L"-Djava.class.path=a;b;.");
  EXPECT_EQ(qv::ClassPathOption(L"t.jar", L"a;b;.").View(), L"-Djava.class.path=t.jar;a;b;.");
  EXPECT_EQ(qv::ClassPathOption(L"t;", L"").View(), L"-Djava.class.path=t;;");
  EXPECT_EQ(qv::ClassPathOption(L"", L"").View(), L"-Djava.class.path=");
}

TEST_F(OptionPlanTest, APropertyIsItsNameAndValue) {
  EXPECT_EQ(qv::PropertyOption(L"java.compiler", L"NONE").View(), L"-Djava.compiler=NONE");
  EXPECT_EQ(qv::PropertyOption(L"a b", L"c=d").View(), L"-Da b=c=d");
  EXPECT_EQ(qv::PropertyOption(L"", L"v").View(), L"-D=v");
  EXPECT_EQ(qv::PropertyOption(L"n", L"").View(), L"-Dn=");
}

// ---- the array ----

// Property texts as the reader hands them over: host blocks in a host block.
class Properties {
 public:
  explicit Properties(const std::vector<std::wstring>& texts) {
    auto** const list = static_cast<wchar_t**>(QvshrAlloc(texts.size() * sizeof(wchar_t*)));
    for (size_t i = 0; i < texts.size(); ++i) {
      list[i] = static_cast<wchar_t*>(QvshrAlloc((texts[i].size() + 1) * sizeof(wchar_t)));
      std::copy_n(texts[i].c_str(), texts[i].size() + 1, list[i]);
    }
    m_texts.emplace(list, static_cast<int32_t>(texts.size()));
  }
  [[nodiscard]] const qv::PropertyTexts* Get() const { return &*m_texts; }

 private:
  std::optional<qv::PropertyTexts> m_texts;
};

struct Built {
  bool ok = false;
  int32_t count = -77;
  std::vector<std::string> texts;
  std::vector<void*> hooks;  // of entries 2 and 3
  bool arrayHandedOut = false;
};

Built Build(const qv::OptionSources& sources, const std::map<int32_t, std::wstring>& configured) {
  Built built;
  JavaVMOption* options = nullptr;
  const auto read = [&](int32_t index, qv::StringRef& text) {
    const auto at = configured.find(index);
    if (at == configured.end()) return false;
    text = qv::MakeString(at->second.c_str());
    return true;
  };
  built.ok = qv::BuildOptionArray(sources, read, &options, &built.count);
  built.arrayHandedOut = options != nullptr;
  for (int32_t i = 0; built.arrayHandedOut && i < built.count; ++i) {
    built.texts.emplace_back(options[i].optionString != nullptr ? options[i].optionString : "<null>");
    if (i == 2 || i == 3) built.hooks.push_back(options[i].extraInfo);
  }
  qv::FreeOptions(options, built.count);
  return built;
}

int g_vfprintfHook;
int g_exitHook;

TEST_F(OptionPlanTest, TheEntriesStandInTheirFixedOrder) {
  const Properties properties({L"-Dp=1", L"-Dq=2"});
  const Built built = Build({.threadClassPath = L"t.jar",
                             .classPath = L"a.jar;.",
                             .bootClassPathOption = L"-Xbootclasspath/a:x",
                             .vfprintfHook = &g_vfprintfHook,
                             .exitHook = &g_exitHook,
                             .configuredCount = 2,
                             .properties = properties.Get()},
                            {{0, L"-Xmx128m"}, {1, L"-verbose:jni"}});
  EXPECT_TRUE(built.ok);
  EXPECT_EQ(built.count, 8);
  EXPECT_EQ(built.texts, (std::vector<std::string>{"-Djava.class.path=t.jar;a.jar;.", "-Xbootclasspath/a:x", "vfprintf",
                                                   "exit", "-Xmx128m", "-verbose:jni", "-Dp=1", "-Dq=2"}));
  EXPECT_EQ(built.hooks, (std::vector<void*>{&g_vfprintfHook, &g_exitHook}));
  const Built fixed = Build({.classPath = L"."}, {});
  EXPECT_TRUE(fixed.ok);
  EXPECT_EQ(fixed.count, 4);
  EXPECT_EQ(fixed.texts, (std::vector<std::string>{"-Djava.class.path=.", "", "vfprintf", "exit"}));
  EXPECT_EQ(fixed.hooks, (std::vector<void*>{nullptr, nullptr}));
}

TEST_F(OptionPlanTest, AMissingConfiguredEntryIsFalseWithTheFullCountAndNoArray) {
  const Properties properties({L"-Dp=1"});
  for (const int32_t missing : {0, 1, 2}) {
    std::map<int32_t, std::wstring> configured = {{0, L"a"}, {1, L"b"}, {2, L"c"}};
    configured.erase(missing);
    const Built built = Build({.classPath = L".", .configuredCount = 3, .properties = properties.Get()}, configured);
    EXPECT_FALSE(built.ok) << missing;
    EXPECT_EQ(built.count, 8) << missing;
    EXPECT_FALSE(built.arrayHandedOut) << missing;
  }
}

TEST_F(OptionPlanTest, ACountThatDoesNotFitIsFalseWithNothingAllocated) {
  const Properties properties({L"-Dp=1"});
  for (const int32_t configured : {INT_MAX, INT_MAX - 3, INT_MAX - 4}) {
    const LedgerCheck ledger;
    const Built built = Build({.classPath = L".", .configuredCount = configured, .properties = properties.Get()}, {});
    EXPECT_FALSE(built.ok) << configured;
    EXPECT_EQ(built.count, -77) << configured;
    EXPECT_EQ(ledger.Allocations(), 0u) << configured;
  }
}

// A block of which only the first page can be touched: what is written or read behind it ends the test.
class UntouchableBlocks {
 public:
  [[nodiscard]] size_t Bytes() const { return m_bytes; }
  [[nodiscard]] bool Freed() const { return m_block == nullptr; }

 private:
  static constexpr size_t kLarge = size_t{1} << 30;

  void* m_block = nullptr;
  size_t m_bytes = 0;
  FunctionHook<void* (*)(size_t)> m_alloc{"qvshr.dll", 1, [this](size_t bytes) {
                                            if (bytes < kLarge) return m_alloc.Real(bytes);
                                            m_bytes = bytes;
                                            m_block = VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS);
                                            return VirtualAlloc(m_block, 4096, MEM_COMMIT, PAGE_READWRITE);
                                          }};
  FunctionHook<void (*)(void*)> m_free{"qvshr.dll", 2, [this](void* block) {
                                         if (block == nullptr || block != m_block) return m_free.Real(block);
                                         VirtualFree(std::exchange(m_block, nullptr), 0, MEM_RELEASE);
                                       }};
};

TEST_F(OptionPlanTest, AnArrayForManyMoreThanThereAreIsHadAndItsEmptyPartNeverTouched) {
  const UntouchableBlocks blocks;
  const Built built = Build({.classPath = L".", .configuredCount = INT_MAX - 4}, {{0, L"a"}, {1, L"b"}});
  EXPECT_FALSE(built.ok) << "entry 2 is missing";
  EXPECT_EQ(built.count, INT_MAX) << "the array was there";
  EXPECT_FALSE(built.arrayHandedOut);
  EXPECT_EQ(blocks.Bytes(), size_t{INT_MAX} * sizeof(JavaVMOption));
  EXPECT_TRUE(blocks.Freed());
}

TEST_F(OptionPlanTest, AnArrayThatCannotBeHadIsFalseAndTheCountIsLeftAsItWas) {
  const FailAllocation fault(1, kQvshrFailOnce);
  const Built built = Build({.classPath = L".", .configuredCount = 1}, {{0, L"a"}});
  EXPECT_FALSE(built.ok);
  EXPECT_EQ(built.count, -77);
  qv::FreeOptions(nullptr, 0);  // no array is freed as nothing
  qv::FreeOptions(nullptr, 7);
}

TEST_F(OptionPlanTest, ATextThatCannotBeConvertedIsFalse) {
  for (const uint64_t n : {1u, 2u, 3u, 4u, 5u}) {
    const FailCall fault(kQvshrCallWideToMultiByte, n);
    const Built built = Build({.classPath = L".", .configuredCount = 1}, {{0, L"-Xint"}});
    EXPECT_TRUE(fault.Fired()) << n;
    EXPECT_FALSE(built.ok) << n;
    EXPECT_FALSE(built.arrayHandedOut) << n;
    EXPECT_EQ(built.count, 5) << n;
  }
}

TEST_F(OptionPlanTest, TextsAreConvertedToTheAnsiCodePageAndKeptWhole) {
  const std::wstring path(100000, L'p');
  const Built built = Build({.classPath = L"C:\\gr\x00FC\x00DF.jar;.", .configuredCount = 1}, {{0, path}});
  ASSERT_TRUE(built.ok);
  char expected[64] = {};
  WideCharToMultiByte(CP_ACP, 0, L"-Djava.class.path=C:\\gr\x00FC\x00DF.jar;.", -1, expected, 64, nullptr, nullptr);
  EXPECT_EQ(built.texts[0], expected);
  EXPECT_TRUE(built.texts[4] == std::string(100000, 'p'));
  EXPECT_TRUE(Build({.classPath = path}, {}).texts.at(0) == "-Djava.class.path=" + std::string(100000, 'p'));
}

TEST(SecretTest, AnOptionIsToldUpToTheValueBehindANameThatSaysSecret) {
  const std::pair<std::wstring, const wchar_t*> hidden[] = {{L"-Djavax.net.ssl.keyStorePassword=", L"x"},
                                                            {L"-DPASSWD=", L"x"},
                                                            {L"-Ddb.pwd=", L"a=b"},
                                                            {L"-Dclient.Secret.key=", L"x"},
                                                            {L"-Dauth_token=", L"x,y"},
                                                            {L"-Daws.Credentials=", L"x"},
                                                            {L"-Dkey.passPhrase=", L""},
                                                            {L"-XX:SomePassword=", L"x"},
                                                            {L"--token=", L"x"},
                                                            {L"pwd=", L"x"},
                                                            {L"-agentlib:x=password=", L"y"},
                                                            {L"-agentlib:x=user=a,pwd=", L"b,port=1"},
                                                            {L"-javaagent:C:\\a.jar=secret=", L"b"},
                                                            {L"-Durl=jdbc:x://h/d?user=a&password=", L"b"},
                                                            {L"-Da password of b=", L"c"}};
  for (const auto& [told, value] : hidden) EXPECT_EQ(qv::WithoutSecret(told + value), told) << ToUtf8(told);
  for (const wchar_t* whole : {L"-Dpassword", L"-Duser=password", L"-Duser=secret,mode=x", L"-Dpass=word=x",
                               L"-Djava.class.path=C:\\token=1\\a.jar;C:\\secret=2",
                               L"-Xbootclasspath/a:C:\\token=1\\a.jar", L"-Xmx128m", L""}) {
    EXPECT_EQ(qv::WithoutSecret(whole), whole);
  }
}

}  // namespace
}  // namespace qvtest
