// FOP, the Java formatter, through the service.
#pragma once

#include <string>

#include "common/service.h"

namespace example {

/// Lays out the XSL-FO document `input` and writes it as a PDF. The PDF appears under its name only when it is
/// complete.
void WritePdf(const Service& service, const std::wstring& input, const std::wstring& output);

}  // namespace example
