// A library of the host's that is linked to the service with a delay: its first call loads it.
#include "tests/reliability/unload/other_libraries.h"

extern "C" __declspec(dllexport) int32_t OtherCreate(IQV_JavaVM** vm) { return QV_CreateJavaVM(vm, nullptr); }

extern "C" __declspec(dllexport) void OtherTouch() { QV_SetJavaVMDebugMode(1); }
