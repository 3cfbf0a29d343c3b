// The element: versions (one in 8.x, two from 9.0 on; I16, U8 in 10.0), I32 texture binding, I32 colour
// binding, U8[2] bits, I32 texture generation; then either a zlib block with a record of floats per solid
// (origin, size, rotation, colour, I32 type, I32 reserved), or quantisers and packets of codes.
#include "samples/maker/primitives.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "samples/maker/color.h"
#include "samples/maker/packet.h"
#include "samples/maker/quantise.h"

namespace loftbay::maker {
namespace {

using Type = PrimitiveSolid::Type;
using Vector = std::array<double, 3>;

// v turned by the quaternion: v + 2 w (q x v) + 2 q x (q x v).
Vector turned(const Vector& v, const std::array<float, 4>& q) {
  const auto cross = [](const Vector& a, const Vector& b) {
    return Vector{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  };
  const Vector axis = {q[0], q[1], q[2]};
  const Vector once = cross(axis, v);
  const Vector twice = cross(axis, once);
  Vector out{};
  for (std::size_t k = 0; k < 3; ++k) out[k] = v[k] + 2 * q[3] * once[k] + 2 * twice[k];
  return out;
}

void include(Figures& figures, const PrimitiveSolid& solid, const Vector& local) {
  const Vector p = turned(local, solid.rotation);
  figures.include({static_cast<float>(p[0] + solid.place.x), static_cast<float>(p[1] + solid.place.y),
                   static_cast<float>(p[2] + solid.place.z)});
}

// An ellipse round `middle`: along an axis it reaches the root of the summed squares of its half axes'
// components.
void includeEllipsoid(Figures& figures, const PrimitiveSolid& solid, const Vector& middle,
                      const Vector& radius) {
  const Vector m = turned(middle, solid.rotation);
  Vector reach{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Vector unit{};
    unit[axis] = radius[axis];
    const Vector t = turned(unit, solid.rotation);
    for (std::size_t k = 0; k < 3; ++k) reach[k] += t[k] * t[k];
  }
  const float place[] = {solid.place.x, solid.place.y, solid.place.z};
  float low[3];
  float high[3];
  for (std::size_t k = 0; k < 3; ++k) {
    low[k] = static_cast<float>(place[k] + m[k] - std::sqrt(reach[k]));
    high[k] = static_cast<float>(place[k] + m[k] + std::sqrt(reach[k]));
  }
  figures.include({low[0], low[1], low[2]});
  figures.include({high[0], high[1], high[2]});
}

double perimeter(double a, double b) {
  constexpr int kSteps = 4096;
  double sum = 0;
  for (int i = 0; i < kSteps; ++i) {
    const double t = 2 * std::numbers::pi * i / kSteps;
    sum += std::hypot(a * std::sin(t), b * std::cos(t));
  }
  return sum * 2 * std::numbers::pi / kSteps;
}

double areaOf(const PrimitiveSolid& solid) {
  const double x = solid.size.x;
  const double y = solid.size.y;
  const double z = solid.size.z;
  switch (solid.type) {
    case Type::Box:
      return 2 * (x * y + y * z + z * x);
    case Type::Cylinder:
      return 2 * std::numbers::pi * x * y + perimeter(x, y) * z;
    case Type::Pyramid:
      return x * y + x * std::hypot(z, y / 2) + y * std::hypot(z, x / 2);
    case Type::Sphere:
      return 4 * std::numbers::pi * x * x;
    case Type::TriPrism:
      break;
  }
  return x * z + y * (x + z + std::hypot(x, z));
}

void includeSolid(Figures& figures, const PrimitiveSolid& solid) {
  const double x = solid.size.x;
  const double y = solid.size.y;
  const double z = solid.size.z;
  switch (solid.type) {
    case Type::Box:
      for (int i = 0; i < 8; ++i) {
        include(figures, solid, {(i & 1) != 0 ? x : 0, (i & 2) != 0 ? y : 0, (i & 4) != 0 ? z : 0});
      }
      return;
    case Type::Cylinder:
      includeEllipsoid(figures, solid, {0, 0, 0}, {x, y, 0});
      includeEllipsoid(figures, solid, {0, 0, z}, {x, y, 0});
      return;
    case Type::Pyramid:
      for (const double sx : {-0.5, 0.5}) {
        for (const double sy : {-0.5, 0.5}) include(figures, solid, {sx * x, sy * y, 0});
      }
      include(figures, solid, {0, 0, z});
      return;
    case Type::Sphere:
      includeEllipsoid(figures, solid, {0, 0, 0}, {x, x, x});
      return;
    case Type::TriPrism:
      for (const double at : {0.0, y}) {
        include(figures, solid, {0, at, 0});
        include(figures, solid, {x, at, 0});
        include(figures, solid, {0, at, z});
      }
      return;
  }
}

Bytes packed(const Bytes& plain) {
  Bytes out(compressBound(static_cast<uLong>(plain.size())));
  auto size = static_cast<uLongf>(out.size());
  if (compress2(out.data(), &size, plain.data(), static_cast<uLong>(plain.size()), 6) != Z_OK) {
    throw std::runtime_error("zlib cannot compress a primitive set");
  }
  out.resize(size);
  return out;
}

void writeLossless(ByteWriter& out, const Shape& shape) {
  ByteWriter records(out.bigEndian());
  const auto put = [&](const Vec3& v) {
    for (const float value : {v.x, v.y, v.z}) records.f32(value);
  };
  for (const PrimitiveSolid& solid : shape.solids) {
    put(solid.place);
    put(solid.size);
    for (const float value : solid.rotation) records.f32(value);
    if (shape.colored_solids) put(solid.color);
    records.i32(static_cast<int>(solid.type));
    records.i32(0);
  }
  const Bytes block = packed(records.bytes());
  out.i32(static_cast<std::int64_t>(records.size()));
  out.i32(static_cast<std::int64_t>(block.size()));
  out.append(block);
}

// Quantisers that span the columns, the count, a packet per column.
void writeColumns(ByteWriter& out, const std::vector<std::vector<float>>& columns, std::uint8_t bits,
                  const Options& options) {
  std::vector<UniformQuantiser> quantisers;
  for (const auto& column : columns) {
    const auto [least, greatest] = std::minmax_element(column.begin(), column.end());
    quantisers.push_back({*least, *greatest, bits});
    out.f32(*least);
    out.f32(*greatest);
    out.u8(bits);
  }
  out.i32(static_cast<std::int64_t>(columns.front().size()));
  for (std::size_t k = 0; k < columns.size(); ++k) {
    std::vector<std::int32_t> codes;
    for (const float value : columns[k]) {
      codes.push_back(static_cast<std::int32_t>(quantisers[k].encode(value)));
    }
    writePacket(out, codes, Predictor::Lag1, options);
  }
}

void writeColors(ByteWriter& out, const std::vector<PrimitiveSolid>& solids, const Options& options) {
  const auto quantisers = colorQuantisers(options);
  writeColorQuantisers(out, options);
  out.i32(static_cast<std::int64_t>(solids.size()));
  for (std::size_t k = 0; k < 4; ++k) {
    std::vector<std::int32_t> codes;
    for (const PrimitiveSolid& solid : solids) {
      const Rgba rgba = {solid.color.x, solid.color.y, solid.color.z, 1};
      const Rgba stored = options.hsv_colors ? toHsv(rgba) : rgba;
      codes.push_back(static_cast<std::int32_t>(quantisers[k].encode(stored[k])));
    }
    writePacket(out, codes, Predictor::Lag1, options);
  }
}

void writeLossy(ByteWriter& out, const Shape& shape, const Options& options) {
  const auto column = [&](auto get) {
    std::vector<float> values;
    for (const PrimitiveSolid& solid : shape.solids) values.push_back(get(solid));
    return values;
  };
  const auto vectors = [&](Vec3 PrimitiveSolid::*member) {
    return std::vector{column([&](const PrimitiveSolid& s) { return (s.*member).x; }),
                       column([&](const PrimitiveSolid& s) { return (s.*member).y; }),
                       column([&](const PrimitiveSolid& s) { return (s.*member).z; })};
  };
  std::vector<std::vector<float>> rotations;
  for (std::size_t k = 0; k < 4; ++k) {
    rotations.push_back(column([&](const PrimitiveSolid& s) { return s.rotation[k]; }));
  }
  writeColumns(out, vectors(&PrimitiveSolid::place), options.coordinate_bits, options);
  writeColumns(out, vectors(&PrimitiveSolid::size), options.coordinate_bits, options);
  writeColumns(out, rotations, options.coordinate_bits, options);
  if (shape.colored_solids) writeColors(out, shape.solids, options);
  std::vector<std::int32_t> types;
  for (const PrimitiveSolid& solid : shape.solids) types.push_back(static_cast<int>(solid.type));
  writePacket(out, types, Predictor::Lag1, options);
}

}  // namespace

Figures measureSolids(const std::vector<PrimitiveSolid>& solids) {
  Figures figures;
  figures.nodes = 1;
  for (const PrimitiveSolid& solid : solids) {
    includeSolid(figures, solid);
    figures.area += areaOf(solid);
  }
  return figures;
}

double volumeOf(const PrimitiveSolid& solid) {
  const double product = double{solid.size.x} * solid.size.y * solid.size.z;
  switch (solid.type) {
    case Type::Box:
      return product;
    case Type::Cylinder:
      return std::numbers::pi * product;
    case Type::Pyramid:
      return product / 3;
    case Type::Sphere:
      return 4 * std::numbers::pi / 3 * std::pow(double{solid.size.x}, 3);
    case Type::TriPrism:
      break;
  }
  return product / 2;
}

void writePrimitiveSet(ByteWriter& out, const Shape& shape, const Options& options) {
  if (options.major() == 10) {
    out.u8(1);
    out.u8(1);
  } else {
    if (options.major() == 9) out.i16(1);
    out.i16(1);
  }
  out.i32(0);  // no texture coordinates
  out.i32(shape.colored_solids ? 1 : 0);
  out.u8(options.coordinate_bits);
  out.u8(options.color_bits);
  out.i32(0);  // how texture coordinates would be made
  if (options.coordinate_bits == 0) {
    writeLossless(out, shape);
  } else {
    writeLossy(out, shape, options);
  }
}

}  // namespace loftbay::maker
