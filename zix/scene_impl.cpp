// The in-memory half of the writer: ids, names, the tree, and every refusal of wrong use.
#include "zix/scene_impl.h"

#include <algorithm>

#include "zix/object_names.h"

namespace Orb::Zix {

using format::kNone;

TextPool::Reference TextPool::add(std::string_view text) {
  if (text.size() > 0xFFFFFFFFU) throw SceneError("a text of 4 GiB or more cannot be stored");
  const Reference reference{bytes_.size(), static_cast<std::uint32_t>(text.size())};
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  return reference;
}

bool TextPool::equals(const Reference& reference, std::string_view text) const {
  return text.size() == reference.size &&
         std::equal(text.begin(), text.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(reference.offset));
}

std::string TextPool::text(const Reference& reference) const {
  const auto start = bytes_.begin() + static_cast<std::ptrdiff_t>(reference.offset);
  return {start, start + reference.size};
}

std::string Scene_V0::Impl::describe(std::uint32_t object) const {
  const format::ObjectRecord& record = objects[object];
  return std::string(objectTypeName(static_cast<ObjectType>(record.type))) + " '" +
         texts.text({record.name_offset, record.name_size}) + "' (object " + std::to_string(object + 1) + ")";
}

void Scene_V0::Impl::refuse(const char* call, std::uint32_t object, std::string_view reason) const {
  throw SceneError(std::string(call) + ": " + describe(object) + " " + std::string(reason));
}

void Scene_V0::Impl::refuseWhenClosed(const char* call) const {
  if (closed) throw SceneError(std::string(call) + ": the scene is closed");
}

std::uint32_t Scene_V0::Impl::checked(const ObjectId& id, const char* call) const {
  refuseWhenClosed(call);
  return idToNumber(id, call);
}

std::uint32_t Scene_V0::Impl::idToNumber(const ObjectId& id, const char* call) const {
  if (id.first == 0 || id.first > objects.size() || objects[id.first - 1].type != id.second) {
    throw SceneError(std::string(call) + ": no object of this scene has the id (" + std::to_string(id.first) +
                     ", " + std::to_string(id.second) + ")");
  }
  return static_cast<std::uint32_t>(id.first - 1);
}

std::uint32_t Scene_V0::Impl::checked(const ObjectId& id, ObjectType type, const char* call) const {
  const std::uint32_t object = checked(id, call);
  if (objects[object].type != static_cast<std::uint32_t>(type)) {
    refuse(call, object, std::string("is no ") + objectTypeName(type));
  }
  return object;
}

format::ObjectRecord& Scene_V0::Impl::create(ObjectType type) {
  refuseWhenClosed("createObject");
  if (!isObjectType(static_cast<std::uint32_t>(type))) {
    throw SceneError("createObject: there is no object type " +
                     std::to_string(static_cast<std::uint32_t>(type)));
  }
  if (objects.size() >= kNone) throw SceneError("createObject: a scene holds at most 4294967295 objects");
  const auto add = [](auto& table, const auto& record) {
    table.push_back(record);
    return static_cast<std::uint32_t>(table.size() - 1);
  };
  std::uint32_t ordinal = 0;
  switch (type) {
    case ObjectType::IndexArray:
      ordinal = add(index_arrays, format::IndexArrayRecord{kNone, 0});
      break;
    case ObjectType::Coordinates:
      ordinal = add(coordinates, CoordinatesState{});
      break;
    case ObjectType::Material:
      ordinal = add(materials, format::MaterialRecord{});
      break;
    case ObjectType::Transform:
      ordinal = add(transforms, format::kIdentityTransform);
      break;
    case ObjectType::Mesh:
      ordinal = add(meshes, format::MeshRecord{0, kNone, kNone, kNone, 0, 0});
      break;
    case ObjectType::Shape:
      ordinal = shape_count++;
      break;
    case ObjectType::Node:
      ordinal = node_count++;
      break;
  }
  tops.push_back(static_cast<std::uint32_t>(objects.size()));
  objects.push_back({static_cast<std::uint32_t>(type), ordinal, 0, 0, kNone, kNone, kNone, 0, 0});
  return objects.back();
}

std::uint32_t Scene_V0::Impl::treeTop(std::uint32_t object) {
  // Union-find with path halving: without it, hanging ever larger trees under one another would walk their
  // whole depth each time.
  while (tops[object] != object) {
    tops[object] = tops[tops[object]];
    object = tops[object];
  }
  return object;
}

std::uint64_t Scene_V0::Impl::attach(const ObjectId& parent_id, const ObjectId& child_id,
                                     const ObjectId* transform_id) {
  constexpr const char* kCall = "addComponent";
  const std::uint32_t parent = checked(parent_id, kCall);
  const std::uint32_t child = checked(child_id, kCall);
  const std::uint32_t placement =
      transform_id != nullptr ? checked(*transform_id, ObjectType::Transform, kCall) : kNone;
  const auto parent_type = static_cast<ObjectType>(objects[parent].type);
  const auto child_type = static_cast<ObjectType>(objects[child].type);
  const bool fits = (parent_type == ObjectType::Node &&
                     (child_type == ObjectType::Node || child_type == ObjectType::Shape)) ||
                    (parent_type == ObjectType::Shape && child_type == ObjectType::Mesh);
  if (!fits) refuse(kCall, child, "cannot hang under " + describe(parent));
  if (objects[child].parent != kNone) {
    refuse(kCall, child, "hangs under " + describe(objects[child].parent) + " already");
  }
  // A child without a parent is the top of its own tree, so the parent is below it exactly when that tree
  // is the parent's too.
  if (treeTop(parent) == child)
    refuse(kCall, child, "would hang under itself: cycle through " + describe(parent));
  attachments.push_back(child);
  tops[child] = parent;
  objects[child].parent = parent;
  objects[child].placement = placement;
  return objects[parent].child_count++;
}

std::vector<std::uint32_t> Scene_V0::Impl::makeChildTable() {
  std::uint32_t next = 0;
  for (format::ObjectRecord& object : objects) {
    object.first_child = object.child_count == 0 ? 0 : next;
    next += object.child_count;
  }
  // Each parent's own first_child serves as its write position, and is set back afterwards.
  std::vector<std::uint32_t> table(attachments.size());
  for (const std::uint32_t child : attachments) table[objects[objects[child].parent].first_child++] = child;
  for (format::ObjectRecord& object : objects) object.first_child -= object.child_count;
  return table;
}

}  // namespace Orb::Zix
