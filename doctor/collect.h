// Finds out what the service would do, by asking the service's own code. Changes nothing on the machine: PATH is that
// of this process, no message box is shown, no JVM is started.
#pragma once

#include "doctor/facts.h"
#include "doctor/host_library.h"

namespace doctor {

using LoadHost = HostLibraryLoad (*)(const std::wstring& path);

// With one of the product's libraries missing, damaged or wrong it tells of these alone. Without `loadHost` the host
// library is this process's already.
Facts Collect(const Question& question, LoadHost loadHost = nullptr);

}  // namespace doctor
