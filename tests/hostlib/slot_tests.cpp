// The object tables by slot number, called the way a host does that has no header: through bare function pointers.
#include "tests/hostlib/host_build.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/slot_call.h"

namespace hosttest {
namespace {

class SlotTest : public HostTest {};
ON_BOTH_HOST_BUILDS(SlotTest);

using qvtest::CallSlot;
using qvtest::Hive;
using qvtest::RegistrySandbox;

constexpr GUID kNobodysId = {0x76C5133D, 0x2502, 0x4A2A, {0xBC, 0x55, 0xF0, 0x3A, 0xFE, 0xB1, 0xB5, 0xAF}};
constexpr int32_t kNotImplemented = static_cast<int32_t>(0x80004001);

// Slots 0 to 2, which both tables have. Leaves the count at 1.
void ExpectIdentitySlots(void* object) {
  void* answer = nullptr;
  EXPECT_EQ(CallSlot<int32_t>(object, 0, &kUnknownId, &answer), 0);
  EXPECT_EQ(answer, object);
  EXPECT_EQ(CallSlot<uint32_t>(object, 1), 3u);
  EXPECT_EQ(CallSlot<uint32_t>(object, 2), 2u);
  EXPECT_EQ(CallSlot<uint32_t>(object, 2), 1u);
  EXPECT_EQ(CallSlot<int32_t>(object, 0, &kNobodysId, &answer), static_cast<int32_t>(0x80004002));
  EXPECT_EQ(answer, nullptr);
  EXPECT_LT(CallSlot<int32_t>(object, 0, &kUnknownId, nullptr), 0);
  EXPECT_EQ(CallSlot<uint32_t>(object, 1), 2u);
  EXPECT_EQ(CallSlot<uint32_t>(object, 2), 1u);
}

TEST_P(SlotTest, StringTable) {
  void* text = nullptr;
  void* right = nullptr;
  ASSERT_EQ(host.CreateString(L"left", reinterpret_cast<IQvString**>(&text)), 0);
  ASSERT_EQ(host.CreateString(L"+right", reinterpret_cast<IQvString**>(&right)), 0);
  ExpectIdentitySlots(text);
  for (const size_t slot : {3u, 4u, 7u, 8u})
    EXPECT_EQ(CallSlot<int32_t>(text, slot), kNotImplemented) << "slot " << slot;
  EXPECT_STREQ(CallSlot<const wchar_t*>(text, 5), L"left");
  EXPECT_EQ(CallSlot<int32_t>(text, 6), 5);
  void* joined = nullptr;
  EXPECT_EQ(CallSlot<int32_t>(text, 9, right, &joined), 0);
  ASSERT_NE(joined, nullptr);
  EXPECT_STREQ(CallSlot<const wchar_t*>(joined, 5), L"left+right");
  EXPECT_EQ(CallSlot<int32_t>(joined, 6), 11);
  for (void* object : {text, right, joined}) EXPECT_EQ(CallSlot<uint32_t>(object, 2), 0u);
}

// Every slot of a key that has a sub key "Sub" and, there, a value Name=value. Gives the key back.
void ExpectKeySlots(const HostApi& host, void* key) {
  ExpectIdentitySlots(key);
  for (const size_t slot : {3u, 5u, 6u, 8u, 9u, 10u, 11u}) {
    EXPECT_EQ(CallSlot<int32_t>(key, slot), kNotImplemented) << "slot " << slot;
  }
  void* path = nullptr;
  void* wanted = nullptr;
  ASSERT_EQ(host.CreateString(L"Sub", reinterpret_cast<IQvString**>(&path)), 0);
  ASSERT_EQ(host.CreateString(L"Name", reinterpret_cast<IQvString**>(&wanted)), 0);
  void* sub = nullptr;
  ASSERT_EQ(CallSlot<int32_t>(key, 4, path, uint32_t{KEY_READ}, &sub), 0);
  void* name = nullptr;
  void* value = nullptr;
  ASSERT_EQ(CallSlot<int32_t>(sub, 7, 0, &name, &value), 0);
  EXPECT_STREQ(CallSlot<const wchar_t*>(name, 5), L"Name");
  EXPECT_STREQ(CallSlot<const wchar_t*>(value, 5), L"value");
  void* queried = nullptr;
  ASSERT_EQ(CallSlot<int32_t>(sub, 12, wanted, &queried), 0);
  EXPECT_STREQ(CallSlot<const wchar_t*>(queried, 5), L"value");
  for (void* object : {path, wanted, name, value, queried, sub, key}) EXPECT_EQ(CallSlot<uint32_t>(object, 2), 0u);
}

TEST_P(SlotTest, TreeKeyTable) {
  const DefaultConfigRecord table[] = {{kOpenKey, L"Root", nullptr, {}},      {kOpenKey, L"Sub", nullptr, {}},
                                       {kStringValue, L"Name", L"value", {}}, {kCloseKey, nullptr, nullptr, {}},
                                       {kCloseKey, nullptr, nullptr, {}},     {kEndOfTable, nullptr, nullptr, {}}};
  void* key = nullptr;
  ASSERT_EQ(host.OpenDefaultTree(table, reinterpret_cast<IQvRegKey**>(&key)), 0);
  ExpectKeySlots(host, key);
}

TEST_P(SlotTest, RegistryKeyTable) {
  RegistrySandbox registry(RegistrySandbox::Override::Nothing);
  registry.SetText(Hive::User, L"Sub", L"Name", L"value");
  Key key;
  ASSERT_EQ(host.OpenRegistryKey(HKEY_CURRENT_USER, MakeText(registry.Path(Hive::User)).Get(), KEY_READ, key.Out()), 0);
  ExpectKeySlots(host, key.Detach());
}

}  // namespace
}  // namespace hosttest
