// The process's own memory numbers.
#include "host/process.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace loftbay::host {
namespace {

constexpr std::size_t kMuch = std::size_t{96} << 20;

TEST(ProcessMemory, ThePeakStaysWhenMemoryIsGivenBack) {
  const auto before = processMemory();
  ASSERT_TRUE(before);
  std::uint64_t most = 0;
  {
    const std::vector<std::byte> used(kMuch, std::byte{1});
    const auto during = processMemory();
    ASSERT_TRUE(during);
    EXPECT_GE(during->working_set_bytes, kMuch);
    EXPECT_GE(during->peak_working_set_bytes, during->working_set_bytes);
    most = during->working_set_bytes;
  }
  const auto after = processMemory();
  ASSERT_TRUE(after);
  EXPECT_GE(after->peak_working_set_bytes, most - kMuch / 8);  // the system's numbers are rounded
}

TEST(ProcessMemory, ThePeakIsNeverBelowTheCurrentFigure) {
  std::vector<std::vector<std::byte>> blocks;
  for (int i = 0; i < 200; ++i) {
    blocks.emplace_back(std::size_t{300} << 10, std::byte{1});
    const auto memory = processMemory();
    ASSERT_TRUE(memory);
    ASSERT_GE(memory->peak_working_set_bytes, memory->working_set_bytes) << i;
  }
}

}  // namespace
}  // namespace loftbay::host
