// Small text helpers of the tests: wide text for people, and the reading of string objects.
// ToUtf8 is for messages; unpaired surrogates come out as escapes, so that a failing comparison can be read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/host_ref.h"

namespace qvtest {

std::string ToUtf8(std::wstring_view text);
std::wstring ToWide(std::string_view utf8);

// The lines of a text, whichever way they end.
std::vector<std::string> LinesOf(const std::string& text);

// The object's text as a value; "<null>" for a null pointer. Does not take the reference.
std::wstring TextOf(IQvString* string);

// Releases the object after reading it: for out-parameters in expectations.
std::wstring TakeText(IQvString*& string);

}  // namespace qvtest
