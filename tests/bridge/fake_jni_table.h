// The function tables of the fake VM.
#pragma once

#include <jni.h>

#include "tests/bridge/fake_jni.h"

namespace qvtest {

const JNINativeInterface_* FakeJniTable();
const JNIInvokeInterface_* FakeVmTable();
std::map<std::string, FakeVm::Answer> StandardAnswers();

}  // namespace qvtest
