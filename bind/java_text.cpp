#include "bind/java_text.h"

#include <algorithm>

namespace binder {

namespace {

std::string Modifiers(uint32_t modifiers, bool ofMethod) {
  static constexpr std::pair<uint32_t, std::string_view> kWords[] = {{0x0001, "public "},  {0x0004, "protected "},
                                                                     {0x0002, "private "}, {0x0400, "abstract "},
                                                                     {0x0008, "static "},  {0x0010, "final "}};
  std::string text;
  for (const auto& [bit, word] : kWords) {
    if ((modifiers & bit) != 0) text += word;
  }
  if (!ofMethod && (modifiers & 0x0080) != 0) text += "transient ";
  if (!ofMethod && (modifiers & 0x0040) != 0) text += "volatile ";
  return text;
}

// Reads a descriptor or a generic signature, which has the same letters and more.
class Words {
 public:
  explicit Words(std::string_view signature) : m_text(signature) {}

  [[nodiscard]] char Next() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
  bool Skip(char letter) {
    if (Next() != letter) return false;
    ++m_at;
    return true;
  }

  std::string Type() {
    const char letter = Next();
    if (letter == '\0' || m_depth == kDeepest) return {};
    ++m_at;
    ++m_depth;
    std::string text = TypeBehind(letter);
    --m_depth;
    return text;
  }

  // "<T extends A & B, U> ", or nothing.
  std::string TypeParameters() {
    if (!Skip('<')) return {};
    std::string text;
    while (Next() != '\0' && !Skip('>')) {
      text += text.empty() ? "<" : ", ";
      text += Until(":");
      std::string bounds;
      do {
        if (Next() == ':' || Next() == '>') continue;  // no class among the bounds
        const std::string bound = Type();
        if (bound.empty()) break;
        if (bound == "Object") continue;
        bounds += (bounds.empty() ? " extends " : " & ") + bound;
      } while (Skip(':'));
      text += bounds;
    }
    return text + ">";
  }

 private:
  // No declaration of a source is as deep; a damaged one could be as deep as it is long.
  static constexpr int kDeepest = 300;

  std::string TypeBehind(char letter) {
    switch (letter) {
      case 'Z':
        return "boolean";
      case 'B':
        return "byte";
      case 'C':
        return "char";
      case 'S':
        return "short";
      case 'I':
        return "int";
      case 'J':
        return "long";
      case 'F':
        return "float";
      case 'D':
        return "double";
      case 'V':
        return "void";
      case '[':
        return Type() + "[]";
      case 'T':
        return Until(";");
      case 'L':
        return ClassType();
      default:
        return {};
    }
  }

  std::string Until(std::string_view ends) {
    const size_t end = std::min(m_text.find_first_of(ends, m_at), m_text.size());
    std::string word(m_text.substr(m_at, end - m_at));
    m_at = std::min(end + 1, m_text.size());
    return word;
  }

  std::string ClassType() {
    size_t end = std::min(m_text.find_first_of("<;", m_at), m_text.size());
    std::string text = ShortName(m_text.substr(m_at, end - m_at));
    m_at = end;
    while (Next() != '\0' && !Skip(';')) {
      if (Skip('<')) {
        text += "<";
        for (bool first = true; Next() != '\0' && !Skip('>'); first = false) {
          if (!first) text += ", ";
          if (Skip('*')) {
            text += "?";
          } else if (Skip('+')) {
            text += "? extends " + Type();
          } else if (Skip('-')) {
            text += "? super " + Type();
          } else {
            const std::string argument = Type();
            if (argument.empty()) return text;
            text += argument;
          }
        }
        text += ">";
      } else if (Skip('.')) {
        end = std::min(m_text.find_first_of("<;.", m_at), m_text.size());
        text += "." + std::string(m_text.substr(m_at, end - m_at));
        m_at = end;
      } else {
        return text;
      }
    }
    return text;
  }

  std::string_view m_text;
  size_t m_at = 0;
  int m_depth = 0;
};

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string TypeText(std::string_view descriptor) { return Words(descriptor).Type(); }

}  // namespace

std::string Dotted(std::string_view className) {
  std::string text(className);
  std::replace(text.begin(), text.end(), '/', '.');
  return text;
}

std::string ShortName(std::string_view className) {
  const size_t slash = className.rfind('/');
  std::string name(slash == std::string_view::npos ? className : className.substr(slash + 1));
  for (size_t i = 1; i + 1 < name.size(); ++i) {
    if (name[i] == '$') name[i] = '.';
  }
  return name;
}

std::string TextOf(const Method& method, std::string_view owner, std::string_view signature,
                   const std::vector<std::string>& exceptions) {
  std::string text = Modifiers(method.modifiers, true);
  std::vector<std::string> parameters;
  std::vector<std::string> thrown;
  std::string result;
  for (const std::string& parameter : method.parameters) parameters.push_back(TypeText(parameter));
  for (const std::string& exception : exceptions) thrown.push_back(ShortName(exception));
  result = TypeText(method.result);
  if (!signature.empty()) {
    Words words(signature);
    const std::string variables = words.TypeParameters();
    if (!variables.empty()) text += variables + " ";
    words.Skip('(');
    std::vector<std::string> generic;
    while (words.Next() != '\0' && !words.Skip(')')) {
      generic.push_back(words.Type());
      if (generic.back().empty()) break;
    }
    // Constructors of nested classes and of enums have parameters that the source does not know.
    if (generic.size() == parameters.size()) parameters = generic;
    result = words.Type();
    std::vector<std::string> genericThrown;
    while (words.Skip('^')) genericThrown.push_back(words.Type());
    if (!genericThrown.empty()) thrown = genericThrown;
  }
  if (method.Is(kVarargs) && !parameters.empty() && parameters.back().ends_with("[]")) {
    parameters.back().replace(parameters.back().size() - 2, 2, "...");
  }
  if (method.parameterNames.size() == parameters.size()) {
    for (size_t i = 0; i < parameters.size(); ++i) {
      if (!method.parameterNames[i].empty()) parameters[i] += " " + method.parameterNames[i];
    }
  }
  if (method.name == "<init>") {
    const std::string simple = ShortName(owner);
    text += simple.substr(simple.rfind('.') + 1);
  } else {
    text += result + " " + method.name;
  }
  text += "(" + Joined(parameters) + ")";
  if (!thrown.empty()) text += " throws " + Joined(thrown);
  return text;
}

std::string TextOf(const Field& field, std::string_view signature) {
  return Modifiers(field.modifiers, false) + TypeText(signature.empty() ? field.type : signature) + " " + field.name;
}

std::string TextOf(const Class& cls, std::string_view signature) {
  const bool isInterface = cls.Is(kInterface);
  std::string text = Modifiers(cls.modifiers & ~(isInterface ? uint32_t{kAbstract} : 0U), true);
  text += isInterface ? "interface " : cls.Is(kEnum) ? "enum " : "class ";
  text += ShortName(cls.name);
  std::string superclass = cls.superclass.empty() ? std::string() : ShortName(cls.superclass);
  std::vector<std::string> interfaces;
  for (const std::string& name : cls.interfaces) interfaces.push_back(ShortName(name));
  if (!signature.empty()) {
    Words words(signature);
    text += words.TypeParameters();
    superclass = words.Type();
    std::vector<std::string> generic;
    while (words.Next() == 'L') generic.push_back(words.Type());
    if (generic.size() == interfaces.size()) interfaces = generic;
  }
  if (!isInterface && !superclass.empty() && superclass != "Object") text += " extends " + superclass;
  if (!interfaces.empty()) text += (isInterface ? " extends " : " implements ") + Joined(interfaces);
  return text;
}

}  // namespace binder
