// The description of a product from which the maker writes a JT file: parts with shapes at several levels
// of detail, assemblies, occurrences with transforms and materials. Plain data; whoever builds it owns it.
//
//   Product product;
//   product.name = "bracket";
//   product.parts.push_back({.name = "plate", .lods = {{box({10, 20, 2})}}});
//   product.assemblies.push_back({.name = "bracket", .children = {{.target = partRef(0)}}});
//   product.root = assemblyRef(0);
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace loftbay::maker {

struct Vec3 {
  float x = 0;
  float y = 0;
  float z = 0;
  friend bool operator==(const Vec3&, const Vec3&) = default;
};

using Rgba = std::array<float, 4>;  // red, green, blue, alpha (1 = opaque), each 0 .. 1

// Row major for row vectors: p' = p * M, the translation is in elements 12 .. 14.
using Matrix = std::array<double, 16>;
inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct Material {
  Rgba ambient = {0.2F, 0.2F, 0.2F, 1};
  Rgba diffuse = {0.8F, 0.8F, 0.8F, 1};
  Rgba specular = {0.3F, 0.3F, 0.3F, 1};
  Rgba emission = {0, 0, 0, 1};
  float shininess = 20;
};

enum class ShapeKind : std::uint8_t {
  Triangles,  // tri-strip set; every polygon must have three corners
  Polygons,   // polygon set
  Polylines,  // a primitive is one open line
  Points,     // every corner is a point
  Solids,     // primitive set: boxes, cylinders, …, given by numbers
};

// A solid of a primitive set. Before it is turned and moved to its place:
//   Box       its lowest corner is at the origin; `size` is its lengths
//   Cylinder  stands on the middle of its base; two radii (along x and y) and the height
//   Pyramid   stands on the middle of its base; the base's lengths and the height
//   Sphere    its middle is at the origin; a radius, 0, 0
//   TriPrism  as the box, without the half above the diagonal from (0, z) to (x, 0)
struct PrimitiveSolid {
  enum class Type : std::uint8_t { Box, Cylinder, Pyramid, Sphere, TriPrism };
  Type type = Type::Box;
  Vec3 place;
  Vec3 size;
  std::array<float, 4> rotation = {0, 0, 0, 1};  // quaternion, its real part last
  Vec3 color = {1, 1, 1};
};

// One shape of one level of detail. Polygons are counter-clockwise seen from outside; polygons that share
// an edge name the same positions, which is what closes a mesh. Edges used by one polygon only are
// boundaries; edges used by more than two, and positions where several sheets touch, are taken apart.
struct Shape {
  ShapeKind kind = ShapeKind::Triangles;
  std::vector<Vec3> positions;
  // Attribute records; each array is empty or as long as the others that are not.
  std::vector<Vec3> normals;
  std::vector<Rgba> colors;
  std::vector<std::array<float, 2>> texture_coordinates;
  std::vector<std::uint32_t> vertex_flags;  // 9.0 and later only
  // Primitive i owns the corners primitive_starts[i] .. primitive_starts[i + 1] - 1.
  std::vector<std::uint32_t> primitive_starts = {0};
  std::vector<std::uint32_t> corner_positions;
  std::vector<std::uint32_t> corner_records;  // empty when there are no attributes
  std::optional<Material> material;
  std::vector<PrimitiveSolid> solids;  // ShapeKind::Solids; the arrays above are empty then
  bool colored_solids = false;

  [[nodiscard]] std::size_t primitiveCount() const { return primitive_starts.size() - 1; }
  [[nodiscard]] bool hasRecords() const { return !corner_records.empty(); }
  // Two triangles, a b c and a c d, by positions.
  void addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d);
};

// A shape, or a function that makes it each time it is needed (so that huge products are never in memory as a
// whole).
struct ShapeSource {
  Shape shape;
  std::function<Shape()> generate;  // used when set

  ShapeSource() = default;
  ShapeSource(Shape ready) : shape(std::move(ready)) {}  // NOLINT: a shape is a source of itself
  explicit ShapeSource(std::function<Shape()> function) : generate(std::move(function)) {}
};

// A key and a text, as programs show them to people when the key ends in "::".
struct Property {
  std::string key;
  std::string value;
};

// A part's exact geometry: an XT stream (XtModel writes one), and the box of what it holds in the part's
// units.
struct ExactGeometry {
  std::vector<std::uint8_t> stream;
  Vec3 low;
  Vec3 high;
};

struct Part {
  std::string name;   // empty: the node gets no name
  std::string units;  // "Millimeters", …; empty: none stated
  std::optional<Material> material;
  std::vector<std::vector<ShapeSource>> lods;  // finest first; may be empty
  std::vector<Property> properties;
  std::optional<ExactGeometry> exact = std::nullopt;
  bool hidden = false;  // the part's node has the flag that hides it, wherever it is used
};

struct Ref {
  enum class Kind : std::uint8_t { Part, Assembly };
  Kind kind = Kind::Part;
  std::size_t index = 0;
};
inline Ref partRef(std::size_t index) { return {Ref::Kind::Part, index}; }
inline Ref assemblyRef(std::size_t index) { return {Ref::Kind::Assembly, index}; }

struct Child {
  Ref target;
  std::string name;  // of the occurrence; empty: none
  std::optional<Matrix> transform;
  std::optional<Material> material;
  // true: no instance node; transform and material are put on the target's own node. Only for targets that
  // are used once. A name given here replaces the target's.
  bool direct = false;
};

struct Assembly {
  std::string name;
  std::string units;
  std::optional<Material> material;
  std::vector<Child> children;
};

struct Product {
  std::string name;  // of the root partition
  std::vector<Part> parts;
  std::vector<Assembly> assemblies;
  Ref root;
};

}  // namespace loftbay::maker
