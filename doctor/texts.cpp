// The texts stand in the order of their enumerations.
#include "doctor/texts.h"

#include "store/names.h"

namespace doctor {

std::wstring TextOf(HostKind kind) {
  constexpr const wchar_t* kTexts[] = {L"unknown", L"Quovant", L"Tablero", L"Java launcher"};
  return kTexts[static_cast<size_t>(kind)];
}

std::wstring TextOf(SettingName name) {
  constexpr const wchar_t* kTexts[] = {
      L"JAVA_HOME", L"JavaHome", L"QVJRENOTUSECURRENT", qv::names::kJDKLocation, qv::names::kJREBinLocation,
      L"CLASSPATH"};
  return kTexts[static_cast<size_t>(name)];
}

std::wstring TextOf(LogState state) {
  constexpr const wchar_t* kTexts[] = {L"", L"its folder does not exist", L"its folder cannot be written",
                                       L"it is a folder", L"it cannot be written"};
  return kTexts[static_cast<size_t>(state)];
}

std::wstring OriginOf(SettingName name, const Facts& facts) {
  const std::wstring javaKey = L"registry HKLM\\" + facts.host.registryRoot + L"\\" + qv::names::kJavaKey;
  const std::wstring origins[] = {L"environment",
                                  L"registry HKLM\\Software\\JavaSoft\\Java Runtime Environment",
                                  L"host setting, section QV",
                                  javaKey,
                                  javaKey,
                                  L"environment"};
  return origins[static_cast<size_t>(name)];
}

std::wstring OriginOf(qv::OptionSource source, const Facts& facts) {
  if (source == qv::OptionSource::Service) return L"the service";
  const bool property = source == qv::OptionSource::Properties;
  const qv::KeyOrigin origin = property ? facts.origins.properties : facts.origins.options;
  return (origin == qv::KeyOrigin::Registry ? L"registry " : L"default tree ") +
         std::wstring(facts.host.Known() ? qv::names::kDevelopmentConfigKey : qv::names::kRuntimeConfigKey) + L"\\" +
         (property ? qv::names::kPropertyKey : qv::names::kOptionList);
}

std::wstring VerdictOf(const Candidate& candidate) {
  const bool taken = candidate.verdict == qv::RuntimeVerdict::Taken;
  const Machine machine = candidate.library.machine;
  if (taken && machine == Machine::Missing) return std::wstring(qv::TextOf(qv::RuntimeVerdict::NotThere));
  std::wstring text(qv::TextOf(candidate.verdict));
  if (taken && machine == Machine::Unreadable) text += L", but it cannot be read";
  if (taken && machine == Machine::NotAnImage) text += L", but it is not a DLL";
  if (taken && machine == Machine::Wrong) text += L", but it is for " + candidate.library.architecture;
  return text;
}

}  // namespace doctor
