// A module may import one function in several places; all of them are replaced. support_tests.cpp shows that it
// replaces and restores.
#include "tests/support/import_hook.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/module_image.h"

namespace qvtest {
namespace {

template <class Matches>
std::vector<void**> FindImports(HMODULE module, Matches&& matches) {
  std::vector<void**> places;
  const ModuleImage image(module != nullptr ? module : GetModuleHandleW(nullptr));
  image.ForEachImport([&](const char* dll, const char* function, uint16_t ordinal, void** place) {
    if (matches(dll, function, ordinal)) places.push_back(place);
  });
  return places;
}

auto ByName(const char* function) {
  return [function](const char*, const char* name, uint16_t) {
    return name != nullptr && std::strcmp(name, function) == 0;
  };
}

void* Replace(const std::vector<void**>& places, void* replacement, const std::string& what) {
  if (places.empty()) {
    ADD_FAILURE() << "the module does not import " << what << ", so nothing was replaced";
    return nullptr;
  }
  void* const original = *places.front();
  for (void** place : places) WriteTo(place, replacement);
  return original;
}

}  // namespace

void WriteTo(void** place, void* value) {
  DWORD before = 0;
  VirtualProtect(place, sizeof(void*), PAGE_READWRITE, &before);
  *place = value;
  VirtualProtect(place, sizeof(void*), before, &before);
}

ImportHook::ImportHook(HMODULE module, const char* function, void* replacement)
    : m_places(FindImports(module, ByName(function))), m_original(Replace(m_places, replacement, function)) {}

ImportHook::ImportHook(HMODULE module, const char* dll, uint16_t ordinal, void* replacement)
    : m_places(FindImports(module,
                           [&](const char* from, const char* name, uint16_t number) {
                             return name == nullptr && number == ordinal && _stricmp(from, dll) == 0;
                           })),
      m_original(Replace(m_places, replacement, dll + std::string(" ordinal ") + std::to_string(ordinal))) {}

bool ImportHook::Imports(HMODULE module, const char* function) {
  return !FindImports(module, ByName(function)).empty();
}

ImportHook::~ImportHook() {
  for (void** place : m_places) WriteTo(place, m_original);
}

}  // namespace qvtest
