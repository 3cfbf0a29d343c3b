// Binary glTF 2.0. First pass: which geometries, meshes and materials there are, and how big; then the JSON
// chunk, piece by piece; then the binary chunk, geometry by geometry. So memory holds facts, never arrays.
//
// Every Node and Shape becomes a node with its name and its placement as translation, rotation and scale; a
// Shape with one mesh carries it itself, others get a node per mesh. Geometries whose arrays and mesh type
// are equal byte for byte stand in the buffer once, and where the material is equal too, the glTF mesh is
// one.
#include <cmath>
#include <cstring>
#include <map>
#include <unordered_map>
#include <utility>

#include "zix/checksum.h"
#include "zix/export.h"
#include "zix/glb_geometry.h"
#include "zix/json_writer.h"
#include "zix/materials.h"
#include "zix/object_names.h"
#include "zix/output_file.h"
#include "zix/scene_meshes.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

using format::kNone;

namespace {

constexpr std::uint32_t kGlbMagic = 0x46546C67;   // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr std::uint32_t kBinaryChunk = 0x004E4942;

bool isFinite(const Matrix& matrix) {
  for (const double value : matrix.m) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

class GlbExport {
 public:
  explicit GlbExport(const SceneFile& scene)
      : scene_(scene), node_numbers_(scene.objectCount(), kNone), mesh_numbers_(scene.objectCount(), kNone) {}

  ExportResult run(std::string_view program_path) {
    collect();
    if (binary_size_ > kMostBytes) return tooBig(binary_size_);
    if (auto failure = write(program_path)) return tl::unexpected(*failure);
    return summary_;
  }

 private:
  static constexpr std::uint64_t kMostBytes = 0xFFFFFFFF;

  struct Mesh {
    std::size_t geometry;
    std::size_t material;
  };

  static tl::unexpected<std::string> tooBig(std::uint64_t size) {
    return tl::unexpected("GLB files are limited to 4 GiB; the scene needs " + std::to_string(size) +
                          " bytes");
  }

  // --- first pass
  // -------------------------------------------------------------------------------------------

  void collect() {
    for (const PlacedMesh& placed : placedMeshes(scene_)) {
      const MeshArrays arrays = meshArrays(scene_, placed.mesh);
      const std::size_t number = geometryNumber(arrays);
      const GlbGeometry* geometry = &geometries_[number];
      if (geometry->index_count == 0 || !isFinite(placed.world)) {
        summary_.left_out += arrays.lengths.size();
        continue;
      }
      summary_.written += geometry->element_count;
      summary_.left_out += arrays.lengths.size() - geometry->element_count;
      const std::size_t material = materialNumber(placed.material);
      const auto [entry, is_new] = mesh_by_parts_.try_emplace({number, material}, meshes_.size());
      if (is_new) meshes_.push_back({number, material});
      mesh_numbers_[placed.mesh] = static_cast<std::uint32_t>(entry->second);
    }
    placeInBuffer();
    numberNodes();
  }

  std::size_t geometryNumber(const MeshArrays& arrays) {
    std::array<std::uint64_t, 8> facts{static_cast<std::uint64_t>(arrays.type), arrays.dimension};
    std::size_t next = 2;
    for (const auto bytes : arrayBytes(arrays)) {
      facts[next++] = bytes.size();
      facts[next++] = checksum(bytes);
    }
    const std::uint64_t key = checksum(std::as_bytes(std::span(facts)));
    const auto [begin, end] = geometry_by_key_.equal_range(key);
    for (auto entry = begin; entry != end; ++entry) {
      if (isSame(geometries_[entry->second].arrays, arrays)) return entry->second;
    }
    geometries_.push_back(measure(arrays));
    geometry_by_key_.emplace(key, geometries_.size() - 1);
    return geometries_.size() - 1;
  }

  static std::array<std::span<const std::byte>, 3> arrayBytes(const MeshArrays& arrays) {
    return {std::as_bytes(arrays.values), std::as_bytes(arrays.indices), std::as_bytes(arrays.lengths)};
  }

  static bool isSame(const MeshArrays& a, const MeshArrays& b) {
    if (a.type != b.type || a.dimension != b.dimension) return false;
    const auto first = arrayBytes(a);
    const auto second = arrayBytes(b);
    for (std::size_t i = 0; i < first.size(); ++i) {
      if (first[i].size() != second[i].size()) return false;
      if (!first[i].empty() && std::memcmp(first[i].data(), second[i].data(), first[i].size()) != 0)
        return false;
    }
    return true;
  }

  // Materials that look the same are one; number 0 is that of meshes without a material.
  std::size_t materialNumber(std::uint32_t material) {
    std::string key;
    if (material != kNone) {
      const format::MaterialRecord record = scene_.material(material);
      key.assign(reinterpret_cast<const char*>(&record), sizeof(record));
      key += scene_.name(material);
    }
    const auto [entry, is_new] = material_by_bytes_.try_emplace(key, materials_.size());
    if (is_new) materials_.push_back(material);
    return entry->second;
  }

  void placeInBuffer() {
    for (GlbGeometry& geometry : geometries_) {
      if (geometry.index_count == 0) continue;
      geometry.number = used_geometries_++;
      geometry.positions_offset = binary_size_;
      binary_size_ += geometry.positionsSize();
      geometry.indices_offset = binary_size_;
      binary_size_ += geometry.indicesSize();
    }
  }

  // The one mesh of a shape that the shape's own node can carry, or kNone.
  [[nodiscard]] std::uint32_t ownMesh(std::uint32_t object) const {
    if (scene_.type(object) != ObjectType::Shape) return kNone;
    const auto children = scene_.children(object);
    if (children.size() != 1 || scene_.object(children[0]).placement != kNone) return kNone;
    return children[0];
  }

  void numberNodes() {
    for (const std::uint32_t root : scene_.treeRoots()) {
      walkTree(
          root, [&](std::uint32_t object) { return scene_.children(object); },
          [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
          [&](std::uint32_t object, const Matrix&, std::size_t) {
            const std::uint32_t parent = scene_.object(object).parent;
            if (parent != kNone && ownMesh(parent) == object) return;
            node_numbers_[object] = static_cast<std::uint32_t>(nodes_.size());
            nodes_.push_back(object);
          },
          [](std::uint32_t) {});
    }
  }

  // --- JSON
  // -------------------------------------------------------------------------------------------------

  void writeJson(JsonWriter& json) const {
    json.beginObject();
    json.key("asset");
    json.beginObject();
    json.key("version");
    json.text("2.0");
    json.key("generator");
    json.text("zix");
    json.key("extras");
    json.beginObject();
    json.key("unit");
    json.text("the scene's own, usually mm");
    json.key("up");
    json.text("+Z");
    json.end();
    json.end();
    json.key("scene");
    json.number(std::uint64_t{0});
    writeScenes(json);
    if (!nodes_.empty()) writeNodes(json);
    if (!meshes_.empty()) writeGeometry(json);
    json.end();
    json.finish();
  }

  void writeScenes(JsonWriter& json) const {
    json.key("scenes");
    json.beginArray();
    json.beginObject();
    writeName(json, scene_.modelName());
    if (!nodes_.empty()) {
      json.key("nodes");
      json.beginArray();
      for (const std::uint32_t root : scene_.treeRoots()) json.number(std::uint64_t{node_numbers_[root]});
      json.end();
    }
    json.end();
    json.end();
  }

  void writeNodes(JsonWriter& json) const {
    json.key("nodes");
    json.beginArray();
    for (const std::uint32_t object : nodes_) writeNode(json, object);
    json.end();
  }

  void writeNode(JsonWriter& json, std::uint32_t object) const {
    json.beginObject();
    writeName(json, scene_.name(object));
    if (const auto placement = scene_.placement(object)) writePlacement(json, *placement);
    const std::uint32_t own = scene_.type(object) == ObjectType::Mesh ? object : ownMesh(object);
    if (own != kNone && mesh_numbers_[own] != kNone) {
      json.key("mesh");
      json.number(std::uint64_t{mesh_numbers_[own]});
    }
    const auto children = scene_.children(object);
    if (!children.empty() && node_numbers_[children[0]] != kNone) {
      json.key("children");
      json.beginArray();
      for (const std::uint32_t child : children) json.number(std::uint64_t{node_numbers_[child]});
      json.end();
    }
    json.end();
  }

  static void writeName(JsonWriter& json, std::string_view name) {
    if (name.empty()) return;
    json.key("name");
    json.text(name);
  }

  static void writeNumbers(JsonWriter& json, std::string_view key, std::span<const double> values) {
    json.key(key);
    json.beginArray();
    for (const double value : values) json.number(value);
    json.end();
  }

  // What is not finite cannot be written; nothing below such a placement is shown.
  static void writePlacement(JsonWriter& json, const format::TransformRecord& transform) {
    if (!isFinite(placementMatrix(transform))) return;
    const auto three = [](const float(&values)[3]) {
      return std::array<double, 3>{static_cast<double>(values[0]), static_cast<double>(values[1]),
                                   static_cast<double>(values[2])};
    };
    const auto translation = three(transform.translation);
    const auto axis = three(transform.rotation_axis);
    const auto scale = three(transform.scale);
    if (translation != std::array<double, 3>{0, 0, 0}) writeNumbers(json, "translation", translation);
    const double length = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
    if (length > 0 && transform.rotation_angle_rad != 0) {
      const SineCosine half = sineCosine(static_cast<double>(transform.rotation_angle_rad) / 2);
      const double factor = half.sine / length;
      writeNumbers(json, "rotation",
                   std::array<double, 4>{axis[0] * factor, axis[1] * factor, axis[2] * factor, half.cosine});
    }
    if (scale != std::array<double, 3>{1, 1, 1}) writeNumbers(json, "scale", scale);
  }

  void writeGeometry(JsonWriter& json) const {
    json.key("meshes");
    json.beginArray();
    for (const Mesh& mesh : meshes_) writeMesh(json, mesh);
    json.end();
    json.key("materials");
    json.beginArray();
    for (const std::uint32_t material : materials_) writeMaterial(json, material);
    json.end();
    json.key("accessors");
    json.beginArray();
    forEachUsed([&](const GlbGeometry& geometry) { writeAccessors(json, geometry); });
    json.end();
    json.key("bufferViews");
    json.beginArray();
    forEachUsed([&](const GlbGeometry& geometry) {
      writeBufferView(json, geometry.positions_offset, geometry.positionsSize(), 34962);
      writeBufferView(json, geometry.indices_offset, geometry.indicesSize(), 34963);
    });
    json.end();
    json.key("buffers");
    json.beginArray();
    json.beginObject();
    json.key("byteLength");
    json.number(binary_size_);
    json.end();
    json.end();
  }

  void writeMesh(JsonWriter& json, const Mesh& mesh) const {
    const GlbGeometry& geometry = geometries_[mesh.geometry];
    json.beginObject();
    json.key("primitives");
    json.beginArray();
    json.beginObject();
    json.key("attributes");
    json.beginObject();
    json.key("POSITION");
    json.number(2 * geometry.number);
    json.end();
    json.key("indices");
    json.number(2 * geometry.number + 1);
    json.key("material");
    json.number(std::uint64_t{mesh.material});
    json.key("mode");
    // 4 triangles, 1 separate lines, 0 points
    json.number(std::uint64_t{geometry.arrays.type == MeshType::Triangles ? 4U
                              : geometry.arrays.type == MeshType::Lines   ? 1U
                                                                          : 0U});
    json.end();
    json.end();
    json.end();
  }

  void writeMaterial(JsonWriter& json, std::uint32_t material) const {
    const Appearance look = material == kNone ? defaultAppearance() : appearanceOf(scene_.material(material));
    json.beginObject();
    if (material != kNone) writeName(json, scene_.name(material));
    json.key("pbrMetallicRoughness");
    json.beginObject();
    writeNumbers(json, "baseColorFactor",
                 std::array<double, 4>{linearFromDisplay(look.color[0]), linearFromDisplay(look.color[1]),
                                       linearFromDisplay(look.color[2]), look.opacity});
    json.key("metallicFactor");
    json.number(std::uint64_t{0});
    json.key("roughnessFactor");
    json.number(look.roughness);
    json.end();
    if (look.emission != std::array<double, 3>{0, 0, 0}) {
      writeNumbers(
          json, "emissiveFactor",
          std::array<double, 3>{linearFromDisplay(look.emission[0]), linearFromDisplay(look.emission[1]),
                                linearFromDisplay(look.emission[2])});
    }
    if (look.opacity < 1) {
      json.key("alphaMode");
      json.text("BLEND");
    }
    // Parts of CAD models are often open shells.
    json.key("doubleSided");
    json.boolean(true);
    json.end();
  }

  static void writeAccessors(JsonWriter& json, const GlbGeometry& geometry) {
    json.beginObject();
    json.key("bufferView");
    json.number(2 * geometry.number);
    json.key("componentType");
    json.number(std::uint64_t{5126});  // float
    json.key("count");
    json.number(std::uint64_t{geometry.arrays.pointCount()});
    json.key("type");
    json.text("VEC3");
    const auto corner = [](const std::array<float, 3>& point) {
      return std::array<double, 3>{static_cast<double>(point[0]), static_cast<double>(point[1]),
                                   static_cast<double>(point[2])};
    };
    writeNumbers(json, "min", corner(geometry.box.low));
    writeNumbers(json, "max", corner(geometry.box.high));
    json.end();
    json.beginObject();
    json.key("bufferView");
    json.number(2 * geometry.number + 1);
    json.key("componentType");
    json.number(std::uint64_t{5125});  // unsigned int
    json.key("count");
    json.number(geometry.index_count);
    json.key("type");
    json.text("SCALAR");
    json.end();
  }

  static void writeBufferView(JsonWriter& json, std::uint64_t offset, std::uint64_t size,
                              std::uint64_t target) {
    json.beginObject();
    json.key("buffer");
    json.number(std::uint64_t{0});
    json.key("byteOffset");
    json.number(offset);
    json.key("byteLength");
    json.number(size);
    json.key("target");
    json.number(target);
    json.end();
  }

  template <typename Visit>
  void forEachUsed(Visit visit) const {
    for (const GlbGeometry& geometry : geometries_) {
      if (geometry.index_count != 0) visit(geometry);
    }
  }

  // --- file
  // -------------------------------------------------------------------------------------------------

  std::optional<std::string> write(std::string_view program_path) {
    OutputFile file;
    auto failure = file.open(program_path);
    const auto append = [&](std::span<const std::byte> bytes) {
      if (!failure) failure = file.append(bytes);
    };
    std::uint32_t header[5] = {kGlbMagic, 2, 0, 0, kJsonChunk};
    append(std::as_bytes(std::span(header)));
    JsonWriter json(
        [&](std::string_view text) { append(std::as_bytes(std::span(text.data(), text.size()))); }, false);
    writeJson(json);
    constexpr std::string_view kBlanks = "   ";
    append(std::as_bytes(std::span(kBlanks.data(), (4 - file.size() % 4) % 4)));
    const std::uint64_t json_size = file.size() - sizeof(header);
    const std::uint64_t total = file.size() + (binary_size_ == 0 ? 0 : 8 + binary_size_);
    if (total > kMostBytes) return tooBig(total).value();
    if (binary_size_ != 0) {
      const std::uint32_t binary_header[2] = {static_cast<std::uint32_t>(binary_size_), kBinaryChunk};
      append(std::as_bytes(std::span(binary_header)));
      forEachUsed([&](const GlbGeometry& geometry) { writeArrays(geometry, append); });
    }
    header[2] = static_cast<std::uint32_t>(total);
    header[3] = static_cast<std::uint32_t>(json_size);
    if (!failure) failure = file.overwrite(0, std::as_bytes(std::span(header)));
    if (!failure) failure = file.commit();
    return failure ? std::optional(failure->text()) : std::nullopt;
  }

  const SceneFile& scene_;
  ExportSummary summary_;
  std::vector<GlbGeometry> geometries_;
  std::unordered_multimap<std::uint64_t, std::size_t> geometry_by_key_;
  std::uint64_t used_geometries_ = 0;
  std::uint64_t binary_size_ = 0;
  std::vector<std::uint32_t> materials_;
  std::map<std::string, std::size_t> material_by_bytes_;
  std::vector<Mesh> meshes_;
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> mesh_by_parts_;
  std::vector<std::uint32_t> nodes_;         // object numbers in the order of their glTF nodes
  std::vector<std::uint32_t> node_numbers_;  // by object
  std::vector<std::uint32_t> mesh_numbers_;  // by object
};

}  // namespace

ExportResult exportGlb(const SceneFile& scene, std::string_view program_path) {
  return GlbExport(scene).run(program_path);
}

}  // namespace Orb::Zix
