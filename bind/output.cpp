#include "bind/output.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "bind/write.h"

namespace binder {

namespace {

std::filesystem::path PathOf(const std::filesystem::path& folder, const std::string& name) {
  return folder / std::filesystem::path(std::u8string(name.begin(), name.end()));
}

// With the ends of lines that it was written with; a checkout may have changed them.
std::optional<std::string> TextOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string text;
  for (auto at = std::istreambuf_iterator<char>(file); at != std::istreambuf_iterator<char>(); ++at) {
    if (*at != '\r') text.push_back(*at);
  }
  return text;
}

std::string FirstDifference(const std::string& there, const std::string& made) {
  size_t line = 1;
  size_t start = 0;
  for (size_t i = 0; i < std::min(there.size(), made.size()) && there[i] == made[i]; ++i) {
    if (made[i] != '\n') continue;
    ++line;
    start = i + 1;
  }
  const auto lineOf = [&](const std::string& text) {
    return start >= text.size() ? "the end" : "\"" + text.substr(start, text.find('\n', start) - start) + "\"";
  };
  return "line " + std::to_string(line) + " is " + lineOf(there) + ", would be " + lineOf(made);
}

bool IsOurs(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string first;
  return std::getline(file, first) && first.starts_with(kMark);
}

// Headers of ours that are in the folder, by their names: those in detail/ and the others to which they belong. What
// else lies below the folder, other calls' folders for one, is not looked at.
std::vector<std::string> HeadersIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  std::error_code why;
  for (std::filesystem::recursive_directory_iterator at(folder / "detail", why), end; !why && at != end;
       at.increment(why)) {
    if (!at->is_regular_file() || at->path().extension() != ".hpp" || !IsOurs(at->path())) continue;
    const std::u8string name = at->path().lexically_relative(folder / "detail").generic_u8string();
    const std::string whole(name.begin(), name.end());
    names.push_back("detail/" + whole);
    if (IsOurs(PathOf(folder, whole))) names.push_back(whole);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::vector<std::string> Differences(const std::filesystem::path& folder,
                                     const std::map<std::string, std::string>& headers) {
  std::vector<std::string> lines;
  for (const auto& [name, text] : headers) {
    const auto there = TextOf(PathOf(folder, name));
    if (!there) {
      lines.push_back(name + ": is not there");
    } else if (*there != text) {
      lines.push_back(name + ": " + FirstDifference(*there, text));
    }
  }
  for (const std::string& name : HeadersIn(folder)) {
    if (!headers.contains(name)) lines.push_back(name + ": would not be made");
  }
  return lines;
}

size_t WriteFolder(const std::filesystem::path& folder, const std::map<std::string, std::string>& headers) {
  for (const std::string& name : HeadersIn(folder)) {
    if (!headers.contains(name)) std::filesystem::remove(PathOf(folder, name));
  }
  size_t written = 0;
  for (const auto& [name, text] : headers) {
    const std::filesystem::path path = PathOf(folder, name);
    if (TextOf(path) == text) continue;
    std::filesystem::create_directories(path.parent_path());
    // A header is whole or not there: a compiler may look while this writes.
    std::filesystem::path partial = path;
    partial += ".partial";
    std::ofstream file(partial, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    std::error_code why;
    if (file) std::filesystem::rename(partial, path, why);
    if (!file || why) {
      std::filesystem::remove(partial, why);
      throw std::runtime_error(name + " cannot be written");
    }
    ++written;
  }
  return written;
}

}  // namespace binder
