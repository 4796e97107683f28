// The compiler says: Java has no unsigned integers
#include "qvjvm/qvjvm.hpp"

enum class Kind : uint8_t { one };

void Use(const qvjvm::object& list) { list.call("get", Kind::one); }
