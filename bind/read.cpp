#include "bind/read.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <stdexcept>

#include "bind/class_file.h"
#include "bind/java_text.h"
#include "bind/names.h"

namespace binder {

namespace {

using Loader = qvjvm::instance<"java/lang/ClassLoader">;
using JavaClass = qvjvm::instance<"java/lang/Class">;
using JavaMethod = qvjvm::instance<"java/lang/reflect/Method">;
using JavaConstructor = qvjvm::instance<"java/lang/reflect/Constructor">;
using JavaField = qvjvm::instance<"java/lang/reflect/Field">;
using InputStream = qvjvm::instance<"java/io/InputStream">;

constexpr char kUnwritable[] = "its name has characters that no header may have";

std::string Slashed(std::string name) {
  std::replace(name.begin(), name.end(), '.', '/');
  return name;
}

// Class.getName as a descriptor.
std::string Descriptor(const std::string& name) {
  static const std::map<std::string, std::string> primitive = {{"void", "V"}, {"boolean", "Z"}, {"byte", "B"},
                                                               {"char", "C"}, {"short", "S"},   {"int", "I"},
                                                               {"long", "J"}, {"float", "F"},   {"double", "D"}};
  const auto known = primitive.find(name);
  if (known != primitive.end()) return known->second;
  return name[0] == '[' ? Slashed(name) : "L" + Slashed(name) + ";";
}

class Source {
 public:
  explicit Source(const qvjvm::jvm& java)
      : m_java(java.on_this_thread()), m_loader(Loader::call_static<"getSystemClassLoader", Loader>(m_java)) {}

  Library Read(const std::vector<std::string>& asked) {
    for (const std::string& name : asked) m_waiting.push_back({name, true, true});
    while (!m_waiting.empty()) {
      const Wanted wanted = m_waiting.front();
      m_waiting.pop_front();
      Visit(wanted);
    }
    return std::move(m_library);
  }

 private:
  struct Wanted {
    std::string name;
    bool asked;
    bool members;
  };

  void Visit(const Wanted& wanted) {
    if (wanted.name.empty() || m_failed.contains(wanted.name)) return;
    const Class* const known = m_library.Find(wanted.name);
    const bool askedNow = wanted.asked && !m_library.asked.contains(wanted.name);
    if (known != nullptr && !askedNow && (known->membersRead || !wanted.members)) return;
    const bool isNew = known == nullptr;
    if (!CanBeWritten(wanted.name) || wanted.name.find(' ') != std::string::npos) {
      m_failed.insert(wanted.name);
      m_library.skipped.push_back({Dotted(wanted.name), kUnwritable});
      return;
    }
    try {
      Take(ReadClass(wanted.name, wanted.members), wanted.asked);
    } catch (const qvjvm::java_error& error) {
      std::string why = error.what();
      if (const size_t end = why.find_first_of("\r\n"); end != std::string::npos) why.resize(end);
      m_failed.insert(wanted.name);
      m_library.skipped.push_back({Dotted(wanted.name), why});
      if (isNew && wanted.members) TakeWithoutMembers(wanted.name);
    }
  }

  void Take(Class cls, bool asked) {
    if (asked) {
      m_library.asked.insert(cls.name);
      for (const std::string& nested : cls.nested) m_waiting.push_back({nested, true, true});
    }
    WantWhatItNames(cls);
    m_library.classes[cls.name] = std::move(cls);
  }

  // Where a class stands is often known though a type of its members is missing; those below it need that.
  void TakeWithoutMembers(const std::string& name) {
    try {
      Take(ReadClass(name, false), false);
    } catch (const qvjvm::java_error&) {
      // It was told.
    }
  }

  void WantWhatItNames(const Class& cls) {
    m_waiting.push_back({cls.superclass.empty() ? std::string(kObject) : cls.superclass, false, cls.membersRead});
    for (const std::string& name : cls.interfaces) m_waiting.push_back({name, false, cls.membersRead});
    const auto want = [&](const std::string& type) {
      const std::string_view name = ClassOfType(type);
      if (!name.empty()) m_waiting.push_back({std::string(name), false, false});
    };
    const auto wantAll = [&](const Method& method) {
      for (const std::string& type : method.parameters) want(type);
      want(method.result);
    };
    for (const Method& method : cls.constructors) wantAll(method);
    for (const Method& method : cls.methods) wantAll(method);
    for (const Field& field : cls.fields) want(field.type);
  }

  JavaClass Load(const std::string& name) {
    return JavaClass::call_static<"forName", JavaClass(std::string, bool, Loader)>(m_java, Dotted(name), false,
                                                                                   m_loader);
  }

  [[nodiscard]] bool Exists(const std::string& name) const {
    return static_cast<bool>(m_loader.call<"getResource", qvjvm::instance<"java/net/URL">>(name + ".class"));
  }

  static std::string NameOfClass(const JavaClass& cls) { return cls.call<"getName", std::string>(); }

  std::optional<ClassFile> FileOf(const std::string& name) {
    const auto stream = m_loader.call<"getResourceAsStream", InputStream>(name + ".class");
    if (!stream) return std::nullopt;
    const auto bytes = stream.call<"readAllBytes", std::vector<uint8_t>>();
    stream.call<"close">();
    return ReadClassFile(bytes);
  }

  Class ReadClass(const std::string& name, bool members) {
    const JavaClass java = Load(name);
    Class cls;
    cls.name = name;
    cls.modifiers = static_cast<uint32_t>(java.call<"getModifiers", int32_t>());
    if (const auto above = java.call<"getSuperclass", JavaClass>()) cls.superclass = Slashed(NameOfClass(above));
    for (const JavaClass& one : java.call<"getInterfaces", std::vector<JavaClass>>()) {
      cls.interfaces.push_back(Slashed(NameOfClass(one)));
    }
    if (const auto outer = java.call<"getDeclaringClass", JavaClass>()) {
      cls.outer = Slashed(NameOfClass(outer));
      cls.nameTaken = Exists(name.substr(0, name.rfind('/') + 1) + ClassNameOf(name, cls.outer));
    }
    cls.text = TextOf(cls, "");
    if (!members) return cls;

    const auto file = FileOf(name).value_or(ClassFile{});
    cls.text = TextOf(cls, file.signature);
    for (const JavaClass& one : java.call<"getDeclaredClasses", std::vector<JavaClass>>()) {
      const auto modifiers = static_cast<uint32_t>(one.call<"getModifiers", int32_t>());
      if ((modifiers & kPublic) != 0 && (modifiers & kSynthetic) == 0) {
        cls.nested.push_back(Slashed(NameOfClass(one)));
      }
    }
    std::sort(cls.nested.begin(), cls.nested.end());
    for (const auto& one : java.call<"getDeclaredConstructors", std::vector<JavaConstructor>>()) {
      Method method = ReadExecutable(one, cls, file, "<init>", "V");
      if (method.Is(kPublic)) cls.constructors.push_back(std::move(method));
    }
    const auto isTaken = [&](const std::string& member) {
      if (CanBeWritten(member)) return true;
      m_library.skipped.push_back({Dotted(name) + "." + member, kUnwritable});
      return false;
    };
    for (const auto& one : java.call<"getDeclaredMethods", std::vector<JavaMethod>>()) {
      const auto modifiers = static_cast<uint32_t>(one.call<"getModifiers", int32_t>());
      const auto member = one.call<"getName", std::string>();
      if ((modifiers & kPublic) == 0 || !isTaken(member)) continue;
      cls.methods.push_back(
          ReadExecutable(one, cls, file, member, Descriptor(NameOfClass(one.call<"getReturnType", JavaClass>()))));
    }
    const auto byForm = [](const Method& one, const Method& other) {
      return std::tie(one.name, one.parameters, one.result) < std::tie(other.name, other.parameters, other.result);
    };
    std::sort(cls.constructors.begin(), cls.constructors.end(), byForm);
    std::sort(cls.methods.begin(), cls.methods.end(), byForm);
    for (const auto& one : java.call<"getDeclaredFields", std::vector<JavaField>>()) {
      Field field;
      field.modifiers = static_cast<uint32_t>(one.call<"getModifiers", int32_t>());
      if (!field.Is(kPublic) || field.Is(kSynthetic)) continue;
      field.name = one.call<"getName", std::string>();
      if (!isTaken(field.name)) continue;
      field.type = Descriptor(NameOfClass(one.call<"getType", JavaClass>()));
      const auto info = file.fields.find({field.name, field.type});
      if (info != file.fields.end()) field.constant = info->second.constant;
      field.text = TextOf(field, info == file.fields.end() ? "" : info->second.signature);
      cls.fields.push_back(std::move(field));
    }
    std::sort(cls.fields.begin(), cls.fields.end(),
              [](const Field& one, const Field& other) { return one.name < other.name; });
    cls.membersRead = true;
    return cls;
  }

  template <class Executable>
  Method ReadExecutable(const Executable& from, const Class& cls, const ClassFile& file, const std::string& name,
                        const std::string& result) {
    Method method;
    method.name = name;
    method.result = result;
    method.modifiers = static_cast<uint32_t>(from.template call<"getModifiers", int32_t>());
    std::string descriptor = "(";
    for (const JavaClass& one : from.template call<"getParameterTypes", std::vector<JavaClass>>()) {
      method.parameters.push_back(Descriptor(NameOfClass(one)));
      descriptor += method.parameters.back();
    }
    descriptor += ")" + result;
    std::vector<std::string> exceptions;
    for (const JavaClass& one : from.template call<"getExceptionTypes", std::vector<JavaClass>>()) {
      exceptions.push_back(Slashed(NameOfClass(one)));
    }
    std::string signature;
    if (const auto info = file.methods.find({name, descriptor}); info != file.methods.end()) {
      signature = info->second.signature;
      method.parameterNames = info->second.parameterNames;
    }
    method.text = TextOf(method, cls.name, signature, exceptions);
    return method;
  }

  qvjvm::thread_jvm m_java;
  Loader m_loader;
  Library m_library;
  std::deque<Wanted> m_waiting;
  std::set<std::string> m_failed;
};

// ---- what there is ----

// Whether a class file's path is one of a class that has a name in sources and is in no other class.
bool IsClassOfPackage(std::string_view path, std::string_view package) {
  if (!path.ends_with(".class") || !path.starts_with(package)) return false;
  path.remove_prefix(package.size());
  path.remove_suffix(6);
  return path.find('/') == std::string_view::npos && path.find('$') == std::string_view::npos &&
         path != "package-info" && path != "module-info";
}

using Names = std::set<std::string>;

std::string ClassOfPath(std::string_view path) { return std::string(path.substr(0, path.size() - 6)); }

void AddFromFolder(const std::filesystem::path& folder, const std::string& package, Names& into) {
  std::error_code why;
  for (const auto& entry : std::filesystem::directory_iterator(folder / package, why)) {
    const std::u8string name = entry.path().filename().u8string();
    const std::string path = package + std::string(name.begin(), name.end());
    if (IsClassOfPackage(path, package)) into.insert(ClassOfPath(path));
  }
}

void AddFromJar(const qvjvm::thread_jvm& java, const std::filesystem::path& jar, const std::string& package,
                Names& into) {
  using ZipFile = qvjvm::instance<"java/util/zip/ZipFile">;
  using Enumeration = qvjvm::instance<"java/util/Enumeration">;
  const auto file = ZipFile::create(java, jar.wstring());
  const auto entries = file.call<"entries", Enumeration>();
  while (entries.call<"hasMoreElements", bool>()) {
    const auto path = entries.call<"nextElement", qvjvm::object>().call<std::string>("getName");
    if (IsClassOfPackage(path, package)) into.insert(ClassOfPath(path));
  }
  file.call<"close">();
}

using ModuleReference = qvjvm::instance<"java/lang/module/ModuleReference">;
using ModuleDescriptor = qvjvm::instance<"java/lang/module/ModuleDescriptor">;

std::vector<std::string> PathsOf(const ModuleReference& module) {
  using ModuleReader = qvjvm::instance<"java/lang/module/ModuleReader">;
  using Stream = qvjvm::instance<"java/util/stream/Stream">;
  const auto reader = module.call<"open", ModuleReader>();
  const auto list = reader.call<"list", Stream>().call<"toArray", qvjvm::array<qvjvm::object>>();
  std::vector<std::string> paths;
  for (const std::string& path : qvjvm::elements<std::string>(list)) paths.push_back(path);
  reader.call<"close">();
  return paths;
}

template <class Use>
void ForEachModule(const qvjvm::thread_jvm& java, const Use& use) {
  using ModuleFinder = qvjvm::instance<"java/lang/module/ModuleFinder">;
  using Set = qvjvm::instance<"java/util/Set">;
  const auto all = ModuleFinder::call_static<"ofSystem", ModuleFinder>(java).call<"findAll", Set>();
  for (const ModuleReference& module : qvjvm::elements<ModuleReference>(all)) {
    use(module, module.call<"descriptor", ModuleDescriptor>());
  }
}

Names ExportedPackages(const ModuleDescriptor& module) {
  using Set = qvjvm::instance<"java/util/Set">;
  using Exports = qvjvm::instance<"java/lang/module/ModuleDescriptor$Exports">;
  Names packages;
  const auto all = module.call<"exports", Set>();
  for (const Exports& one : qvjvm::elements<Exports>(all)) {
    if (!one.call<"isQualified", bool>()) packages.insert(Slashed(one.call<"source", std::string>()) + "/");
  }
  return packages;
}

// Only public ones have a place in headers of others.
std::vector<std::string> PublicOf(const qvjvm::thread_jvm& java, const Names& names) {
  const auto loader = Loader::call_static<"getSystemClassLoader", Loader>(java);
  std::vector<std::string> chosen;
  for (const std::string& name : names) {
    const auto cls =
        JavaClass::try_call_static<"forName", JavaClass(std::string, bool, Loader)>(java, Dotted(name), false, loader);
    // What cannot be loaded is told later, when it is read.
    if (!cls || (cls.value().call<"getModifiers", int32_t>() & static_cast<int32_t>(kPublic)) != 0) {
      chosen.push_back(name);
    }
  }
  return chosen;
}

}  // namespace

std::vector<std::string> ClassesFor(const qvjvm::jvm& java, const std::wstring& classPath, const std::string& word) {
  const qvjvm::thread_jvm here = java.on_this_thread();
  if (word.ends_with("/*")) {
    const std::string wanted = word.substr(0, word.size() - 2);
    Names names;
    ForEachModule(here, [&](const ModuleReference& reference, const ModuleDescriptor& module) {
      if (module.call<"name", std::string>() != wanted) return;
      const Names packages = ExportedPackages(module);
      for (const std::string& path : PathsOf(reference)) {
        const std::string package = path.substr(0, path.rfind('/') + 1);
        if (packages.contains(package) && IsClassOfPackage(path, package)) names.insert(ClassOfPath(path));
      }
    });
    if (names.empty()) throw std::runtime_error("there is no module " + wanted + " that exports anything");
    return PublicOf(here, names);
  }
  if (!word.ends_with(".*")) return {Slashed(word)};

  const std::string package = Slashed(word.substr(0, word.size() - 1));
  Names names;
  for (size_t at = 0; at <= classPath.size();) {
    const size_t end = std::min(classPath.find(L';', at), classPath.size());
    const std::filesystem::path place = classPath.substr(at, end - at);
    at = end + 1;
    std::error_code why;
    if (place.empty()) continue;
    if (std::filesystem::is_directory(place, why)) {
      AddFromFolder(place, package, names);
    } else if (std::filesystem::exists(place, why)) {
      AddFromJar(here, place, package, names);
    }
  }
  if (names.empty()) {
    ForEachModule(here, [&](const ModuleReference& reference, const ModuleDescriptor& module) {
      if (!ExportedPackages(module).contains(package)) return;
      for (const std::string& path : PathsOf(reference)) {
        if (IsClassOfPackage(path, package)) names.insert(ClassOfPath(path));
      }
    });
  }
  if (names.empty()) throw std::runtime_error("there are no classes of " + word);
  return PublicOf(here, names);
}

Library ReadLibrary(const qvjvm::jvm& java, const std::vector<std::string>& asked) { return Source(java).Read(asked); }

}  // namespace binder
