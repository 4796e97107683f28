// The compiler says: an argument does not fit the declared parameter
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::method<void(qvjvm::instance<"java/lang/Integer">)>& set, const qvjvm::object& on) {
  set(on, L"7");
}
