#include "zix/glb_json.h"

#include <array>
#include <cmath>
#include <span>
#include <vector>

#include "host/portable_math.h"
#include "zix/materials.h"
#include "zix/placement.h"

namespace Orb::Zix {

using format::kNone;

namespace {

class GlbJson {
 public:
  GlbJson(const SceneFile& scene, const GlbPlan& plan, const GlbRoot& root)
      : scene_(scene), plan_(plan), root_(root) {}

  void writeJson(JsonWriter& json) const {
    json.beginObject();
    json.key("asset");
    json.beginObject();
    json.key("version");
    json.text("2.0");
    json.key("generator");
    json.text("zix");
    json.end();
    json.key("scene");
    json.number(std::uint64_t{0});
    writeScenes(json);
    if (!plan_.nodes.empty()) writeNodes(json);
    if (!plan_.meshes.empty()) writeGeometry(json);
    json.end();
    json.finish();
  }

 private:
  void writeScenes(JsonWriter& json) const {
    json.key("scenes");
    json.beginArray();
    json.beginObject();
    writeName(json, scene_.modelName());
    if (!plan_.nodes.empty()) {
      json.key("nodes");
      json.beginArray();
      root_.is_there ? json.number(std::uint64_t{plan_.nodes.size()}) : writeRoots(json);
      json.end();
    }
    writeProperties(json, scene_.sceneProperties());
    json.end();
    json.end();
  }

  void writeRoots(JsonWriter& json) const {
    for (const std::uint32_t root : scene_.treeRoots()) json.number(std::uint64_t{plan_.node_numbers[root]});
  }

  static void writeProperties(JsonWriter& json, const std::vector<SceneFile::Property>& properties) {
    if (properties.empty()) return;
    json.key("extras");
    json.beginObject();
    for (const auto& property : properties) {
      json.key(property.key);
      json.text(property.value);
    }
    json.end();
  }

  // Behind all others, so that those have the same numbers with and without it.
  void writeRoot(JsonWriter& json) const {
    json.beginObject();
    writeName(json, "metres, y up");
    const double half = std::sqrt(0.5);
    if (root_.up == UpAxis::Z) writeNumbers(json, "rotation", std::array{-half, 0.0, 0.0, half});
    if (root_.up == UpAxis::X) writeNumbers(json, "rotation", std::array{half, half, 0.0, 0.0});
    const double scale = root_.unit_metres;
    if (scale != 1) writeNumbers(json, "scale", std::array{scale, scale, scale});
    json.key("children");
    json.beginArray();
    writeRoots(json);
    json.end();
    json.key("extras");
    json.beginObject();
    json.key("zix_root");
    json.boolean(true);
    if (!root_.unit.empty()) {
      json.key("zix_unit");
      json.text(root_.unit);
    }
    json.key("zix_unit_metres");
    json.number(root_.unit_metres);
    json.key("zix_up");
    json.text(root_.up == UpAxis::X ? "x" : root_.up == UpAxis::Y ? "y" : "z");
    json.end();
    json.end();
  }

  void writeNodes(JsonWriter& json) const {
    json.key("nodes");
    json.beginArray();
    for (const std::uint32_t object : plan_.nodes) writeNode(json, object);
    if (root_.is_there) writeRoot(json);
    json.end();
  }

  void writeNode(JsonWriter& json, std::uint32_t object) const {
    json.beginObject();
    writeName(json, scene_.name(object));
    if (const auto placement = scene_.placement(object)) writePlacement(json, *placement);
    const std::uint32_t own = scene_.type(object) == ObjectType::Mesh ? object : plan_.ownMesh(object);
    if (own != kNone && plan_.mesh_numbers[own] != kNone) {
      json.key("mesh");
      json.number(std::uint64_t{plan_.mesh_numbers[own]});
    }
    const auto children = scene_.children(object);
    if (!children.empty() && plan_.node_numbers[children[0]] != kNone) {
      json.key("children");
      json.beginArray();
      for (const std::uint32_t child : children) json.number(std::uint64_t{plan_.node_numbers[child]});
      json.end();
    }
    writeProperties(json, scene_.properties(object));
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
      const double half_angle_rad = static_cast<double>(transform.rotation_angle_rad) / 2;
      const double factor = loftbay::portable::sin(half_angle_rad) / length;
      const double real_part = loftbay::portable::cos(half_angle_rad);
      writeNumbers(json, "rotation",
                   std::array<double, 4>{axis[0] * factor, axis[1] * factor, axis[2] * factor, real_part});
    }
    if (scale != std::array<double, 3>{1, 1, 1}) writeNumbers(json, "scale", scale);
  }

  void writeGeometry(JsonWriter& json) const {
    json.key("meshes");
    json.beginArray();
    for (const GlbPlan::Mesh& mesh : plan_.meshes) writeMesh(json, mesh);
    json.end();
    json.key("materials");
    json.beginArray();
    for (const std::uint32_t material : plan_.materials) writeMaterial(json, material);
    json.end();
    json.key("accessors");
    json.beginArray();
    plan_.forEachUsed([&](const GlbGeometry& geometry) {
      forEachArray(geometry, [&](const GlbArrayKind& kind) { writeAccessor(json, geometry, kind); });
    });
    json.end();
    json.key("bufferViews");
    json.beginArray();
    plan_.forEachUsed([&](const GlbGeometry& geometry) {
      forEachArray(geometry, [&](const GlbArrayKind& kind) {
        writeBufferView(json, geometry.*kind.place, kind.view_target);
      });
    });
    json.end();
    json.key("buffers");
    json.beginArray();
    json.beginObject();
    json.key("byteLength");
    json.number(plan_.binary_size);
    json.end();
    json.end();
  }

  void writeMesh(JsonWriter& json, const GlbPlan::Mesh& mesh) const {
    const GlbGeometry& geometry = plan_.geometries[mesh.geometry];
    json.beginObject();
    writeName(json, scene_.name(mesh.named_by));
    json.key("primitives");
    json.beginArray();
    json.beginObject();
    json.key("attributes");
    json.beginObject();
    forEachArray(geometry, [&](const GlbArrayKind& kind) {
      if (kind.attribute == nullptr) return;
      json.key(kind.attribute);
      json.number((geometry.*kind.place).number);
    });
    json.end();
    forEachArray(geometry, [&](const GlbArrayKind& kind) {
      if (kind.attribute != nullptr) return;
      json.key("indices");
      json.number((geometry.*kind.place).number);
    });
    json.key("material");
    json.number(std::uint64_t{mesh.material});
    json.key("mode");
    // 4 triangles, 1 separate lines, 0 points
    json.number(std::uint64_t{geometry.type == MeshType::Triangles ? 4U
                              : geometry.type == MeshType::Lines   ? 1U
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

  static void writeAccessor(JsonWriter& json, const GlbGeometry& geometry, const GlbArrayKind& kind) {
    json.beginObject();
    json.key("bufferView");
    json.number((geometry.*kind.place).number);
    json.key("componentType");
    json.number(std::uint64_t{kind.component_type});
    json.key("count");
    json.number(geometry.*kind.count);
    json.key("type");
    json.text(kind.type);
    if (kind.has_box) {
      const auto corner = [](const std::array<float, 3>& point) {
        return std::array<double, 3>{static_cast<double>(point[0]), static_cast<double>(point[1]),
                                     static_cast<double>(point[2])};
      };
      writeNumbers(json, "min", corner(geometry.box.low));
      writeNumbers(json, "max", corner(geometry.box.high));
    }
    json.end();
  }

  static void writeBufferView(JsonWriter& json, const GlbArray& array, std::uint64_t target) {
    json.beginObject();
    json.key("buffer");
    json.number(std::uint64_t{0});
    json.key("byteOffset");
    json.number(array.offset);
    json.key("byteLength");
    json.number(array.size);
    json.key("target");
    json.number(target);
    json.end();
  }

  const SceneFile& scene_;
  const GlbPlan& plan_;
  const GlbRoot& root_;
};

}  // namespace

void writeGlbJson(const SceneFile& scene, const GlbPlan& plan, const GlbRoot& root, JsonWriter& json) {
  GlbJson(scene, plan, root).writeJson(json);
}

}  // namespace Orb::Zix
