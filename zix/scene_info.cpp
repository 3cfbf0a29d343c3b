#include "zix/scene_info.h"

#include <cstdio>
#include <map>
#include <vector>

#include "zix/cut_text.h"
#include "zix/json_writer.h"
#include "zix/mesh_figures.h"
#include "zix/object_names.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

namespace {

struct MeshFacts {
  PlacedMesh placed;
  MeshType type;
  std::uint64_t points;  // in its array
  std::uint64_t elements;
  std::uint64_t indices;
  std::uint64_t whole_elements;
  BoxF bounds;
};

struct SceneFacts {
  std::map<ObjectType, std::uint64_t> objects;
  std::uint64_t totals[3] = {0, 0, 0};  // by mesh type
  BoxD bounds;
  std::vector<MeshFacts> meshes;
};

SceneFacts collect(const SceneFile& scene) {
  SceneFacts facts;
  for (const ObjectType type : kObjectTypes) facts.objects[type] = 0;
  for (std::uint32_t i = 0; i < scene.objectCount(); ++i) ++facts.objects[scene.type(i)];
  MeshFigures figures(scene);
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    const auto type = static_cast<MeshType>(scene.mesh(placed.mesh).mesh_type);
    const std::uint64_t whole = figures.wholeElements(placed.mesh);
    facts.totals[static_cast<std::size_t>(type)] += whole;
    const BoxF& bounds = figures.bounds(placed.mesh);
    figures.addPlaced(placed.mesh, placed.world, facts.bounds);
    facts.meshes.push_back({placed, type, pointCount(scene, placed.mesh), elementCount(scene, placed.mesh),
                            indexCount(scene, placed.mesh), whole, bounds});
  }
  return facts;
}

std::string formatVersion(const SceneFile& scene) {
  return std::to_string(scene.header().major_version) + "." + std::to_string(scene.header().minor_version);
}

// --- JSON -------------------------------------------------------------------------------------------------

template <typename T>
void writeNumbers(JsonWriter& json, std::span<const T> values) {
  json.beginArray(JsonWriter::OnOneLine);
  for (const T value : values) json.number(static_cast<double>(value));
  json.end();
}

template <typename T>
void writeBox(JsonWriter& json, const Box<T>& box) {
  if (box.empty()) return json.null();
  const T values[6] = {box.low[0], box.low[1], box.low[2], box.high[0], box.high[1], box.high[2]};
  writeNumbers(json, std::span<const T>(values));
}

void writeObjects(JsonWriter& json, const SceneFacts& facts) {
  json.key("objects");
  json.beginObject();
  for (auto type = kObjectTypes.rbegin(); type != kObjectTypes.rend(); ++type) {
    json.key(objectTypeName(*type));
    json.number(facts.objects.at(*type));
  }
  json.end();
  json.key("totals");
  json.beginObject();
  for (const MeshType type : {MeshType::Triangles, MeshType::Lines, MeshType::Points}) {
    json.key(meshTypeName(type));
    json.number(facts.totals[static_cast<std::size_t>(type)]);
  }
  json.end();
}

void writeViews(JsonWriter& json, const SceneFile& scene) {
  json.key("views");
  json.beginArray();
  for (std::size_t i = 0; i < scene.viewCount(); ++i) {
    const format::ViewRecord view = scene.view(i);
    json.beginObject();
    json.key("name");
    json.text(scene.viewName(i));
    json.key("position");
    writeNumbers(json, std::span<const double>(view.position));
    json.key("target");
    writeNumbers(json, std::span<const double>(view.target));
    json.key("up");
    writeNumbers(json, std::span<const double>(view.up));
    json.end();
  }
  json.end();
}

void writeMaterial(JsonWriter& json, const SceneFile& scene, std::uint32_t material) {
  if (material == format::kNone) return json.null();
  const format::MaterialRecord record = scene.material(material);
  constexpr const char* kNames[4] = {"diffuse", "specular", "emission", "ambient"};
  json.beginObject();
  for (std::size_t i = 0; i < 4; ++i) {
    json.key(kNames[i]);
    writeNumbers(json, std::span<const float>(record.colors[i]));
  }
  json.key("ambient_intensity");
  json.number(static_cast<double>(record.ambient_intensity));
  json.end();
}

void writeUnit(JsonWriter& json, const std::optional<SceneFile::Unit>& unit) {
  json.key("unit");
  if (!unit) return json.null();
  json.beginObject(JsonWriter::OnOneLine);
  json.key("name");
  json.text(unit->name);
  json.key("metres");
  unit->metres ? json.number(*unit->metres) : json.null();
  json.end();
}

void writeProperties(JsonWriter& json, const std::vector<SceneFile::Property>& properties) {
  json.key("properties");
  json.beginObject();
  for (const SceneFile::Property& property : properties) {
    json.key(property.key);
    json.text(property.value);
  }
  json.end();
}

// The names of the nodes from the root down to the mesh.
void writePath(JsonWriter& json, const SceneFile& scene, std::uint32_t mesh) {
  std::vector<std::uint32_t> path;
  for (std::uint32_t i = scene.object(mesh).parent; i != format::kNone; i = scene.object(i).parent) {
    if (scene.type(i) == ObjectType::Node) path.push_back(i);
    if (i == scene.root()) break;
  }
  json.beginArray(JsonWriter::OnOneLine);
  for (auto node = path.rbegin(); node != path.rend(); ++node) json.text(scene.name(*node));
  json.end();
}

void writeMesh(JsonWriter& json, const SceneFile& scene, const MeshFacts& mesh) {
  const std::uint32_t shape = scene.object(mesh.placed.mesh).parent;
  json.beginObject();
  json.key("shape");
  json.text(shape == format::kNone ? std::string_view() : scene.name(shape));
  json.key("path");
  writePath(json, scene, mesh.placed.mesh);
  json.key("type");
  json.text(meshTypeName(mesh.type));
  json.key("points");
  json.number(mesh.points);
  json.key("elements");
  json.number(mesh.elements);
  json.key("indices");
  json.number(mesh.indices);
  json.key("bbox");
  writeBox(json, mesh.bounds);
  json.key("material");
  writeMaterial(json, scene, mesh.placed.material);
  json.end();
}

void writeDocument(const SceneFile& scene, const SceneFacts& facts, const TextSink& out) {
  JsonWriter json(out);
  json.beginObject();
  json.key("format_version");
  json.text(formatVersion(scene));
  json.key("application");
  json.text(scene.application());
  json.key("application_value");
  json.number(scene.applicationValue());
  json.key("model");
  json.text(scene.modelName());
  json.key("root");
  if (scene.root() == format::kNone) {
    json.null();
  } else {
    json.text(scene.name(scene.root()));
  }
  writeObjects(json, facts);
  json.key("bbox");
  writeBox(json, facts.bounds);
  writeViews(json, scene);
  writeUnit(json, scene.unit());
  writeProperties(json, scene.sceneProperties());
  json.key("meshes");
  json.beginArray();
  for (const MeshFacts& mesh : facts.meshes) writeMesh(json, scene, mesh);
  json.end();
  json.end();
  json.finish();
}

// --- text -------------------------------------------------------------------------------------------------

std::string shortNumber(double value) {
  char text[40];
  std::snprintf(text, sizeof(text), "%.6g", value);
  return text;
}

template <typename T>
std::string boxText(const Box<T>& box) {
  if (box.empty()) return "empty";
  std::string text;
  for (const auto& corner : {box.low, box.high}) {
    text += text.empty() ? "(" : " to (";
    for (std::size_t k = 0; k < 3; ++k)
      text += (k == 0 ? "" : ", ") + shortNumber(static_cast<double>(corner[k]));
    text += ")";
  }
  return text;
}

void writeLines(const SceneFile& scene, const SceneFacts& facts, const TextSink& print) {
  print("format version     " + formatVersion(scene) + "\n");
  print("application        " + shownCut(scene.application()) + "\n");
  print("application value  " + shortNumber(scene.applicationValue()) + "\n");
  print("model              " + shownCut(scene.modelName()) + "\n");
  print("root               " +
        (scene.root() == format::kNone ? std::string("(none)") : shownCut(scene.name(scene.root()))) + "\n");
  std::string objects;
  for (auto type = kObjectTypes.rbegin(); type != kObjectTypes.rend(); ++type) {
    objects +=
        (objects.empty() ? "" : ", ") + std::to_string(facts.objects.at(*type)) + " " + objectTypeName(*type);
  }
  print("objects            " + objects + "\n");
  print("totals             " + std::to_string(facts.totals[0]) + " triangles, " +
        std::to_string(facts.totals[1]) + " lines, " + std::to_string(facts.totals[2]) + " points\n");
  print("bounds             " + boxText(facts.bounds) + "\n");
  std::string views;
  for (std::size_t i = 0; i < scene.viewCount(); ++i) {
    views += (views.empty() ? "" : ", ") + shownCut(scene.viewName(i));
  }
  print("views              " + (views.empty() ? std::string("(none)") : views) + "\n");
  const auto unit = scene.unit();
  std::string unit_text = unit ? shownCut(unit->name) : "(not stated)";
  if (unit) unit_text += unit->metres ? " (" + shortNumber(*unit->metres) + " m)" : " (of unknown length)";
  print("unit               " + unit_text + "\n");
  for (const SceneFile::Property& property : scene.sceneProperties()) {
    print("property           \"" + shownCut(property.key) + "\" = \"" + shownCut(property.value) + "\"\n");
  }
  print("meshes             " + std::to_string(facts.meshes.size()) + "\n");
  for (const MeshFacts& mesh : facts.meshes) {
    const std::uint32_t shape = scene.object(mesh.placed.mesh).parent;
    print("  \"" + (shape == format::kNone ? std::string() : shownCut(scene.name(shape))) +
          "\": " + std::to_string(mesh.whole_elements) + " " + meshTypeName(mesh.type) + ", " +
          std::to_string(mesh.points) + " points in its array, bounds " + boxText(mesh.bounds) + "\n");
  }
}

}  // namespace

void writeInfoText(const SceneFile& scene, const TextSink& out) { writeLines(scene, collect(scene), out); }

void writeInfoJson(const SceneFile& scene, const TextSink& out) { writeDocument(scene, collect(scene), out); }

}  // namespace Orb::Zix
