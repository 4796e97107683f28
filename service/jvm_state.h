// How far start-up has come: its flags and the entry points of the jvm.dll that was loaded. Everything is 0 when the
// module is loaded; nothing goes back to 0.
// Written under g_csLoader (g_bJvmCreated also by a thread that finds no JVM at its first operation), read without it.
#pragma once

#include <windows.h>

#include <jni.h>

#include <cstdint>

#include "base/published.h"

using GetCreatedJavaVMsFn = jint(JNICALL*)(JavaVM** vms, jsize capacity, jsize* count);
using GetDefaultJavaVMInitArgsFn = jint(JNICALL*)(void* args);
using CreateJavaVMFn = jint(JNICALL*)(JavaVM** vm, void** env, void* args);

extern qv::Published<int32_t> g_nJvmLoadCount;      // successful start-ups; start-up does its work only while it is 0
extern qv::Published<int32_t> g_bJvmLibraryLoaded;  // jvm.dll is loaded and its entry points were looked up
extern qv::Published<int32_t> g_bJvmCreated;        // this library created the JVM
extern qv::Published<int32_t> g_bJvmJoined;         // the first successful start-up joined a JVM that existed already
extern qv::Published<GetCreatedJavaVMsFn> g_pfnGetCreatedJavaVMs;
extern qv::Published<GetDefaultJavaVMInitArgsFn> g_pfnGetDefaultJavaVMInitArgs;  // required, never called
extern qv::Published<CreateJavaVMFn> g_pfnCreateJavaVM;
