// What the binder knows of Java's classes, as plain data: read once, then named and written without a look at Java.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace binder {

// Class names are JNI's, "java/util/Map$Entry"; types are descriptors, "I", "[J", "Ljava/lang/String;".

// The class that a type names, however many dimensions it has; none for primitive types.
inline std::string_view ClassOfType(std::string_view type) {
  type.remove_prefix(std::min(type.find_first_not_of('['), type.size()));
  return type.starts_with('L') ? type.substr(1, type.size() - 2) : std::string_view();
}

// Of modifiers, the bits that class files have.
enum Modifier : uint32_t {
  kPublic = 0x0001,
  kStatic = 0x0008,
  kFinal = 0x0010,
  kBridge = 0x0040,
  kVarargs = 0x0080,
  kInterface = 0x0200,
  kAbstract = 0x0400,
  kSynthetic = 0x1000,
  kEnum = 0x4000,
};

// The value of a constant that the compiler of Java knew; smaller integers and booleans are int32_t.
using Constant = std::variant<int32_t, int64_t, float, double, std::u16string>;

struct Method {
  std::string name;  // "<init>" for a constructor
  std::vector<std::string> parameters;
  std::string result;  // "V" for none
  uint32_t modifiers = 0;
  std::string text;                         // as Java's sources have it
  std::vector<std::string> parameterNames;  // none where they are not known

  [[nodiscard]] bool Is(Modifier modifier) const { return (modifiers & modifier) != 0; }
};

struct Field {
  std::string name;
  std::string type;
  uint32_t modifiers = 0;
  std::string text;
  std::optional<Constant> constant;

  [[nodiscard]] bool Is(Modifier modifier) const { return (modifiers & modifier) != 0; }
};

struct Class {
  std::string name;
  uint32_t modifiers = 0;
  std::string superclass;               // none for Object and for interfaces
  std::vector<std::string> interfaces;  // its own, in the order of the source
  std::string outer;                    // none for a class of the package
  bool nameTaken = false;               // nested, and the package has a class with the C++ name that it would get
  std::vector<std::string> nested;      // public ones
  std::string text;                     // its declaration
  // Only where they were read: see Library.
  bool membersRead = false;
  std::vector<Method> constructors;
  std::vector<Method> methods;
  std::vector<Field> fields;

  [[nodiscard]] bool Is(Modifier modifier) const { return (modifiers & modifier) != 0; }
};

struct Skipped {
  std::string name;
  std::string why;
};

// The classes that were asked for, and all that they need: whatever is above them, with members; whatever their members
// name and what is above that, without.
struct Library {
  std::map<std::string, Class, std::less<>> classes;
  std::set<std::string, std::less<>> asked;
  std::vector<Skipped> skipped;

  [[nodiscard]] const Class* Find(std::string_view name) const {
    const auto found = classes.find(name);
    return found == classes.end() ? nullptr : &found->second;
  }
};

inline constexpr std::string_view kObject = "java/lang/Object";

}  // namespace binder
