// A real start of the JVM through the service, in a process of its own under the host's name.
#pragma once

#include <filesystem>

#include "doctor/facts.h"

namespace doctor {

// Copies this program to a temporary folder under the host's name, runs it there with a time limit, and removes the
// copy. What the JVM prints is kept, also when it ends the process.
StartResult TryStart(const Facts& facts, unsigned limitSeconds);

// The end of the JVM log, unless it is still the one of that time: then it tells of another process.
std::vector<std::wstring> LogTail(const std::filesystem::path& path, std::filesystem::file_time_type before);

// When a file was written; the earliest of all times when there is none.
std::filesystem::file_time_type WrittenAt(const std::filesystem::path& path);

// What the copy does: starts the service of that folder and prints the outcome. Never returns.
[[noreturn]] void RunAsHost(const wchar_t* serviceFolder);

// How the copy is called, so that it needs no command line that a host name could collide with.
inline constexpr wchar_t kTrialVariable[] = L"QVJVM_DOCTOR_TRIAL";

}  // namespace doctor
