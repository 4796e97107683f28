#include "bind/names.h"

#include <algorithm>
#include <set>
#include <span>

namespace binder {

namespace {

// Keywords of C++ up to the newest standard and of its extensions, alternative tokens, and the library's namespace.
constexpr std::string_view kKeywords[] = {
#include "bind/keywords.inc"
};

// Macros of windows.h, of what it includes and of the C library, that are words as Java's programs have them.
constexpr std::string_view kMacros[] = {
#include "bind/macros.inc"
};

// Members of the client's objects that a host uses of a generated class too, and those that generated code uses.
constexpr std::string_view kClient[] = {
#include "bind/client_names.inc"
};

std::set<std::string, std::less<>> g_macros;

bool Has(std::span<const std::string_view> words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         static_cast<unsigned char>(c) >= 0x80;
}

// Without what no C++ name may have: dollars and what other languages than Java put into names, two underscores in a
// row, one before a capital at the beginning.
std::string WithoutForbidden(std::string_view name) {
  std::string allowed;
  for (const char letter : name) {
    const char put = IsLetterOrDigit(letter) ? letter : '_';
    if (put != '_' || allowed.empty() || allowed.back() != '_') allowed.push_back(put);
  }
  if (!allowed.empty() && allowed[0] >= '0' && allowed[0] <= '9') allowed.insert(0, 1, '_');
  if (allowed.size() > 1 && allowed[0] == '_' && allowed[1] >= 'A' && allowed[1] <= 'Z') allowed.erase(0, 1);
  return allowed;
}

std::string WithUnderscore(std::string name) {
  if (!name.ends_with('_')) name.push_back('_');
  return name;
}

}  // namespace

void ReserveMacro(const std::string& name) { g_macros.insert(name); }

bool CanBeWritten(std::string_view javaName) {
  return !javaName.empty() && std::none_of(javaName.begin(), javaName.end(), [](char c) {
    return (c >= '\0' && c < ' ') || c == '\x7F' || c == '"' || c == '\\';
  });
}

Reserved WhyReserved(std::string_view javaName) {
  if (WithoutForbidden(javaName) != javaName) return Reserved::Form;
  if (Has(kKeywords, javaName)) return Reserved::Keyword;
  if (Has(kMacros, javaName) || g_macros.contains(javaName)) return Reserved::Macro;
  if (Has(kClient, javaName)) return Reserved::Client;
  return Reserved::No;
}

std::string NameOf(std::string_view javaName) {
  return WhyReserved(javaName) == Reserved::No ? std::string(javaName) : WithUnderscore(WithoutForbidden(javaName));
}

std::vector<std::string> NamespacesOf(std::string_view className) {
  std::vector<std::string> names;
  for (size_t at = 0, end = 0; (end = className.find('/', at)) != std::string_view::npos; at = end + 1) {
    names.push_back(NameOf(className.substr(at, end - at)));
  }
  return names;
}

std::string_view NestedPart(std::string_view className, std::string_view outer) {
  if (outer.empty() || !className.starts_with(outer)) return {};
  className.remove_prefix(outer.size());
  if (className.starts_with('$')) className.remove_prefix(1);
  return className;
}

std::string ClassNameOf(std::string_view className, std::string_view outer, bool taken) {
  const size_t slash = className.rfind('/');
  const std::string_view own = slash == std::string_view::npos ? className : className.substr(slash + 1);
  // Only what nests makes an underscore of a dollar that nobody sees as one; the name may hold dollars itself.
  if (const std::string_view simple = NestedPart(className, outer); !simple.empty()) {
    const size_t above = outer.rfind('/');
    std::string joined(above == std::string_view::npos ? outer : outer.substr(above + 1));
    // The outer class may be nested too.
    std::replace(joined.begin(), joined.end(), '$', '_');
    const std::string name = NameOf(joined + "_" + std::string(simple));
    return taken ? WithUnderscore(name) : name;
  }
  return NameOf(own);
}

std::string MemberNameOf(std::string_view javaName, std::string_view ownClass) {
  const std::string name = NameOf(javaName);
  return name == ownClass ? WithUnderscore(name) : name;
}

}  // namespace binder
