// The compiler says: the_signature_has_another_class_where_the_call_gives
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call_as("put", "(Ljava/lang/Integer;)V", L"7"); }
