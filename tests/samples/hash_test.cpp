#include "samples/maker/hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace loftbay::maker {
namespace {

TEST(Hash, NothingWithSeedZeroIsThePublishedValue) {
  EXPECT_EQ(hashWords(std::vector<std::uint32_t>{}, 0), 0xbd49d10dU);
  EXPECT_EQ(hashHalves(std::vector<std::int32_t>{}, 0), 0xbd49d10dU);
}

TEST(Hash, EveryWordAndItsPlaceCount) {
  for (std::size_t length = 1; length < 8; ++length) {
    const std::vector<std::int32_t> zeros(length, 0);
    std::vector<std::uint32_t> seen = {hashWords(zeros, 0)};
    for (std::size_t i = 0; i < length; ++i) {
      auto changed = zeros;
      changed[i] = 1;
      seen.push_back(hashWords(changed, 0));
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end()) << length;
  }
}

TEST(Hash, PairsOfHalvesAreWordsWithTheFirstHalfBelow) {
  // Six halves are a block of three words; only the number of items differs, and it is added to c.
  const std::vector<std::int32_t> halves = {1, 2, 3, 4, 5, 6, 7};
  auto swapped = halves;
  std::swap(swapped[0], swapped[1]);
  EXPECT_NE(hashHalves(halves, 0), hashHalves(swapped, 0));
  // Values are cut to 16 bits.
  auto large = halves;
  large[3] += 0x10000;
  EXPECT_EQ(hashHalves(halves, 0), hashHalves(large, 0));
}

TEST(Hash, ChainsThroughTheSeedEvenWhenEmpty) {
  const std::vector<std::int32_t> none;
  EXPECT_NE(hashWords(none, hashWords(none, 0)), hashWords(none, 0));
}

}  // namespace
}  // namespace loftbay::maker
