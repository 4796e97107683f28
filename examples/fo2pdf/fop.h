// FOP, the Java formatter, through the service.
#pragma once

#include <string>

#include "qvjvm/qvjvm.hpp"

namespace example {

/// Lays out the XSL-FO document `input` and writes it as a PDF. The PDF appears under its name only when it is
/// complete.
void WritePdf(const qvjvm::jvm& java, const std::wstring& input, const std::wstring& output);

}  // namespace example
