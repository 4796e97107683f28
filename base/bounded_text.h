// Copies that fit: always terminated, never past the end, and they say whether they cut.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <type_traits>

namespace qv {

// Copies as much of `text` as fits before the terminator. True when all of it fitted.
template <class Char, size_t Extent>
bool CopyBounded(std::span<Char, Extent> buffer, std::type_identity_t<std::basic_string_view<Char>> text) noexcept {
  if (buffer.empty()) return false;
  const size_t copied = std::min(text.size(), buffer.size() - 1);
  std::copy_n(text.data(), copied, buffer.data());
  buffer[copied] = Char{};
  return copied == text.size();
}

}  // namespace qv
