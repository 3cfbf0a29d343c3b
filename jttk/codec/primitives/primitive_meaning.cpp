#include "jttk/codec/primitives/primitive_meaning.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "jttk/codec/primitives/primitive_readings.h"
#include "jttk/codec/primitives/primitive_solid.h"
#include "jttk/codec/primitives/solid_survey.h"
#include "jttk/mesh/vector3.h"

namespace jttk {

namespace {

// Allowed deviation from the stated box, as a share of its extent along an axis: writers compute boxes from
// coarse meshes, and round.
constexpr double kBoxTolerance = 0.02;
// Shares of the stated area. The best choice may miss it by kAreaTolerance, because coarse meshes have less
// area. Others count as equally good unless they miss it kClearlyWorse times as much, and by more than
// kAreaRounding.
constexpr double kAreaTolerance = 0.03;
constexpr double kAreaRounding = 0.002;
constexpr double kClearlyWorse = 3;
// A mesh of more corners is made coarser, as far as kFewestCircleSides; then the set is refused.
constexpr std::size_t kMaximumCorners = std::size_t{1} << 24;
constexpr std::size_t kFewestCircleSides = 12;
// Circles of the meshes that are measured; coarser where there are many.
constexpr std::size_t kSurveyCircleSides = 32;
constexpr std::size_t kCoarseSurveyCircleSides = 16;
constexpr std::size_t kManyPrimitives = 1000;

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
      for (const Reading reading : readingsOf(static_cast<PrimitiveType>(type))) {
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
  using Kind = Solid::Kind;
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
