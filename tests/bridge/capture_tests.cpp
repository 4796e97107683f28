// ExceptionClear and CaptureException: a pending Java exception becomes text in a record.
#include "tests/bridge/bridge_test.h"

namespace qvtest {

namespace {

class Capture : public BridgeTest {
 protected:
  Capture() { SetCreated(true); }

  // Captures into a pointer of its own and frees the record.
  RecordView CaptureInto(int32_t& result) {
    auto* record = reinterpret_cast<ErrorRecord*>(this);
    result = static_cast<IQV_JavaVM&>(Object()).CaptureException(&record, &Jni());
    const RecordView view = ViewOf(record);
    QvshrFree(record);
    return view;
  }
};

TEST_F(Capture, NothingPendingGivesZeroAndNoRecord) {
  int32_t result = -1;
  EXPECT_EQ(CaptureInto(result), kNoRecord);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Log(), (Lines{"ExceptionOccurred()"}));
}

}  // namespace

}  // namespace qvtest
