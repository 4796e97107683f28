#include "bind/names.h"

#include <algorithm>
#include <array>

namespace binder {

namespace {

template <size_t Size>
using Words = std::array<std::string_view, Size>;

// Sorted by their bytes, as the look-up wants them.
constexpr auto kKeywords = std::to_array<std::string_view>(
    {"alignas",      "alignof",     "and",           "and_eq",           "asm",       "atomic_cancel", "atomic_commit",
     "atomic_noexcept", "auto",     "bitand",        "bitor",            "bool",      "break",         "case",
     "catch",        "char",        "char16_t",      "char32_t",         "char8_t",   "class",         "co_await",
     "co_return",    "co_yield",    "compl",         "concept",          "const",     "const_cast",    "consteval",
     "constexpr",    "constinit",   "continue",      "contract_assert",  "decltype",  "default",       "delete",
     "do",           "double",      "dynamic_cast",  "else",             "enum",      "explicit",      "export",
     "extern",       "false",       "float",         "for",              "friend",    "goto",          "if",
     "inline",       "int",         "long",          "mutable",          "namespace", "new",           "noexcept",
     "not",          "not_eq",      "nullptr",       "operator",         "or",        "or_eq",         "private",
     "protected",    "public",      "reflexpr",      "register",         "reinterpret_cast", "requires", "return",
     "short",        "signed",      "sizeof",        "static",           "static_assert", "static_cast", "std",
     "struct",       "switch",      "synchronized",  "template",         "this",      "thread_local",  "throw",
     "true",         "try",         "typedef",       "typeid",           "typename",  "union",         "unsigned",
     "using",        "virtual",     "void",          "volatile",         "wchar_t",   "while",         "xor",
     "xor_eq"});

// Macros of windows.h, of what it includes and of the C library, that are words as Java's programs have them.
constexpr auto kMacros = std::to_array<std::string_view>(
    {"ABSOLUTE",    "ALTERNATE",   "BUFSIZ",      "BYTE_ORDER",  "CALLBACK",    "CONST",       "CREATE_NEW",  "CreateDialog",
     "CreateDirectory", "CreateEvent", "CreateFile", "CreateFont", "CreateMutex", "CreateProcess", "CreateSemaphore",
     "CreateWindow", "DELETE",     "DIFFERENCE",  "DOMAIN",      "DeleteFile",  "DrawText",    "EOF",
     "ERROR",       "EXCEPTION_ACCESS_VIOLATION", "FAILED",      "FALSE",       "FAR",         "FORCEINLINE", "FindText",
     "FormatMessage", "GetClassInfo", "GetClassName", "GetCommandLine", "GetCurrentDirectory", "GetCurrentTime",
     "GetFreeSpace", "GetMessage", "GetObject",   "GetProp",     "GetUserName", "HUGE_VAL",    "IGNORE",      "IN",
     "INFINITE",    "INFINITY",    "INTERFACE",   "LoadImage",   "LoadLibrary", "LoadString",  "MAX_PATH",    "MAX_PRIORITY", "MIN_PRIORITY",    "MB_CUR_MAX",
     "MessageBox",  "MoveFile",    "NAN",         "NEAR",        "NULL",        "NO_ERROR",    "NOMINMAX",    "OPAQUE",
     "OPTIONAL",    "OUT",         "OVERFLOW",    "PASCAL",      "PLOSS",       "PURE",        "PostMessage", "RAND_MAX",    "READ_ATTRIBUTES", "REASON_UNKNOWN",
     "RELATIVE",    "RemoveProp",  "ReportEvent", "SEEK_CUR",    "SEEK_END",    "SEEK_SET",    "SING",        "SO_BROADCAST",
     "SO_DEBUG",    "SO_ERROR",    "SO_KEEPALIVE", "SO_LINGER",  "SO_OOBINLINE", "SO_RCVBUF",  "SO_REUSEADDR", "SO_SNDBUF",
     "SO_TIMEOUT",  "STRICT",      "SUCCEEDED",   "SYNCHRONIZE",   "SendMessage", "SetProp",     "StartDoc",    "TCP_NODELAY", "THIS",
     "TLOSS",       "TRANSPARENT", "TRUE",        "TRUNCATE_EXISTING",        "UNDERFLOW",   "UNICODE",     "VOID",        "WRITE_OWNER",        "Yield",       "assert",
     "cdecl",       "environ",     "errno",       "far",         "huge",        "hyper",       "interface",   "major",
     "max",         "min",         "minor",       "near",        "pascal",      "signbit",     "small",       "stderr",
     "stdin",       "stdout"});

// Members of the client's objects that a host uses of a generated class too, and those that generated code uses.
constexpr auto kClient = std::to_array<std::string_view>(
    {"as",           "call",         "call_as",          "call_static",  "copy",           "create",
     "create_as",    "field",        "get_class",        "get_class_from", "instance",     "is",
     "is_instance_of", "java_call",  "java_interfaces",  "java_new",     "java_signature", "java_static",
     "java_varargs", "object",       "same_as",          "set_field",    "set_static_field", "static_field",
     "try_as",       "try_call",     "try_call_as",      "try_call_static", "try_copy",    "try_create",
     "try_create_as", "try_field",   "try_set_field",    "try_set_static_field", "try_static_field",
     "unchecked_as", "wrapper"});

template <size_t Size>
bool Has(const std::array<std::string_view, Size>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// Without what no C++ name may have: dollars, two underscores in a row, one before a capital at the beginning.
std::string WithoutForbidden(std::string_view name) {
  std::string allowed;
  for (const char letter : name) {
    const char put = letter == '$' ? '_' : letter;
    if (put != '_' || allowed.empty() || allowed.back() != '_') allowed.push_back(put);
  }
  if (allowed.size() > 1 && allowed[0] == '_' && allowed[1] >= 'A' && allowed[1] <= 'Z') allowed.erase(0, 1);
  return allowed;
}

std::string WithUnderscore(std::string name) {
  if (!name.ends_with('_')) name.push_back('_');
  return name;
}

}  // namespace

Reserved WhyReserved(std::string_view javaName) {
  if (WithoutForbidden(javaName) != javaName) return Reserved::Form;
  if (Has(kKeywords, javaName)) return Reserved::Keyword;
  if (Has(kMacros, javaName)) return Reserved::Macro;
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

std::string ClassNameOf(std::string_view className, std::string_view outer) {
  const size_t slash = className.rfind('/');
  const std::string_view own = slash == std::string_view::npos ? className : className.substr(slash + 1);
  // Only what nests makes an underscore of a dollar that nobody sees as one; the name may hold dollars itself.
  if (!outer.empty() && className.size() > outer.size() + 1 && className.starts_with(outer)) {
    const std::string_view simple = className.substr(outer.size() + 1);
    const size_t above = outer.rfind('/');
    std::string joined(above == std::string_view::npos ? outer : outer.substr(above + 1));
    // The outer class may be nested too.
    std::replace(joined.begin(), joined.end(), '$', '_');
    return NameOf(joined + "_" + std::string(simple));
  }
  return NameOf(own);
}

std::string MemberNameOf(std::string_view javaName, std::string_view ownClass) {
  const std::string name = NameOf(javaName);
  return name == ownClass ? WithUnderscore(name) : name;
}

}  // namespace binder
