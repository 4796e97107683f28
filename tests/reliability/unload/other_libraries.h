// What the libraries export through which the service comes into a process by another way than the host's.
#pragma once

#include <cstdint>
#include <iterator>

#include "qvjvm/qvjvm.h"

using OtherCreateFn = int32_t (*)(IQV_JavaVM** vm);  // "OtherCreate": QV_CreateJavaVM without a class path
using OtherTouchFn = void (*)();                     // "OtherTouch": a call that starts nothing
