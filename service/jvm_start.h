// The one-time start-up: loads jvm.dll, resolves its entry points, creates or joins the JVM on the first thread.
// g_csLoader serialises it; the flags are written under it and read without it afterwards.
#pragma once

#include <windows.h>

#include <jni.h>

#include <cstdint>

using GetCreatedJavaVMsFn = jint(JNICALL*)(JavaVM** vms, jsize capacity, jsize* count);
using GetDefaultJavaVMInitArgsFn = jint(JNICALL*)(void* args);
using CreateJavaVMFn = jint(JNICALL*)(JavaVM** vm, void** env, void* args);

extern CRITICAL_SECTION* g_csLoader;  // allocated when the module is loaded; null without memory

extern int32_t g_nJvmLoadCount;      // successful start-ups; start-up does its work only while it is 0
extern int32_t g_bJvmLibraryLoaded;  // jvm.dll is loaded and its entry points were looked up
extern int32_t g_bJvmCreated;        // this library created the JVM
extern int32_t g_bJvmJoined;         // the first successful start-up joined a JVM that existed already
extern GetCreatedJavaVMsFn g_pfnGetCreatedJavaVMs;
extern GetDefaultJavaVMInitArgsFn g_pfnGetDefaultJavaVMInitArgs;  // required, never called
extern CreateJavaVMFn g_pfnCreateJavaVM;

// 0 when a JVM was created or joined, by this call or an earlier one; else E_FAIL, and the next call tries again.
// `classPath` (may be null) is registered for the calling thread before the JVM is created. Error texts of the
// start-up are discarded here.
int32_t StartJavaVM(const char* moduleName, const wchar_t* classPath) noexcept;
