// Answers as Windows does: a path that is too long is cut at the capacity and terminated, and the capacity comes back.
// The hook is in this program's own import table as well, so the real function is kept aside.
#include "tests/support/module_path.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace qvtest {
namespace {

decltype(&GetModuleFileNameW) g_real = nullptr;
WhoseModule g_whose;
std::wstring g_path;
std::atomic<int> g_questions;
bool g_fails;

DWORD WINAPI Answer(HMODULE module, wchar_t* buffer, DWORD capacity) {
  if (module != nullptr && g_whose == WhoseModule::Host) return g_real(module, buffer, capacity);
  ++g_questions;
  if (g_fails || capacity == 0) return 0;
  const DWORD copied = std::min(capacity - 1, static_cast<DWORD>(g_path.size()));
  *std::copy_n(g_path.data(), copied, buffer) = L'\0';
  if (copied == g_path.size()) return copied;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return capacity;
}

}  // namespace

ModulePath::ModulePath(std::wstring path, WhoseModule whose, HMODULE asker)
    : m_hook(asker, "GetModuleFileNameW", &Answer) {
  g_real = m_hook.Original<decltype(g_real)>();
  g_whose = whose;
  g_path = std::move(path);
  g_questions = 0;
  g_fails = false;
}

void ModulePath::Fail() { g_fails = true; }
int ModulePath::Questions() const { return g_questions; }

}  // namespace qvtest
