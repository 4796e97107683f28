// The compiler says: this C++ type has no Java counterpart
#include "qvjvm/qvjvm.hpp"

struct Point {
  int x;
};

void Use(const qvjvm::object& list) { list.call("add", std::vector<Point>()); }
