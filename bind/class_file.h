// What only a class file tells: constants without running the class, generic signatures, names of parameters. Pure: it
// reads bytes, which may be damaged.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "bind/model.h"

namespace binder {

struct MemberInfo {
  std::string signature;  // generic; none where it says nothing more than the type
  std::optional<Constant> constant;
  std::vector<std::string> parameterNames;
};

struct ClassFile {
  std::string signature;
  // By name and descriptor.
  std::map<std::pair<std::string, std::string>, MemberInfo> fields;
  std::map<std::pair<std::string, std::string>, MemberInfo> methods;
};

// Nothing where the bytes are no class file that is understood.
std::optional<ClassFile> ReadClassFile(std::span<const uint8_t> bytes);

// Modified UTF-8, as class files have it.
std::u16string FromModifiedUtf8(std::string_view bytes);

}  // namespace binder
