// CastReference, the deletion of references, NewGlobalRef.
#include "tests/bridge/bridge_test.h"

namespace qvtest {

namespace {

using References = BridgeTest;

using DeleteSlot = int32_t (IQV_JavaVM::*)(qv_jobject) noexcept;

struct DeleteCase {
  DeleteSlot operation;
  size_t slot;
  bool global;
};

const DeleteCase kDeletes[] = {{&IQV_JavaVM::DeleteLocalRef, 8, false},
                               {&IQV_JavaVM::DeleteLocalRef2, 9, false},
                               {&IQV_JavaVM::DeleteLocalRef3, 10, false},
                               {&IQV_JavaVM::DeleteGlobalRef, 11, true}};

TEST_F(References, CastingHandsAnyReferenceThroughWithoutAnEnvironment) {
  TakeEnvironmentAway();
  for (qv_jobject reference : {qv_jobject{nullptr}, qv_jobject{this}}) {
    qv_jobject out = &out;
    EXPECT_EQ(Api().CastReference(&out, reference), S_OK);
    EXPECT_EQ(out, reference);
  }
  EXPECT_EQ(Log(), (Lines{"slot 7 CastReference", "slot 7 CastReference"}));
}

TEST_F(References, TheFourDeletionsGiveTheReferenceToJni) {
  for (const DeleteCase& row : kDeletes) {
    SCOPED_TRACE(SlotName(row.slot));
    jobject reference = Jni().GivenObject("it");
    if (row.global) reference = Jni().NewGlobalRef(reference);
    GiveObjectRecord(L"from before");
    LeavePending();
    Log();
    Watch();
    EXPECT_EQ((Api().*row.operation)(reference), S_OK);
    const Lines call = {row.global ? "DeleteGlobalRef(global it)" : "DeleteLocalRef(it)"};
    EXPECT_EQ(Log(), (Lines{SlotLine(row.slot), kEnvironment} + call));
    EXPECT_EQ(ObjectRecord(), Record(L"from before", 0));
    EXPECT_NE(Jni().Pending(), nullptr);
    Renew();
  }
}

TEST_F(References, DeletingNullIsASuccessThatCallsNothing) {
  for (const DeleteCase& row : kDeletes) {
    SCOPED_TRACE(SlotName(row.slot));
    EXPECT_EQ((Api().*row.operation)(nullptr), S_OK);
    EXPECT_EQ(Log(), Lines{});
  }
}

}  // namespace

}  // namespace qvtest
