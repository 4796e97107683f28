// What an executable image is for, by its header.
#pragma once

#include <string>

#include "doctor/facts.h"

namespace doctor {

// Reads the PE header; nothing is loaded or run.
Library InspectLibrary(const std::wstring& path);

}  // namespace doctor
