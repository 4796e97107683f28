#include "bind/write.h"

#include <algorithm>

#include "bind/java_text.h"
#include "bind/literals.h"
#include "bind/members.h"
#include "bind/names.h"

namespace binder {

namespace {

std::string InSmallLetters(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return text;
}

std::string Join(const std::vector<std::string>& parts, std::string_view between) {
  std::string text;
  for (const std::string& part : parts) {
    if (!text.empty()) text += between;
    text += part;
  }
  return text;
}

bool IsTemplateParameter(std::string_view name) {
  while (name.ends_with('_')) name.remove_suffix(1);
  if (name == "Where" || name == "This" || name == "More" || name == "Value") return true;
  return name.starts_with('A') && name.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

// A function of C++ that stands for a member of Java.
struct Function {
  std::string text;                     // Java's declaration
  std::vector<std::string> parameters;  // template parameters
  std::string prefix;                   // "static "
  std::string result;
  std::string name;
  std::string arguments;
  std::string suffix;                 // " const"
  std::vector<std::string> excluded;  // what other overloads take
  // The call: this->template java_call<...>(...), with java_call as its verb.
  std::string before;
  std::string verb;
  std::string after;
  bool oneByOne = false;  // the last arguments of a method with a variable number
};

class Writer {
 public:
  Writer(const Library& library, const Style& style) : m_library(library), m_style(style), m_members(library) {
    // Names that stay as they are go first: where two of Java's become one, the other makes room.
    std::set<std::string> names;
    for (const bool kept : {true, false}) {
      for (const auto& [name, cls] : library.classes) {
        std::string made = ClassNameOf(name, cls.outer, cls.nameTaken);
        if (name.ends_with("/" + made) != kept) continue;
        while (!names.insert(NamespaceOf(cls) + "::" + made).second) made += "_";
        m_names[name] = made;
      }
    }
    // Names of files that differ in capitals alone are one name for Windows.
    std::set<std::string> files;
    for (const auto& [name, cls] : library.classes) {
      std::string path;
      for (const std::string& part : NamespacesOf(name)) path += part + "/";
      path += NameOfClass(cls);
      while (!files.insert(InSmallLetters(path)).second) path += "_";
      m_paths[name] = path + ".hpp";
    }
  }

  std::map<std::string, std::string> Write() {
    for (const std::string& name : m_library.asked) {
      for (const Class* cls = m_library.Find(name); cls != nullptr; cls = m_library.Find(BaseOf(*cls))) {
        if (cls->membersRead) m_full.insert(cls->name);
      }
    }
    for (const std::string& name : m_full) WriteFull(*m_library.Find(name));
    while (!m_named.empty()) {
      const std::string name = *m_named.begin();
      m_named.erase(m_named.begin());
      const Class* const cls = m_library.Find(name);
      if (cls == nullptr || m_full.contains(name) || !m_declared.insert(name).second) continue;
      if (const std::string base = BaseOf(*cls); !base.empty()) m_named.insert(base);
      m_headers["detail/" + PathOf(*cls)] = Declaration(*cls, "", {});
    }
    return std::move(m_headers);
  }

 private:
  // ---- names ----

  [[nodiscard]] const std::string& NameOfClass(const Class& cls) const { return m_names.at(cls.name); }
  [[nodiscard]] const std::string& PathOf(const Class& cls) const { return m_paths.at(cls.name); }

  [[nodiscard]] static std::string NamespaceOf(const Class& cls) { return Join(NamespacesOf(cls.name), "::"); }

  [[nodiscard]] std::string QualifiedName(const Class& cls) const {
    const std::string space = NamespaceOf(cls);
    return "::" + (space.empty() ? "" : space + "::") + NameOfClass(cls);
  }

  [[nodiscard]] std::string TextType() const { return m_style.text == Text::Wide ? "::std::wstring" : "::std::string"; }

  // The C++ type for a type of Java, noted among those that the class at work needs.
  std::string TypeOf(std::string_view type) {
    static constexpr std::pair<std::string_view, std::string_view> kKnown[] = {
        {"V", "void"},
        {"Z", "bool"},
        {"B", "int8_t"},
        {"C", "wchar_t"},
        {"S", "int16_t"},
        {"I", "int32_t"},
        {"J", "int64_t"},
        {"F", "float"},
        {"D", "double"},
        {"Ljava/lang/Class;", "::qvjvm::class_ref"},
        {"Ljava/lang/Boolean;", "::std::optional<bool>"},
        {"Ljava/lang/Byte;", "::std::optional<int8_t>"},
        {"Ljava/lang/Character;", "::std::optional<wchar_t>"},
        {"Ljava/lang/Short;", "::std::optional<int16_t>"},
        {"Ljava/lang/Integer;", "::std::optional<int32_t>"},
        {"Ljava/lang/Long;", "::std::optional<int64_t>"},
        {"Ljava/lang/Float;", "::std::optional<float>"},
        {"Ljava/lang/Double;", "::std::optional<double>"},
    };
    for (const auto& [java, cpp] : kKnown) {
      if (type == java) return std::string(cpp);
    }
    if (type == "Ljava/lang/String;") return TextType();
    if (type[0] == '[') {
      const std::string element = TypeOf(type.substr(1));
      return (type.size() == 2 ? "::std::vector<" : "::qvjvm::array<") + element + ">";
    }
    const std::string_view name = ClassOfType(type);
    const Class* const cls = m_library.Find(name);
    if (cls == nullptr) return "::qvjvm::instance<\"" + std::string(name) + "\">";
    m_used.insert(cls->name);
    return QualifiedName(*cls);
  }

  std::vector<std::string> TypesOf(const std::vector<std::string>& types) {
    std::vector<std::string> all;
    for (const std::string& type : types) all.push_back(TypeOf(type));
    return all;
  }

  // ---- functions ----

  // A name of a template parameter: neither the class's own nor a member's, which would hide it.
  [[nodiscard]] std::string Own(std::string name) const {
    while (name == m_name || m_visible.contains(name)) name += "_";
    return name;
  }

  // Names for the parameters: Java's where they are known.
  std::vector<std::string> ParameterNames(const Method& method) const {
    std::vector<std::string> names;
    for (size_t i = 0; i < method.parameters.size(); ++i) {
      std::string name;
      if (method.parameterNames.size() == method.parameters.size()) name = NameOf(method.parameterNames[i]);
      if (name.empty() || name == "where" || IsTemplateParameter(name) || m_constants.contains(name) ||
          std::find(names.begin(), names.end(), name) != names.end()) {
        name = "p" + std::to_string(i + 1);
      }
      names.push_back(name);
    }
    return names;
  }

  struct Overload {
    const Method* method;
    std::vector<std::string> types;  // of the parameters
  };

  // What Java would take before this one, given the same arguments, as C++ asks for it.
  std::vector<std::string> Exclusions(const Overload& of, const std::vector<Overload>& all, bool withPlace,
                                      const std::string& arguments) {
    std::vector<std::string> excluded;
    const bool isStatic = withPlace;
    for (const Overload& other : all) {
      const bool otherStatic = other.method->name == "<init>" || other.method->Is(kStatic);
      if (isStatic == otherStatic) {
        if (!MoreSpecific(m_library, *other.method, *of.method)) continue;
        excluded.push_back("::qvjvm::takes<" + Join(other.types, ", ") + ">::from<" + arguments + ">");
      } else if (isStatic && other.types.size() == of.types.size() + 1) {
        // An object may be the place of the call, or the first argument of an instance method.
        excluded.push_back("::qvjvm::takes<" + Join(other.types, ", ") + ">::from<" + Own("Where") +
                           (arguments.empty() ? "" : ", ") + arguments + ">");
      }
    }
    return excluded;
  }

  void AddMethod(const Overload& overload, const std::vector<Overload>& all, const std::string& name) {
    const Method& method = *overload.method;
    const bool isConstructor = method.name == "<init>";
    const bool isStatic = isConstructor || method.Is(kStatic);
    const std::vector<std::string> names = ParameterNames(method);
    Function function;
    function.text = method.text;
    function.name = name;
    function.result = isConstructor ? QualifiedName(*m_class) : TypeOf(method.result);
    if (isStatic) {
      function.prefix = isConstructor ? "[[nodiscard]] static " : "static ";
      function.parameters.push_back("::qvjvm::origin " + Own("Where"));
      function.arguments = "const " + Own("Where") + "& where";
    } else {
      function.suffix = " const";
    }
    std::vector<std::string> types;
    for (size_t i = 0; i < names.size(); ++i) {
      types.push_back(Own("A" + std::to_string(i + 1)));
      function.parameters.push_back("::qvjvm::argument<" + overload.types[i] + "> " + types.back());
      function.arguments += (function.arguments.empty() ? "const " : ", const ") + types.back() + "& " + names[i];
    }
    function.excluded = Exclusions(overload, all, isStatic, Join(types, ", "));
    const std::string signature = (isConstructor ? "void" : function.result) + "(" + Join(overload.types, ", ") + ")";
    std::vector<std::string> values = names;
    if (isStatic) {
      function.verb = isConstructor ? "java_new" : "java_static";
      values.insert(values.begin(), "where");
    } else if (names.empty()) {
      // Nothing else of it depends on a template parameter, and the result may not be complete yet.
      function.parameters.push_back("class " + Own("This") + " = " + QualifiedName(*m_class));
      function.before = "static_cast<const " + Own("This") + "&>(*this).template ";
      function.verb = "java_call";
    } else {
      function.before = "this->template ";
      function.verb = "java_call";
    }
    const std::string call = "<" + (isConstructor ? "" : "\"" + method.name + "\", ") + signature + ">(";
    function.after = call + Join(values, ", ") + ")";
    m_functions.push_back(function);
    if (!method.Is(kVarargs) || names.empty() || method.parameters.back()[0] != '[') return;
    // The same with the last arguments one by one.
    const std::string element = TypeOf(std::string_view(method.parameters.back()).substr(1));
    function.text.clear();
    function.parameters.back() = "::qvjvm::argument<" + element + ">... " + Own("More");
    const std::string& last = names.back();
    function.arguments.resize(function.arguments.size() - (types.back() + "& " + last).size());
    function.arguments += Own("More") + "&... " + last;
    types.back() = Own("More") + "...";
    function.excluded.clear();
    for (const Overload& other : all) {
      const bool otherStatic = other.method->name == "<init>" || other.method->Is(kStatic);
      if (otherStatic != isStatic && !(isStatic && other.types.size() >= overload.types.size())) continue;
      function.excluded.push_back("::qvjvm::takes<" + Join(other.types, ", ") + ">::from<" +
                                  (otherStatic != isStatic ? Own("Where") + ", " : "") + Join(types, ", ") + ">");
      if (otherStatic != isStatic || !MoreSpecificVarargs(m_library, *other.method, method)) continue;
      std::vector<std::string> others = other.types;
      others.back() = TypeOf(std::string_view(other.method->parameters.back()).substr(1));
      function.excluded.push_back("::qvjvm::takes_more<" + Join(others, ", ") + ">::from<" + Join(types, ", ") + ">");
    }
    values.back() = "java_varargs<" + element + ">(" + (isStatic ? "where" : "*this") + ", " + last + "...)";
    function.after = call + Join(values, ", ") + ")";
    function.oneByOne = true;
    m_functions.push_back(function);
  }

  void AddMethods(const std::vector<const Method*>& methods, const std::string& name) {
    // Where two names of Java became one, what had it by itself goes first, and there is no second one like it.
    std::vector<const Method*> ordered = methods;
    std::stable_sort(ordered.begin(), ordered.end(), [&](const Method* one, const Method* other) {
      return (one->name == name) > (other->name == name);
    });
    std::vector<Overload> all;
    for (const Method* const method : ordered) {
      const auto same = [&](const Overload& other) {
        return other.method->parameters == method->parameters && other.method->Is(kStatic) == method->Is(kStatic);
      };
      if (std::none_of(all.begin(), all.end(), same)) all.push_back({method, TypesOf(method->parameters)});
    }
    for (const Overload& overload : all) AddMethod(overload, all, name);
  }

  void AddField(const Field& field) {
    const bool isStatic = field.Is(kStatic);
    const std::string type = TypeOf(field.type);
    Function get;
    get.text = field.text;
    get.result = type;
    const std::string name = "\"" + field.name + "\", " + type;
    if (field.Is(kEnum)) {
      get.name = FreeName(MemberNameOf(field.name, m_name));
    } else {
      get.name = FreeName("get_" + field.name);
    }
    if (isStatic) {
      get.prefix = "static ";
      get.parameters.push_back("::qvjvm::origin " + Own("Where"));
      get.arguments = "const " + Own("Where") + "& where";
      get.before = m_name + "::template ";
      get.verb = "static_field";
      get.after = "<" + name + ">(where)";
    } else {
      get.parameters.push_back("class " + Own("This") + " = " + QualifiedName(*m_class));
      get.suffix = " const";
      get.before = "static_cast<const " + Own("This") + "&>(*this).template ";
      get.verb = "field";
      get.after = "<" + name + ">()";
    }
    m_functions.push_back(get);
    if (field.Is(kFinal)) return;
    Function set = get;
    set.text.clear();
    set.name = FreeName("set_" + field.name);
    set.result = "void";
    set.parameters = {"::qvjvm::argument<" + type + "> " + Own("Value")};
    set.arguments = "const " + Own("Value") + "& value";
    const std::string value = "::qvjvm::detail::to_java<" + type + ">(value)";
    if (isStatic) {
      set.parameters.insert(set.parameters.begin(), "::qvjvm::origin " + Own("Where"));
      set.arguments = "const " + Own("Where") + "& where, " + set.arguments;
      set.verb = "set_static_field";
      set.after = "<" + name + ">(where, " + value + ")";
    } else {
      set.before = "this->template ";
      set.verb = "set_field";
      set.after = "<" + name + ">(" + value + ")";
    }
    m_functions.push_back(set);
  }

  // Behind each function the one that hands a result back.
  void AddAttempts() {
    std::vector<Function> all;
    for (const Function& function : m_functions) {
      all.push_back(function);
      if (function.oneByOne) continue;  // its array is made before the call
      Function attempt = function;
      attempt.text.clear();
      attempt.name = "try_" + function.name;
      attempt.result = "::qvjvm::result<" + function.result + ">";
      attempt.verb = "try_" + function.verb;
      all.push_back(std::move(attempt));
    }
    m_functions = std::move(all);
  }

  // A name for a field that no method has.
  [[nodiscard]] std::string FreeName(const std::string& name) const {
    const std::string allowed = NameOf(name);
    return m_methodNames.contains(allowed) ? allowed + "_" : allowed;
  }

  std::string ConstantText(const Field& field) {
    std::string type = TypeOf(field.type);
    const std::string literal = LiteralOf(*field.constant, field.type, m_style.text == Text::Utf8);
    const bool isText = std::holds_alternative<std::u16string>(*field.constant);
    if (isText) type += "_view";
    const std::string name = FreeName(MemberNameOf(field.name, m_name));
    m_constants.insert(name);
    return "  // " + field.text + "\n  static constexpr " + type + " " + name + "{" + literal + "};\n";
  }

  // ---- texts ----

  static std::string Template(const Function& function, bool withDefaults) {
    std::vector<std::string> parameters = function.parameters;
    for (std::string& parameter : parameters) {
      if (!withDefaults) parameter.resize(std::min(parameter.size(), parameter.find(" = ")));
    }
    return parameters.empty() ? "" : "template <" + Join(parameters, ", ") + ">\n";
  }
  static std::string Requires(const Function& function) {
    std::string text;
    for (const std::string& excluded : function.excluded) {
      text += text.empty() ? "requires(!" : " && !";
      text += excluded;
    }
    return text.empty() ? text : text + ")\n";
  }
  static std::string Indented(std::string_view text) {
    std::string all;
    for (size_t at = 0; at < text.size();) {
      const size_t end = text.find('\n', at) + 1;
      all += "  " + std::string(text.substr(at, end - at));
      at = end;
    }
    return all;
  }
  static std::string DeclarationOf(const Function& function) {
    std::string text;
    if (!function.text.empty()) text += "// " + function.text + "\n";
    text += Template(function, true) + Requires(function);
    text += function.prefix + function.result + " " + function.name + "(" + function.arguments + ")" + function.suffix +
            ";\n";
    return Indented(text);
  }
  [[nodiscard]] std::string BodyOf(const Function& function) const {
    return "\n" + Template(function, false) + Requires(function) + function.result + " " + m_name +
           "::" + function.name + "(" + function.arguments + ")" + function.suffix + " {\n  return " + function.before +
           function.verb + function.after + ";\n}\n";
  }

  static std::string Head(const Class& cls) {
    return std::string(kMark) + " from " + Dotted(cls.name) +
           ". Changes are lost when it is made again.\n"
           "// clang-format off\n#pragma once\n\n";
  }
  static std::string Open(const std::string& space) { return space.empty() ? "" : "namespace " + space + " {\n\n"; }
  static std::string Close(const std::string& space) {
    return space.empty() ? "" : "\n}  // namespace " + space + "\n";
  }

  [[nodiscard]] std::string ForwardDeclarations(const Class& cls, const std::set<std::string>& names) const {
    std::map<std::string, std::set<std::string>> bySpace;
    for (const std::string& name : names) {
      if (name == cls.name) continue;
      const Class& other = *m_library.Find(name);
      bySpace[NamespaceOf(other)].insert(NameOfClass(other));
    }
    std::string text;
    for (const auto& [space, classes] : bySpace) {
      if (!space.empty()) text += "namespace " + space + " {\n";
      for (const std::string& name : classes) text += "class " + name + ";\n";
      if (!space.empty()) text += "}\n";
    }
    return text.empty() ? text : text + "\n";
  }

  std::string Declaration(const Class& cls, const std::string& members, const std::set<std::string>& used) const {
    const std::string name = NameOfClass(cls);
    const std::string space = NamespaceOf(cls);
    const Class* const base = m_library.Find(BaseOf(cls));
    std::string text = Head(cls);
    if (base == nullptr) {
      text += "#include \"qvjvm/client/wrappers.hpp\"\n\n";
    } else {
      text += "#include \"detail/" + PathOf(*base) + "\"\n\n";
    }
    text += ForwardDeclarations(cls, used);
    text += Open(space);
    text += "/// " + cls.text + "\n";
    text += "class " + name + " : public ::qvjvm::wrapper<" + name + ", \"" + cls.name + "\"" +
            (base == nullptr ? "" : ", " + QualifiedName(*base)) + "> {\n public:\n  using wrapper::wrapper;\n";
    text += "  static constexpr ::std::string_view java_interfaces =";
    std::string line = " ";
    for (const std::string& one : AllInterfaces(m_library, cls)) {
      text += "\n      \"" + line;
      text += "\"";
      line = one + " ";
    }
    text += "\n      \"" + line + "\";\n";
    return text + members + "};\n" + Close(space);
  }

  [[nodiscard]] static std::string NameInClass(const Class& outer, std::string_view nested) {
    return NameOf(NestedPart(nested, outer.name));
  }

  // Names for classes that are nested in this one, where nothing else has them.
  std::string Aliases(const Class& cls) {
    std::string text;
    for (const std::string& nested : cls.nested) {
      const Class* const inner = m_library.Find(nested);
      if (inner == nullptr || !m_library.asked.contains(nested)) continue;
      const std::string alias = NameInClass(cls, nested);
      if (alias == m_name || m_methodNames.contains(alias) || m_fieldNames.contains(alias)) continue;
      m_used.insert(nested);
      text += "  using " + alias + " = " + QualifiedName(*inner) + ";\n";
    }
    return text.empty() ? text : "\n" + text;
  }

  void WriteFull(const Class& cls) {
    m_class = &cls;
    m_name = NameOfClass(cls);
    m_used.clear();
    m_functions.clear();
    m_methodNames.clear();
    m_fieldNames.clear();
    m_constants.clear();

    std::map<std::string, std::vector<const Method*>> byName;
    for (const Visible& visible : m_members.MethodsOf(cls)) {
      byName[MemberNameOf(visible.method->name, m_name)].push_back(visible.method);
    }
    for (const std::string& name : m_members.NamesOf(cls)) m_methodNames.insert(MemberNameOf(name, m_name));
    for (const Field& field : cls.fields) m_fieldNames.insert(field.name);
    m_visible = m_methodNames;
    for (const Class* at = &cls; at != nullptr; at = m_library.Find(BaseOf(*at))) {
      for (const Field& field : at->fields) m_visible.insert(MemberNameOf(field.name, NameOfClass(*at)));
      for (const std::string& nested : at->nested) m_visible.insert(NameInClass(*at, nested));
    }

    std::string members = Aliases(cls);
    std::string constants;
    for (const Field& field : cls.fields) {
      if (field.Is(kPublic) && field.constant && field.Is(kStatic) && field.Is(kFinal))
        constants += ConstantText(field);
    }
    if (!constants.empty()) members += "\n" + constants;
    std::vector<const Method*> constructors;
    for (const Method& method : cls.constructors) {
      if (method.Is(kPublic) && !method.Is(kSynthetic) && !cls.Is(kAbstract)) constructors.push_back(&method);
    }
    AddMethods(constructors, "create");
    for (const Field& field : cls.fields) {
      if (field.Is(kPublic) && !(field.constant && field.Is(kStatic) && field.Is(kFinal))) AddField(field);
    }
    for (const auto& [name, methods] : byName) AddMethods(methods, name);

    if (m_style.attempts) AddAttempts();
    std::string bodies;
    for (const Function& function : m_functions) {
      members += "\n" + DeclarationOf(function);
      bodies += BodyOf(function);
    }
    m_used.erase(cls.name);
    m_headers["detail/" + PathOf(cls)] = Declaration(cls, members, m_used);

    std::string text = Head(cls) + "#include \"detail/" + PathOf(cls) + "\"\n";
    for (const std::string& name : m_used) {
      text += "#include \"detail/" + PathOf(*m_library.Find(name)) + "\"\n";
    }
    const Class* base = m_library.Find(BaseOf(cls));
    for (; base != nullptr && !m_full.contains(base->name); base = m_library.Find(BaseOf(*base))) {
      m_named.insert(base->name);  // its members could not be read
    }
    if (base != nullptr) text += "#include \"" + PathOf(*base) + "\"\n";
    const std::string space = NamespaceOf(cls);
    if (!bodies.empty()) text += "\n" + Open(space) + bodies.substr(1) + Close(space);
    m_headers[PathOf(cls)] = text;
    m_named.insert(m_used.begin(), m_used.end());
  }

  const Library& m_library;
  const Style& m_style;
  Members m_members;
  std::set<std::string> m_full;
  std::set<std::string> m_declared;
  std::set<std::string> m_named;
  std::map<std::string, std::string> m_names;  // of the classes, without their namespaces
  std::map<std::string, std::string> m_paths;  // of the headers, by the names of their classes
  std::map<std::string, std::string> m_headers;

  // The class at work.
  const Class* m_class = nullptr;
  std::string m_name;
  std::set<std::string> m_used;
  std::vector<Function> m_functions;
  std::set<std::string> m_methodNames;
  std::set<std::string> m_fieldNames;
  std::set<std::string> m_visible;
  std::set<std::string> m_constants;
};

}  // namespace

std::map<std::string, std::string> WriteHeaders(const Library& library, const Style& style) {
  return Writer(library, style).Write();
}

}  // namespace binder
