// The facts for people, on a console and in a browser, and for scripts.
#pragma once

#include <string>

#include "doctor/facts.h"

namespace doctor {

// At most 80 columns where the facts allow it; findings first. With colors only for a terminal.
std::wstring AsText(const Facts& facts, bool colors);
// UTF-8.
std::string AsJson(const Facts& facts);
// One page in UTF-8 that needs nothing else.
std::string AsHtml(const Facts& facts);
std::string ToUtf8(std::wstring_view text);

}  // namespace doctor
