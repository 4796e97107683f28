// Images of DLLs that a loader must refuse, made from sound ones.
#pragma once

#include <string>
#include <string_view>

namespace qvtest {

// The same image for another processor (IMAGE_FILE_MACHINE_...).
std::string ForMachine(std::string image, unsigned short machine);
// The same image with a DLL among its imports that nobody has: the import's name is replaced by one of the same length.
std::string WithMissingImport(std::string image, std::string_view importName);

}  // namespace qvtest
