// The boot class path option: three deployment archives below the runtime's library folder. Pure.
#pragma once

#include <string_view>

#include "host/host_text.h"

namespace qv {

// `jvmFolder` is the folder of the loaded jvm.dll, empty when it is not known. Deliberate: only "\BIN\CLIENT" is cut
// off, at its first occurrence; a server JVM keeps its folder and gets "\LIB" below it.
HostText BootClassPathOption(std::wstring_view jvmFolder) noexcept;

}  // namespace qv
