// The reading follows the host library's: names without case, spaces around them do not count, the first of two values
// counts, a pair of quotation marks is taken away.
#include "train/settings_text.h"

#include <windows.h>

#include <algorithm>
#include <map>

namespace train {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";

bool SameName(std::wstring_view left, std::wstring_view right) {
  return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(), static_cast<int>(right.size()),
                              TRUE) == CSTR_EQUAL;
}

std::wstring_view Trimmed(std::wstring_view text) {
  constexpr std::wstring_view kBlank = L" \t\r\n";
  const size_t begin = text.find_first_not_of(kBlank);
  return begin == std::wstring_view::npos ? std::wstring_view()
                                          : text.substr(begin, text.find_last_not_of(kBlank) + 1 - begin);
}

// Each with its line end.
std::vector<std::wstring_view> Lines(std::wstring_view text) {
  std::vector<std::wstring_view> lines;
  while (!text.empty()) {
    const size_t end = text.find(L'\n');
    const size_t length = end == std::wstring_view::npos ? text.size() : end + 1;
    lines.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return lines;
}

// The key below HKEY_LOCAL_MACHINE that the line's section stands for; empty for any other line or section.
bool IsSection(std::wstring_view line) { return Trimmed(line).starts_with(L'['); }
bool IsSectionOf(std::wstring_view line, std::wstring_view path) {
  std::wstring_view name = Trimmed(line);
  if (!name.starts_with(L'[') || !name.ends_with(L']')) return false;
  name = Trimmed(name.substr(1, name.size() - 2));
  const size_t root = name.find(L'\\');
  if (root == std::wstring_view::npos) return false;
  const std::wstring_view rootName = name.substr(0, root);
  if (!SameName(rootName, L"HKLM") && !SameName(rootName, L"HKEY_LOCAL_MACHINE")) return false;
  return SameName(name.substr(root + 1), path);
}

struct Value {
  std::wstring_view name;
  std::wstring_view text;
};

std::optional<Value> ReadValue(std::wstring_view line) {
  const std::wstring_view trimmed = Trimmed(line);
  const size_t equals = trimmed.find(L'=');
  if (trimmed.empty() || trimmed[0] == L';' || trimmed[0] == L'#' || equals == std::wstring_view::npos) return {};
  Value value{Trimmed(trimmed.substr(0, equals)), Trimmed(trimmed.substr(equals + 1))};
  if (value.text.size() >= 2 && value.text.front() == L'"' && value.text.back() == L'"') {
    value.text = value.text.substr(1, value.text.size() - 2);
  }
  return value;
}

bool IsNumber(std::wstring_view text) {
  return !text.empty() && text.size() < 7 &&
         std::all_of(text.begin(), text.end(), [](wchar_t unit) { return unit >= L'0' && unit <= L'9'; });
}

bool BelongsToList(const Value& value) { return SameName(value.name, L"Count") || IsNumber(value.name); }

}  // namespace

std::optional<SettingsText> DecodeSettings(std::string_view bytes) {
  SettingsText settings;
  if (bytes.starts_with(kUtf16Mark) || bytes.starts_with(kUtf16BigEndianMark)) {
    const bool big = bytes.starts_with(kUtf16BigEndianMark);
    settings.encoding = big ? SettingsText::Encoding::Utf16BigEndian : SettingsText::Encoding::Utf16;
    if (bytes.size() % 2 != 0) return {};
    for (size_t at = 2; at < bytes.size(); at += 2) {
      const auto first = static_cast<unsigned char>(bytes[at]);
      const auto second = static_cast<unsigned char>(bytes[at + 1]);
      settings.text.push_back(static_cast<wchar_t>(big ? first << 8U | second : second << 8U | first));
    }
    return settings;
  }
  if (bytes.starts_with(kUtf8Mark)) {
    settings.encoding = SettingsText::Encoding::Utf8WithMark;
    bytes.remove_prefix(kUtf8Mark.size());
  }
  if (bytes.empty()) return settings;
  const int size = static_cast<int>(bytes.size());
  const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0);
  if (units == 0) return {};
  settings.text.resize(static_cast<size_t>(units));
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, settings.text.data(), units);
  return settings;
}

std::string EncodeSettings(const SettingsText& settings) {
  using Encoding = SettingsText::Encoding;
  std::string bytes;
  if (settings.encoding == Encoding::Utf16 || settings.encoding == Encoding::Utf16BigEndian) {
    const bool big = settings.encoding == Encoding::Utf16BigEndian;
    bytes = big ? kUtf16BigEndianMark : kUtf16Mark;
    for (const wchar_t unit : settings.text) {
      const auto low = static_cast<char>(unit & 0xFF);
      const auto high = static_cast<char>(unit >> 8);
      bytes.push_back(big ? high : low);
      bytes.push_back(big ? low : high);
    }
    return bytes;
  }
  if (settings.encoding == Encoding::Utf8WithMark) bytes = kUtf8Mark;
  const int units = static_cast<int>(settings.text.size());
  if (units == 0) return bytes;
  const int size = WideCharToMultiByte(CP_UTF8, 0, settings.text.data(), units, nullptr, 0, nullptr, nullptr);
  const size_t mark = bytes.size();
  bytes.resize(mark + static_cast<size_t>(size));
  WideCharToMultiByte(CP_UTF8, 0, settings.text.data(), units, bytes.data() + mark, size, nullptr, nullptr);
  return bytes;
}

std::optional<std::vector<std::wstring>> ReadList(const SettingsText& settings, std::wstring_view path) {
  std::map<std::wstring, std::wstring_view> values;
  bool inside = false;
  for (const std::wstring_view line : Lines(settings.text)) {
    if (IsSection(line)) inside = IsSectionOf(line, path);
    if (!inside) continue;
    const auto value = ReadValue(line);
    if (!value || !BelongsToList(*value)) continue;
    values.try_emplace(SameName(value->name, L"Count") ? L"Count" : std::wstring(value->name), value->text);
  }
  const auto count = values.find(L"Count");
  if (count == values.end() || !IsNumber(count->second)) return {};
  std::vector<std::wstring> list;
  for (int at = 0; at < std::stoi(std::wstring(count->second)); ++at) {
    const auto value = values.find(std::to_wstring(at));
    if (value == values.end()) return {};  // the service refuses such a list
    list.emplace_back(value->second);
  }
  return list;
}

SettingsText WithList(const SettingsText& settings, std::wstring_view path, const std::vector<std::wstring>& list) {
  const std::wstring_view end =
      settings.text.find(L"\r\n") != std::wstring::npos || settings.text.find(L'\n') == std::wstring::npos ? L"\r\n"
                                                                                                           : L"\n";
  std::wstring block = L"Count=" + std::to_wstring(list.size()) + std::wstring(end);
  for (size_t at = 0; at < list.size(); ++at) {
    block += std::to_wstring(at) + L"=" + list[at] + std::wstring(end);
  }
  SettingsText changed{settings.encoding, {}};
  bool inside = false;
  bool written = false;
  const auto endLine = [&] {
    if (!changed.text.empty() && !changed.text.ends_with(L'\n')) changed.text += end;
  };
  for (const std::wstring_view line : Lines(settings.text)) {
    if (IsSection(line)) {
      inside = IsSectionOf(line, path);
    } else if (inside) {
      const auto value = ReadValue(line);
      if (value && BelongsToList(*value)) continue;
    }
    changed.text += line;
    if (!inside || written || !IsSection(line)) continue;
    endLine();
    changed.text += block;
    written = true;
  }
  if (written) return changed;
  endLine();
  if (!changed.text.empty()) changed.text += end;
  changed.text += L"[HKLM\\" + std::wstring(path) + L"]" + std::wstring(end) + block;
  return changed;
}

}  // namespace train
