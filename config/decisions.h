// What the configuration decides, told to a listener at the moment it is decided: where a runtime was looked for and
// what became of each place, which key a list came from, what is missing. The service writes it to the debugger
// channel, a diagnosis collects it; neither decides anything a second time.
// What is told is borrowed and valid during the call.
#pragma once

#include <string_view>

#include "store/config_store.h"
#include "store/messages.h"

namespace qv {

enum class RuntimeSource { JavaHome, Registry, BesideTheService, Configured };

// Each with its text in decisions.cpp, in this order.
enum class RuntimeVerdict {
  Taken,            // it stands in front of PATH now
  PathRefused,      // it was found, but PATH cannot be set
  NotThere,         // there is no jvm.dll
  NotNamed,         // the source names no home
  FoundBefore,      // not tried
  SwitchedOff,      // not tried: the setting that keeps the current runtime out
  JavaHomeIsSet,    // not tried: the registry is asked only without JAVA_HOME
  LocationMissing,  // a configured location, without which neither is used
  LocationEmpty,
};

// A candidate, `home` followed by `subFolder`; or, with an empty `subFolder`, all that a source has.
struct RuntimePlace {
  RuntimeSource source;
  RuntimeVerdict verdict;
  std::wstring_view home{};
  std::wstring_view subFolder{};
};

std::wstring_view TextOf(RuntimeSource source) noexcept;
std::wstring_view TextOf(RuntimeVerdict verdict) noexcept;

class DecisionListener {
 public:
  // Each place in the order of the search, those after the choice and those that are not tried included.
  virtual void OnRuntimePlace(const RuntimePlace& place) noexcept = 0;
  // The key of a list of start-up options, once it is open.
  virtual void OnListKey(const wchar_t* listName, KeyOrigin origin) noexcept = 0;
  // How many of the start-up options stand in the configured list.
  virtual void OnConfiguredOptions(int32_t count) noexcept = 0;
  // A key or value that a known host's start needs is missing: what its user is told.
  virtual void OnMissing(const StoreMessage& message, const wchar_t* serviceName) noexcept = 0;

 protected:
  ~DecisionListener() = default;
};

// The service's own: places and keys go to the debugger channel, what is missing to a message box.
DecisionListener& ServiceListener() noexcept;

}  // namespace qv
