// What the service wants of a C++ library and Microsoft's would bring.
#include <cstdlib>

// The table of type_info: each class's own information points to it. Nobody asks for a type at run time.
extern "C" const void* const kTypeInfoTable[];
const void* const kTypeInfoTable[] __asm__("??_7type_info@@6B@") = {nullptr};

namespace std {
// Where a text is cut out of its bounds, which the service does not.
[[noreturn]] void __throw_out_of_range_fmt(const char*, ...) { abort(); }
}  // namespace std
