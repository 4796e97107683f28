// The compiler says: the_signature_wants_fewer_arguments
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call_as("clear", "()V", 1); }
