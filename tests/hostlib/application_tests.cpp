// Values that the running process brings: QvshrSetApplicationValue, over a key of the test's own in the registry.
#include <atomic>

#include "tests/hostlib/host_build.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/threads.h"

namespace hosttest {
namespace {

using qvtest::Hive;
using qvtest::RegistrySandbox;

class ApplicationTest : public HostTest {
 public:
  ~ApplicationTest() override {
    for (const wchar_t* key : {L"", L"\\A", L"\\B", L"\\A\\Below"}) Set(key, nullptr, nullptr);
  }

  int32_t Set(const std::wstring& below, const wchar_t* name, const wchar_t* value) const {
    return host.SetApplicationValue((L"HKCU\\" + path + below).c_str(), name, value);
  }
  Key Open(const std::wstring& below) const {
    Key key;
    host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(path + below).Get(), KEY_READ, key.Out());
    return key;
  }
  Strings WalkBelow(const std::wstring& below) const {
    const Key key = Open(below);
    return key ? Walk(key) : Strings{L"<no key>"};
  }

  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
  const std::wstring path = registry.Path(Hive::User);
};
ON_BOTH_HOST_BUILDS(ApplicationTest);

TEST_P(ApplicationTest, AKeyIsWholeAndInTheOrderOfItsFirstValues) {
  registry.SetText(Hive::User, L"A", L"registry", L"x");
  EXPECT_EQ(Set(L"\\A", L"z", L"1"), 0);
  EXPECT_EQ(Set(L"\\A", L"a", L"2"), 0);
  EXPECT_EQ(Set(L"\\a", L"Z", L"3"), 0);
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"Z=3", L"a=2"}));
  EXPECT_EQ(Query(Open(L"\\A"), L"z"), L"3");
  EXPECT_EQ(Query(Open(L"\\A"), L"registry"), L"<none>");
  EXPECT_EQ(Enum(Open(L"\\A"), -1), L"<none>");
  EXPECT_EQ(Enum(Open(L"\\A"), 2), L"<none>");
  EXPECT_EQ(Enum(Open(L"\\A"), INT32_MAX), L"<none>");
}

TEST_P(ApplicationTest, ANullValueRemovesTheValueAndANullNameTheKey) {
  registry.SetText(Hive::User, L"A", L"registry", L"x");
  EXPECT_EQ(Set(L"\\A", L"a", nullptr), 0) << "it is not there";
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"registry=x"}));
  Set(L"\\A", L"a", L"1");
  Set(L"\\A", L"b", L"2");
  EXPECT_EQ(Set(L"\\A", L"A", nullptr), 0);
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"b=2"}));
  EXPECT_EQ(Set(L"\\A", L"b", nullptr), 0);
  EXPECT_EQ(WalkBelow(L"\\A"), Strings{}) << "the key stays, without a value";
  EXPECT_EQ(Set(L"\\A", nullptr, L"whatever"), 0);
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"registry=x"}));
}

TEST_P(ApplicationTest, RemovingOneKeyLeavesTheOthers) {
  Set(L"\\A", L"a", L"1");
  Set(L"\\B", L"b", L"2");
  Set(L"\\A\\Below", L"c", L"3");
  Set(L"\\A", nullptr, nullptr);
  EXPECT_EQ(WalkBelow(L"\\B"), (Strings{L"b=2"}));
  EXPECT_EQ(WalkBelow(L"\\A\\Below"), (Strings{L"c=3"}));
  EXPECT_EQ(WalkBelow(L"\\A"), Strings{}) << "it lies above one";
}

TEST_P(ApplicationTest, WhatIsOpenDoesNotChange) {
  Set(L"\\A", L"a", L"1");
  const Key above = Open(L"");
  const Key key = Open(L"\\A");
  Set(L"\\A", L"a", L"2");
  EXPECT_EQ(Walk(key), (Strings{L"a=1"}));
  EXPECT_EQ(Walk(OpenSub(above, L"A")), (Strings{L"a=1"}));
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"a=2"}));
  Set(L"\\A", nullptr, nullptr);
  EXPECT_EQ(Walk(key), (Strings{L"a=1"}));
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"<no key>"}));
}

TEST_P(ApplicationTest, WrongArgumentsAreRefusedAndChangeNothing) {
  for (const wchar_t* key : {L"", L"HKLM", L"HKLM\\", L"HKCU\\\\", L"Software\\X", L"HKU\\X", L"\\HKLM\\X"}) {
    EXPECT_EQ(host.SetApplicationValue(key, L"a", L"1"), QV_E_INVALIDARG) << key;
    EXPECT_EQ(host.SetApplicationValue(key, nullptr, nullptr), QV_E_INVALIDARG) << key;
  }
  EXPECT_EQ(host.SetApplicationValue(nullptr, L"a", L"1"), QV_E_INVALIDARG);
  EXPECT_EQ(Set(L"\\A", L"", L"1"), QV_E_INVALIDARG);
  EXPECT_EQ(WalkBelow(L"\\A"), (Strings{L"<no key>"}));
}

TEST_P(ApplicationTest, ItsKeysAreObjectsLikeTheOthers) {
  Set(L"\\A\\Below", L"x", L"1");
  for (const wchar_t* below : {L"\\A", L"\\A\\Below"}) {
    const Key key = Open(below);
    ASSERT_TRUE(key);
    ExpectRefusesMissingArguments(key);
    EXPECT_EQ(key->AddRef(), 2u);
    EXPECT_EQ(key->Release(), 1u);
    EXPECT_EQ(key->Reserved3(), QV_E_NOTIMPL);
    EXPECT_EQ(key->Reserved11(), QV_E_NOTIMPL);
  }
  const Key key = Open(L"");
  for (const wchar_t* bad : {L"A\\Missing", L"A/Below", L"B", L"AB"}) {
    IQvRegKey* sub = Untouched<IQvRegKey>();
    EXPECT_LT(key->OpenSubKey(MakeText(bad).Get(), KEY_READ, &sub), 0) << bad;
    EXPECT_EQ(sub, nullptr) << bad;
  }
  EXPECT_LT(key->OpenSubKey(MakeText(std::wstring(3000, L'x')).Get(), KEY_READ, Key().Out()), 0);
}

TEST_P(ApplicationTest, AnyThreadSetsAndReads) {
  std::atomic<int> wrong{0};
  qvtest::OnThreads(4, [&](int thread) {
    for (int i = 0; i < 300; ++i) {
      if (thread < 2) {
        const std::wstring name(1, static_cast<wchar_t>(L'a' + thread));
        Set(L"\\A", name.c_str(), i % 3 == 2 ? nullptr : L"v");
      } else {
        for (const std::wstring& entry : WalkBelow(L"\\A"))
          wrong += entry != L"a=v" && entry != L"b=v" && entry != L"<no key>";
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace hosttest
