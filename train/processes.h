// The host's job, and the JVM that writes an archive, each in a process of its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace train {

enum class Output { Shown, Dropped };

// Runs a program with what this process prints to and reads from. JAVA_TOOL_OPTIONS gets the options, behind what it
// has already. The exit code; nothing when it did not start, or after Ctrl+C.
std::optional<unsigned long> RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments,
                                        const std::vector<std::wstring>& javaOptions, Output output = Output::Shown);

// From now on Ctrl+C, or a console that closes, does not end this process but the program that RunProgram waits for,
// unless that ends by itself in three seconds, and no other one is started: who runs programs takes back what was
// begun.
void StopProgramsAtCtrlC();
bool Stopped();

// In a process of its own: creates a JVM of the runtime with the options that stand in the file, a line each, which
// ends that process or comes back. The process's exit code.
int CreateJvm(const std::wstring& home, const std::wstring& optionsFile);

}  // namespace train
