// Starts Java through the package and prints what Java says. JAVA_HOME, or a folder JRE beside the program, has Java.
#include <cstdio>

#include "qvjvm/qvjvm.hpp"

int main() {
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();
    std::printf("Java %ls, %d\n", java.java_version().c_str(),
                java.call_static<"java/lang/Integer", "parseInt", int32_t>("17"));
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
}
