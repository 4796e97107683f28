// The words for facts, as findings and both reports use them.
#pragma once

#include "doctor/facts.h"

namespace doctor {

std::wstring TextOf(HostKind kind);
std::wstring TextOf(SettingName name);
std::wstring TextOf(LogState state);
// For scripts; never changed.
const char* NameOf(FindingId id);
const char* NameOf(Severity severity);
const char* NameOf(FileState state);
const char* NameOf(Product product);
// What is wrong with a file: "it is empty", "it is not a jar"; `kind` with its article.
std::wstring TextOf(FileState state, const std::wstring& kind);
// What a runtime's file should be, with an article.
std::wstring KindOf(const std::wstring& path);
// Of this program, as in version resources.
std::wstring OwnVersion();
// Where an option of the start stands: a list, a variable; empty when nowhere.
std::wstring PlaceOfOption(const std::wstring& option, const Facts& facts);
// Where a setting is read from, which list an option stands in.
std::wstring OriginOf(SettingName name, const Facts& facts);
/// The keys of the runtime's place, of the options and of the system properties, with their root: "HKLM\Software\...".
std::wstring JavaKeyOf(const Host& host);
std::wstring OptionKeyOf(const Host& host);
std::wstring PropertyKeyOf(const Host& host);
std::wstring OriginOf(qv::OptionSource source, const Facts& facts);
// What became of a candidate, and what is wrong with its file.
std::wstring VerdictOf(const Candidate& candidate);

}  // namespace doctor
