// NewObject and NewDefaultObject. What each failing call leads to stands in the table of operations.
#include <limits>

#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

using Construction = BridgeTest;

TEST_F(Construction, ArgumentsOfEveryWidthArrive) {
  qv_jobject made = nullptr;
  EXPECT_EQ(Api().NewObject(&made, Jni().GivenClass("a/B"), "(ZBCSIJFDLa/C;[[I)", 1, -128, 0xFFFF, -32768,
                            std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::min(), 0.5,
                            std::numeric_limits<double>::max(), Jni().GivenObject("c"), nullptr),
            S_OK);
  EXPECT_EQ(Log().back(),
            "NewObjectV(a/B, <init>(ZBCSIJFDLa/C;[[I)V, 1, -128, 65535, -32768, -2147483648, -9223372036854775808, "
            "0.5, 1.7976931348623157e+308, c, null)");
}

TEST_F(Construction, OfAnArgumentSignature511CharactersAreUsed) {
  const jclass cls = Jni().GivenClass("a/B");
  for (const size_t length : {0u, 1u, 2u, 509u, 510u, 511u, 512u, 513u, 4000u}) {
    SCOPED_TRACE(length);
    std::string signature(length, 'I');
    if (length > 0) signature.front() = '(';
    if (length > 511) signature.replace(510, 2, "J!");
    Java().FailAt("GetMethodID", 1, Fault::Null);
    qv_jobject made = this;
    EXPECT_EQ(Api().NewObject(&made, cls, signature.c_str()), E_FAIL);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Log(), (Lines{"GetMethodID(a/B, \"<init>\", \"" + signature.substr(0, 511) + "V\")"}));
  }
}

TEST_F(Construction, AnExceptionFromBeforeIsNotLookedAt) {
  LeavePending();
  qv_jobject made = nullptr;
  EXPECT_EQ(Api().NewObject(&made, Jni().GivenClass("a/B"), "()"), S_OK);
  EXPECT_EQ(Java().Label(made), "a/B()");
  EXPECT_EQ(Log(), (Lines{"GetMethodID(a/B, \"<init>\", \"()V\") !pending", "NewObjectV(a/B, <init>()V) !pending"}));
  EXPECT_NE(Jni().Pending(), nullptr);
}

}  // namespace
}  // namespace qvtest
