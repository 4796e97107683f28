// Replaces a function in a module's import table for the life of the object: to record and to fail Windows calls.
// Works on the test program itself and on any loaded DLL; other modules are not touched.
// A hook that finds nothing to replace fails the test: a silent one would prove nothing.
// The compiler may keep an import's address in a register for the whole of a function: what is hooked has to be called
// from another function than the one that makes the hook.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "tests/support/pinned.h"

namespace qvtest {

// Into a table that is else only read.
void WriteTo(void** place, void* value);

class ImportHook : private Pinned {
 public:
  // By name, whichever DLL the module imports it from. A null module is the program itself.
  ImportHook(HMODULE module, const char* function, void* replacement);
  // By ordinal of one DLL ("qvshr.dll").
  ImportHook(HMODULE module, const char* dll, uint16_t ordinal, void* replacement);
  template <class Result, class... Arguments>
  ImportHook(HMODULE module, const char* function, Result (*replacement)(Arguments...))
      : ImportHook(module, function, reinterpret_cast<void*>(replacement)) {}
  ~ImportHook();

  // Whether the module imports the function, so that a hook would find it.
  static bool Imports(HMODULE module, const char* function);

  [[nodiscard]] bool Installed() const { return !m_places.empty(); }
  // What the module would have called; null when nothing was replaced.
  template <class Function>
  [[nodiscard]] Function Original() const {
    return reinterpret_cast<Function>(m_original);
  }

 private:
  std::vector<void**> m_places;
  void* m_original = nullptr;
};

// The same with an answer of the test's own that may hold what it needs: FunctionHook<decltype(&Sleep)> hook("Sleep",
// [&](DWORD ms) { ... }). One at a time of each type of function, unless their tags differ.
template <class Function, int Tag = 0>
class FunctionHook;
template <class Result, class... Arguments, int Tag>
class FunctionHook<Result (*)(Arguments...), Tag> : private Pinned {
 public:
  using Answer = std::function<Result(Arguments...)>;

  FunctionHook(const char* function, Answer answer, HMODULE module = nullptr) {
    s_answer = std::move(answer);
    m_hook.emplace(module, function, &Call);
  }
  FunctionHook(const char* dll, uint16_t ordinal, Answer answer) {
    s_answer = std::move(answer);
    m_hook.emplace(nullptr, dll, ordinal, reinterpret_cast<void*>(&Call));
  }

  // What would have been called.
  Result Real(Arguments... arguments) const {
    return m_hook->template Original<Result (*)(Arguments...)>()(arguments...);
  }

 private:
  static Result Call(Arguments... arguments) { return s_answer(arguments...); }

  static inline Answer s_answer;
  std::optional<ImportHook> m_hook;
};

}  // namespace qvtest
