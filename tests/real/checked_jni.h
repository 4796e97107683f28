// What the JVM reports under -Xcheck:jni, read from its output, and how many local references live in a frame, found
// out with its help.
#pragma once

#include <jni.h>

#include <functional>
#include <map>
#include <string>

namespace qvtest {

// Reason: the text of an exception is taken in a fixed order of calls, describe, look up, toString, copy, and a string
// that came back shows that toString did not throw. Once for every exception whose text is read.
inline constexpr char kTextUnchecked[] =
    "WARNING in native method: JNI call made without checking exceptions when required to from CallObjectMethod";
// Reason: constructors and new string arrays leave their exception pending, and the next operation clears it only when
// a record existed before. Its look-up and its call then run with the exception pending, and it reports it.
inline constexpr char kPending[] = "WARNING in native method: JNI call made with exception pending";

// Report to how often.
using JniReports = std::map<std::string, int>;
JniReports ReportsIn(const std::string& output);

// How many references more a new frame takes after `work` until the JVM reports that they exceed what was planned:
// `listen` begins to look for a report, `reported` tells whether one came. Runtimes up to 17 report. The difference to
// the room after no work is the number of references that the work left.
struct ReportWatch {
  std::function<void()> listen;
  std::function<bool()> reported;
};
int RoomAfter(JNIEnv* env, const ReportWatch& watch, const std::function<void()>& work);

// What a captured exception leaves: the exception, the class that its text is asked of, and the text.
inline constexpr int kCaptured = 3;

}  // namespace qvtest
