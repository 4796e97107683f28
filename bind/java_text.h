// Declarations as Java's sources have them, for the comments beside what is generated. Pure.
#pragma once

#include <string>
#include <string_view>

#include "bind/model.h"

namespace binder {

// "java/util/Map$Entry" as Java's reflection names it: "java.util.Map$Entry".
std::string Dotted(std::string_view className);
// The part behind the package, "Map.Entry".
std::string ShortName(std::string_view className);

// "public <T> T[] toArray(T[] a) throws IOException". `signature` is the generic one of the class file, or none;
// `exceptions` are class names and serve where the signature has none.
std::string TextOf(const Method& method, std::string_view owner, std::string_view signature,
                   const std::vector<std::string>& exceptions);
std::string TextOf(const Field& field, std::string_view signature);
std::string TextOf(const Class& cls, std::string_view signature);

}  // namespace binder
