// What a null argument does, operation by operation: nothing is called in Java with it, out values are as stated.
// The typed calls have their own rows in typed_call_tests.cpp.
#include <algorithm>
#include <type_traits>

#include "tests/bridge/bridge_test.h"
#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

// What the calls are given where no null is: the out values, filled before each, and a reference that nobody may use.
qv_jobject g_out;
int32_t g_length;
wchar_t g_buffer[512];
jbyte g_bytes[4];
IQvString* g_text;
int g_any;
constexpr std::nullptr_t kNull = nullptr;

void FillOutValues() {
  g_out = &g_out;
  g_length = -1;
  g_buffer[0] = L'x';
  g_text = reinterpret_cast<IQvString*>(&g_text);
}

// The out values are as FillOutValues left them, but for this one, which is empty.
void ExpectCleared(const void* out) {
  EXPECT_EQ(g_out, out == &g_out ? nullptr : &g_out);
  EXPECT_EQ(g_length, out == &g_length ? 0 : -1);
  EXPECT_EQ(g_buffer[0], out == g_buffer ? L'\0' : L'x');
  EXPECT_EQ(g_text == nullptr, out == &g_text);
}

struct Argument {
  Argument(int32_t value) : word(static_cast<uint32_t>(value)) {}
  Argument(std::nullptr_t) : word(0) {}
  Argument(const void* pointer) : word(reinterpret_cast<uintptr_t>(pointer)) {}
  uintptr_t word;
};

struct Case {
  size_t slot;
  int32_t status;
  bool record;      // "QVJava Internal Exception", code -1001
  const void* out;  // the out value that is set
  Argument a, b = kNull, c = kNull, d = kNull;

  int32_t Call(IQV_JavaVM& vm) const { return CallSlot<int32_t>(&vm, slot, a.word, b.word, c.word, d.word); }
};

const Case kNullArguments[] = {
    {7, E_FAIL, false, nullptr, kNull, &g_any},
    {7, S_OK, false, &g_out, &g_out, kNull},
    {8, S_OK, false, nullptr, kNull},
    {9, S_OK, false, nullptr, kNull},
    {10, S_OK, false, nullptr, kNull},
    {11, S_OK, false, nullptr, kNull},
    {12, E_FAIL, false, nullptr, kNull, "a/B"},
    {12, E_FAIL, false, &g_out, &g_out, kNull},
    {13, E_FAIL, false, nullptr, kNull, &g_any},
    {13, E_FAIL, false, &g_out, &g_out, kNull},
    {14, E_FAIL, false, nullptr, kNull, L"x"},
    {14, E_FAIL, false, &g_out, &g_out, kNull},
    {15, E_FAIL, false, nullptr, kNull, &g_any},
    {15, E_FAIL, false, &g_length, &g_length, kNull},
    {16, E_FAIL, false, nullptr, kNull, kNull, &g_any},
    {16, E_FAIL, false, g_buffer, g_buffer, kNull, kNull},
    {17, E_FAIL, false, nullptr, kNull, &g_any},
    {17, E_FAIL, false, &g_text, &g_text, kNull},
    {18, E_FAIL, false, nullptr, kNull, &g_any, "()"},
    {18, E_FAIL, false, &g_out, &g_out, kNull, "()"},
    {18, E_FAIL, false, &g_out, &g_out, &g_any, kNull},
    {19, E_FAIL, false, nullptr, kNull, &g_any},
    {19, E_FAIL, false, &g_out, &g_out, kNull},
    {43, E_INVALIDARG, false, nullptr, kNull, 1},
    {44, E_FAIL, true, nullptr, kNull, 0, kNull},
    {45, E_INVALIDARG, false, nullptr, kNull, 1},
    {46, E_FAIL, true, nullptr, kNull, 0, 1, g_bytes},
    {46, E_FAIL, true, nullptr, kNull, 0, 0, g_bytes},
    {46, E_FAIL, true, nullptr, &g_any, 0, 1, kNull},
    {47, E_FAIL, true, nullptr, kNull, 0, g_bytes, 1},
    {47, E_FAIL, true, nullptr, &g_any, 0, kNull, 1},
    {48, E_INVALIDARG, false, nullptr, kNull},
    {49, E_INVALIDARG, false, nullptr, kNull},
    {50, E_INVALIDARG, false, nullptr, kNull},
    {51, E_INVALIDARG, false, nullptr, kNull},
    {54, E_INVALIDARG, false, nullptr, kNull},
    {55, E_INVALIDARG, false, nullptr, kNull},
};

using NullArguments = BridgeTest;

TEST_F(NullArguments, NothingIsCalledInJava) {
  for (const bool created : {true, false}) {
    for (const Case& row : kNullArguments) {
      SCOPED_TRACE(testing::Message() << SlotName(row.slot) << ", row " << &row - kNullArguments);
      SetCreated(created);
      FillOutValues();
      EXPECT_EQ(row.Call(Api()), row.status);
      EXPECT_EQ(Log(), Lines{});
      EXPECT_EQ(ObjectRecord(), row.record ? Record(kInternal, -1001) : kNoRecord);
      ExpectCleared(row.out);
      Renew();
    }
  }
}

TEST_F(NullArguments, AnInvalidOutPointerLeavesTheRecordOfBefore) {
  for (const Case& row : kNullArguments) {
    if (row.status != E_INVALIDARG) continue;
    SCOPED_TRACE(SlotName(row.slot));
    GiveObjectRecord(L"from before", 7);
    EXPECT_EQ(row.Call(Api()), E_INVALIDARG);
    EXPECT_EQ(ObjectRecord(), Record(L"from before", 7));
  }
}

TEST_F(NullArguments, TheVersionIsAskedForAndThenHasNowhereToGo) {
  SetCreated(true);
  Java().properties[L"java.version"] = L"17";
  EXPECT_EQ(Api().GetJavaVersion(nullptr), E_FAIL);
  const Lines log = Log();
  EXPECT_NE(std::find(log.begin(), log.end(),
                      "CallStaticObjectMethodV(java/lang/System, getProperty(Ljava/lang/String;)Ljava/lang/String;, "
                      "\"java.version\")"),
            log.end());
  SetCreated(false);
  EXPECT_EQ(Api().GetJavaVersion(nullptr), E_FAIL);
}

}  // namespace
}  // namespace qvtest
