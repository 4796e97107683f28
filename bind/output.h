// The folder of the headers: written where something changed, or compared.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace binder {

// One line for each header that is missing, differs (with its first line that does), or is no longer made.
std::vector<std::string> Differences(const std::filesystem::path& folder,
                                     const std::map<std::string, std::string>& headers);

// Writes what differs, and removes headers of ours that are no longer made. How many were written.
// @throws std::runtime_error when a file cannot be written.
size_t WriteFolder(const std::filesystem::path& folder, const std::map<std::string, std::string>& headers);

}  // namespace binder
