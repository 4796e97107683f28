// What this host library has beyond the contract of host/qvshr.h: settings that one application brings itself. Exported
// by name and without an ordinal of the contract, so a host library without them is complete; who wants them asks for
// the names. No exception leaves a function. Threads: any.
#pragma once

#include <cstdint>

extern "C" {
// Gives the running process a value of a registry key, "HKLM\Software\..." or "HKCU\...": the key then stands before
// the one of qvshr.ini and of the registry, whole. A null value removes the value and leaves the key, a null name
// removes the whole key; what was not set need not be removed. Keys that are open do not change.
// 0, E_INVALIDARG for another root, a root alone and an empty name, or E_OUTOFMEMORY.
__declspec(dllexport) int32_t
    QvshrSetApplicationValue(const wchar_t* key, const wchar_t* name, const wchar_t* value) noexcept;
// The numbers, from 1, of the lines of qvshr.ini that were skipped because they cannot be understood; 0 past the last.
// A file of more than 1 MiB is not read, and its line 1 is given.
__declspec(dllexport) int32_t QvshrGetBadSettingsLine(int32_t index) noexcept;
// 1 when the application brings this very key, by qvshr.ini or for the running process; 0 when only the registry can
// have it, and for what names no key.
__declspec(dllexport) int32_t QvshrHasApplicationKey(const wchar_t* key) noexcept;
}
