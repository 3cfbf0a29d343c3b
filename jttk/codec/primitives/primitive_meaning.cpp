#include "jttk/codec/primitives/primitive_meaning.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "jttk/codec/primitives/primitive_solid.h"
#include "jttk/mesh/vector3.h"

namespace jttk {

namespace {

using Kind = Solid::Kind;

// Allowed deviation from the stated box, as a share of its extent along an axis: writers compute boxes from
// coarse meshes, and round.
constexpr double kBoxTolerance = 0.02;
// Shares of the stated area. The best choice may miss it by kAreaTolerance, because coarse meshes have less
// area. Others count as equally good unless they miss it kClearlyWorse times as much, and by more than
// kAreaRounding.
constexpr double kAreaTolerance = 0.03;
constexpr double kAreaRounding = 0.002;
constexpr double kClearlyWorse = 3;
// Two solids are the same when their measures agree to this share of their size.
constexpr double kSameSolid = 1e-3;
// A mesh of more corners is made coarser, as far as kFewestCircleSides; then the set is refused.
constexpr std::size_t kMaximumCorners = std::size_t{1} << 24;
constexpr std::size_t kFewestCircleSides = 12;
// Circles of the meshes that are measured; coarser where there are many.
constexpr std::size_t kSurveyCircleSides = 32;
constexpr std::size_t kCoarseSurveyCircleSides = 16;
constexpr std::size_t kManyPrimitives = 1000;

// ---- The readings of each type, the likeliest first. Empty: the numbers cannot be meant so.

using Reading = std::optional<Solid> (*)(const std::array<float, 3>& size);

bool arePositive(const std::array<float, 3>& size) { return size[0] > 0 && size[1] > 0 && size[2] > 0; }

// From (-left * x, -left * y, -below * z) on.
std::optional<Solid> standing(Kind kind, const std::array<float, 3>& size, double left, double below) {
  if (!arePositive(size)) return std::nullopt;
  Solid solid;
  solid.kind = kind;
  const double share[] = {left, left, below};
  for (std::size_t k = 0; k < 3; ++k) {
    solid.low[k] = -share[k] * size[k];
    solid.high[k] = (1 - share[k]) * size[k];
  }
  return solid;
}

std::optional<Solid> boxFromCorner(const std::array<float, 3>& size) {
  return standing(Kind::Box, size, 0, 0);
}
std::optional<Solid> boxAroundMiddle(const std::array<float, 3>& size) {
  return standing(Kind::Box, size, 0.5, 0.5);
}
std::optional<Solid> boxOfHalves(const std::array<float, 3>& size) {
  return standing(Kind::Box, {2 * size[0], 2 * size[1], 2 * size[2]}, 0.5, 0.5);
}

std::optional<Solid> ellipticCylinder(const std::array<float, 3>& size, double below) {
  return standing(Kind::Frustum, {2 * size[0], 2 * size[1], size[2]}, 0.5, below);
}
std::optional<Solid> coneFrustum(const std::array<float, 3>& size, double below) {
  if (!arePositive(size)) return std::nullopt;
  const float widest = std::max(size[0], size[1]);
  auto solid = standing(Kind::Frustum, {2 * widest, 2 * widest, size[2]}, 0.5, below);
  if (solid) solid->end_scale = {double{size[0]} / widest, double{size[1]} / widest};
  return solid;
}
// The third number is not used.
std::optional<Solid> plainCylinder(const std::array<float, 3>& size, double below) {
  if (size[2] != 0) return std::nullopt;
  return standing(Kind::Frustum, {2 * size[0], 2 * size[0], size[1]}, 0.5, below);
}

std::optional<Solid> prism(const std::array<float, 3>& size, double left, double tip, bool pulled_along_y) {
  auto solid = standing(Kind::Prism, size, left, left);
  if (!solid) return solid;
  solid->tip = tip;
  solid->pulled_along_y = pulled_along_y;
  return solid;
}

std::optional<Solid> ball(const std::array<float, 3>& size) {
  if (size[1] != 0 || size[2] != 0) return std::nullopt;
  return standing(Kind::Ellipsoid, {2 * size[0], 2 * size[0], 2 * size[0]}, 0.5, 0.5);
}
std::optional<Solid> ellipsoid(const std::array<float, 3>& size) {
  return standing(Kind::Ellipsoid, {2 * size[0], 2 * size[1], 2 * size[2]}, 0.5, 0.5);
}

constexpr Reading kBoxes[] = {boxFromCorner, boxAroundMiddle, boxOfHalves};
constexpr Reading kCylinders[] = {
    [](const std::array<float, 3>& s) { return ellipticCylinder(s, 0); },
    [](const std::array<float, 3>& s) { return coneFrustum(s, 0); },
    [](const std::array<float, 3>& s) { return plainCylinder(s, 0); },
    [](const std::array<float, 3>& s) { return ellipticCylinder(s, 0.5); },
    [](const std::array<float, 3>& s) { return coneFrustum(s, 0.5); },
    [](const std::array<float, 3>& s) { return plainCylinder(s, 0.5); },
};
constexpr Reading kPyramids[] = {
    [](const std::array<float, 3>& s) { return standing(Kind::Pyramid, s, 0.5, 0); },
    [](const std::array<float, 3>& s) { return standing(Kind::Pyramid, s, 0, 0); },
};
constexpr Reading kSpheres[] = {ball, ellipsoid};
constexpr Reading kPrisms[] = {
    [](const std::array<float, 3>& s) { return prism(s, 0, 0, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0.5, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0.5, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0.5, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0.5, false); },
};
constexpr std::array<std::span<const Reading>, kPrimitiveTypes> kReadings = {kBoxes, kCylinders, kPyramids,
                                                                             kSpheres, kPrisms};

// Where the real part of a quaternion stands.
enum class RealPart : std::uint8_t { Last, First };

std::optional<Solid> solidOf(const Primitive& primitive, Reading reading, RealPart real_part) {
  std::optional<Solid> solid = reading(primitive.size);
  if (!solid) return solid;
  const auto& q = primitive.rotation;
  solid->rotation = real_part == RealPart::Last ? rotationOf({q[0], q[1], q[2], q[3]})
                                                : rotationOf({q[1], q[2], q[3], q[0]});
  solid->origin = {primitive.origin[0], primitive.origin[1], primitive.origin[2]};
  solid->color = primitive.color;
  return solid;
}

// ---- NodeStatistics of meshes.

// Box, area and the moments of the volume up to the second order.
struct Survey {
  Vector3 low = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                 std::numeric_limits<double>::max()};
  Vector3 high = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
                  std::numeric_limits<double>::lowest()};
  double area = 0;
  double volume = 0;
  Vector3 first{};                 // about the origin that measure() is given
  std::array<double, 6> second{};  // xx yy zz xy yz zx
};

void addTriangle(const Vector3& a, const Vector3& b, const Vector3& c, Survey& survey) {
  survey.area += length(cross(minus(b, a), minus(c, a))) / 2;
  // The tetrahedron to the origin.
  const double volume = dot(a, cross(b, c)) / 6;
  survey.volume += volume;
  for (std::size_t k = 0; k < 3; ++k) survey.first[k] += volume * (a[k] + b[k] + c[k]) / 4;
  for (std::size_t k = 0; k < 6; ++k) {
    const std::size_t i = k % 3;
    const std::size_t j = k < 3 ? k : (k + 1) % 3;
    const double sum_i = a[i] + b[i] + c[i];
    const double sum_j = a[j] + b[j] + c[j];
    survey.second[k] += volume * (sum_i * sum_j + a[i] * a[j] + b[i] * b[j] + c[i] * c[j]) / 20;
  }
}

void measure(const ShapeGeometry& mesh, const Vector3& origin, Survey& survey) {
  const auto point = [&](std::size_t corner) {
    const float* p = mesh.positions.data() + std::size_t{mesh.corner_positions[corner]} * 3;
    return Vector3{p[0] - origin[0], p[1] - origin[1], p[2] - origin[2]};
  };
  for (std::size_t i = 0; i + 1 < mesh.primitive_starts.size(); ++i) {
    const Vector3 first = point(mesh.primitive_starts[i]);
    for (std::size_t c = mesh.primitive_starts[i] + 1; c + 1 < mesh.primitive_starts[i + 1]; ++c) {
      addTriangle(first, point(c), point(c + 1), survey);
    }
  }
  for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3) {
    for (std::size_t k = 0; k < 3; ++k) {
      survey.low[k] = std::min<double>(survey.low[k], mesh.positions[i + k]);
      survey.high[k] = std::max<double>(survey.high[k], mesh.positions[i + k]);
    }
  }
}

// Whether two surveys are of the same solids, `size` being about how large they are.
bool areSame(const Survey& a, const Survey& b, double size) {
  const auto agree = [](double x, double y, double scale) { return std::abs(x - y) <= kSameSolid * scale; };
  const double volume = std::max(std::abs(a.volume), std::abs(b.volume));
  bool same = agree(a.area, b.area, std::max(a.area, b.area)) && agree(a.volume, b.volume, volume);
  for (std::size_t k = 0; k < 3; ++k) same = same && agree(a.first[k], b.first[k], volume * size);
  for (std::size_t k = 0; k < 6; ++k) same = same && agree(a.second[k], b.second[k], volume * size * size);
  return same;
}

// ---- Choosing.

struct Candidate {
  Reading reading = nullptr;
  Survey survey;
};
// Per type the readings that its primitives allow; a type that the set does not have has none.
using Candidates = std::array<std::vector<Candidate>, kPrimitiveTypes>;

struct Choice {
  RealPart real_part = RealPart::Last;
  std::array<const Candidate*, kPrimitiveTypes> of_type{};  // null: there is none of that type
};

class Chooser {
 public:
  explicit Chooser(const PrimitiveSet& set) : set_(set) {
    for (const Primitive& primitive : set.primitives) {
      present_[static_cast<std::size_t>(primitive.type)] = true;
    }
    origin_ = {set.primitives.front().origin[0], set.primitives.front().origin[1],
               set.primitives.front().origin[2]};
    survey(RealPart::Last, last_);
    survey(RealPart::First, first_);
  }

  // The one choice that agrees with the box. `offset`: for messages.
  Result<Choice> choose(const StatedExtent& stated, std::uint64_t offset) {
    agreeing_.clear();
    collect(RealPart::Last, last_, stated);
    collect(RealPart::First, first_, stated);
    if (agreeing_.empty()) {
      return fail("its parameters do not agree with the box of its node", offset);
    }
    const double size = extentOf(stated);
    if (areAllSame(agreeing_, size)) return agreeing_.front();
    const std::vector<Choice> best = bestByArea(stated.area);
    if (!best.empty() && areAllSame(best, size)) return best.front();
    return fail("its parameters agree with the box of its node in more than one way", offset);
  }

 private:
  void survey(RealPart real_part, Candidates& candidates) const {
    for (std::size_t type = 0; type < kPrimitiveTypes; ++type) {
      if (!present_[type]) continue;
      for (const Reading reading : kReadings[type]) {
        Candidate candidate{reading, {}};
        if (surveyReading(static_cast<PrimitiveType>(type), real_part, candidate)) {
          candidates[type].push_back(candidate);
        }
      }
    }
  }

  bool surveyReading(PrimitiveType type, RealPart real_part, Candidate& candidate) const {
    const std::size_t sides =
        set_.primitives.size() < kManyPrimitives ? kSurveyCircleSides : kCoarseSurveyCircleSides;
    ShapeGeometry mesh;
    for (const Primitive& primitive : set_.primitives) {
      if (primitive.type != type) continue;
      const auto solid = solidOf(primitive, candidate.reading, real_part);
      if (!solid) return false;
      mesh.positions.clear();
      mesh.normals.clear();
      mesh.primitive_starts.clear();
      mesh.corner_positions.clear();
      mesh.corner_records.clear();
      appendMesh(*solid, sides, false, mesh);
      measure(mesh, origin_, candidate.survey);
    }
    return true;
  }

  // All combinations of the types' readings that fill the stated box.
  void collect(RealPart real_part, const Candidates& candidates, const StatedExtent& stated) {
    std::array<std::size_t, kPrimitiveTypes> at{};
    for (;;) {
      Choice choice;
      choice.real_part = real_part;
      for (std::size_t type = 0; type < kPrimitiveTypes; ++type) {
        if (!present_[type]) continue;
        if (candidates[type].empty()) return;
        choice.of_type[type] = &candidates[type][at[type]];
      }
      if (fills(choice, stated)) agreeing_.push_back(choice);
      std::size_t type = 0;
      while (type < kPrimitiveTypes && (!present_[type] || ++at[type] == candidates[type].size()))
        at[type++] = 0;
      if (type == kPrimitiveTypes) return;
    }
  }

  static bool fills(const Choice& choice, const StatedExtent& stated) {
    for (std::size_t k = 0; k < 3; ++k) {
      double low = std::numeric_limits<double>::max();
      double high = std::numeric_limits<double>::lowest();
      for (const Candidate* candidate : choice.of_type) {
        if (candidate == nullptr) continue;
        low = std::min(low, candidate->survey.low[k]);
        high = std::max(high, candidate->survey.high[k]);
      }
      const double slack = kBoxTolerance * (double{stated.box[k + 3]} - stated.box[k]);
      // Written so that what is not a number does not agree.
      if (!(std::abs(low - stated.box[k]) <= slack && std::abs(high - stated.box[k + 3]) <= slack))
        return false;
    }
    return true;
  }

  // Those of the agreeing choices whose area comes closest to the stated one, within the limits above.
  [[nodiscard]] std::vector<Choice> bestByArea(double area) const {
    const auto missing = [&](const Choice& choice) { return std::abs(areaOf(choice) - area); };
    double least = std::numeric_limits<double>::max();
    for (const Choice& choice : agreeing_) least = std::min(least, missing(choice));
    std::vector<Choice> best;
    if (!(area > 0) || least > kAreaTolerance * area) return best;
    const double limit = std::max(kClearlyWorse * least, kAreaRounding * area);
    for (const Choice& choice : agreeing_) {
      if (missing(choice) <= limit) best.push_back(choice);
    }
    return best;
  }

  static double areaOf(const Choice& choice) {
    double area = 0;
    for (const Candidate* candidate : choice.of_type) {
      if (candidate != nullptr) area += candidate->survey.area;
    }
    return area;
  }

  // How far the box reaches, from the origin of the moments.
  [[nodiscard]] double extentOf(const StatedExtent& stated) const {
    double extent = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      extent =
          std::max({extent, std::abs(stated.box[k] - origin_[k]), std::abs(stated.box[k + 3] - origin_[k])});
    }
    return extent;
  }

  static bool areAllSame(const std::vector<Choice>& choices, double size) {
    for (const Choice& choice : choices) {
      for (std::size_t type = 0; type < kPrimitiveTypes; ++type) {
        if (choice.of_type[type] == nullptr) continue;
        if (!areSame(choice.of_type[type]->survey, choices.front().of_type[type]->survey, size)) return false;
      }
    }
    return true;
  }

  const PrimitiveSet& set_;
  std::array<bool, kPrimitiveTypes> present_{};
  Vector3 origin_{};
  Candidates last_;
  Candidates first_;
  std::vector<Choice> agreeing_;
};

// Of the set's mesh, whatever its primitives are read as.
std::size_t cornersOf(const PrimitiveSet& set, std::size_t sides) {
  constexpr std::array<Kind, kPrimitiveTypes> kKinds = {Kind::Box, Kind::Frustum, Kind::Pyramid,
                                                        Kind::Ellipsoid, Kind::Prism};
  std::size_t corners = 0;
  for (const Primitive& primitive : set.primitives) {
    corners += cornerCount(kKinds[static_cast<std::size_t>(primitive.type)], sides);
  }
  return corners;
}

ShapeGeometry makeMesh(const PrimitiveSet& set, const Choice& choice) {
  std::size_t sides = kFullCircleSides;
  while (sides > kFewestCircleSides && cornersOf(set, sides) > kMaximumCorners) {
    sides = std::max(kFewestCircleSides, sides / 8 * 4);
  }
  ShapeGeometry mesh;
  mesh.kind = PrimitiveKind::Polygons;
  mesh.facts.lossless = set.place_bits == 0;
  mesh.facts.quantization_bits[0] = set.place_bits;
  mesh.facts.quantization_bits[3] = set.color_bits;
  for (const Primitive& primitive : set.primitives) {
    const auto type = static_cast<std::size_t>(primitive.type);
    mesh.facts.solid_types |= 1U << type;
    appendMesh(*solidOf(primitive, choice.of_type[type]->reading, choice.real_part), sides, set.has_colors,
               mesh);
  }
  return mesh;
}

}  // namespace

Result<ShapeGeometry> meshOfPrimitives(const PrimitiveSet& set, std::span<const StatedExtent> stated,
                                       std::uint64_t offset) {
  if (stated.empty()) {
    return fail("its node states no box, by which its parameters could be understood", offset);
  }
  if (cornersOf(set, kFewestCircleSides) > kMaximumCorners) {
    return fail("there are too many primitives: " + std::to_string(set.primitives.size()), offset);
  }
  Chooser chooser(set);
  Result<Choice> choice = chooser.choose(stated.front(), offset);
  for (std::size_t i = 1; i < stated.size() && !choice; ++i) choice = chooser.choose(stated[i], offset);
  if (!choice) return passOn(choice);
  return makeMesh(set, *choice);
}

}  // namespace jttk
