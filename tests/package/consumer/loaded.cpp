// A C++ program that loads the service at run time, through the client header.
#include <cstdio>

#include "qvjvm/qvjvm.hpp"

int main() {
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();
    const qvjvm::object list = java.find_class("java/util/ArrayList").create();
    list.call<bool>("add", java.new_string(L"one"));
    std::printf("%d %ls\n", list.call<int32_t>("size"), list.call<std::wstring>("toString").c_str());
    return 0;
  } catch (const qvjvm::error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
