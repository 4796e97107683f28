// What programs that compare the results of calls have in common: those that WriteCalls writes, and library_calls.cpp.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

#include "qvjvm/qvjvm.hpp"

inline int g_compared = 0;
inline int g_failed = 0;

template <class Got, class Expected>
void Same(const Got& got, const Expected& expected, const char* call) {
  bool same = false;
  if constexpr (std::is_same_v<Expected, int64_t>) {
    same = static_cast<int64_t>(got) == expected;
  } else if constexpr (std::is_same_v<Expected, double>) {
    same = static_cast<double>(got) >= expected && static_cast<double>(got) <= expected;
  } else {
    same = got == expected;
  }
  ++g_compared;
  if (same) return;
  ++g_failed;
  std::printf("not as Java has it: %s\n", call);
}
#define SAME(call, expected) Same(call, expected, #call)

// A constant of the compiler is one in C++; the others are asked for.
#define SAME_CONSTANT(Type, Name, expected)    \
  Same(                                        \
      [&]<class T>(const T*) {                 \
        if constexpr (requires { T::Name; }) { \
          return T::Name;                      \
        } else {                               \
          return T::get_##Name(java);          \
        }                                      \
      }(static_cast<const Type*>(nullptr)),    \
      expected, #Type "::" #Name)

template <class Calls>
void Class(const char* name, const Calls& calls) {
  try {
    calls();
  } catch (const qvjvm::error& error) {
    ++g_failed;
    std::printf("%s: %s\n", name, error.what());
  }
}

inline int CallAndTell(void (*callAll)(const qvjvm::jvm& java), int classes) {
  try {
    callAll(qvjvm::jvm::start());
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
  std::printf("%d classes, %d results compared, %d failed\n", classes, g_compared, g_failed);
  return g_failed == 0 && g_compared > 0 ? 0 : 1;
}
