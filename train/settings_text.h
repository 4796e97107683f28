// The text of a qvshr.ini with another list of a key: everything else stays as it is. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace train {

// UTF-8 with or without a mark, or UTF-16 with one, as the host library reads it.
struct SettingsText {
  enum class Encoding { Utf8, Utf8WithMark, Utf16, Utf16BigEndian };
  Encoding encoding = Encoding::Utf8;
  std::wstring text;
};

// Nothing when the bytes are no text in their encoding.
std::optional<SettingsText> DecodeSettings(std::string_view bytes);
std::string EncodeSettings(const SettingsText& settings);

// The list of the key `path` below HKEY_LOCAL_MACHINE; nothing where the text has no section with a Count for it.
std::optional<std::vector<std::wstring>> ReadList(const SettingsText& settings, std::wstring_view path);
// The same text with this list, in the key's section or in a new one at the end.
SettingsText WithList(const SettingsText& settings, std::wstring_view path, const std::vector<std::wstring>& list);

}  // namespace train
