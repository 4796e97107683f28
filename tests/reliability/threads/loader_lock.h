// What loader_lock.dll and its user agree on.
#pragma once

namespace qvtest {

inline constexpr wchar_t kLoaderLockHeld[] = L"qv-loader-lock-held-%lu";
inline constexpr wchar_t kLoaderLockGo[] = L"qv-loader-lock-go-%lu";
inline constexpr unsigned long kLoaderLockLimitMs = 20000;

}  // namespace qvtest
