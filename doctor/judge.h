// From facts to findings: what is wrong, and what helps. Pure; the most telling finding comes first.
#pragma once

#include "doctor/facts.h"

namespace doctor {

void Judge(Facts& facts);

// Note when there is nothing worse.
Severity WorstOf(const Facts& facts);

}  // namespace doctor
