#include <cstdio>
#include "qvjvm/qvjvm.hpp"

int main() {
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();
    const qvjvm::object list = java.find_class("java/util/ArrayList").create();
    list.call<bool>("add", java.new_string(L"Grüße"));
    std::printf("%d entry on Java %ls\n", list.call<int32_t>("size"), java.java_version().c_str());
    java.find_class("java/lang/Integer").call_static<int32_t>("parseInt", L"seventeen");
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());  // java.lang.NumberFormatException: For input string: "seventeen"
  }
}
