// The compiler says: more or fewer arguments than the method has parameters
#include "qvjvm/qvjvm.hpp"

using list = qvjvm::instance<"java/util/List">;

void Use(const list& words) { words.call<"get", qvjvm::object(int32_t)>(); }
