// Placement matrices as translation, axis and angle, and scale.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "convert/decomposition.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class TransformTest : public JobTest {
 protected:
  // The three calls for an assembly with this matrix, without the object.
  std::string placed(const Elements& elements) {
    auto& root = product.assembly("a");
    root.transform = elements;
    toolkit().root = &root;
    EXPECT_TRUE(convert());
    return sceneLines("(#3, ");
  }
};

TEST_F(TransformTest, IdentityTakesTheGeneralCase) {
  EXPECT_EQ(placed(kIdentity),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 0, 0, 0)\n"
            "setRotation(#3, 1, 0, 0, 0)\n"
            "setScale(#3, 1, 1, 1)\n");
  EXPECT_EQ(logLines("SetZixTransformation"),
            "obJt2Zix::SetZixTransformation(): Transformation Matrix\n"
            "obJt2Zix::SetZixTransformation(): 1\t0\t0\t0\n"
            "obJt2Zix::SetZixTransformation(): 0\t1\t0\t0\n"
            "obJt2Zix::SetZixTransformation(): 0\t0\t1\t0\n"
            "obJt2Zix::SetZixTransformation(): 0\t0\t0\t1\n"
            "obJt2Zix::SetZixTransformation():General Transformation case\n"
            "obJt2Zix::SetZixTransformation():Translation: 0 0 0\n"
            "obJt2Zix::SetZixTransformation():Rotation: 1 0 0 0\n"
            "obJt2Zix::SetZixTransformation():Scale: 1 1 1\n");
}

TEST_F(TransformTest, TranslationStandsInTheLastColumn) {
  EXPECT_EQ(placed(translation(10, 20, 30)),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 10, 20, 30)\n"
            "setRotation(#3, 1, 0, 0, 0)\n"
            "setScale(#3, 1, 1, 1)\n");
  EXPECT_EQ(linesWith(logLines("SetZix"), "\t"),
            "obJt2Zix::SetZixTransformation(): 1\t0\t0\t10\n"
            "obJt2Zix::SetZixTransformation(): 0\t1\t0\t20\n"
            "obJt2Zix::SetZixTransformation(): 0\t0\t1\t30\n"
            "obJt2Zix::SetZixTransformation(): 0\t0\t0\t1\n");
}

TEST_F(TransformTest, QuarterTurnAboutZ) {
  EXPECT_EQ(placed({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 0, 0, 0)\n"
            "setRotation(#3, 0, 0, 1, 1.5707964)\n"
            "setScale(#3, 1, 1, 1)\n");
}

TEST_F(TransformTest, UniformScaleWithoutRotation) {
  EXPECT_EQ(placed({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1}),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 0, 0, 0)\n"
            "setRotation(#3, 1, 0, 0, 0)\n"
            "setScale(#3, 2, 2, 2)\n");
}

TEST_F(TransformTest, AMirrorIsANegativeScaleOnAllAxesWithAHalfTurn) {
  EXPECT_EQ(placed({-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 0, 0, 0)\n"
            "setRotation(#3, 1, -0, -0, 3.1415927)\n"
            "setScale(#3, -1, -1, -1)\n");
}

TEST_F(TransformTest, ShearIsLost) {
  // The second column leans by 0.5 towards x.
  EXPECT_EQ(placed({1, 0, 0, 0, 0.5F, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}),
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 0, 0, 0)\n"
            "setRotation(#3, 1, 0, 0, 0)\n"
            "setScale(#3, 1, 1, 1)\n");
  EXPECT_THAT(observer.notes, testing::Contains("1 transformation lost its shear"));
}

TEST_F(TransformTest, ColumnsOfLengthZeroPassOnAsTheyCome) {
  EXPECT_THAT(placed({0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 0, 0, 1}), testing::HasSubstr("nan"));
  EXPECT_THAT(logLines("Scale"), testing::HasSubstr("nan"));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#3, 7, 0, 0)\n");
}

TEST_F(TransformTest, WithoutElementsNothingIsLoggedOrSetButTheObjectIsUsed) {
  auto& root = product.assembly("a");
  root.transform_without_elements = true;
  toolkit().root = &root;
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("SetZixTransformation"), "");
  EXPECT_EQ(logLines("got Transformation"), "obJt2Zix::ReadJtAssembly():Assembly has got Transformation\n");
  EXPECT_EQ(sceneLines("(#3, "), "setName(#3, \"a_orb_2\")\n");
  EXPECT_EQ(sceneLines("addComponent"), "addComponent(#1, #2, #3)\n");
}

TEST_F(TransformTest, AnEmptyStackIsOutOfRange) {
  bool success = false;
  convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  job.parentStack.clear();
  Transform transform;
  transform.elements = kIdentity;
  EXPECT_THROW(job.SetZixTransformation(&transform), std::out_of_range);
  // Without elements nothing is asked of the stack.
  transform.elements.reset();
  EXPECT_NO_THROW(job.SetZixTransformation(&transform));
}

using convert::axisAngle;
using convert::decompose;

TEST(Decomposition, SplitsRotationScaleAndShear) {
  // Columns (0, 2, 0), (-3, 1, 0), (0, 0, 4): a quarter turn about z, scale 2, 3, 4, and shear 1 / 2.
  const auto result = decompose({{{0, -3, 0}, {2, 1, 0}, {0, 0, 4}}});
  EXPECT_EQ(result.rotation, (convert::Matrix3{{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}}));
  EXPECT_EQ(result.scale, (convert::Vector3{2, 3, 4}));
  EXPECT_EQ(result.shear, (convert::Vector3{0.5F, 0, 0}));
}

TEST(Decomposition, OneMirroredColumnTurnsAllThreeAround) {
  const auto result = decompose({{{1, 0, 0}, {0, 1, 0}, {0, 0, -5}}});
  EXPECT_EQ(result.scale, (convert::Vector3{-1, -1, -5}));
  EXPECT_EQ(result.rotation, (convert::Matrix3{{{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}}));
}

// Half turns have a trace of -1: the largest diagonal entry decides, ties take the first.
TEST(AxisAngle, HalfTurnsAboutEachAxis) {
  const float pi = 3.1415927F;
  const auto x = axisAngle({{{1, 0, 0}, {0, -1, 0}, {0, 0, -1}}});
  EXPECT_EQ(x.axis, (convert::Vector3{1, 0, 0}));
  EXPECT_EQ(x.angle_rad, pi);
  const auto y = axisAngle({{{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}});
  EXPECT_EQ(y.axis, (convert::Vector3{0, 1, 0}));
  EXPECT_EQ(y.angle_rad, pi);
  const auto z = axisAngle({{{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}});
  EXPECT_EQ(z.axis, (convert::Vector3{0, 0, 1}));
  EXPECT_EQ(z.angle_rad, pi);
}

// A third of a turn about the diagonal has a trace of 0, which is not above 0, and three equal diagonals.
TEST(AxisAngle, TiesOfTheDiagonalTakeTheLowestAxis) {
  const auto result = axisAngle({{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}});
  const float third = 1.0F / std::sqrt(3.0F);
  for (const float component : result.axis) EXPECT_NEAR(component, third, 1e-6F);
  EXPECT_NEAR(result.angle_rad, 2.0943952F, 1e-6F);
}

// No flip of the quaternion's sign: beyond half a turn the angle passes pi.
TEST(AxisAngle, AngleMayExceedPi) {
  // 190 degrees about x is -170 degrees: the diagonal picks x, and w comes out negative.
  const float c = std::cos(3.3161256F);
  const float s = std::sin(3.3161256F);
  const auto result = axisAngle({{{1, 0, 0}, {0, c, -s}, {0, s, c}}});
  EXPECT_NEAR(result.axis[0], 1.0F, 1e-6F);
  EXPECT_NEAR(result.angle_rad, 3.3161256F, 1e-5F);
}

TEST(AxisAngle, FollowsTheStatedPrecisionBitForBit) {
  // Half a degree about z in single precision; expected from the same steps, written out here.
  const float c = 0.99996192F;
  const float s = 0.0087265354F;
  const auto result = axisAngle({{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}});
  const float root = static_cast<float>(std::sqrt(static_cast<double>(c + c + 1.0F + 1.0F)));
  const float z = (s + s) * (0.5F / root);
  EXPECT_EQ(result.axis[2], z * static_cast<float>(1.0 / std::sqrt(static_cast<double>(z * z))));
  EXPECT_FLOAT_EQ(result.angle_rad, 2.0F * std::acos(root * 0.5F));
}

TEST(AxisAngle, OfNoNumbersIsNoRotation) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto result = axisAngle({{{nan, 0, 0}, {nan, 1, 0}, {nan, 0, 1}}});
  EXPECT_EQ(result.axis, (convert::Vector3{1, 0, 0}));
  EXPECT_EQ(result.angle_rad, 0.0F);
}

}  // namespace
}  // namespace loftbay::doubles
