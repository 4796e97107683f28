// The built-in configuration that stands in for a missing "Java\QVRTConfig". Constant data.
#pragma once

#include "host/qvshr.h"

namespace qv {

inline constexpr int kDefaultConfigRecords = 28;
extern const DefaultConfigRecord g_DefaultConfigTree[kDefaultConfigRecords];

}  // namespace qv
