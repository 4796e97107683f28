// The host library, loaded while the program runs: so the program starts, and can say what is wrong, when the library
// is missing or damaged. The one place that loads it and that stands for its import.
#pragma once

#include <windows.h>

#include <string>

namespace doctor {

struct HostLibraryLoad {
  DWORD error = 0;       // what Windows says when it cannot be loaded
  int missing = 0;       // functions that it lacks
  int firstMissing = 0;  // the ordinal of the first one
};

// From then on the service's code in this program calls this library. Before, and for each function that is missing,
// calls do nothing and give 0.
HostLibraryLoad LoadHostLibrary(const std::wstring& path);

}  // namespace doctor
