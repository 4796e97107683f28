// The compiler says: an argument does not fit the declared parameter
#include "qvjvm/qvjvm.hpp"

using list = qvjvm::instance<"java/util/List">;

void Use(const list& words) { words.call<"get", qvjvm::object(int32_t)>(1.5); }
