// The reports begin with WARNING or FATAL ERROR; the JVM may have begun the line with the thread's name.
// A frame's plan is its capacity and a reserve of the JVM's own.
// The extra references go with the frame.
#include "tests/real/checked_jni.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/text.h"

namespace qvtest {

JniReports ReportsIn(const std::string& output) {
  JniReports reports;
  for (const std::string& line : LinesOf(output)) {
    const size_t begin = std::min(line.find("WARNING"), line.find("FATAL ERROR"));
    if (begin != std::string::npos) ++reports[line.substr(begin, line.find_last_not_of(' ') + 1 - begin)];
  }
  return reports;
}

int RoomAfter(JNIEnv* env, const ReportWatch& watch, const std::function<void()>& work) {
  constexpr int kCapacity = 400;
  EXPECT_EQ(env->PushLocalFrame(kCapacity), JNI_OK);
  work();
  watch.listen();
  int room = 0;
  jstring const reference = env->NewStringUTF("one reference");
  while (!watch.reported() && room < 2 * kCapacity) {
    env->NewLocalRef(reference);
    ++room;
  }
  env->PopLocalFrame(nullptr);
  EXPECT_LT(room, 2 * kCapacity) << "the JVM reported nothing";
  return room;
}

}  // namespace qvtest
