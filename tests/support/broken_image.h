// Images of DLLs that a loader must refuse, made from sound ones.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace qvtest {

// The same image for another processor (IMAGE_FILE_MACHINE_...).
inline std::string ForMachine(std::string image, unsigned short machine) {
  const size_t header = static_cast<unsigned char>(image[0x3C]) + 256U * static_cast<unsigned char>(image[0x3D]);
  EXPECT_EQ(image.substr(header, 4), std::string("PE\0\0", 4));
  image[header + 4] = static_cast<char>(machine & 0xFF);
  image[header + 5] = static_cast<char>(machine >> 8);
  return image;
}
// The same image with a DLL among its imports that nobody has: the import's name is replaced by one of the same length.
inline std::string WithMissingImport(std::string image, std::string_view importName) {
  const size_t at = image.find(std::string(importName) + '\0');
  EXPECT_NE(at, std::string::npos) << importName;
  if (at != std::string::npos) std::fill_n(image.begin() + static_cast<ptrdiff_t>(at), 3, '~');
  return image;
}

}  // namespace qvtest
