// A class of Java's as one of C++, from headers that were written while this was built.
#include <cstdio>

#include "java/util/ArrayList.hpp"

int main() {
  const qvjvm::jvm java = qvjvm::jvm::start();
  const auto list = java::util::ArrayList::create(java);
  list.add("one");
  list.add("two");
  std::printf("%d %ls\n", list.size(), list.toString().c_str());
}
