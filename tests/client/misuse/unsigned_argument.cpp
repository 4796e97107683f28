// The compiler says: Java has no unsigned integers
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& list) { list.call("get", 7U); }
