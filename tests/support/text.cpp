// Conversions for messages and for the arguments of child processes.
// Windows does the work; what it cannot convert is escaped first.
#include "tests/support/text.h"

#include <windows.h>

#include <cwchar>
#include <sstream>

namespace qvtest {
namespace {

bool IsHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::wstring readable;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool pair = IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]);
    if (pair) readable += text[i++];
    if (!pair && (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i]))) {
      wchar_t escape[8];
      std::swprintf(escape, 8, L"\\u%04X", static_cast<unsigned>(text[i]));
      readable += escape;
    } else {
      readable += text[i];
    }
  }
  const int units = static_cast<int>(readable.size());
  std::string out(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, readable.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, readable.data(), units, out.data(), static_cast<int>(out.size()), nullptr, nullptr);
  return out;
}

std::wstring ToWide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int bytes = static_cast<int>(utf8.size());
  std::wstring out(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, out.data(), static_cast<int>(out.size()));
  return out;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    std::erase(line, '\r');
    lines.push_back(line);
  }
  return lines;
}

std::wstring TextOf(IQvString* string) {
  return string != nullptr ? std::wstring(qv::TextOf(string)) : std::wstring(L"<null>");
}

std::wstring TakeText(IQvString*& string) {
  std::wstring text = TextOf(string);
  if (string != nullptr) string->Release();
  string = nullptr;
  return text;
}

}  // namespace qvtest
