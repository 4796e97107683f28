// Where the JVM's own output goes: two hooks that it is started with, and the switches of the log file.
// The hooks run on whichever thread of the JVM writes; no lock guards the file, which is opened for every message.
#pragma once

#include <windows.h>

#include <jni.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "base/compiler.h"

extern int32_t g_bJvmLogEnabled;  // 1 at load; slot 53 sets it, slot 52 switches it on
extern bool g_bJvmLogStarted;     // the file was opened since load or since slot 52

// Appends one message to the log file and gives the units written, 1 when the log is off, -1 when the file could not be
// opened. `stream` belongs to another C runtime and is not used.
QV_PRINTF(2, 0) jint JNICALL JvmVfprintfHook(FILE* stream, const char* format, va_list args) noexcept;

// Does nothing: it neither ends the process nor records the code.
void JNICALL JvmExitHook(jint code) noexcept;
