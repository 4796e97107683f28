// Environment variables as the service reads them: unit for unit, of any length, in a block that may change meanwhile.
#include <vector>

#include "store/config_store.h"
#include "tests/support/import_hook.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

constexpr wchar_t kName[] = L"QV_UNIT_VARIABLE";

class EnvironmentReadTest : public LedgerTest {
 protected:
  static std::wstring Read() {
    const ConfigObject config;
    return ResultAndText([&](IQvString** text) { return config->ReadEnvironmentVariable(kName, text); });
  }
};

TEST_F(EnvironmentReadTest, AVariableIsReadUnitForUnit) {
  for (const std::wstring& value :
       {std::wstring(L"x"), std::wstring(L" leading and trailing "), std::wstring(L";;C:\\a;;\"C:\\b c\";"),
        std::wstring(L"%PATH%"), std::wstring(L"a=b=c"), std::wstring(L"\x00DC\x4E2D\xFFFD"),
        std::wstring(L"\xD83D\xDE00 whole, \xD83D alone, \xDE00 alone"), std::wstring(L"\xFFFF\x0001\t\n")}) {
    const EnvironmentScope variable(kName, value);
    EXPECT_EQ(Read(), L"true: " + value);
  }
}

TEST_F(EnvironmentReadTest, AVariableOfAnyLengthIsReadWhole) {
  for (const size_t units : {1u, 1022u, 1023u, 1024u, 1025u, 2047u, 2048u, 2049u, 20000u, 32766u}) {
    const std::wstring value = std::wstring(units - 1, L'v') + L"E";
    const EnvironmentScope variable(kName, value);
    EXPECT_TRUE(Read() == L"true: " + value) << units << " units";
  }
}

TEST_F(EnvironmentReadTest, AVariableOfExactly1024UnitsIsReadWithASecondBuffer) {
  const std::wstring value(1024, L'v');
  const EnvironmentScope variable(kName, value);
  const LedgerCheck ledger;
  qv::HostArray<wchar_t> text;
  EXPECT_EQ(qv::ReadEnvironmentText(kName, text), qv::EnvironmentRead::Found);
  EXPECT_TRUE(text.get() == value);
  EXPECT_EQ(ledger.Allocations(), 2u);
  text.reset();
}

TEST_F(EnvironmentReadTest, AVariableOf1023UnitsFitsTheFirstBuffer) {
  const EnvironmentScope variable(kName, std::wstring(1023, L'v'));
  const LedgerCheck ledger;
  qv::HostArray<wchar_t> text;
  EXPECT_EQ(qv::ReadEnvironmentText(kName, text), qv::EnvironmentRead::Found);
  EXPECT_EQ(ledger.Allocations(), 1u);
  text.reset();
}

TEST_F(EnvironmentReadTest, AnAbsentVariableAndAnEmptyOneReadAsAbsent) {
  {
    const EnvironmentScope variable(kName, std::nullopt);
    EXPECT_EQ(Read(), L"false: <null>");
  }
  const EnvironmentScope variable(kName, L"");
  EXPECT_EQ(Read(), L"false: <null>");
}

// What GetEnvironmentVariableW finds, one state for each call; the last one stays.
class ChangingVariable {
 public:
  explicit ChangingVariable(std::vector<std::wstring> states) : m_hook(nullptr, "GetEnvironmentVariableW", &Answer) {
    s_states = std::move(states);
    s_calls = 0;
  }
  [[nodiscard]] size_t Calls() const { return s_calls; }

 private:
  static DWORD WINAPI Answer(LPCWSTR, LPWSTR buffer, DWORD capacity) {
    const std::wstring& state = s_states[std::min(s_calls++, s_states.size() - 1)];
    const auto units = static_cast<DWORD>(state.size());
    if (units == 0) return 0;
    if (units >= capacity) return units + 1;
    std::copy_n(state.c_str(), units + 1, buffer);
    return units;
  }

  static inline std::vector<std::wstring> s_states;
  static inline size_t s_calls = 0;
  ImportHook m_hook;
};

TEST_F(EnvironmentReadTest, AVariableThatGrowsBetweenTwoReadsIsReadAgain) {
  const ChangingVariable variable(
      {std::wstring(1500, L'a'), std::wstring(3000, L'b'), std::wstring(4500, L'c'), std::wstring(6000, L'd')});
  EXPECT_TRUE(Read() == L"true: " + std::wstring(6000, L'd'));
  EXPECT_EQ(variable.Calls(), 5u) << "one call for each size, and one that fits";
}

TEST_F(EnvironmentReadTest, AVariableThatGrowsToFillTheBufferExactlyIsReadAgain) {
  const ChangingVariable variable({std::wstring(1500, L'a'), std::wstring(1502, L'b')});
  EXPECT_TRUE(Read() == L"true: " + std::wstring(1502, L'b'));
}

TEST_F(EnvironmentReadTest, AVariableThatShrinksBetweenTwoReadsIsReadAsItIsThen) {
  const ChangingVariable variable({std::wstring(1500, L'a'), L"short"});
  EXPECT_EQ(Read(), L"true: short");
}

TEST_F(EnvironmentReadTest, AVariableThatVanishesBetweenTwoReadsIsAbsent) {
  const ChangingVariable variable({std::wstring(1500, L'a'), L""});
  EXPECT_EQ(Read(), L"false: <null>");
  EXPECT_EQ(variable.Calls(), 2u);
}

TEST_F(EnvironmentReadTest, WithoutMemoryForItsTextTheVariableStillExists) {
  const EnvironmentScope variable(kName, L"x");
  const FailCall fault(kQvshrCallCreateString, 1);
  EXPECT_EQ(Read(), L"true: <null>");
}

TEST_F(EnvironmentReadTest, WithoutMemoryForABufferTheResultIsFalse) {
  const EnvironmentScope variable(kName, std::wstring(5000, L'v'));
  for (const uint64_t n : {1u, 2u}) {
    const ConfigObject config;
    IQvString* text = nullptr;
    const FailAllocation fault(n, kQvshrFailOnce);
    EXPECT_FALSE(config->ReadEnvironmentVariable(kName, &text)) << "allocation " << n;
    EXPECT_TRUE(fault.Fired());
    EXPECT_EQ(text, nullptr);
  }
}

}  // namespace
}  // namespace qvtest
