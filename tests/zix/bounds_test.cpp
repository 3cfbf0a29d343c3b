// The box of a block of points is that of the points one by one.
#include "zix/bounds.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <vector>

#include "zix/placement.h"

namespace Orb::Zix {
namespace {

BoxF literally(const std::vector<float>& values) {
  BoxF box;
  for (std::size_t i = 0; i + 3 <= values.size(); i += 3) {
    if (std::isfinite(values[i]) && std::isfinite(values[i + 1]) && std::isfinite(values[i + 2])) {
      box.add(values[i], values[i + 1], values[i + 2]);
    }
  }
  return box;
}

TEST(Bounds, EqualTheLiteralOnesForEverySizeAndAnyBits) {
  std::mt19937 random(7);
  for (std::size_t size = 0; size < 200; ++size) {
    std::vector<float> finite(size);
    std::vector<float> any_bits(size);
    for (float& value : finite) value = static_cast<float>(static_cast<int>(random() % 2001) - 1000) / 8;
    for (float& value : any_bits) value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    for (const auto& values : {finite, any_bits}) {
      BoxF box;
      addPoints(box, values, 3);
      EXPECT_EQ(box, literally(values)) << size;
    }
  }
}

TEST(Bounds, OnePointThatIsNotFiniteAmongManyIsLeftOut) {
  for (std::size_t bad = 0; bad < 30000; bad += 997) {
    std::vector<float> values(30000, 1.0F);
    values[bad] = std::numeric_limits<float>::infinity();
    values[(bad / 3) * 3 + (bad + 1) % 3] = 50;
    BoxF box;
    addPoints(box, values, 3);
    EXPECT_EQ(box.high, (std::array<float, 3>{1, 1, 1})) << bad;
  }
}

TEST(Bounds, AreEmptyWithoutAFinitePoint) {
  BoxF box;
  EXPECT_TRUE(box.empty());
  addPoints(box, std::vector<float>(12, std::numeric_limits<float>::quiet_NaN()), 3);
  EXPECT_TRUE(box.empty());
  addPoints(box, std::vector<float>{1, 2}, 3);
  EXPECT_TRUE(box.empty());
  addPoints(box, std::vector<float>{1, 2}, 2);
  EXPECT_EQ(box.high, (std::array<float, 3>{1, 2, 0}));
}

TEST(Placement, ScalesThenTurnsThenMoves) {
  format::TransformRecord transform = format::kIdentityTransform;
  transform.translation[0] = 10;
  transform.rotation_axis[0] = 0;
  transform.rotation_axis[2] = 5;  // brought to length 1
  transform.rotation_angle_rad = 1.5707964F;
  transform.scale[0] = 2;
  const auto placed = placementMatrix(transform).apply(1, 0, 0);
  EXPECT_NEAR(placed[0], 10, 1e-6);
  EXPECT_NEAR(placed[1], 2, 1e-6);
  EXPECT_NEAR(placed[2], 0, 1e-6);
  transform.rotation_axis[2] = 0;
  EXPECT_NEAR(placementMatrix(transform).apply(1, 0, 0)[0], 12, 1e-6) << "no axis, no turn";
}

}  // namespace
}  // namespace Orb::Zix
