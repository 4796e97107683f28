#include "tests/support/broken_image.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qvtest {

std::string ForMachine(std::string image, unsigned short machine) {
  const size_t header = static_cast<unsigned char>(image[0x3C]) + 256U * static_cast<unsigned char>(image[0x3D]);
  EXPECT_EQ(image.substr(header, 4), std::string("PE\0\0", 4));
  image[header + 4] = static_cast<char>(machine & 0xFF);
  image[header + 5] = static_cast<char>(machine >> 8);
  return image;
}

std::string WithMissingImport(std::string image, std::string_view importName) {
  const size_t at = image.find(std::string(importName) + '\0');
  EXPECT_NE(at, std::string::npos) << importName;
  if (at != std::string::npos) std::fill_n(image.begin() + static_cast<ptrdiff_t>(at), 3, '~');
  return image;
}

}  // namespace qvtest
