// The files of a Java runtime that a start needs, and libraries of their names that would be loaded instead of them.
#pragma once

#include <vector>

#include "doctor/facts.h"

namespace doctor {

std::vector<RuntimePart> InspectParts(const Runtime& runtime);
// What lies in `folder`, where the system looks before PATH, under a name that the runtime's libraries are loaded by.
std::vector<Library> FindForeign(const Runtime& runtime, const std::wstring& folder);

}  // namespace doctor
