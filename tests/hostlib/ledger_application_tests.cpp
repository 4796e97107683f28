// Values that the running process brings, when memory is out: a call does all or nothing, and nothing is left behind.
#include "base/procedure.h"
#include "host/host_ref.h"
#include "hostlib/application.h"
#include "tests/support/ledger_check.h"

namespace hosttest {
namespace {

constexpr wchar_t kKey[] = L"HKCU\\QvTests\\NoSuchKey\\A";

int32_t Set(const wchar_t* name, const wchar_t* value) {
  static const auto set = qv::FindProcedure<decltype(&QvshrSetApplicationValue)>(GetModuleHandleW(L"qvshr.dll"),
                                                                                 "QvshrSetApplicationValue");
  return set(kKey, name, value);
}

std::wstring ValueOfA() {
  qv::StringRef path;
  qv::StringRef name;
  qv::KeyRef above;
  qv::KeyRef key;
  qv::StringRef value;
  if (QvshrCreateString(L"QvTests\\NoSuchKey", path.Out()) < 0) return L"no memory";
  if (QvshrOpenRegistryKey(HKEY_CURRENT_USER, path.Get(), KEY_READ, above.Out()) != 0) return L"no memory";
  if (QvshrCreateString(L"a", name.Out()) < 0) return L"no memory";
  if (above->OpenSubKey(name.Get(), KEY_READ, key.Out()) < 0) return L"no memory";
  return key->QueryStringValue(name.Get(), value.Out()) < 0 ? L"no memory" : value->GetText();
}

TEST(LedgerApplicationTest, ACallWithoutMemoryChangesNothingAndTheLastKeyLeavesNoBlock) {
  const qvtest::GuardPages guard;
  const qvtest::LedgerCheck check;
  ASSERT_EQ(Set(L"a", L"old"), QV_S_OK);
  const uint64_t failed = qvtest::SweepAllocations([](uint64_t n, QvshrLedgerMode mode) {
    bool fired = false;
    int32_t status = 0;
    {
      const qvtest::FailAllocation fault(n, mode);
      status = Set(L"a", L"new");
      fired = fault.Fired();
    }
    EXPECT_EQ(status, fired ? QV_E_OUTOFMEMORY : QV_S_OK);
    EXPECT_EQ(ValueOfA(), fired ? L"old" : L"new");
    EXPECT_EQ(Set(L"a", L"old"), QV_S_OK);
    return fired;
  });
  EXPECT_GT(failed, 0u);
  EXPECT_EQ(Set(nullptr, nullptr), QV_S_OK);
}

TEST(LedgerApplicationTest, OpeningAndReadingWithoutMemoryFailsAndLeavesNothing) {
  const qvtest::GuardPages guard;
  const qvtest::LedgerCheck check;
  ASSERT_EQ(Set(L"a", L"text"), QV_S_OK);
  qvtest::SweepAllocations([](uint64_t n, QvshrLedgerMode mode) {
    const qvtest::FailAllocation fault(n, mode);
    const std::wstring value = ValueOfA();
    EXPECT_EQ(value, fault.Fired() ? L"no memory" : L"text");
    return fault.Fired();
  });
  EXPECT_EQ(Set(nullptr, nullptr), QV_S_OK);
}

}  // namespace
}  // namespace hosttest
