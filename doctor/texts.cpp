// The texts stand in the order of their enumerations.
#include "doctor/texts.h"

#include <array>

#include "qvjvm/qvjvm.h"
#include "store/names.h"

namespace doctor {

std::wstring TextOf(HostKind kind) {
  constexpr const wchar_t* kTexts[] = {L"unknown", L"Quovant", L"Tablero", L"Java launcher"};
  return kTexts[static_cast<size_t>(kind)];
}

std::wstring TextOf(SettingName name) {
  constexpr const wchar_t* kTexts[] = {L"JAVA_HOME",          L"CurrentVersion",       L"JavaHome",
                                       L"QVJRENOTUSECURRENT", qv::names::kJDKLocation, qv::names::kJREBinLocation,
                                       L"CLASSPATH",          L"JAVA_TOOL_OPTIONS",    L"_JAVA_OPTIONS",
                                       L"JDK_JAVA_OPTIONS"};
  return kTexts[static_cast<size_t>(name)];
}

std::wstring TextOf(LogState state) {
  constexpr const wchar_t* kTexts[] = {L"", L"its folder does not exist", L"its folder cannot be written",
                                       L"it is a folder", L"it cannot be written"};
  return kTexts[static_cast<size_t>(state)];
}

namespace {

std::wstring KeyOf(const Host& host, std::wstring_view below) {
  return L"HKLM\\" + host.registryRoot + L"\\" + std::wstring(below);
}

// Below the root.
std::wstring ListKeyOf(const Host& host, std::wstring_view list) {
  return std::wstring(host.Known() ? qv::names::kDevelopmentConfigKey : qv::names::kRuntimeConfigKey) + L"\\" +
         std::wstring(list);
}

}  // namespace

std::wstring JavaKeyOf(const Host& host) { return KeyOf(host, qv::names::kJavaKey); }
std::wstring OptionKeyOf(const Host& host) { return KeyOf(host, ListKeyOf(host, qv::names::kOptionList)); }
std::wstring PropertyKeyOf(const Host& host) { return KeyOf(host, ListKeyOf(host, qv::names::kPropertyKey)); }

std::wstring OriginOf(SettingName name, const Facts& facts) {
  const bool ofFile = facts.settingsFile && facts.settingsFile->javaKey;
  const std::wstring javaKey = (ofFile ? L"qvshr.ini " : L"registry ") + JavaKeyOf(facts.host);
  const std::wstring registered = L"registry HKLM\\Software\\JavaSoft\\Java Runtime Environment";
  const std::wstring origins[] = {L"environment", registered,    registered,     L"host setting, section QV",
                                  javaKey,        javaKey,       L"environment", L"environment",
                                  L"environment", L"environment"};
  return origins[static_cast<size_t>(name)];
}

std::wstring OriginOf(qv::OptionSource source, const Facts& facts) {
  if (source == qv::OptionSource::Service) return L"the service";
  const bool property = source == qv::OptionSource::Properties;
  const qv::KeyOrigin origin = property ? facts.origins.properties : facts.origins.options;
  const auto& file = facts.settingsFile;
  const bool ofFile = file && (property ? file->properties : file->options);
  return (origin != qv::KeyOrigin::Registry ? L"default tree "
          : ofFile                          ? L"qvshr.ini "
                                            : L"registry ") +
         ListKeyOf(facts.host, property ? qv::names::kPropertyKey : qv::names::kOptionList);
}

std::wstring VerdictOf(const Candidate& candidate) {
  const bool taken = candidate.verdict == qv::RuntimeVerdict::Taken;
  const FileState state = candidate.library.state;
  if (taken && state == FileState::Missing) return std::wstring(qv::TextOf(qv::RuntimeVerdict::NotThere));
  std::wstring text(qv::TextOf(candidate.verdict));
  if (!taken || state == FileState::Sound) return text;
  if (state == FileState::Unreadable) return text + L", but it cannot be read";
  if (state == FileState::WrongArchitecture) return text + L", but it is for " + candidate.library.architecture;
  return text + L", but " + TextOf(state, L"a DLL");
}

const char* NameOf(FindingId id) {
  constexpr std::array kNames = {"product-missing",
                                 "product-damaged",
                                 "product-architecture",
                                 "product-unreadable",
                                 "product-version",
                                 "product-not-loaded",
                                 "java-home",
                                 "registered-runtime",
                                 "current-runtime-off",
                                 "host-settings-missing",
                                 "settings-line",
                                 "settings-not-read",
                                 "location-missing",
                                 "location-empty",
                                 "runtime-missing",
                                 "runtime-architecture",
                                 "runtime-damaged",
                                 "runtime-unreadable",
                                 "runtime-incomplete",
                                 "runtime-old",
                                 "foreign-library",
                                 "setting-missing",
                                 "class-path-failed",
                                 "class-path-missing",
                                 "class-path-damaged",
                                 "class-path-equal",
                                 "class-path-syntax",
                                 "options-failed",
                                 "option-refused",
                                 "option-variable",
                                 "java-interpreted",
                                 "code-page",
                                 "log-lost",
                                 "start-refused",
                                 "start-failed"};
  static_assert(kNames.size() == static_cast<size_t>(FindingId::StartFailed) + 1);
  return kNames[static_cast<size_t>(id)];
}

const char* NameOf(Severity severity) {
  constexpr const char* kNames[] = {"problem", "warning", "note"};
  return kNames[static_cast<size_t>(severity)];
}

const char* NameOf(FileState state) {
  constexpr const char* kNames[] = {"missing",    "unreadable",         "empty", "truncated",
                                    "wrong-kind", "wrong-architecture", "ok"};
  return kNames[static_cast<size_t>(state)];
}

const char* NameOf(Product product) { return product == Product::Service ? "service" : "host-library"; }

std::wstring TextOf(FileState state, const std::wstring& kind) {
  switch (state) {
    case FileState::Missing:
      return L"it is missing";
    case FileState::Unreadable:
      return L"it cannot be read";
    case FileState::Empty:
      return L"it is empty";
    case FileState::Truncated:
      return L"it is cut off";
    case FileState::WrongKind:
      return L"it is not " + kind;
    case FileState::WrongArchitecture:
      return L"it is for another processor";
    case FileState::Sound:
      break;
  }
  return {};
}

std::wstring KindOf(const std::wstring& path) {
  const auto ends = [&](std::wstring_view end) { return path.ends_with(end); };
  if (ends(L".dll")) return path.substr(path.rfind(L'\\') + 1);
  if (ends(L".jar")) return L"a jar";
  if (ends(L"modules")) return L"a class library";
  if (ends(L".dat")) return L"a list of time zones";
  return L"a list of settings";
}

std::wstring OwnVersion() {
  return std::to_wstring(QVJVM_VERSION_MAJOR) + L"." + std::to_wstring(QVJVM_VERSION_MINOR) + L"." +
         std::to_wstring(QVJVM_VERSION_PATCH) + L".0";
}

std::wstring PlaceOfOption(const std::wstring& option, const Facts& facts) {
  if (option.empty()) return {};
  for (const SettingName name : {SettingName::LateOptions, SettingName::ToolOptions}) {
    const std::wstring* const value = facts.ValueOf(name);
    if (value != nullptr && value->find(option) != std::wstring::npos) return L"the variable " + TextOf(name);
  }
  for (const Option& each : facts.options) {
    if (each.text.find(option) != std::wstring::npos) return OriginOf(each.source, facts);
  }
  return {};
}

}  // namespace doctor
