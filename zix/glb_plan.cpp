#include "zix/glb_plan.h"

#include <cmath>
#include <cstring>

#include "zix/checksum.h"
#include "zix/mesh_figures.h"
#include "zix/scene_meshes.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

using format::kNone;

namespace {

std::array<std::span<const std::byte>, kMeshArrayCount> arrayBytes(const MeshArrays& arrays) {
  std::array<std::span<const std::byte>, kMeshArrayCount> bytes;
  auto next = bytes.begin();
  forEachMeshArray([&](const auto& kind) {
    const auto& values = arrays.*kind.values;
    *next++ = std::as_bytes(std::span(values.data(), values.size()));
  });
  return bytes;
}

bool isSame(const MeshArrays& a, const MeshArrays& b) {
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

}  // namespace

bool isFinite(const Matrix& matrix) {
  for (const double value : matrix.m) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

GlbPlan::GlbPlan(const SceneFile& scene)
    : node_numbers(scene.objectCount(), kNone), mesh_numbers(scene.objectCount(), kNone), scene_(scene) {
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    const std::size_t number = geometryNumber(placed.mesh);
    const GlbGeometry* geometry = &geometries[number];
    const std::uint64_t element_count = elementCount(scene, placed.mesh);
    if (geometry->index_count == 0 || !isFinite(placed.world)) {
      summary.left_out += element_count;
      continue;
    }
    summary.written += geometry->element_count;
    summary.left_out += element_count - geometry->element_count;
    const std::size_t material = materialNumber(placed.material);
    const auto [entry, is_new] = mesh_by_parts_.try_emplace({number, material}, meshes.size());
    const std::uint32_t shape = scene.object(placed.mesh).parent;
    if (is_new) meshes.push_back({number, material, shape == kNone ? placed.mesh : shape});
    mesh_numbers[placed.mesh] = static_cast<std::uint32_t>(entry->second);
  }
  placeInBuffer();
  numberNodes();
}

// As a rule equal arrays are one chunk, and nothing is read to find that out.
std::size_t GlbPlan::geometryNumber(std::uint32_t mesh) {
  const GeometryKey key = geometryKey(scene_, mesh);
  const auto known = geometry_by_key_.find(key);
  if (known != geometry_by_key_.end()) return known->second;
  return geometry_by_key_[key] = newGeometryNumber(mesh);
}

// In a scene of another writer they may be there several times. What the file states of them finds the
// candidates.
std::size_t GlbPlan::newGeometryNumber(std::uint32_t mesh) {
  const GeometryKey key = geometryKey(scene_, mesh);
  std::vector<std::uint64_t> facts{key[0], key[1]};
  for (std::size_t i = 2; i < key.size(); ++i) {
    const std::uint64_t size = key[i] == kNone ? 0 : scene_.chunks()[key[i]].size;
    facts.push_back(size);
    facts.push_back(size == 0 ? 0 : scene_.chunks()[key[i]].checksum);
  }
  const std::uint64_t facts_key = checksum(std::as_bytes(std::span(facts)));
  const auto [begin, end] = geometry_by_facts_.equal_range(facts_key);
  const GlbContent content = contentOf(scene_, mesh);
  // A file that states the same of very many different arrays is made to take long.
  constexpr int kMostCandidates = 4;
  int candidates = 0;
  for (auto entry = begin; entry != end && candidates < kMostCandidates; ++entry, ++candidates) {
    if (isSame(meshArrays(scene_, geometries[entry->second].mesh), content.arrays)) return entry->second;
  }
  geometries.push_back(measure(mesh, content));
  geometry_by_facts_.emplace(facts_key, geometries.size() - 1);
  return geometries.size() - 1;
}

// Materials that look the same and have the same name are one; so is that of all meshes without one.
std::size_t GlbPlan::materialNumber(std::uint32_t material) {
  std::string key;
  if (material != kNone) {
    const format::MaterialRecord record = scene_.material(material);
    key.assign(reinterpret_cast<const char*>(&record), sizeof(record));
    key += scene_.name(material);
  }
  const auto [entry, is_new] = material_by_bytes_.try_emplace(key, materials.size());
  if (is_new) materials.push_back(material);
  return entry->second;
}

void GlbPlan::placeInBuffer() {
  const auto place = [&](GlbArray& array, std::uint64_t size) {
    array = {array_count_++, binary_size, size};
    binary_size += size;
  };
  for (GlbGeometry& geometry : geometries) {
    if (geometry.index_count == 0) continue;
    forEachArray(geometry,
                 [&](const GlbArrayKind& kind) { place(geometry.*kind.place, kind.sizeIn(geometry)); });
  }
}

std::uint32_t GlbPlan::ownMesh(std::uint32_t object) const {
  if (scene_.type(object) != ObjectType::Shape) return kNone;
  const auto children = scene_.children(object);
  if (children.size() != 1 || scene_.object(children[0]).placement != kNone) return kNone;
  return children[0];
}

void GlbPlan::numberNodes() {
  for (const std::uint32_t root : scene_.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene_.children(object); },
        [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
        [&](std::uint32_t object, const Matrix&, std::size_t) {
          const std::uint32_t parent = scene_.object(object).parent;
          if (parent != kNone && ownMesh(parent) == object) return;
          node_numbers[object] = static_cast<std::uint32_t>(nodes.size());
          nodes.push_back(object);
        },
        [](std::uint32_t) {});
  }
}

}  // namespace Orb::Zix
