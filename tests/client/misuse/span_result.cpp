// The compiler says: a span cannot be a result
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& text) { (void)text.call<std::span<const int8_t>>("getBytes"); }
