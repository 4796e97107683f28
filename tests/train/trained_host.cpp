// A host whose job is a few classes of clienttests.jar. Usage: trained_host EXITCODE [own], the latter with options of
// its own, which stand in place of the file's.
#include <cstdio>
#include <cstdlib>

#include "qvjvm/qvjvm.hpp"

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  qvjvm::options options;
  options.compiled().class_path(L"clienttests.jar");
  if (argc > 2) options.option("-Xms16m");
  const auto java = qvjvm::jvm::try_start(options);
  if (!java || !java.value().try_find_class("client/Callbacks")) return 1;
  std::puts("the job is done");
  return std::atoi(argv[1]);
}
