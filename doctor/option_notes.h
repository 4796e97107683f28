// What a Java version does with an option that it once knew or never knew.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

struct OptionNote {
  std::wstring text;
  bool fatal = false;  // the JVM refuses to start
};

// None when there is nothing to say. `major` is the Java version, 8, 11, 17, ...; none when it is not known.
std::optional<OptionNote> NoteFor(std::wstring_view option, std::optional<int> major);

// The options of an environment variable, as a JVM takes them apart: at blanks, with quotes.
std::vector<std::wstring> WordsOf(std::wstring_view text);

}  // namespace doctor
