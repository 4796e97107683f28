// What start-up decided and why it failed, for whoever listens on the debugger channel (a debugger, or a viewer of
// OutputDebugString). Its host gets a bare E_FAIL, so this is where the reason can be read. No file, no memory, no
// effect on any result; without a listener it costs a look.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace qv {

// One line, "qvjvm: " before it, cut at 1,023 units. Threads: any. Never under a lock that other threads' operations
// take: a viewer that hangs holds a line back for seconds. Start-up alone tells its lines as it goes, under its own
// lock too, because the JVM may end the process before there is a later.
void Trace(std::initializer_list<std::wstring_view> pieces) noexcept;

// A number as text, for a piece of a line; valid as long as the object.
class TraceNumber {
 public:
  explicit TraceNumber(int64_t number) noexcept;
  operator std::wstring_view() const noexcept { return {m_begin}; }  // NOLINT(google-explicit-constructor): a piece

 private:
  wchar_t m_text[24];
  const wchar_t* m_begin;
};

}  // namespace qv
