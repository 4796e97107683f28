// The compiler says: an argument does not fit the declared parameter
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& point) { point.set_field<int32_t>("x", L"7"); }
