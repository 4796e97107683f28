#include <cstdio>
#include "qvjvm/qvjvm.hpp"

int main() {
  try {
    const qvjvm::jvm java = qvjvm::jvm::start(qvjvm::options().compiled());
    const auto list = java.create<"java/util/ArrayList">();
    list.call<"add", bool(qvjvm::object)>("Grüße");
    std::printf("%d entry on Java %ls\n", list.call<"size", int32_t>(), java.java_version().c_str());
    java.call_static<"java/lang/Integer", "parseInt", int32_t>("seventeen");
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());  // java.lang.NumberFormatException: For input string: "seventeen"
  }
}
