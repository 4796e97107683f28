// Replaces a function in a module's import table for the life of the object: to record and to fail Windows calls.
// Works on the test program itself and on any loaded DLL; other modules are not touched.
// A hook that finds nothing to replace fails the test: a silent one would prove nothing.
// The compiler may keep an import's address in a register for the whole of a function: what is hooked has to be called
// from another function than the one that makes the hook.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "tests/support/pinned.h"

namespace qvtest {

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

}  // namespace qvtest
