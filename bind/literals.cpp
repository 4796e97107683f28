#include "bind/literals.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>

#include "qvjvm/client/text.hpp"

namespace binder {

namespace {

template <class Number>
std::string Floating(Number value, std::string_view type, const char* suffix) {
  const std::string limits = "::std::numeric_limits<" + std::string(type) + ">::";
  if (std::isnan(value)) return limits + "quiet_NaN()";
  if (std::isinf(value)) return (value < 0 ? "-" : "") + limits + "infinity()";
  char text[64];
  const auto [end, error] = std::to_chars(std::begin(text), std::end(text), value);  // as few digits as come back
  std::string number(text, error == std::errc() ? end : text);
  if (number.find_first_of(".e") == std::string::npos) number += ".0";
  return number + suffix;
}

// Every unit that is no plain character is escaped, and the literal ends behind it: more digits may follow.
template <class Units>
std::string Quoted(const Units& units, std::string_view prefix) {
  const std::string open = std::string(prefix) + "\"";
  std::string text = open;
  for (const auto unit : units) {
    const auto value = static_cast<uint32_t>(unit) & (sizeof(unit) == 1 ? 0xFFU : 0xFFFFU);
    if (value == '"' || value == '\\') {
      text += '\\';
      text += static_cast<char>(value);
    } else if (value >= 0x20 && value < 0x7F && value != '?') {
      text += static_cast<char>(value);
    } else {
      char escaped[16];
      std::snprintf(escaped, sizeof escaped, "\\x%X", value);
      text += escaped + std::string("\" ") + open;
    }
  }
  return text + "\", " + std::to_string(units.size());
}

struct Writer {
  std::string_view type;
  bool utf8;

  std::string operator()(int32_t value) const {
    if (type == "Z") return value == 0 ? "false" : "true";
    if (type == "C") return "static_cast<wchar_t>(" + std::to_string(value) + ")";
    if (value == std::numeric_limits<int32_t>::min()) return "-2147483647 - 1";
    return std::to_string(value);
  }
  std::string operator()(int64_t value) const {
    if (value == std::numeric_limits<int64_t>::min()) return "-9223372036854775807LL - 1";
    return std::to_string(value) + "LL";
  }
  std::string operator()(float value) const { return Floating(value, "float", "F"); }
  std::string operator()(double value) const { return Floating(value, "double", ""); }
  std::string operator()(const std::u16string& value) const {
    if (!utf8) return Quoted(value, "L");
    return Quoted(qvjvm::detail::to_utf8(std::wstring(value.begin(), value.end())), "");
  }
};

}  // namespace

std::string LiteralOf(const Constant& constant, std::string_view type, bool utf8) {
  return std::visit(Writer{type, utf8}, constant);
}

}  // namespace binder
