// The words for facts, as findings and both reports use them.
#pragma once

#include "doctor/facts.h"

namespace doctor {

std::wstring TextOf(HostKind kind);
std::wstring TextOf(SettingName name);
std::wstring TextOf(LogState state);
// Where a setting is read from, which list an option stands in.
std::wstring OriginOf(SettingName name, const Facts& facts);
std::wstring OriginOf(qv::OptionSource source, const Facts& facts);
// What became of a candidate, and what is wrong with its file.
std::wstring VerdictOf(const Candidate& candidate);

}  // namespace doctor
