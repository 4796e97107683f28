// The error record: how one is built, and the fixed texts that go into one.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>

#include "host/host_memory.h"

namespace qv {

inline constexpr size_t kErrorTextUnits = 512;  // terminator included
static_assert(sizeof(ErrorRecord) == kErrorTextUnits * sizeof(wchar_t) + sizeof(int32_t));

// A new record in one host block, cut to 511 units; null without memory, which nobody reports.
ErrorRecord* NewErrorRecord(std::wstring_view text, int32_t code) noexcept;

// "Unable to find java %s class. Check CLASSPATH." with the class name, in the current code page, cut to fit.
void FormatClassNotFound(std::span<wchar_t, kErrorTextUnits> message, const char* className) noexcept;

namespace texts {
inline constexpr std::wstring_view kConfigurationError =
    L"There was a JVM Service configuration error. Cannot proceed!!";
inline constexpr std::wstring_view kCreateRaised =
    L"Java VM threw an unhandled exception on initialize. Cannot proceed!!";
inline constexpr std::wstring_view kNotInitialized = L"Java VM not initialized properly. Cannot proceed!!";
inline constexpr std::wstring_view kNoEnvironment = L"Java VM initialization error. Cannot proceed!!";
inline constexpr std::wstring_view kUnknownException = L"QVJava Unknown Exception";
inline constexpr std::wstring_view kEnvironmentNotAvailable = L"QVJava Exception JNI Environment not available";
inline constexpr std::wstring_view kInternalException = L"QVJava Internal Exception";
}  // namespace texts

}  // namespace qv
