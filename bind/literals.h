// Constants of Java as C++ writes them. Pure.
#pragma once

#include "bind/model.h"

namespace binder {

// `type` is the field's descriptor. Text becomes the arguments of a view: L"text", 4.
std::string LiteralOf(const Constant& constant, std::string_view type, bool utf8);

}  // namespace binder
