// The compiler says: the_signature_wants_more_arguments
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call_as("add", "(ILjava/lang/Object;)V", 1); }
