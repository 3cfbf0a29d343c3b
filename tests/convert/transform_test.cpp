// Placement matrices as translation, axis and angle, and scale.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "convert/decomposition.h"
#include "diag/trace_log.h"
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

// Real matrices in single precision have a shear of some millionths.
TEST_F(TransformTest, ShearCountsFromOneTenThousandthOn) {
  for (const std::size_t element : {4U, 8U, 9U}) {  // of x by y, of x by z, of y by z
    for (const float shear : {0.9e-4F, 1.1e-4F, -0.9e-4F, -1.1e-4F}) {
      observer.notes.clear();
      std::array<float, 16> matrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
      matrix[element] = shear;
      placed(matrix);
      EXPECT_EQ(std::ranges::count(observer.notes, "1 transformation lost its shear"),
                std::abs(shear) > 1e-4F ? 1 : 0)
          << element << ' ' << shear;
    }
  }
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
  // Without elements the stack is not looked at.
  transform.elements.reset();
  EXPECT_NO_THROW(job.SetZixTransformation(&transform));
}

using convert::axisAngle;
using convert::decompose;
using convert::Matrix3;
using convert::Vector3;

Matrix3 randomMatrix(std::mt19937& random) {
  std::uniform_real_distribution<float> values(-3, 3);
  Matrix3 matrix;
  for (auto& row : matrix) {
    for (float& entry : row) entry = values(random);
  }
  return matrix;
}

// Of a quaternion with all directions alike.
Matrix3 randomRotation(std::mt19937& random) {
  std::normal_distribution<double> values;
  double x = values(random);
  double y = values(random);
  double z = values(random);
  double w = values(random);
  const double length = std::sqrt(x * x + y * y + z * z + w * w);
  x /= length, y /= length, z /= length, w /= length;
  const auto f = [](double value) { return static_cast<float>(value); };
  return {{{f(1 - 2 * (y * y + z * z)), f(2 * (x * y - w * z)), f(2 * (x * z + w * y))},
           {f(2 * (x * y + w * z)), f(1 - 2 * (x * x + z * z)), f(2 * (y * z - w * x))},
           {f(2 * (x * z - w * y)), f(2 * (y * z + w * x)), f(1 - 2 * (x * x + y * y))}}};
}

double determinantOf(const Matrix3& m) {
  double sum = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t j = (i + 1) % 3;
    const std::size_t k = (i + 2) % 3;
    sum += double{m[0][i]} * m[1][j] * m[2][k] - double{m[0][k]} * m[1][j] * m[2][i];
  }
  return sum;
}

// All numbers differ, so any exchange shows.
TEST_F(TransformTest, AGeneralMatrixKeepsEveryElementInItsPlace) {
  const Elements m = {1, 2, 3.5F, 0.25F, -4, 5, 6, 0.5F, 7, 8.5F, -9, 0.75F, 10, 11, 12, 0.875F};
  const std::string calls = placed(m);
  EXPECT_EQ(linesWith(logLines("SetZix"), "\t"),
            "obJt2Zix::SetZixTransformation(): 1\t-4\t7\t10\n"
            "obJt2Zix::SetZixTransformation(): 2\t5\t8.5\t11\n"
            "obJt2Zix::SetZixTransformation(): 3.5\t6\t-9\t12\n"
            "obJt2Zix::SetZixTransformation(): 0.25\t0.5\t0.75\t0.875\n");
  Matrix3 linear;
  for (std::size_t k = 0; k < 12; ++k) {
    if (k % 4 < 3) linear[k % 4][k / 4] = m[k];
  }
  const auto [rotation, scale, shear] = decompose(linear);
  const auto [axis, angle_rad] = axisAngle(rotation);
  const auto joined = [](const auto& show, const char* separator, auto first, auto... rest) {
    std::string text = show(first);
    ((text += separator + show(rest)), ...);
    return text;
  };
  const auto logged = [](float value) { return diag::text(value); };
  EXPECT_EQ(calls,
            "setName(#3, \"a_orb_2\")\n"
            "setTranslation(#3, 10, 11, 12)\n"
            "setRotation(#3, " +
                joined(exactText, ", ", axis[0], axis[1], axis[2], angle_rad) +
                ")\n"
                "setScale(#3, " +
                joined(exactText, ", ", scale[0], scale[1], scale[2]) + ")\n");
  EXPECT_EQ(logLines("Translation"), "obJt2Zix::SetZixTransformation():Translation: 10 11 12\n");
  EXPECT_EQ(logLines("Rotation"), "obJt2Zix::SetZixTransformation():Rotation: " +
                                      joined(logged, " ", axis[0], axis[1], axis[2], angle_rad) + "\n");
  EXPECT_EQ(logLines("Scale"), "obJt2Zix::SetZixTransformation():Scale: " +
                                   joined(logged, " ", scale[0], scale[1], scale[2]) + "\n");
}

// Rotation times an upper triangle of scale and shear is the matrix again, mirrored or not.
TEST(Decomposition, OfRandomMatricesPutsThemTogetherAgain) {
  std::mt19937 random(7);
  int mirrored = 0;
  for (int n = 0; n < 2000; ++n) {
    const Matrix3 a = randomMatrix(random);
    const double volume = determinantOf(a);
    if (std::abs(volume) < 0.5) continue;
    mirrored += volume < 0 ? 1 : 0;
    const auto [q, scale, shear] = decompose(a);
    EXPECT_NEAR(determinantOf(q), 1.0, 1e-4);
    for (const float s : scale) EXPECT_EQ(s < 0, volume < 0);
    const double upper[3][3] = {{scale[0], double{shear[0]} * scale[0], double{shear[1]} * scale[0]},
                                {0, scale[1], double{shear[2]} * scale[1]},
                                {0, 0, scale[2]}};
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 3; ++column) {
        double sum = 0;
        for (std::size_t k = 0; k < 3; ++k) sum += q[row][k] * upper[k][column];
        EXPECT_NEAR(sum, a[row][column], 1e-3);
      }
    }
  }
  EXPECT_GT(mirrored, 500);
}

// The stated steps one by one: what is single precision and what is double decides about the last bit.
TEST(Decomposition, FollowsTheStatedPrecisionBitForBit) {
  const auto dot = [](const Vector3& a, const Vector3& b) {
    float sum = a[0] * b[0];
    sum += a[1] * b[1];
    sum += a[2] * b[2];
    return sum;
  };
  const auto unit = [&](Vector3 v) {
    const double length = std::sqrt(static_cast<double>(dot(v, v)));
    const auto factor = static_cast<float>(1.0 / length);
    for (float& entry : v) entry *= factor;
    return v;
  };
  std::mt19937 random(8);
  for (int n = 0; n < 2000; ++n) {
    const Matrix3 a = randomMatrix(random);
    Vector3 columns[3];
    Vector3 units[3];
    for (std::size_t c = 0; c < 3; ++c) {
      columns[c] = {a[0][c], a[1][c], a[2][c]};
      float along[2] = {};
      for (std::size_t earlier = 0; earlier < c; ++earlier) along[earlier] = dot(units[earlier], columns[c]);
      Vector3 rest = columns[c];
      for (std::size_t earlier = 0; earlier < c; ++earlier) {
        for (std::size_t row = 0; row < 3; ++row) rest[row] -= along[earlier] * units[earlier][row];
      }
      units[c] = unit(rest);
    }
    const float sign = decompose(a).scale[0] < 0 ? -1.0F : 1.0F;
    for (std::size_t c = 0; c < 3; ++c) {
      for (std::size_t row = 0; row < 3; ++row)
        ASSERT_EQ(decompose(a).rotation[row][c], sign * units[c][row]) << n;
      ASSERT_EQ(decompose(a).scale[c], sign * dot(units[c], columns[c])) << n;
    }
  }
}

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

// The axis' sign shows which entry was taken for the largest: its component is the positive one.
TEST(AxisAngle, EqualEntriesOfTheDiagonalLeaveTheLowerOneInPlace) {
  const auto x_and_y = axisAngle({{{0, -1, 0}, {-1, 0, 0}, {0, 0, -1}}});
  EXPECT_GT(x_and_y.axis[0], 0.7F);
  EXPECT_LT(x_and_y.axis[1], -0.7F);
  const auto x_and_z = axisAngle({{{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}}});
  EXPECT_GT(x_and_z.axis[0], 0.7F);
  EXPECT_LT(x_and_z.axis[2], -0.7F);
  const auto y_and_z = axisAngle({{{-1, 0, 0}, {0, 0, -1}, {0, -1, 0}}});
  EXPECT_GT(y_and_z.axis[1], 0.7F);
  EXPECT_LT(y_and_z.axis[2], -0.7F);
}

// Minus a third of a turn about z: a trace of 0 is not above 0, so the largest entry decides.
TEST(AxisAngle, ATraceOfZeroTakesTheLargestEntry) {
  const float s = 0.8660254F;
  const auto result = axisAngle({{{-0.5F, s, 0}, {-s, -0.5F, 0}, {0, 0, 1}}});
  EXPECT_NEAR(result.axis[2], 1.0F, 1e-6F);
  EXPECT_NEAR(result.angle_rad, 4.1887902F, 1e-6F);
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

// A real part beyond 1 has no angle, and none is made up.
TEST(AxisAngle, ARealPartBeyondOneIsNotCutToOne) {
  const float d = 1.000001F;
  const auto result = axisAngle({{{d, 0, 0}, {0, d, -0.01F}, {0, 0.01F, d}}});
  EXPECT_TRUE(std::isnan(result.angle_rad)) << result.angle_rad;
  EXPECT_EQ(result.axis, (Vector3{1, 0, 0}));
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

// Turning about the axis by the angle is the rotation again; negative traces have to find their axis first.
TEST(AxisAngle, OfRandomRotationsTurnsTheSameWay) {
  std::mt19937 random(9);
  int largest_of_negative_traces[3] = {};
  for (int n = 0; n < 4000; ++n) {
    const Matrix3 q = randomRotation(random);
    if (q[0][0] + q[1][1] + q[2][2] <= 0) {
      const std::size_t largest = q[0][0] > std::max(q[1][1], q[2][2]) ? 0 : q[1][1] > q[2][2] ? 1 : 2;
      ++largest_of_negative_traces[largest];
    }
    const auto [axis, angle_rad] = axisAngle(q);
    const double c = std::cos(double{angle_rad});
    const double s = std::sin(double{angle_rad});
    for (std::size_t i = 0; i < 3; ++i) {
      const std::size_t j = (i + 1) % 3;
      const std::size_t k = (i + 2) % 3;
      EXPECT_NEAR(q[i][i], c + (1 - c) * axis[i] * axis[i], 2e-5);
      EXPECT_NEAR(q[i][j], (1 - c) * axis[i] * axis[j] - s * axis[k], 2e-5);
      EXPECT_NEAR(q[i][k], (1 - c) * axis[i] * axis[k] + s * axis[j], 2e-5);
    }
  }
  for (const int count : largest_of_negative_traces) EXPECT_GT(count, 100);
}

// The stated steps again, each largest entry with its formulas written out.
TEST(AxisAngle, OfRandomRotationsFollowsTheStatedPrecisionBitForBit) {
  const auto root = [](float square) { return static_cast<float>(std::sqrt(static_cast<double>(square))); };
  std::mt19937 random(10);
  for (int n = 0; n < 4000; ++n) {
    const Matrix3 q = randomRotation(random);
    const float xx = q[0][0];
    const float yy = q[1][1];
    const float zz = q[2][2];
    float x = 0;
    float y = 0;
    float z = 0;
    float w = 0;
    if (const float trace = xx + yy + zz; trace > 0) {
      const float s = root(trace + 1.0F);
      const float f = 0.5F / s;
      w = s * 0.5F;
      x = (q[2][1] - q[1][2]) * f;
      y = (q[0][2] - q[2][0]) * f;
      z = (q[1][0] - q[0][1]) * f;
    } else if (xx >= yy && xx >= zz) {
      const float s = root(xx - yy - zz + 1.0F);
      const float f = 0.5F / s;
      x = s * 0.5F;
      w = (q[2][1] - q[1][2]) * f;
      y = (q[0][1] + q[1][0]) * f;
      z = (q[0][2] + q[2][0]) * f;
    } else if (yy >= zz) {
      const float s = root(yy - zz - xx + 1.0F);
      const float f = 0.5F / s;
      y = s * 0.5F;
      w = (q[0][2] - q[2][0]) * f;
      z = (q[1][2] + q[2][1]) * f;
      x = (q[1][0] + q[0][1]) * f;
    } else {
      const float s = root(zz - xx - yy + 1.0F);
      const float f = 0.5F / s;
      z = s * 0.5F;
      w = (q[1][0] - q[0][1]) * f;
      x = (q[2][0] + q[0][2]) * f;
      y = (q[2][1] + q[1][2]) * f;
    }
    const float square = y * y + x * x + z * z;
    const auto factor = static_cast<float>(1.0 / std::sqrt(static_cast<double>(square)));
    const auto result = axisAngle(q);
    ASSERT_EQ(result.axis, (Vector3{x * factor, y * factor, z * factor})) << n;
    ASSERT_EQ(result.angle_rad, 2.0F * static_cast<float>(std::acos(static_cast<double>(w)))) << n;
  }
}

TEST(AxisAngle, OfNoNumbersIsNoRotation) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto result = axisAngle({{{nan, 0, 0}, {nan, 1, 0}, {nan, 0, 1}}});
  EXPECT_EQ(result.axis, (convert::Vector3{1, 0, 0}));
  EXPECT_EQ(result.angle_rad, 0.0F);
}

}  // namespace
}  // namespace loftbay::doubles
