#include "doctor/judge.h"

#include <algorithm>
#include <filesystem>

#include "doctor/texts.h"

namespace doctor {

namespace {

class Judgement {
 public:
  explicit Judgement(Facts& facts) : m_facts(facts) {}

  void Problem(std::wstring cause, std::wstring remedy) { Add(Severity::Problem, std::move(cause), std::move(remedy)); }
  void Warning(std::wstring cause, std::wstring remedy) { Add(Severity::Warning, std::move(cause), std::move(remedy)); }

  void Runtime();
  void ClassPath();
  void Options();
  void Log();
  void Start();

 private:
  void Add(Severity severity, std::wstring cause, std::wstring remedy) {
    m_facts.findings.push_back({severity, std::move(cause), std::move(remedy)});
  }
  [[nodiscard]] bool RuntimeChosen() const {
    return std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(),
                       [](const Candidate& each) { return each.Chosen(); });
  }
  [[nodiscard]] bool RuntimeFound() const { return m_facts.runtime || RuntimeChosen(); }
  [[nodiscard]] std::wstring MissingEntries() const;
  void JavaHome();
  void DisabledCurrent();
  void ConfiguredRuntime();
  void Library(const doctor::Library& library);
  void NoRuntime();
  void Completeness(const doctor::Runtime& runtime);

  Facts& m_facts;
};

// A JAVA_HOME that helps nobody is the most common fault, and it hides the registry. It is the cause when nothing else
// was found.
void Judgement::JavaHome() {
  const std::wstring* const home = m_facts.ValueOf(SettingName::JavaHome);
  if (home == nullptr || m_facts.host.Known() || m_facts.HostHasJvm()) return;
  const bool helps = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.source == qv::RuntimeSource::JavaHome && each.library.machine != Machine::Missing;
  });
  if (helps) return;
  const Severity severity = RuntimeFound() ? Severity::Warning : Severity::Problem;
  if (home->find(L'"') != std::wstring::npos) {
    Add(severity, L"JAVA_HOME has quotes: " + *home, L"Set it without quotes.");
  } else if (!home->empty() && home->back() == L'\\') {
    Add(severity, L"JAVA_HOME ends with a backslash and has no jvm.dll: " + *home,
        L"Set it to the folder of a 64-bit Java runtime, without a backslash at its end.");
  } else {
    Add(severity, L"JAVA_HOME has no jvm.dll: " + *home,
        L"Set it to the folder of a 64-bit Java runtime (the one that holds bin), or remove it. While it is set the "
        L"registered runtime is not looked for.");
  }
}

void Judgement::ConfiguredRuntime() {
  const std::wstring key = L"HKLM\\" + m_facts.host.registryRoot + L"\\Java";
  if (!m_facts.host.rootExists) {
    Problem(L"HKLM\\" + m_facts.host.registryRoot + L" is missing; a " + TextOf(m_facts.host.kind) +
                L" host has all its settings there",
            L"Install the host product, or import its settings.");
    return;
  }
  for (const SettingName name : {SettingName::JdkLocation, SettingName::JreBinLocation}) {
    const std::wstring* const value = m_facts.ValueOf(name);
    if (value == nullptr) {
      Problem(TextOf(name) + L" is missing in " + key,
              L"Set it; a " + TextOf(m_facts.host.kind) + L" host takes its Java runtime from there alone.");
    } else if (value->empty()) {
      Problem(TextOf(name) + L" is empty in " + key, L"Set it to the runtime's folder.");
    }
  }
}

void Judgement::Library(const doctor::Library& library) {
  switch (library.machine) {
    case Machine::Wrong:
      Problem(library.path + L" is for " + library.architecture + L", not x64",
              L"Install a 64-bit Java runtime; qvjvm.dll is 64-bit and cannot load this one.");
      break;
    case Machine::NotAnImage:
      Problem(library.path + L" is damaged: it is not a complete DLL", L"Install the Java runtime anew.");
      break;
    case Machine::Unreadable:
      Problem(library.path + L" cannot be read", L"Give this user the right to read and execute the runtime's files.");
      break;
    case Machine::Missing:
    case Machine::Right:
      break;
  }
}

// A setting that keeps everything but the private runtime out is easily forgotten.
void Judgement::DisabledCurrent() {
  const bool off = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.verdict == qv::RuntimeVerdict::SwitchedOff && each.library.machine != Machine::Missing;
  });
  const bool privateOne = std::any_of(m_facts.candidates.begin(), m_facts.candidates.end(), [](const Candidate& each) {
    return each.source == qv::RuntimeSource::BesideTheService && each.Chosen();
  });
  if (off && !privateOne) {
    Problem(L"the host setting QVJRENOTUSECURRENT is 1, which keeps the installed Java runtime out",
            L"Remove the setting, or put a runtime into " + m_facts.question.serviceFolder + L"\\JRE.");
  }
}

void Judgement::Runtime() {
  if (m_facts.HostHasJvm()) return;
  DisabledCurrent();
  JavaHome();
  if (m_facts.host.Known()) ConfiguredRuntime();
  if (!m_facts.runtime) {
    NoRuntime();
  } else if (m_facts.runtime->jvm.machine != Machine::Right) {
    Library(m_facts.runtime->jvm);
  } else {
    Completeness(*m_facts.runtime);
  }
}

void Judgement::NoRuntime() {
  const auto chosen = std::find_if(m_facts.candidates.begin(), m_facts.candidates.end(),
                                   [](const Candidate& each) { return each.Chosen(); });
  if (chosen != m_facts.candidates.end()) {
    Library(chosen->library);
  } else if (!m_facts.host.Known()) {
    Problem(L"no Java runtime was found: no jvm.dll at any place that is searched, nor on PATH",
            L"Install a 64-bit Java runtime and set JAVA_HOME to it, or put one into " +
                m_facts.question.serviceFolder + L"\\JRE.");
  } else if (!m_facts.candidates.empty() && m_facts.candidates.front().library.machine == Machine::Missing) {
    Problem(L"there is no jvm.dll in " +
                std::filesystem::path(m_facts.candidates.front().library.path).parent_path().wstring(),
            L"Set JREBinLocation to the folder that holds jvm.dll (bin\\server of a 64-bit runtime).");
  }
}

void Judgement::Completeness(const doctor::Runtime& runtime) {
  if (!runtime.hasLib) {
    Problem(L"the runtime has no folder lib: " + runtime.home, L"Install the Java runtime anew.");
  } else if (!runtime.hasClassLibrary) {
    Problem(L"the runtime has no class library (lib\\modules): " + runtime.home, L"Install the Java runtime anew.");
  }
  if (!runtime.hasJavaDll) {
    Problem(L"the runtime lacks bin\\java.dll: " + runtime.home, L"Install the Java runtime anew.");
  }
  if (runtime.major && *runtime.major < 8) {
    Warning(L"Java " + runtime.version + L" is older than anything that was tried", L"Use Java 11 or newer.");
  }
}

// Their names alone, and not all of them when they are many: the paths stand below.
std::wstring Judgement::MissingEntries() const {
  constexpr size_t kNamed = 4;
  std::wstring names;
  size_t count = 0;
  for (const ClassPathEntry& entry : m_facts.classPath) {
    if (entry.exists || ++count > kNamed) continue;
    names += (names.empty() ? L": " : L", ") + std::filesystem::path(entry.path).filename().wstring();
  }
  return std::to_wstring(count) + L" of " + std::to_wstring(m_facts.classPath.size()) +
         L" class path entries do not exist" + names +
         (count > kNamed ? L" and " + std::to_wstring(count - kNamed) + L" more" : L"");
}

void Judgement::ClassPath() {
  if (!m_facts.messageBox.empty() && !m_facts.host.rootExists) {
    // said before
  } else if (!m_facts.messageBox.empty()) {
    Problem(L"the start-up shows a message box and fails: " + m_facts.messageBox, L"Create that key or value.");
  } else if (!m_facts.classPathBuilt) {
    Problem(L"the class path cannot be built", L"Repair the built-in configuration: reinstall the service.");
  }
  const bool missing = std::any_of(m_facts.classPath.begin(), m_facts.classPath.end(),
                                   [](const ClassPathEntry& entry) { return !entry.exists; });
  if (missing) {
    Warning(MissingEntries(), L"Java ignores them; classes in them are not found. They are marked below.");
  }
}

void Judgement::Options() {
  if (m_facts.HostHasJvm()) return;
  if (m_facts.classPathBuilt && !m_facts.optionsBuilt) {
    Problem(
        L"the start-up options cannot be built: the list QVJVMconfig, an entry below its Count, or QVJVMprops is "
        L"missing",
        L"Give the list a Count and every entry from 0 to Count - 1, and create the key QVJVMprops.");
  }
  const std::wstring version = m_facts.runtime ? m_facts.runtime->version : std::wstring();
  for (const Option& option : m_facts.options) {
    if (!option.fatal) continue;
    Problem(L"Java " + (version.empty() ? L"(unknown version)" : version) + L" refuses to start with " + option.text +
                L": " + option.note,
            L"Remove it from: " + OriginOf(option.source, m_facts));
  }
  for (const std::wstring& text : m_facts.notInCodePage) {
    Problem(L"the system's code page cannot hold: " + text,
            L"Use a path without these characters; Java options are passed in the ANSI code page.");
  }
}

void Judgement::Log() {
  if (m_facts.log.state == LogState::Writable) return;
  Warning(L"the JVM log " + m_facts.log.path + L" is lost: " + TextOf(m_facts.log.state),
          L"Make it writable; the JVM runs without it.");
}

void Judgement::Start() {
  if (!m_facts.start || m_facts.start->started) return;
  Problem(L"the trial start failed: " + m_facts.start->outcome, L"See its output below.");
}

}  // namespace

void Judge(Facts& facts) {
  Judgement judgement(facts);
  judgement.Runtime();
  judgement.ClassPath();
  judgement.Options();
  judgement.Log();
  judgement.Start();
  std::stable_sort(facts.findings.begin(), facts.findings.end(), [](const Finding& left, const Finding& right) {
    return left.severity == Severity::Problem && right.severity != Severity::Problem;
  });
}

}  // namespace doctor
