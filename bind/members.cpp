#include "bind/members.h"

#include <algorithm>

#include "qvjvm/client/signature.hpp"

namespace binder {

namespace {

void AddInterfaces(const Library& library, const Class& cls, std::set<std::string>& into) {
  for (const std::string& name : cls.interfaces) {
    if (!into.insert(name).second) continue;
    if (const Class* const above = library.Find(name)) AddInterfaces(library, *above, into);
  }
  if (const Class* const above = library.Find(cls.superclass)) AddInterfaces(library, *above, into);
}

bool IsReference(std::string_view type) { return type[0] == 'L' || type[0] == '['; }

bool ClassFits(const Library& library, std::string_view from, std::string_view to) {
  if (from == to || to == kObject) return true;
  const Class* const cls = library.Find(from);
  if (cls == nullptr) return false;
  if (!cls->superclass.empty() && ClassFits(library, cls->superclass, to)) return true;
  return std::any_of(cls->interfaces.begin(), cls->interfaces.end(),
                     [&](const std::string& name) { return ClassFits(library, name, to); });
}

// What a bridge calls: a method of the same class with parameters and a result that are the bridge's or below them.
bool Bridges(const Library& library, const Method& bridge, const Method& real) {
  if (real.Is(kSynthetic) || real.name != bridge.name || real.parameters.size() != bridge.parameters.size() ||
      real.Is(kStatic)) {
    return false;
  }
  for (size_t i = 0; i < real.parameters.size(); ++i) {
    const std::string& from = real.parameters[i];
    const std::string& to = bridge.parameters[i];
    if (from != to && (!IsReference(from) || !IsReference(to) || !Fits(library, from, to))) return false;
  }
  return real.result == bridge.result || Fits(library, real.result, bridge.result);
}

}  // namespace

std::string BaseOf(const Class& cls) {
  if (cls.name == kObject) return {};
  return cls.superclass.empty() ? std::string(kObject) : cls.superclass;
}

std::vector<std::string> AllInterfaces(const Library& library, const Class& cls) {
  std::set<std::string> all;
  AddInterfaces(library, cls, all);
  return {all.begin(), all.end()};
}

bool Fits(const Library& library, std::string_view from, std::string_view to) {
  if (from == to) return true;
  if (!IsReference(from) || !IsReference(to)) {
    return !IsReference(from) && !IsReference(to) && qvjvm::detail::widens(from[0], to[0]);
  }
  if (from[0] == '[') {
    if (to[0] == '[') {
      const std::string_view element = from.substr(1);
      return IsReference(element) && IsReference(to.substr(1)) && Fits(library, element, to.substr(1));
    }
    return to == "Ljava/lang/Object;" || to == "Ljava/lang/Cloneable;" || to == "Ljava/io/Serializable;";
  }
  return to[0] == 'L' && ClassFits(library, ClassOfType(from), ClassOfType(to));
}

bool MoreSpecific(const Library& library, const Method& one, const Method& other) {
  if (one.parameters.size() != other.parameters.size() || one.parameters == other.parameters) return false;
  for (size_t i = 0; i < one.parameters.size(); ++i) {
    if (!Fits(library, one.parameters[i], other.parameters[i])) return false;
  }
  return true;
}

bool MoreSpecificVarargs(const Library& library, const Method& one, const Method& other) {
  if (!one.Is(kVarargs) || !other.Is(kVarargs) || one.parameters == other.parameters) return false;
  const auto at = [](const Method& method, size_t i) -> std::string_view {
    const size_t last = method.parameters.size() - 1;
    return i < last ? std::string_view(method.parameters[i]) : std::string_view(method.parameters[last]).substr(1);
  };
  for (size_t i = 0; i < std::max(one.parameters.size(), other.parameters.size()); ++i) {
    if (!Fits(library, at(one, i), at(other, i))) return false;
  }
  return true;
}

void Members::AddOwn(const Class& cls, All& all) const {
  for (const Method& method : cls.methods) {
    if (!method.Is(kPublic)) continue;
    if (method.Is(kSynthetic) || method.Is(kBridge)) {
      const auto bridged = std::find_if(cls.methods.begin(), cls.methods.end(),
                                        [&](const Method& real) { return Bridges(m_library, method, real); });
      if (bridged != cls.methods.end()) {
        if (bridged->parameters != method.parameters) all.hidden.insert({method.name, method.parameters});
        continue;
      }
      if (!method.Is(kBridge)) continue;  // a compiler's own
    }
    Overloads& overloads = all.methods[method.name];
    const auto [place, isNew] = overloads.insert({method.parameters, {&method, &cls}});
    // Bridges that differ in their result alone.
    if (!isNew && Fits(m_library, method.result, place->second.method->result)) place->second = {&method, &cls};
  }
}

void Members::AddInherited(const Class& cls, bool ofInterface, All& all) {
  const All& above = AllOf(cls);
  all.hidden.insert(above.hidden.begin(), above.hidden.end());
  for (const auto& [name, overloads] : above.methods) {
    for (const auto& [parameters, inherited] : overloads) {
      // Static methods of interfaces belong to the interface alone.
      if (ofInterface && (inherited.method->Is(kStatic) || all.hidden.contains({name, parameters}))) continue;
      Overloads& here = all.methods[name];
      const auto [place, isNew] = here.insert({parameters, inherited});
      const std::string& known = place->second.method->result;
      if (!isNew && known != inherited.method->result && IsReference(known) &&
          Fits(m_library, inherited.method->result, known)) {
        place->second = inherited;
      }
    }
  }
}

const Members::All& Members::AllOf(const Class& cls) {
  std::unique_ptr<All>& known = m_known[cls.name];
  if (known == nullptr) {
    auto all = std::make_unique<All>();
    AddOwn(cls, *all);
    if (const Class* const base = m_library.Find(BaseOf(cls))) AddInherited(*base, false, *all);
    for (const std::string& name : cls.interfaces) {
      if (const Class* const above = m_library.Find(name)) AddInherited(*above, true, *all);
    }
    m_known[cls.name] = std::move(all);
  }
  return *m_known[cls.name];
}

std::set<std::string> Members::NamesOf(const Class& cls) {
  std::set<std::string> names;
  for (const auto& [name, overloads] : AllOf(cls).methods) names.insert(name);
  return names;
}

std::vector<Visible> Members::MethodsOf(const Class& cls) {
  const All& all = AllOf(cls);
  const Class* const base = m_library.Find(BaseOf(cls));
  const All* const above = base == nullptr ? nullptr : &AllOf(*base);
  std::vector<Visible> methods;
  for (const auto& [name, overloads] : all.methods) {
    if (overloads.empty()) continue;
    if (above != nullptr) {
      const auto same = above->methods.find(name);
      if (same != above->methods.end() &&
          std::equal(overloads.begin(), overloads.end(), same->second.begin(), same->second.end(),
                     [](const auto& one, const auto& other) {
                       return one.first == other.first && one.second.method->result == other.second.method->result &&
                              one.second.method->Is(kStatic) == other.second.method->Is(kStatic);
                     })) {
        continue;
      }
    }
    for (const auto& overload : overloads) methods.push_back(overload.second);
  }
  return methods;
}

}  // namespace binder
