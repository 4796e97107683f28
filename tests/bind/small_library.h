// Models in few words, for tests without Java.
#pragma once

#include "bind/model.h"

namespace qvtest {

inline binder::Method SmallMethod(const std::string& name, std::vector<std::string> parameters,
                                  const std::string& result, uint32_t modifiers = binder::kPublic) {
  binder::Method method;
  method.name = name;
  method.parameters = std::move(parameters);
  method.result = result;
  method.modifiers = modifiers;
  method.text = name;
  return method;
}

inline binder::Field SmallField(const std::string& name, const std::string& type, uint32_t modifiers) {
  binder::Field field;
  field.name = name;
  field.type = type;
  field.modifiers = modifiers;
  field.text = name;
  return field;
}

// Object, String, CharSequence, Iterable, Collection, List and Integer, without members.
class SmallLibrary : public binder::Library {
 public:
  SmallLibrary() {
    Add("java/lang/Object", "").superclass.clear();
    for (const char* const name : {"java/lang/CharSequence", "java/lang/Iterable"})
      Add(name, "", {}, binder::kInterface);
    Add("java/util/Collection", "", {"java/lang/Iterable"}, binder::kInterface);
    Add("java/util/List", "", {"java/util/Collection"}, binder::kInterface);
    Add("java/lang/String", "java/lang/Object", {"java/lang/CharSequence"});
    Add("java/lang/Integer", "java/lang/Object");
  }

  binder::Class& Add(const std::string& name, const std::string& superclass, std::vector<std::string> interfaces = {},
                     uint32_t modifiers = 0) {
    binder::Class& cls = classes[name];
    cls.name = name;
    cls.superclass = superclass;
    cls.interfaces = std::move(interfaces);
    cls.modifiers = modifiers | binder::kPublic;
    cls.membersRead = true;
    cls.text = "class";
    return cls;
  }
  // One that is asked for.
  binder::Class& Ask(const std::string& name, const std::string& superclass = "java/lang/Object",
                     std::vector<std::string> interfaces = {}, uint32_t modifiers = 0) {
    asked.insert(name);
    return Add(name, superclass, std::move(interfaces), modifiers);
  }
};

}  // namespace qvtest
