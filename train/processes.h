// The host's job, and the JVM that writes an archive, each in a process of its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace train {

enum class Output { Shown, Dropped };

// Runs a program with what this process prints to and reads from. JAVA_TOOL_OPTIONS gets the options, behind what it
// has already. The exit code; nothing when it did not start.
std::optional<unsigned long> RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments,
                                        const std::vector<std::wstring>& javaOptions, Output output = Output::Shown);

// In a process of its own: creates a JVM of the runtime with the options that stand in the file, a line each, which
// ends that process or comes back. The process's exit code.
int CreateJvm(const std::wstring& home, const std::wstring& optionsFile);

}  // namespace train
