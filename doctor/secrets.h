// What reports leave out: the values of options and variables whose names say that they are secret, as the service's
// own trace does (store/secret.h).
#pragma once

#include <string>

#include "doctor/facts.h"

namespace doctor {

// In every text of the facts.
void HideSecrets(Facts& facts);
// Word by word, for files that others wrote.
std::string WithoutSecrets(const std::string& text);

}  // namespace doctor
