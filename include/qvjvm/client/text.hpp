/// @file
/// Text between C++ and Java. Java's strings are UTF-16 and may hold anything; UTF-8 cannot say an unpaired surrogate
/// and UTF-16 cannot say a wrong byte: either becomes U+FFFD on its way. Wide and UTF-16 text loses nothing both ways.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qvjvm::detail {

template <class Unit>
constexpr bool is_high_surrogate(Unit unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}
template <class Unit>
constexpr bool is_low_surrogate(Unit unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}

inline constexpr uint32_t replacement = 0xFFFD;

inline void put_utf8(std::string& bytes, uint32_t point) {
  const auto put = [&](uint32_t byte) { bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  if (point < 0x80) {
    put(point);
  } else if (point < 0x800) {
    put(0xC0 | (point >> 6));
    put(0x80 | (point & 0x3F));
  } else if (point < 0x10000) {
    put(0xE0 | (point >> 12));
    put(0x80 | ((point >> 6) & 0x3F));
    put(0x80 | (point & 0x3F));
  } else {
    put(0xF0 | (point >> 18));
    put(0x80 | ((point >> 12) & 0x3F));
    put(0x80 | ((point >> 6) & 0x3F));
    put(0x80 | (point & 0x3F));
  }
}

/// UTF-16 as UTF-8.
inline std::string to_utf8(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t point = text[i];
    if (is_high_surrogate(point) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<uint32_t>(text[++i]) - 0xDC00);
    } else if (is_high_surrogate(point) || is_low_surrogate(point)) {
      point = replacement;
    }
    put_utf8(bytes, point);
  }
  return bytes;
}

/// The code point that begins at `at`, which is moved behind it; U+FFFD for what is no UTF-8 (each longest part of a
/// sequence that could have become one counts once, as browsers do).
inline uint32_t take_utf8(std::string_view bytes, size_t& at) noexcept {
  const auto lead = static_cast<unsigned char>(bytes[at++]);
  if (lead < 0x80) return lead;
  size_t more = 0;
  unsigned char low = 0x80;   // what the second byte may be: no longer forms than needed, no surrogates,
  unsigned char high = 0xBF;  // nothing above U+10FFFF
  uint32_t point = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    more = 1;
    point = lead & 0x1FU;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    more = 2;
    point = lead & 0x0FU;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    more = 3;
    point = lead & 0x07U;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return replacement;
  }
  for (; more > 0; --more) {
    if (at == bytes.size()) return replacement;
    const auto next = static_cast<unsigned char>(bytes[at]);
    if (next < low || next > high) return replacement;
    low = 0x80;
    high = 0xBF;
    point = (point << 6) | (next & 0x3FU);
    ++at;
  }
  return point;
}

/// UTF-8 as UTF-16; never more units than there are bytes.
inline std::wstring to_utf16(std::string_view bytes) {
  std::wstring text;
  text.reserve(bytes.size());
  for (size_t at = 0; at < bytes.size();) {
    const uint32_t point = take_utf8(bytes, at);
    if (point < 0x10000) {
      text.push_back(static_cast<wchar_t>(point));
    } else {
      text.push_back(static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10)));
      text.push_back(static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
    }
  }
  return text;
}

}  // namespace qvjvm::detail
