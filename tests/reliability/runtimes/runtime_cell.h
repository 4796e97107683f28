// What the runtime tests share: which runtimes and options there are, and the reading of what a JVM printed.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace qvtest {

constexpr int kRuntimes[] = {11, 17, 21, 25};

// What a JVM said, each line once and without its decoration; the messages of -verbose:jni and those that the emulator
// of Windows causes are left out.
std::vector<std::string> SaidIn(const std::string& output);
// The warnings among it; what exceptions print is none.
std::vector<std::string> WarningsIn(const std::string& output);

std::string Joined(const std::vector<std::string>& texts, const char* separator);

// An option for a table of the page; the other text when it is empty.
std::string AsCode(std::string_view option, const char* otherwise);

}  // namespace qvtest
