// What the tables say: texts, objects and how they are linked, meshes and arrays.
#include <algorithm>

#include "zix/object_names.h"
#include "zix/scene_meshes.h"
#include "zix/structure_check.h"

namespace Orb::Zix {

using format::kNone;

namespace {

// Per type number: the type of the parent of such an object; 0 for those outside the tree.
constexpr std::array<std::uint8_t, 20> kParentTypes = [] {
  std::array<std::uint8_t, 20> parents{};
  const auto hangsUnder = [&](ObjectType child, ObjectType parent) {
    parents[static_cast<std::size_t>(child)] = static_cast<std::uint8_t>(parent);
  };
  hangsUnder(ObjectType::Node, ObjectType::Node);
  hangsUnder(ObjectType::Shape, ObjectType::Node);
  hangsUnder(ObjectType::Mesh, ObjectType::Shape);
  return parents;
}();

}  // namespace

void StructureCheck::collectTypes() {
  types_.resize(scene_.objects_.size());
  for (std::size_t i = 0; i < types_.size(); ++i) {
    const std::uint32_t type = scene_.objects_[i].type;
    types_[i] = isObjectType(type) ? static_cast<std::uint8_t>(type) : std::uint8_t{0};
  }
}

std::optional<ReadError> StructureCheck::checkTexts() {
  const format::SceneRecord& scene = scene_.scene_;
  if (!isText(scene.model_name_offset, scene.model_name_size) ||
      !isText(scene.application_offset, scene.application_size) ||
      !isText(scene.save_text_offset, scene.save_text_size)) {
    return refuse("TEXT_RANGE", placeOf(scene_chunk_, 0),
                  "a text of the scene record lies outside the texts");
  }
  if (!isNoneOr(scene.root, ObjectType::Node)) {
    return refuse("OBJECT_NUMBER", placeOf(scene_chunk_, 0),
                  "the root, object " + number(scene.root) + ", is no Node");
  }
  for (std::size_t i = 0; i < scene_.views_.size(); ++i) {
    const format::ViewRecord view = scene_.views_[i];
    if (!isText(view.name_offset, view.name_size)) {
      return refuse("TEXT_RANGE", placeOf(view_chunk_, i),
                    "the name of view " + number(i) + " lies outside the texts");
    }
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkObjects() {
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    const format::ObjectRecord object = scene_.objects_[i];
    if (!isRight(i, object)) return whatIsWrong(i, object);
    ++ordinals_[object.type];
    if (object.parent == kNone) continue;
    if (object.parent >= i) parents_come_first_ = false;
    ++attached_;
  }
  const auto count = [&](ObjectType type) { return ordinals_[static_cast<std::size_t>(type)]; };
  if (count(ObjectType::Mesh) != scene_.meshes_.size() ||
      count(ObjectType::Coordinates) != scene_.coordinates_.size() ||
      count(ObjectType::IndexArray) != scene_.index_arrays_.size() ||
      count(ObjectType::Transform) != scene_.transforms_.size() ||
      count(ObjectType::Material) != scene_.materials_.size()) {
    return refuse("TABLE_ROWS", placeOf(object_chunk_, 0),
                  "a table's rows are not as many as the objects of its type");
  }
  return std::nullopt;
}

// All rules of one record at once; which of them is broken is asked only when one is.
bool StructureCheck::isRight(std::uint32_t i, const format::ObjectRecord& object) const {
  const std::uint8_t type = types_[i];
  const std::uint8_t parent_type = kParentTypes[type];
  const bool in_tree = parent_type != 0;
  const bool has_parent = object.parent != kNone;
  const bool parent_fits = in_tree && object.parent < types_.size() && types_[object.parent] == parent_type;
  return type != 0 && object.ordinal == ordinals_[type] && isText(object.name_offset, object.name_size) &&
         (object.placement == kNone || (has_parent && isType(object.placement, ObjectType::Transform))) &&
         (object.material == kNone || (in_tree && isType(object.material, ObjectType::Material))) &&
         (object.child_count != 0 || object.first_child == 0) && (!has_parent || parent_fits);
}

std::optional<ReadError> StructureCheck::whatIsWrong(std::uint32_t i,
                                                     const format::ObjectRecord& object) const {
  const auto refuseObject = [&](const char* code, const std::string& message) {
    return refuse(code, placeOf(object_chunk_, i), "object " + number(i) + " " + message);
  };
  if (!isObjectType(object.type)) {
    return refuseObject("OBJECT_TYPE", "has the unknown type " + number(object.type));
  }
  if (object.ordinal != ordinals_[object.type]) {
    return refuseObject("OBJECT_ORDINAL", "has the ordinal " + number(object.ordinal) + " instead of " +
                                              number(ordinals_[object.type]));
  }
  if (!isText(object.name_offset, object.name_size)) {
    return refuseObject("TEXT_RANGE", "has a name of " + number(object.name_size) + " bytes at " +
                                          number(object.name_offset) + ", outside the texts");
  }
  if (!isNoneOr(object.placement, ObjectType::Transform) ||
      (object.placement != kNone && object.parent == kNone)) {
    return refuseObject("OBJECT_NUMBER", "cannot be placed by object " + number(object.placement));
  }
  const bool in_tree = kParentTypes[object.type] != 0;
  if (!isNoneOr(object.material, ObjectType::Material) || (object.material != kNone && !in_tree)) {
    return refuseObject("OBJECT_NUMBER",
                        "cannot have object " + number(object.material) + " as its material");
  }
  if (object.child_count == 0 && object.first_child != 0) {
    return refuseObject("CHILDREN", "has no children, but a first one");
  }
  return refuseObject("OBJECT_NUMBER", "cannot hang under object " + number(object.parent));
}

// Once all parents are known to be objects: else a wrong parent would be reported as a wrong list.
std::optional<ReadError> StructureCheck::checkChildren() {
  is_listed_.resize(scene_.objectCount());
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    const format::ObjectRecord object = scene_.objects_[i];
    if (object.child_count == 0) continue;
    if (auto failure = checkObjectChildren(i, object)) return failure;
  }
  // Nothing is listed twice, and only under its own parent: so equal counts mean that none is left out.
  if (listed_ != scene_.children_.size() || listed_ != attached_) {
    return refuse("CHILDREN", placeOf(object_chunk_, 0),
                  number(attached_) + " objects have a parent, and parents list " + number(listed_) + " of " +
                      number(scene_.children_.size()) + " children");
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkObjectChildren(std::uint32_t i,
                                                             const format::ObjectRecord& object) {
  const auto refuseChildren = [&](const std::string& message) {
    return refuse("CHILDREN", placeOf(object_chunk_, i), "object " + number(i) + " " + message);
  };
  // Parents take their children from the child table one after another.
  if (object.first_child != listed_ || object.child_count > scene_.children_.size() - listed_) {
    return refuseChildren("has " + number(object.child_count) + " children from row " +
                          number(object.first_child) + " on, of " + number(scene_.children_.size()) +
                          " rows");
  }
  for (const std::uint32_t child : scene_.children_.subspan(listed_, object.child_count)) {
    if (child >= types_.size() || scene_.objects_[child].parent != i) {
      return refuseChildren("lists object " + number(child) + ", which does not hang under it");
    }
    if (is_listed_[child]) return refuseChildren("lists object " + number(child) + " twice");
    is_listed_[child] = true;
  }
  listed_ += object.child_count;
  return std::nullopt;
}

// Where every parent has a lower number than its children there can be no cycle; otherwise the trees are
// walked from their tops.
std::optional<ReadError> StructureCheck::checkCycles() {
  if (parents_come_first_) return std::nullopt;
  std::vector<std::uint32_t> open;
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    if (scene_.objects_[i].parent == kNone) open.push_back(i);
  }
  std::uint64_t found = 0;
  while (!open.empty()) {
    const auto children = scene_.children(open.back());
    open.pop_back();
    found += children.size();
    open.insert(open.end(), children.begin(), children.end());
  }
  if (found == attached_) return std::nullopt;
  return refuse("CYCLE", placeOf(object_chunk_, 0), "some objects hang under themselves");
}

std::optional<ReadError> StructureCheck::checkMeshes() {
  for (std::size_t i = 0; i < scene_.meshes_.size(); ++i) {
    const format::MeshRecord mesh = scene_.meshes_[i];
    const auto refuseMesh = [&](const char* code, const std::string& message) {
      return refuse(code, placeOf(mesh_chunk_, i), "mesh " + number(i) + " " + message);
    };
    if (mesh.mesh_type > static_cast<std::uint32_t>(MeshType::Points)) {
      return refuseMesh("MESH_TYPE", "has the unknown mesh type " + number(mesh.mesh_type));
    }
    Failure failure;
    forEachMeshArray([&](const auto& kind) {
      const std::uint32_t object = mesh.*kind.object;
      if (failure) return;
      if (!isNoneOr(object, kind.object_type)) {
        failure =
            refuseMesh("OBJECT_NUMBER", std::string("has ") + kind.name + " that are no " +
                                            objectTypeName(kind.object_type) + " object: " + number(object));
      } else if (!hasRightDimension(scene_, kind, mesh)) {
        failure = refuseMesh("DIMENSION", std::string("has ") + kind.name +
                                              " that do not have the dimension " + number(kind.dimension));
      }
    });
    if (failure) return failure;
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkArrays() {
  const auto isChunk = [&](std::uint32_t chunk, std::uint32_t type, std::uint64_t record_size) {
    if (chunk == kNone) return true;
    if (chunk >= scene_.chunks_.size()) return false;
    const format::ChunkEntry entry = scene_.chunks_[chunk];
    return entry.type == type && entry.record_size == record_size;
  };
  for (std::size_t i = 0; i < scene_.coordinates_.size(); ++i) {
    const format::CoordinatesRecord record = scene_.coordinates_[i];
    if (record.dimension == 0 || record.dimension > 255) {
      return refuse("DIMENSION", placeOf(coordinates_chunk_, i),
                    "coordinates " + number(i) + " have the dimension " + number(record.dimension));
    }
    if (!isChunk(record.chunk, format::kFloatArrayChunk, sizeof(float) * record.dimension)) {
      return refuse(
          "ARRAY_CHUNK", placeOf(coordinates_chunk_, i),
          "coordinates " + number(i) + " cannot have chunk " + number(record.chunk) + " as their values");
    }
  }
  for (std::size_t i = 0; i < scene_.index_arrays_.size(); ++i) {
    const format::IndexArrayRecord record = scene_.index_arrays_[i];
    if (!isChunk(record.chunk, format::kIndexArrayChunk, sizeof(std::uint32_t))) {
      return refuse(
          "ARRAY_CHUNK", placeOf(index_chunk_, i),
          "index array " + number(i) + " cannot have chunk " + number(record.chunk) + " as its values");
    }
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkProperties() {
  std::vector<std::string_view> keys;  // of the owner that the rows before belong to
  const auto hasTwice = [&] {
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
  };
  for (std::size_t i = 0; i < scene_.properties_.size(); ++i) {
    const format::PropertyRecord row = scene_.properties_[i];
    const auto refuseRow = [&](const char* code, const std::string& message) {
      return refuse(code, placeOf(property_chunk_, i), "property " + number(i) + " " + message);
    };
    if (!isText(row.key_offset, row.key_size) || !isText(row.value_offset, row.value_size))
      return refuseRow("TEXT_RANGE", "has a text outside the texts");
    if (row.key_size == 0 || row.key_size > format::kLongestPropertyKey) {
      return refuseRow("PROPERTY_KEY", "has a key of " + number(row.key_size) + " bytes instead of 1 to " +
                                           number(format::kLongestPropertyKey));
    }
    if (row.object != kNone && row.object >= types_.size())
      return refuseRow("OBJECT_NUMBER", "belongs to object " + number(row.object) + ", which does not exist");
    if (i > 0 && scene_.properties_[i - 1].object != row.object) {
      // The scene comes first: its number plus one is 0.
      if (scene_.properties_[i - 1].object + 1U > row.object + 1U)
        return refuseRow("PROPERTY_ORDER", "belongs to an object that comes before the one above it");
      if (hasTwice()) return refuseRow("PROPERTY_ORDER", "stands behind an object that has a key twice");
      keys.clear();
    }
    keys.push_back(scene_.text(row.key_offset, row.key_size));
  }
  if (!hasTwice()) return std::nullopt;
  return refuse("PROPERTY_ORDER", placeOf(property_chunk_, scene_.properties_.size() - 1),
                "the last object with properties has a key twice");
}

}  // namespace Orb::Zix
