// The compiler says: the_signature_has_long_J_where_the_call_gives
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& date) { date.call_as("setTime", "(J)V", -1); }
