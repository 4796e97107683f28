// Which members of a class its C++ class declares, and which overload of two Java would take. Pure.
//
// A class declares all overloads of a name together, its own and those from above, or none where they are exactly those
// of its superclass: so nothing is hidden, and every overload knows the others.
#pragma once

#include <memory>

#include "bind/model.h"

namespace binder {

// The superclass as C++ sees it: Object for interfaces, none for Object.
std::string BaseOf(const Class& cls);
// All interfaces, sorted; those of the superclasses too.
std::vector<std::string> AllInterfaces(const Library& library, const Class& cls);

// Whether a value of the type `from` may go where `to` is declared, as Java decides about overloads.
bool Fits(const Library& library, std::string_view from, std::string_view to);
// Whether every argument that fits `one` fits `other`.
bool MoreSpecific(const Library& library, const Method& one, const Method& other);
// The same for two methods with a variable number of arguments, called with these one by one.
bool MoreSpecificVarargs(const Library& library, const Method& one, const Method& other);

// A method, and the class that declares it.
struct Visible {
  const Method* method;
  const Class* owner;
};

class Members {
 public:
  explicit Members(const Library& library) : m_library(library) {}

  // The methods to declare in the class, by name, parameters and result.
  std::vector<Visible> MethodsOf(const Class& cls);
  // The names of all its methods, those from above too.
  std::set<std::string> NamesOf(const Class& cls);

 private:
  // By name, then by parameters.
  using Overloads = std::map<std::vector<std::string>, Visible>;
  struct All {
    std::map<std::string, Overloads> methods;
    // Erased forms that only bridges of the compiler have.
    std::set<std::pair<std::string, std::vector<std::string>>> hidden;
  };

  const All& AllOf(const Class& cls);
  void AddOwn(const Class& cls, All& all) const;
  void AddInherited(const Class& cls, bool ofInterface, All& all);

  const Library& m_library;
  std::map<std::string, std::unique_ptr<All>, std::less<>> m_known;
};

}  // namespace binder
