// One line per object.
#include <algorithm>

#include "zix/cut_text.h"
#include "zix/json_writer.h"
#include "zix/mesh_figures.h"
#include "zix/object_names.h"
#include "zix/scene_info.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

namespace {

// Beyond this the level is written as a number: the indentation of 100,000 levels would fill a disk.
constexpr std::size_t kDeepestIndent = 40;

std::string lineOf(const SceneFile& scene, MeshFigures& figures, std::uint32_t object, std::size_t level) {
  std::string line(2 * std::min(level, kDeepestIndent), ' ');
  if (level > kDeepestIndent) line += "[level " + std::to_string(level) + "] ";
  line += objectTypeName(scene.type(object));
  line += " \"" + shownCut(scene.name(object)) + "\"";
  if (scene.object(object).placement != format::kNone) line += " placed";
  if (scene.type(object) == ObjectType::Mesh) {
    const auto type = static_cast<MeshType>(scene.mesh(object).mesh_type);
    line += ": " + std::to_string(figures.wholeElements(object)) + " " + meshTypeName(type) + ", " +
            std::to_string(pointCount(scene, object)) + " points in its array";
  }
  return line + "\n";
}

}  // namespace

void writeTree(const SceneFile& scene, const TextSink& out, bool with_properties) {
  MeshFigures figures(scene);
  for (const std::uint32_t root : scene.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene.children(object); },
        [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
        [&](std::uint32_t object, const Matrix&, std::size_t level) {
          out(lineOf(scene, figures, object, level));
          if (!with_properties) return;
          const std::string indent(2 * std::min(level, kDeepestIndent) + 4, ' ');
          for (const SceneFile::Property& property : scene.properties(object)) {
            out(indent + "\"" + shownCut(property.key) + "\" = \"" + shownCut(property.value) + "\"\n");
          }
        },
        [](std::uint32_t) {});
  }
}

void writeTreeJson(const SceneFile& scene, const TextSink& out, bool with_properties) {
  MeshFigures figures(scene);
  JsonWriter json(out);
  json.beginObject();
  json.key("objects");
  json.beginArray();
  for (const std::uint32_t root : scene.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene.children(object); },
        [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
        [&](std::uint32_t object, const Matrix&, std::size_t level) {
          json.beginObject(JsonWriter::OnOneLine);
          json.key("number");
          json.number(std::uint64_t{object});
          json.key("parent");
          const std::uint32_t parent = scene.object(object).parent;
          level == 0 ? json.null() : json.number(std::uint64_t{parent});
          json.key("level");
          json.number(std::uint64_t{level});
          json.key("type");
          json.text(objectTypeName(scene.type(object)));
          json.key("name");
          json.text(scene.name(object));
          json.key("placed");
          json.boolean(scene.object(object).placement != format::kNone);
          if (scene.type(object) == ObjectType::Mesh) {
            json.key("mesh_type");
            json.text(meshTypeName(static_cast<MeshType>(scene.mesh(object).mesh_type)));
            json.key("elements");
            json.number(figures.wholeElements(object));
            json.key("points");
            json.number(pointCount(scene, object));
          }
          if (with_properties) {
            json.key("properties");
            json.beginObject();
            for (const SceneFile::Property& property : scene.properties(object)) {
              json.key(property.key);
              json.text(property.value);
            }
            json.end();
          }
          json.end();
        },
        [](std::uint32_t) {});
  }
  json.end();
  json.end();
  json.finish();
}

}  // namespace Orb::Zix
