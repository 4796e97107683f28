// The texts stand in the order of their enumerations.
#include "config/decisions.h"

#include "base/trace.h"

namespace qv {

namespace {

class TracingListener final : public DecisionListener {
 public:
  void OnRuntimePlace(const RuntimePlace& place) noexcept override {
    Trace({L"Java runtime, ", TextOf(place.source), place.home.empty() ? L"" : L" ", place.home, place.subFolder, L": ",
           TextOf(place.verdict)});
  }
  void OnListKey(const wchar_t* listName, KeyOrigin origin) noexcept override {
    Trace({listName, origin == KeyOrigin::Registry ? L" of the registry" : L" of the built-in tree"});
  }
  void OnConfiguredOptions(int32_t) noexcept override {}
  void OnMissing(const StoreMessage& message, const wchar_t* serviceName) noexcept override {
    message.Show(serviceName);
  }
};

constinit TracingListener g_serviceListener;

}  // namespace

DecisionListener& ServiceListener() noexcept { return g_serviceListener; }

std::wstring_view TextOf(RuntimeSource source) noexcept {
  constexpr std::wstring_view kTexts[] = {L"JAVA_HOME", L"registry", L"beside the service",
                                          L"configured JREBinLocation"};
  return kTexts[static_cast<size_t>(source)];
}

std::wstring_view TextOf(RuntimeVerdict verdict) noexcept {
  constexpr std::wstring_view kTexts[] = {L"taken",
                                          L"found, but PATH cannot be set",
                                          L"not there",
                                          L"not set",
                                          L"not tried: one was found before",
                                          L"not tried: QVJRENOTUSECURRENT is 1",
                                          L"not tried: JAVA_HOME is set",
                                          L"not used: JDKLocation or JREBinLocation is missing",
                                          L"not used: JDKLocation or JREBinLocation is empty"};
  return kTexts[static_cast<size_t>(verdict)];
}

}  // namespace qv
