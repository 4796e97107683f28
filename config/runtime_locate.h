// The readings that lead an unknown host to a runtime, as the service makes them.
#pragma once

#include "host/host_text.h"

namespace qv {

// The host setting that keeps the current runtime out, as far as it is read.
struct CurrentRuntimeSetting {
  int32_t charactersRead = 0;
  wchar_t text[2] = {};

  [[nodiscard]] bool Disables() const noexcept;
};
CurrentRuntimeSetting ReadCurrentRuntimeSetting() noexcept;

// Appends the home of the registered current runtime. False when a step to it is missing, or without memory.
bool ReadRegisteredHome(HostText& home) noexcept;

}  // namespace qv
