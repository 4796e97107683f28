// The compiler says: the_signature_has_another_result_than
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { (void)list.call_as<qvjvm::object>("size", "()I"); }
