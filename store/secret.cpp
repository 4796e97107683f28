// An option may hold several settings, as "-agentlib:x=user=a,password=b" does: each name before a "=" is looked at.
#include "store/secret.h"

#include <algorithm>

namespace qv {

namespace {

constexpr std::wstring_view kSecretWords[] = {L"password", L"passwd",     L"pwd",       L"secret",
                                              L"token",    L"credential", L"passphrase"};
constexpr std::wstring_view kClassPaths[] = {L"-Djava.class.path=", L"-Xbootclasspath"};
constexpr std::wstring_view kSeparators = L",;&?=";

constexpr wchar_t Lower(wchar_t unit) noexcept {
  return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

bool SaysSecret(std::wstring_view name) noexcept {
  return std::any_of(std::begin(kSecretWords), std::end(kSecretWords), [&](std::wstring_view word) {
    return std::search(name.begin(), name.end(), word.begin(), word.end(),
                       [](wchar_t left, wchar_t right) { return Lower(left) == right; }) != name.end();
  });
}

}  // namespace

std::wstring_view WithoutSecret(std::wstring_view option) noexcept {
  for (const std::wstring_view start : kClassPaths) {
    if (option.starts_with(start)) return option;
  }
  size_t name = 0;
  for (size_t end = option.find_first_of(kSeparators); end != std::wstring_view::npos;
       end = option.find_first_of(kSeparators, name)) {
    if (option[end] == L'=' && SaysSecret(option.substr(name, end - name))) return option.substr(0, end + 1);
    name = end + 1;
  }
  return option;
}

}  // namespace qv
