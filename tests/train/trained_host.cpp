// A host whose job is a few classes of clienttests.jar. Usage: trained_host EXITCODE [own|once]
// "own": with options of its own, which stand in place of the file's. "once": where the file "done" is, the job fails;
// else it makes that.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "qvjvm/qvjvm.hpp"

namespace {

// False when it is there already.
bool MakeFile(const char* name) {
  const HANDLE file = CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  qvjvm::options options;
  options.compiled().class_path(L"clienttests.jar");
  const std::string_view way = argc > 2 ? argv[2] : "";
  if (way == "own") options.option("-Xms16m");
  if (way == "once" && !MakeFile("done")) return 9;
  const auto java = qvjvm::jvm::try_start(options);
  if (!java || !java.value().try_find_class("client/Callbacks")) return 1;
  std::puts("the job is done");
  return std::atoi(argv[1]);
}
