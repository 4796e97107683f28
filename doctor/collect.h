// Finds out what the service would do, by asking the service's own code. Changes nothing on the machine: PATH is that
// of this process, no message box is shown, no JVM is started.
#pragma once

#include "doctor/facts.h"

namespace doctor {

// Needs qvjvm.dll in question.serviceFolder; throws std::runtime_error when it cannot be loaded.
Facts Collect(const Question& question);

}  // namespace doctor
