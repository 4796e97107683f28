// Which part of a start-up option may be told to others. Pure.
#pragma once

#include <string_view>

namespace qv {

// The option up to and including the "=" behind a name that says password, passwd, pwd, secret, token, credential or
// passphrase in any letter case; all of it when there is none. Class paths are never cut.
std::wstring_view WithoutSecret(std::wstring_view option) noexcept;

}  // namespace qv
