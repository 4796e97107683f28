// Growth doubles, so a text of n units is copied less than twice.
#include "host/host_text.h"

#include <algorithm>

namespace qv {

namespace {
constexpr size_t kSmallestBlockUnits = 64;
constexpr size_t kLargestTextUnits = 0x3FFFFFFF;  // its bytes and its length fit 31 bits with room to spare
}  // namespace

bool HostText::Reserve(size_t units) noexcept {
  if (units <= m_capacity) return true;
  if (units > kLargestTextUnits) return false;
  const size_t capacity = std::max({units, std::min(m_capacity * 2, kLargestTextUnits), kSmallestBlockUnits});
  HostArray<wchar_t> grown = AllocHostArray<wchar_t>(capacity);
  if (!grown) return false;
  std::copy_n(Text(), m_length + 1, grown.get());
  m_block = std::move(grown);
  m_capacity = capacity;
  return true;
}

HostText& HostText::Append(std::wstring_view piece) noexcept {
  if (m_failed || piece.empty()) return *this;
  if (piece.size() > kLargestTextUnits || !Reserve(m_length + piece.size() + 1)) {
    m_failed = true;
    return *this;
  }
  *std::copy(piece.begin(), piece.end(), m_block.get() + m_length) = L'\0';
  m_length += piece.size();
  return *this;
}

HostArray<wchar_t> HostText::DetachBlock() noexcept {
  if (m_failed) return nullptr;
  m_capacity = m_length = 0;
  return std::move(m_block);
}

}  // namespace qv
