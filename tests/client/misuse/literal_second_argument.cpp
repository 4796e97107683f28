// The compiler says: the_signature_has_another_class_where_the_call_gives
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call_as("add", "(ILjava/lang/Object;)V", 1, 2); }
