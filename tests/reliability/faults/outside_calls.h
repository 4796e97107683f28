// What the service may call outside itself, as its objects and sources say (outside_calls.py), so that a call without a
// row is noticed the day it is written.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tests/support/temp_folder.h"

namespace qvtest {

// Functions of the C library that only operations of the bridge reach: their rows stand beside JNI's.
inline const std::set<std::string> kCallsOfTheBridge = {"mbstowcs"};

// The names of one kind: "symbol", "jni", "vm", "found" or "object".
inline std::set<std::string> OutsideCalls(const std::string& kind) {
  std::istringstream lines(ReadWholeFile(ProgramFolder() + L"\\outside_calls.txt"));
  std::set<std::string> names;
  std::string wanted;
  std::string name;
  while (lines >> wanted >> name) {
    if (wanted == kind) names.insert(name);
  }
  EXPECT_FALSE(names.empty()) << "no call of the kind " << kind;
  return names;
}

}  // namespace qvtest
