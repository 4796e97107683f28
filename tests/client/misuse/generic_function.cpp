// The compiler says: qvjvm: a generic or overloaded function cannot be taken for Java's method
#include "qvjvm/callbacks.hpp"

auto wrong(const qvjvm::jvm& java) {
  return qvjvm::try_implement<"java/util/Comparator">(java, [](const auto& left, const auto& right) { return 0; });
}
