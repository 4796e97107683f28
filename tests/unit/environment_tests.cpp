// Environment variables as the service reads them: unit for unit, of any length, in a block that may change meanwhile.
#include "store/config_store.h"
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

TEST_F(EnvironmentReadTest, AVariableIsReadUnitForUnitAndWhole) {
  std::vector<std::wstring> values = {L"x",
                                      L" leading and trailing ",
                                      L";;C:\\a;;\"C:\\b c\";",
                                      L"%PATH%",
                                      L"a=b=c",
                                      L"\x00DC\x4E2D\xFFFD",
                                      L"\xD83D\xDE00 whole, \xD83D alone, \xDE00 alone",
                                      L"\xFFFF\x0001\t\n"};
  for (const size_t units : {1u, 1022u, 1023u, 1024u, 1025u, 2047u, 2048u, 2049u, 20000u, 32766u}) {
    values.push_back(std::wstring(units - 1, L'v') + L"E");
  }
  for (const std::wstring& value : values) {
    const EnvironmentScope variable(kName, value);
    EXPECT_TRUE(Read() == L"true: " + value) << value.size() << " units: " << ToUtf8(value.substr(0, 40));
  }
}

TEST_F(EnvironmentReadTest, AVariableOf1023UnitsFitsTheFirstBufferAndOneOf1024NeedsASecond) {
  for (const auto& [units, buffers] : {std::pair(1023u, 1u), {1024u, 2u}}) {
    const std::wstring value(units, L'v');
    const EnvironmentScope variable(kName, value);
    const LedgerCheck ledger;
    qv::HostArray<wchar_t> text;
    EXPECT_EQ(qv::ReadEnvironmentText(kName, text), qv::EnvironmentRead::Found);
    EXPECT_TRUE(text.get() == value);
    EXPECT_EQ(ledger.Allocations(), buffers) << units << " units";
    text.reset();
  }
}

TEST_F(EnvironmentReadTest, AnAbsentVariableAndAnEmptyOneReadAsAbsent) {
  for (const std::optional<std::wstring>& value : {std::optional<std::wstring>(), std::optional<std::wstring>(L"")}) {
    const EnvironmentScope variable(kName, value);
    EXPECT_EQ(Read(), L"false: <null>");
  }
}

TEST_F(EnvironmentReadTest, AVariableThatChangesBetweenTwoReadsIsReadUntilItFits) {
  const std::wstring a(1500, L'a');
  const std::wstring b(1502, L'b');
  const std::wstring d(6000, L'd');
  const struct {
    const char* name;
    std::vector<std::wstring> states;  // one for each call; the last one stays
    std::wstring want;
    size_t calls;
  } rows[] = {{"it grows", {a, std::wstring(3000, L'b'), std::wstring(4500, L'c'), d}, L"true: " + d, 5},
              {"it grows to fill the buffer exactly", {a, b}, L"true: " + b, 3},
              {"it shrinks", {a, L"short"}, L"true: short", 2},
              {"it vanishes", {a, L""}, L"false: <null>", 2}};
  for (const auto& row : rows) {
    size_t calls = 0;
    const FunctionHook<decltype(&GetEnvironmentVariableW)> variable(
        "GetEnvironmentVariableW", [&](LPCWSTR, LPWSTR buffer, DWORD capacity) {
          const std::wstring& state = row.states[std::min(calls++, row.states.size() - 1)];
          const auto units = static_cast<DWORD>(state.size());
          if (units == 0) return DWORD{0};
          if (units >= capacity) return units + 1;
          std::copy_n(state.c_str(), units + 1, buffer);
          return units;
        });
    EXPECT_TRUE(Read() == row.want) << row.name;
    EXPECT_EQ(calls, row.calls) << row.name << ": one call for each size, and one that fits";
  }
}

}  // namespace
}  // namespace qvtest
