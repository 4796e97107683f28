// From the model to the texts of headers, by path below the folder of the output. Pure, and the same on every run.
//
// Each class that was asked for, and each of its superclasses, has two: detail/<package>/<Class>.hpp declares it and
// includes its superclass's declaration alone, <package>/<Class>.hpp adds the bodies and what they need. A class that
// is only named by their members has the first one, without members.
#pragma once

#include "bind/model.h"

namespace binder {

enum class Text { Wide, Utf8 };

struct Style {
  Text text = Text::Wide;
  bool attempts = false;  // also a try_ function for each
};

// The first line of every header begins so.
inline constexpr std::string_view kMark = "// Made by qvjvm-bind";

std::map<std::string, std::string> WriteHeaders(const Library& library, const Style& style);

}  // namespace binder
