// Classes read out of a running Java: what is there by reflection, the rest from their class files. No class is
// initialised by it.
#pragma once

#include <functional>

#include "bind/model.h"
#include "qvjvm/qvjvm.hpp"

namespace binder {

// What a word of the command line asks for: "java.util.Map" with what is nested in it, "java.util.*" for the public
// classes of a package, "java.base/*" for all packages that a module exports. Class names, as JNI has them.
// @throws std::runtime_error when there is nothing of that name.
std::vector<std::string> ClassesFor(const qvjvm::jvm& java, const std::wstring& classPath, const std::string& word);

// Reads those classes and what they need. A class that cannot be loaded is left out and told.
Library ReadLibrary(const qvjvm::jvm& java, const std::vector<std::string>& asked);

}  // namespace binder
