// The compiler says: the_signature_has_double_D_where_the_call_gives
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& shape) { shape.call_as("scale", "(D)V", 1); }
