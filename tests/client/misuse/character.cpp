// The compiler says: a lone character of this type has no Java counterpart
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& text) { text.call("indexOf", 'x'); }
