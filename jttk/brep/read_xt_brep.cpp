// From a segment to bodies, and the length unit of a part.
#include "jttk/brep/read_xt_brep.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "jttk/brep/xt_model.h"
#include "jttk/brep/xt_segment.h"

namespace jttk::brep {
namespace {

struct Unit {
  std::string_view name;
  double metres;
};

// The names that the property uses, lower case, without the plural's s.
constexpr std::array<Unit, 15> kUnits = {{{"micron", 1e-6},
                                          {"micrometer", 1e-6},
                                          {"millimeter", 1e-3},
                                          {"centimeter", 0.01},
                                          {"decimeter", 0.1},
                                          {"meter", 1},
                                          {"decameter", 10},
                                          {"hectometer", 100},
                                          {"kilometer", 1000},
                                          {"mil", 0.0000254},
                                          {"inch", 0.0254},
                                          {"feet", 0.3048},
                                          {"foot", 0.3048},
                                          {"yard", 0.9144},
                                          {"mile", 1609.344}}};

std::string plainName(std::string_view text) {
  std::string name;
  for (const char c : text) {
    if (c >= 'A' && c <= 'Z') {
      name += static_cast<char>(c - 'A' + 'a');
    } else if (c >= 'a' && c <= 'z') {
      name += c;
    }
  }
  if (name == "inches") return "inch";
  if (!name.empty() && name.back() == 's') name.pop_back();
  // The other spelling.
  if (const std::size_t at = name.rfind("metre"); at != std::string::npos) name.replace(at, 5, "meter");
  return name;
}

}  // namespace

Result<Bodies> readXtBrep(const Segment& segment, ByteOrder order) {
  const Result<XtData> data = findXtData(segment.data, order, segment.base_offset);
  if (!data) return tl::unexpected<Error>(segment.named(data.error().ofElement("XT B-Rep")));
  const Result<XtNodes> nodes = XtNodes::read(data->bytes, data->offset);
  if (!nodes) return tl::unexpected<Error>(segment.named(nodes.error().ofElement("XT B-Rep")));
  return buildBodies(*nodes);
}

Result<std::vector<Bodies>> readMultiXtBrep(const Segment& segment, ByteOrder order) {
  std::vector<Bodies> all;
  for (const XtData& data : findAllXtData(segment.data, order, segment.base_offset)) {
    const Result<XtNodes> nodes = XtNodes::read(data.bytes, data.offset);
    if (!nodes) return tl::unexpected<Error>(segment.named(nodes.error().ofElement("multi XT B-Rep")));
    all.push_back(buildBodies(*nodes));
  }
  if (all.empty()) {
    return tl::unexpected<Error>(
        segment.named(makeError("no XT data in the multi XT B-Rep", segment.base_offset)));
  }
  return all;
}

std::optional<double> metresOfUnit(std::string_view measurement_units) {
  const std::string name = plainName(measurement_units);
  for (const Unit& unit : kUnits) {
    if (name == unit.name) return unit.metres;
  }
  return std::nullopt;
}

std::optional<double> unitsPerMetre(const Bodies& bodies, std::string_view measurement_units) {
  if (bodies.units_per_metre) return bodies.units_per_metre;
  const auto metres = metresOfUnit(measurement_units);
  if (!metres) return std::nullopt;
  return 1 / *metres;
}

std::optional<double> unitsPerMetreFromBox(const Bodies& bodies, const float box[6]) {
  if (bodies.vertices.empty()) return std::nullopt;
  Vec3 low = bodies.vertices.front().point;
  Vec3 high = low;
  for (const Vertex& v : bodies.vertices) {
    low = {std::min(low.x, v.point.x), std::min(low.y, v.point.y), std::min(low.z, v.point.z)};
    high = {std::max(high.x, v.point.x), std::max(high.y, v.point.y), std::max(high.z, v.point.z)};
  }
  const double own = distance(low, high);
  const double part = distance({box[0], box[1], box[2]}, {box[3], box[4], box[5]});
  const double ratio = part / own;
  if (!std::isfinite(ratio) || !(ratio > 0)) return std::nullopt;
  const Unit* best = &kUnits[0];
  for (const Unit& unit : kUnits) {
    if (std::abs(std::log(ratio * unit.metres)) < std::abs(std::log(ratio * best->metres))) best = &unit;
  }
  return 1 / best->metres;
}

}  // namespace jttk::brep
