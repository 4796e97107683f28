// Text under construction in one growing host block. Appending is linear in all; exhaustion is remembered, so that a
// chain of appends needs one look at Ok() at its end.
//
// A HostText owns its block and frees it; it can be moved, not copied. View() and Text() lend what is there until the
// next change. ToString() makes a string object of the caller's and leaves the text as it is; DetachBlock() hands the
// block itself over, and the text is empty then.
#pragma once

#include <initializer_list>
#include <string_view>
#include <utility>

#include "host/host_memory.h"
#include "host/host_ref.h"

namespace qv {

class HostText {
 public:
  HostText() noexcept = default;
  HostText(std::initializer_list<std::wstring_view> pieces) noexcept { Append(pieces); }
  HostText(HostText&& other) noexcept { *this = std::move(other); }
  // What is moved from is empty.
  HostText& operator=(HostText&& other) noexcept {
    m_block = std::move(other.m_block);
    m_capacity = std::exchange(other.m_capacity, 0);
    m_length = std::exchange(other.m_length, 0);
    m_failed = std::exchange(other.m_failed, false);
    return *this;
  }

  // The answer of a text function that found no memory.
  static HostText Failed() noexcept {
    HostText text;
    text.Fail();
    return text;
  }
  void Fail() noexcept { m_failed = true; }

  HostText& Append(std::wstring_view piece) noexcept;
  HostText& Append(std::initializer_list<std::wstring_view> pieces) noexcept {
    for (std::wstring_view piece : pieces) Append(piece);
    return *this;
  }

  // False once an append found no memory; the text then holds what came before it.
  [[nodiscard]] bool Ok() const noexcept { return !m_failed; }
  [[nodiscard]] bool Empty() const noexcept { return m_length == 0; }
  [[nodiscard]] size_t Length() const noexcept { return m_length; }
  [[nodiscard]] std::wstring_view View() const noexcept { return {Text(), m_length}; }
  // Never null, always terminated.
  [[nodiscard]] const wchar_t* Text() const noexcept { return m_block ? m_block.get() : L""; }
  // A new string object with this text; an empty reference when an append failed or there is no memory.
  [[nodiscard]] StringRef ToString() const noexcept { return Ok() ? MakeString(Text()) : StringRef(); }
  // The block itself, terminated; null when an append failed or nothing was ever appended.
  [[nodiscard]] HostArray<wchar_t> DetachBlock() noexcept;

 private:
  [[nodiscard]] bool Reserve(size_t units) noexcept;

  HostArray<wchar_t> m_block;
  size_t m_capacity = 0;  // units, terminator included
  size_t m_length = 0;
  bool m_failed = false;
};

}  // namespace qv
