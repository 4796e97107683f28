#include "doctor/judge.h"

#include <algorithm>
#include <filesystem>

#include "doctor/option_notes.h"
#include "doctor/start_messages.h"
#include "doctor/texts.h"

namespace doctor {

namespace {

using Id = FindingId;

class Judgement {
 public:
  explicit Judgement(Facts& facts) : m_facts(facts) {}

  void Products();
  void Runtime();
  void SettingsFile();
  void ClassPath();
  void Options();
  void Variables();
  void CodePage();
  void Log();
  void Start();

 private:
  void Add(Id id, Severity severity, std::wstring cause, std::wstring remedy) {
    m_facts.findings.push_back({id, severity, std::move(cause), std::move(remedy)});
  }
  void Problem(Id id, std::wstring cause, std::wstring remedy) {
    Add(id, Severity::Problem, std::move(cause), std::move(remedy));
  }
  void Warning(Id id, std::wstring cause, std::wstring remedy) {
    Add(id, Severity::Warning, std::move(cause), std::move(remedy));
  }
  [[nodiscard]] bool RuntimeChosen() const {
    return std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(),
                       [](const Candidate& each) { return each.Chosen(); });
  }
  [[nodiscard]] bool RuntimeFound() const { return m_facts.runtime || RuntimeChosen(); }
  [[nodiscard]] bool HasProblem() const {
    return std::any_of(m_facts.findings.begin(), m_facts.findings.end(),
                       [](const Finding& each) { return each.severity == Severity::Problem; });
  }
  void ProductVersion(const ProductLibrary& product);
  void JavaHome();
  void RegisteredHome();
  void DisabledCurrent();
  void ConfiguredRuntime();
  void JvmLibrary(const Library& library);
  void NoRuntime();
  void Completeness(const doctor::Runtime& runtime);
  void Foreign(const doctor::Runtime& runtime);
  void MissingEntries();
  void DamagedEntries();
  void EqualEntries();
  void ClassPathSyntax();

  Facts& m_facts;
};

// -- the product itself --

void Judgement::Products() {
  for (const ProductLibrary& each : m_facts.products) {
    const std::wstring& path = each.library.path;
    const std::wstring reinstall = L"Copy it again from the package: qvjvm.dll and qvshr.dll belong together.";
    switch (each.library.state) {
      case FileState::Missing:
        Problem(Id::ProductMissing, path + L" is missing; the service does not start without it",
                each.product == Product::Service
                    ? L"Copy it from the package, or name the folder that holds it with --service."
                    : L"Copy it from the package to the folder of qvjvm.dll, or to that of the host program.");
        break;
      case FileState::Empty:
      case FileState::Truncated:
      case FileState::WrongKind:
        Problem(Id::ProductDamaged, path + L" is damaged: " + TextOf(each.library.state, KindOf(path)), reinstall);
        break;
      case FileState::WrongArchitecture:
        Problem(Id::ProductArchitecture, path + L" is for " + each.library.architecture + L", not x64", reinstall);
        break;
      case FileState::Unreadable:
        Problem(Id::ProductUnreadable, path + L" cannot be read",
                L"Give this user the right to read and execute it; end what holds it open.");
        break;
      case FileState::Sound:
        ProductVersion(each);
        break;
    }
  }
}

void Judgement::ProductVersion(const ProductLibrary& product) {
  const std::wstring& path = product.library.path;
  if (product.missingFunctions != 0) {
    Problem(Id::ProductVersion,
            path + L" is another version: it lacks " + std::to_wstring(product.missingFunctions) +
                L" functions of the host library, the first by the number " + std::to_wstring(product.firstMissing),
            L"Copy qvjvm.dll and qvshr.dll from one package.");
  } else if (product.loadError != 0) {
    Problem(Id::ProductNotLoaded, path + L" cannot be loaded: Windows error " + std::to_wstring(product.loadError),
            L"Copy qvjvm.dll and qvshr.dll again, from one package.");
  } else if (product.product == Product::Service && product.version != OwnVersion()) {
    Warning(Id::ProductVersion,
            path + (product.version.empty() ? L" has no version" : L" is version " + product.version) +
                L", this program is version " + OwnVersion(),
            L"Use the qvjvm-doctor.exe of the same package: another one may judge wrongly.");
  }
}

// -- the Java runtime --

// A JAVA_HOME that helps nobody is the most common fault, and it hides the registry. It is the cause when nothing else
// was found.
void Judgement::JavaHome() {
  const std::wstring* const home = m_facts.ValueOf(SettingName::JavaHome);
  if (home == nullptr || m_facts.host.Known() || m_facts.HostHasJvm()) return;
  const bool helps = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.source == qv::RuntimeSource::JavaHome && each.library.state != FileState::Missing;
  });
  if (helps) return;
  const Severity severity = RuntimeFound() ? Severity::Warning : Severity::Problem;
  if (home->find(L'"') != std::wstring::npos) {
    Add(Id::JavaHome, severity, L"JAVA_HOME has quotes: " + *home, L"Set it without quotes.");
  } else if (!home->empty() && home->back() == L'\\') {
    Add(Id::JavaHome, severity, L"JAVA_HOME ends with a backslash and has no jvm.dll: " + *home,
        L"Set it to the folder of a 64-bit Java runtime, without a backslash at its end.");
  } else {
    Add(Id::JavaHome, severity, L"JAVA_HOME has no jvm.dll: " + *home,
        L"Set it to the folder of a 64-bit Java runtime (the one that holds bin), or remove it. While it is set the "
        L"registered runtime is not looked for.");
  }
}

// Asked only without JAVA_HOME.
void Judgement::RegisteredHome() {
  const std::wstring* const version = m_facts.ValueOf(SettingName::RegisteredVersion);
  const std::wstring* const home = m_facts.ValueOf(SettingName::RegisteredHome);
  if (m_facts.host.Known() || m_facts.ValueOf(SettingName::JavaHome) != nullptr || version == nullptr) return;
  const bool helps = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.source == qv::RuntimeSource::Registry && each.library.state != FileState::Missing;
  });
  if (helps) return;
  const std::wstring key = L"HKLM\\Software\\JavaSoft\\Java Runtime Environment";
  Add(Id::RegisteredRuntime, RuntimeFound() ? Severity::Warning : Severity::Problem,
      home == nullptr ? L"CurrentVersion is " + *version + L", and there is no JavaHome in " + key + L"\\" + *version
                      : L"the registered JavaHome has no jvm.dll: " + *home + L" (" + key + L"\\" + *version + L")",
      L"Install the registered Java runtime anew, or set JAVA_HOME.");
}

void Judgement::ConfiguredRuntime() {
  const std::wstring key = L"HKLM\\" + m_facts.host.registryRoot + L"\\Java";
  if (!m_facts.host.rootExists) {
    Problem(Id::HostSettingsMissing,
            L"HKLM\\" + m_facts.host.registryRoot + L" is missing; a " + TextOf(m_facts.host.kind) +
                L" host has all its settings there",
            L"Install the host product, or import its settings.");
    return;
  }
  for (const SettingName name : {SettingName::JdkLocation, SettingName::JreBinLocation}) {
    const std::wstring* const value = m_facts.ValueOf(name);
    if (value == nullptr) {
      Problem(Id::LocationMissing, TextOf(name) + L" is missing in " + key,
              L"Set it; a " + TextOf(m_facts.host.kind) + L" host takes its Java runtime from there alone.");
    } else if (value->empty()) {
      Problem(Id::LocationEmpty, TextOf(name) + L" is empty in " + key, L"Set it to the runtime's folder.");
    }
  }
}

void Judgement::JvmLibrary(const Library& library) {
  switch (library.state) {
    case FileState::WrongArchitecture:
      Problem(Id::RuntimeArchitecture, library.path + L" is for " + library.architecture + L", not x64",
              L"Install a 64-bit Java runtime; qvjvm.dll is 64-bit and cannot load this one.");
      break;
    case FileState::Empty:
    case FileState::Truncated:
    case FileState::WrongKind:
      Problem(Id::RuntimeDamaged, library.path + L" is damaged: " + TextOf(library.state, KindOf(library.path)),
              L"Install the Java runtime anew.");
      break;
    case FileState::Unreadable:
      Problem(Id::RuntimeUnreadable, library.path + L" cannot be read",
              L"Give this user the right to read and execute the runtime's files.");
      break;
    case FileState::Missing:
    case FileState::Sound:
      break;
  }
}

// A setting that keeps everything but the private runtime out is easily forgotten.
void Judgement::DisabledCurrent() {
  const bool off = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.verdict == qv::RuntimeVerdict::SwitchedOff && each.library.state != FileState::Missing;
  });
  const bool privateOne = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.source == qv::RuntimeSource::BesideTheService && each.Chosen();
  });
  if (off && !privateOne) {
    Problem(Id::CurrentRuntimeOff,
            L"the host setting QVJRENOTUSECURRENT is 1, which keeps the installed Java runtime out",
            L"Remove the setting, or put a runtime into " + m_facts.question.serviceFolder + L"\\JRE.");
  }
}

void Judgement::Runtime() {
  if (m_facts.HostHasJvm()) return;
  DisabledCurrent();
  JavaHome();
  RegisteredHome();
  if (m_facts.host.Known()) ConfiguredRuntime();
  if (!m_facts.runtime) {
    NoRuntime();
    return;
  }
  JvmLibrary(m_facts.runtime->jvm);
  Completeness(*m_facts.runtime);
  Foreign(*m_facts.runtime);
}

void Judgement::NoRuntime() {
  const auto chosen = std::find_if(m_facts.candidates.begin(), m_facts.candidates.end(),
                                   [](const Candidate& each) { return each.Chosen(); });
  if (chosen != m_facts.candidates.end()) {
    JvmLibrary(chosen->library);
  } else if (!m_facts.host.Known()) {
    const bool registered = m_facts.ValueOf(SettingName::RegisteredVersion) != nullptr;
    const std::wstring first =
        m_facts.ValueOf(SettingName::JavaHome) != nullptr ? L"JAVA_HOME has none"
        : registered
            ? L"JAVA_HOME is not set, the registered one has none"
            : L"JAVA_HOME is not set, none is registered (no CurrentVersion in HKLM\\Software\\JavaSoft\\Java Runtime "
              L"Environment)";
    Problem(Id::RuntimeMissing,
            L"no Java runtime was found: " + first + L", and there is none in " + m_facts.question.serviceFolder +
                L"\\JRE nor on PATH",
            L"Install a 64-bit Java runtime and set JAVA_HOME to it, or put one into " +
                m_facts.question.serviceFolder + L"\\JRE.");
  } else if (!m_facts.candidates.empty() && m_facts.candidates.front().library.state == FileState::Missing) {
    Problem(Id::RuntimeMissing,
            L"there is no jvm.dll in " +
                std::filesystem::path(m_facts.candidates.front().library.path).parent_path().wstring(),
            L"Set JREBinLocation to the folder that holds jvm.dll (bin\\server of a 64-bit runtime).");
  }
}

void Judgement::Completeness(const doctor::Runtime& runtime) {
  const std::wstring anew = L"Install the Java runtime anew.";
  // A runtime that lost a folder lost all that is in it: its parts are no findings of their own.
  if (!runtime.hasLib) Problem(Id::RuntimeIncomplete, L"the runtime has no folder lib: " + runtime.home, anew);
  std::wstring missing;
  for (const RuntimePart& part : runtime.parts) {
    const bool inLib = part.path.find(runtime.home + L"\\lib\\") == 0;
    if (part.state == FileState::Sound || (inLib && !runtime.hasLib)) continue;
    const std::wstring name = part.path.substr(runtime.home.size() + 1);
    const Severity severity = part.needed ? Severity::Problem : Severity::Warning;
    switch (part.state) {
      case FileState::Missing:
        missing += (missing.empty() ? L"" : L", ") + name;
        break;
      case FileState::WrongArchitecture:
        Add(Id::RuntimeArchitecture, severity, part.path + L" is for " + part.architecture + L", not x64", anew);
        break;
      case FileState::Unreadable:
        Add(Id::RuntimeUnreadable, severity, part.path + L" cannot be read",
            L"Give this user the right to read and execute the runtime's files.");
        break;
      default:
        Add(Id::RuntimeDamaged, severity, part.path + L" is damaged: " + TextOf(part.state, KindOf(part.path)), anew);
        break;
    }
  }
  if (!missing.empty()) {
    Problem(Id::RuntimeIncomplete, L"the runtime lacks " + missing + L": " + runtime.home, anew);
  }
  if (runtime.major && *runtime.major < 8) {
    Warning(Id::RuntimeOld, L"Java " + runtime.version + L" is older than anything that was tried",
            L"Use Java 11 or newer.");
  }
}

void Judgement::Foreign(const doctor::Runtime& runtime) {
  for (const Library& library : runtime.foreign) {
    const std::wstring name = std::filesystem::path(library.path).filename().wstring();
    // Programs bring the compiler's libraries along, and sound ones serve both.
    const bool compilers = name.starts_with(L"msvc") || name.starts_with(L"vcruntime") || name.starts_with(L"ucrt");
    if (library.state == FileState::Sound && compilers) continue;
    const std::wstring fault = library.state == FileState::Sound               ? L""
                               : library.state == FileState::WrongArchitecture ? L" and is for " + library.architecture
                                                                               : L" and is damaged";
    Warning(Id::ForeignLibrary, library.path + L" hides the one of the Java runtime" + fault,
            L"Remove it from the program's folder: Windows looks there before it looks into the runtime.");
  }
}

// -- the host's file of settings --

void Judgement::SettingsFile() {
  if (!m_facts.settingsFile) return;
  const std::wstring& path = m_facts.settingsFile->path;
  if (!m_facts.settingsFile->read) {
    Warning(Id::SettingsNotRead, L"this report does not count what stands in " + path,
            L"Copy qvjvm-doctor.exe beside the host, where it reads the file, or ask with --start, which does.");
  }
  std::wstring lines;
  for (const int line : m_facts.settingsFile->badLines) lines += (lines.empty() ? L"" : L", ") + std::to_wstring(line);
  if (lines.empty()) return;
  Warning(Id::SettingsLine, path + L" has lines that cannot be understood: " + lines,
          L"Correct them: a section is a key with its root, HKLM or HKCU, and below it stand lines name=value, each "
          L"name once. These lines were skipped.");
}

// -- class path --

// Their names alone, and not all of them when they are many: the paths stand below.
std::wstring NamesOf(const std::vector<const ClassPathEntry*>& entries) {
  constexpr size_t kNamed = 4;
  std::wstring names;
  for (size_t i = 0; i < std::min(kNamed, entries.size()); ++i) {
    names += (i == 0 ? L"" : L", ") + std::filesystem::path(entries[i]->path).filename().wstring();
  }
  return names + (entries.size() > kNamed ? L" and " + std::to_wstring(entries.size() - kNamed) + L" more" : L"");
}

bool ComesWithNoPackage(const ClassPathEntry& entry) {
  const std::wstring name = std::filesystem::path(entry.path).filename().wstring();
  // The last two are a configured JDK's until Java 8.
  constexpr std::wstring_view kNames[] = {L"jimi-1.0.jar", L"qvejbclient.jar", L"qvjdbc12.jar", L"rt.jar",
                                          L"tools.jar"};
  return entry.builtIn && std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

bool IsOddlyWritten(const ClassPathEntry& entry) { return entry.path.find_first_of(L"\"*") != std::wstring::npos; }

// The built-in list is for reports. A program without reports has none of it, and nobody has all of it.
void Judgement::MissingEntries() {
  std::vector<const ClassPathEntry*> missing;
  bool reports = false;
  for (const ClassPathEntry& entry : m_facts.classPath) {
    if (!entry.Exists() && !IsOddlyWritten(entry)) missing.push_back(&entry);
    reports = reports || (entry.Exists() && entry.builtIn && !ComesWithNoPackage(entry));
  }
  const bool expected = std::all_of(missing.begin(), missing.end(), [&](const ClassPathEntry* entry) {
    return ComesWithNoPackage(*entry) || (entry->builtIn && !reports);
  });
  if (missing.empty()) return;
  // What is missed is named first.
  std::stable_sort(missing.begin(), missing.end(), [](const ClassPathEntry* left, const ClassPathEntry* right) {
    return left->builtIn < right->builtIn ||
           (left->builtIn == right->builtIn && ComesWithNoPackage(*left) < ComesWithNoPackage(*right));
  });
  Add(Id::ClassPathMissing, expected ? Severity::Note : Severity::Warning,
      std::to_wstring(missing.size()) + L" of " + std::to_wstring(m_facts.classPath.size()) +
          L" class path entries do not exist: " + NamesOf(missing),
      expected ? L"They are built in and come with no package; Java ignores them."
               : L"Java ignores them; classes in them are not found. They are marked below.");
}

void Judgement::DamagedEntries() {
  for (const ClassPathEntry& entry : m_facts.classPath) {
    switch (entry.state) {
      case FileState::Empty:
      case FileState::Truncated:
      case FileState::WrongKind:
        Problem(Id::ClassPathDamaged, entry.path + L" is damaged: " + TextOf(entry.state, L"a jar"),
                L"Copy it again; Java passes over it in silence, and classes in it are not found.");
        break;
      case FileState::Unreadable:
        Problem(Id::ClassPathDamaged, entry.path + L" cannot be read",
                L"Give this user the right to read it, and end what holds it open.");
        break;
      default:
        break;
    }
  }
}

// A jar that was copied over another one.
void Judgement::EqualEntries() {
  const std::vector<ClassPathEntry>& all = m_facts.classPath;
  for (size_t i = 0; i < all.size(); ++i) {
    for (size_t j = 0; j < i; ++j) {
      const auto name = [&](size_t at) { return std::filesystem::path(all[at].path).filename().wstring(); };
      if (all[i].content == 0 || all[i].content != all[j].content || name(i) == name(j)) continue;
      Warning(Id::ClassPathEqual, all[j].path + L" and " + all[i].path + L" hold the same",
              L"One was copied over the other: copy both again; classes of one of them are missing.");
    }
  }
}

void Judgement::ClassPathSyntax() {
  const std::wstring* const variable = m_facts.ValueOf(SettingName::ClassPath);
  if (variable == nullptr) return;
  if (variable->find(L'"') != std::wstring::npos) {
    Warning(Id::ClassPathSyntax, L"CLASSPATH has quotes, which Java takes as a part of the names: " + *variable,
            L"Set it without quotes; blanks in a path need none.");
  }
  if (variable->find(L'*') != std::wstring::npos) {
    Warning(Id::ClassPathSyntax, L"CLASSPATH has a *, which java.exe alone understands: " + *variable,
            L"Name each jar.");
  }
}

void Judgement::ClassPath() {
  if (!m_facts.messageBox.empty() && !m_facts.host.rootExists) {
    // said before
  } else if (!m_facts.messageBox.empty()) {
    Problem(Id::SettingMissing, L"the start-up shows a message box and fails: " + m_facts.messageBox,
            L"Create that key or value.");
  } else if (!m_facts.classPathBuilt) {
    Problem(Id::ClassPathFailed, L"the class path cannot be built",
            L"Repair the built-in configuration: reinstall the service.");
  }
  DamagedEntries();
  EqualEntries();
  ClassPathSyntax();
  MissingEntries();
}

// -- options --

void Judgement::Options() {
  if (m_facts.HostHasJvm()) return;
  if (m_facts.classPathBuilt && !m_facts.optionsBuilt) {
    Problem(Id::OptionsFailed,
            L"the start-up options cannot be built: the list QVJVMconfig, an entry below its Count, or QVJVMprops is "
            L"missing",
            L"Give the list a Count and every entry from 0 to Count - 1, and create the key QVJVMprops.");
  }
  const std::wstring version = m_facts.runtime ? m_facts.runtime->version : std::wstring();
  for (const Option& option : m_facts.options) {
    if (option.text == L"-Djava.compiler=NONE" && m_facts.runtime && m_facts.runtime->major.value_or(21) < 21) {
      const std::wstring key = L"[" + PropertyKeyOf(m_facts.host) + L"]";
      Add(Id::JavaInterpreted, Severity::Note,
          L"Java " + version + L" interprets all code, many times slower, because of " + option.text + L" from the " +
              OriginOf(option.source, m_facts),
          L"The program may ask for compiled() in its options, or qvshr.ini beside it have this line alone: " + key);
    }
    if (!option.fatal) continue;
    Problem(Id::OptionRefused,
            L"Java " + (version.empty() ? L"(unknown version)" : version) + L" refuses to start with " + option.text +
                L": " + option.note,
            L"Remove it from: " + OriginOf(option.source, m_facts));
  }
}

// Options that come from nowhere in this product are the last that anybody thinks of.
void Judgement::Variables() {
  if (m_facts.HostHasJvm()) return;
  const std::optional<int> major = m_facts.runtime ? m_facts.runtime->major : std::nullopt;
  for (const SettingName name : {SettingName::ToolOptions, SettingName::LateOptions, SettingName::LauncherOptions}) {
    const std::wstring* const value = m_facts.ValueOf(name);
    if (value == nullptr || value->empty()) continue;
    if (name == SettingName::LauncherOptions) {
      Add(Id::OptionVariable, Severity::Note, TextOf(name) + L" is set, which java.exe alone reads: " + *value,
          L"It changes nothing here.");
      continue;
    }
    bool refused = false;
    for (const std::wstring& word : WordsOf(*value)) {
      const auto note = NoteFor(word, major);
      if (!note || !note->fatal) continue;
      refused = true;
      Problem(Id::OptionVariable, TextOf(name) + L" holds " + word + L": " + note->text,
              L"Remove it from the environment variable " + TextOf(name) + L".");
    }
    if (!refused) {
      Add(Id::OptionVariable, Severity::Note, TextOf(name) + L" gives every JVM more options: " + *value,
          L"Remove it when Java behaves otherwise than the settings say.");
    }
  }
}

void Judgement::CodePage() {
  for (const std::wstring& text : m_facts.notInCodePage) {
    Problem(Id::CodePage, L"the system's code page cannot hold: " + text,
            L"Use a path without these characters; Java options are passed in the ANSI code page.");
  }
}

void Judgement::Log() {
  if (m_facts.log.state == LogState::Writable) return;
  Warning(Id::LogLost, L"the JVM log " + m_facts.log.path + L" is lost: " + TextOf(m_facts.log.state),
          L"Make it writable; the JVM runs without it.");
}

// -- the trial start --

void Judgement::Start() {
  if (!m_facts.start || m_facts.start->started) return;
  const size_t before = m_facts.findings.size();
  for (const StartMessage& message : Recognise(*m_facts.start)) {
    const bool known = std::any_of(m_facts.findings.begin(), m_facts.findings.end(), [&](const Finding& each) {
      return each.severity == Severity::Problem && !message.subject.empty() &&
             each.cause.find(message.subject) != std::wstring::npos;
    });
    if (known) continue;
    const std::wstring place = PlaceOfOption(message.subject, m_facts);
    Problem(Id::StartRefused, message.cause, message.remedy + (place.empty() ? L"" : L" It stands in: " + place));
  }
  if (m_facts.findings.size() == before && !HasProblem()) {
    Problem(Id::StartFailed, L"the trial start failed: " + m_facts.start->outcome, L"See its output below.");
  }
}

}  // namespace

void Judge(Facts& facts) {
  Judgement judgement(facts);
  judgement.Products();
  if (facts.examined) {
    judgement.Runtime();
    judgement.SettingsFile();
    judgement.ClassPath();
    judgement.Options();
    judgement.Variables();
    judgement.CodePage();
    judgement.Log();
  }
  judgement.Start();
  std::stable_sort(facts.findings.begin(), facts.findings.end(),
                   [](const Finding& left, const Finding& right) { return left.severity < right.severity; });
}

Severity WorstOf(const Facts& facts) {
  return facts.findings.empty() ? Severity::Note : facts.findings.front().severity;  // they are sorted
}

}  // namespace doctor
