#include <cstdio>

#include "java/util/ArrayList.hpp"
#include "qvjvm/callbacks.hpp"

int main() {
  const qvjvm::jvm java = qvjvm::jvm::start();
  const auto words = java::util::ArrayList::create(java);
  words.add("one");
  words.add(0, L"zero");
  // One of its interfaces: C++ knows them, Java is not asked.
  const java::util::Collection all = words;
  const auto copy = java::util::ArrayList::create(java, all);
  // An Object, which is asked for its class.
  const auto first = copy.get(0).as<std::wstring>();
  // Java calls back.
  copy.removeIf(qvjvm::implement<java::util::function::Predicate>(
      java, [](const std::wstring& word) { return word.starts_with(L"o"); }));
  std::printf("%d %ls %ls\n", copy.size(), copy.toString().c_str(), first.c_str());
}
