// Files that are there whole or not at all.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace train {

// Nothing when it is not there or cannot be read.
std::optional<std::string> ReadFile(const std::wstring& path);
// In the file's place at once; false leaves what was there.
[[nodiscard]] bool WriteFile(const std::wstring& path, std::string_view bytes);
// Whether it is gone; read-only ones too.
bool RemoveFile(const std::wstring& path);
// Takes the place of what is there; false when a program has that open.
[[nodiscard]] bool MoveFileTo(const std::wstring& from, const std::wstring& to);
[[nodiscard]] bool FileExists(const std::wstring& path);

}  // namespace train
