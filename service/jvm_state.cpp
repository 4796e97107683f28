#include "service/jvm_state.h"

constinit qv::Published<int32_t> g_nJvmLoadCount = 0;
constinit qv::Published<int32_t> g_bJvmLibraryLoaded = 0;
constinit qv::Published<int32_t> g_bJvmCreated = 0;
constinit qv::Published<int32_t> g_bJvmJoined = 0;
constinit qv::Published<GetCreatedJavaVMsFn> g_pfnGetCreatedJavaVMs = nullptr;
constinit qv::Published<GetDefaultJavaVMInitArgsFn> g_pfnGetDefaultJavaVMInitArgs = nullptr;
constinit qv::Published<CreateJavaVMFn> g_pfnCreateJavaVM = nullptr;
