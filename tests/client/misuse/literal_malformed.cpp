// The compiler says: the_signature_is_malformed
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call_as("add", "(Ljava/lang/Object)Z", L"x"); }
