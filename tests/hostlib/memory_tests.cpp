// Memory: ordinals 1 and 2.
#include <cstring>

#include "tests/hostlib/host_build.h"

namespace hosttest {
namespace {

class MemoryTest : public HostTest {};
ON_BOTH_HOST_BUILDS(MemoryTest);

constexpr size_t kSizes[] = {0, 1, 2, 7, 8, 15, 16, 17, 31, 32, 33, 4095, 4096, 4097, 65536, 1000000};

TEST_P(MemoryTest, BlocksAreAlignedTo16AndEveryByteOfThemBelongsToThem) {
  std::vector<unsigned char*> blocks;
  for (const size_t bytes : kSizes) {
    blocks.push_back(static_cast<unsigned char*>(host.Alloc(bytes)));
    ASSERT_NE(blocks.back(), nullptr) << bytes << " bytes";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back()) % 16, 0u) << bytes << " bytes";
    std::memset(blocks.back(), static_cast<int>(blocks.size()), bytes);
  }
  for (size_t i = 0; i < blocks.size(); ++i) {
    const std::vector<unsigned char> want(kSizes[i], static_cast<unsigned char>(i + 1));
    EXPECT_EQ(std::vector<unsigned char>(blocks[i], blocks[i] + kSizes[i]), want) << kSizes[i] << " bytes";
    host.Free(blocks[i]);
  }
}

TEST_P(MemoryTest, BlocksOfNoBytesAreDistinctAndCanBeFreedAsNullCan) {
  void* const first = host.Alloc(0);
  void* const second = host.Alloc(0);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  EXPECT_NE(first, second);
  host.Free(first);
  host.Free(second);
  host.Free(nullptr);
}

TEST_P(MemoryTest, SizesThatNoMachineHasGiveNull) {
  for (const size_t bytes : {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX - 15, SIZE_MAX - 16, SIZE_MAX - 4096, SIZE_MAX / 2 + 1,
                             SIZE_MAX / 2, SIZE_MAX / 16, (size_t{1} << 40) + 1}) {
    EXPECT_EQ(host.Alloc(bytes), nullptr) << bytes << " bytes";
  }
}

}  // namespace
}  // namespace hosttest
