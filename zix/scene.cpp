// The calls of Scene_V0 and Scene_V1.
#include <cstring>
#include <limits>

#include "host/path.h"
#include "zix/default_views.h"
#include "zix/object_names.h"
#include "zix/pending_properties.h"
#include "zix/scene_impl.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

using format::kNone;

namespace {

// A null text counts as an empty one.
std::string_view textOf(const char* text) { return text != nullptr ? std::string_view(text) : ""; }

struct PropertiesAreGone {
  PropertiesAreGone() = default;
  PropertiesAreGone(const PropertiesAreGone&) = delete;
  PropertiesAreGone& operator=(const PropertiesAreGone&) = delete;
  ~PropertiesAreGone() { dropPendingProperties(); }
};

}  // namespace

Scene_V0::Scene_V0(const char* model_name) : impl_(std::make_unique<Impl>(textOf(model_name))) {}
Scene_V0::~Scene_V0() {
  if (!impl_->closed) dropPendingProperties();
}

void Scene_V0::saveTo(const char* path, const char* text, bool first_flag, bool second_flag) {
  Impl& impl = *impl_;
  impl.refuseWhenClosed("saveTo");
  if (impl.bound) throw SceneError("saveTo: the scene is bound to " + impl.bound_path + " already");
  impl.bound = true;
  impl.whole([&] {
    impl.bound_path = textOf(path);
    const auto reference = impl.texts.add(textOf(text));
    impl.scene.save_text_offset = reference.offset;
    impl.scene.save_text_size = reference.size;
    if (first_flag) impl.scene.flags |= format::kSceneFirstFlag;
    if (second_flag) impl.scene.flags |= format::kSceneSecondFlag;
    impl.keep(impl.file.open(impl.bound_path));
    const format::Header place_of_header{};
    if (!impl.failure) impl.keep(impl.file.append(std::as_bytes(std::span(&place_of_header, 1))));
  });
}

ObjectId Scene_V0::createObject(ObjectType type) {
  const format::ObjectRecord& record =
      impl_->whole([&]() -> const format::ObjectRecord& { return impl_->create(type); });
  const ObjectId id{impl_->objects.size(), record.type};
  impl_->whole([&] { PendingProperties::instance().created(id, type); });
  return id;
}

void Scene_V0::setName(const ObjectId& id, const char* name) {
  Impl& impl = *impl_;
  format::ObjectRecord& record = impl.objects[impl.checked(id, "setName")];
  const std::string_view text = textOf(name);
  TextPool::Reference* last = nullptr;
  for (auto& [type, reference] : impl.last_names) {
    if (type == record.type) last = &reference;
  }
  impl.whole([&] {
    if (last == nullptr) last = &impl.last_names.emplace_back(record.type, TextPool::Reference{}).second;
    if (!impl.texts.equals(*last, text)) *last = impl.texts.add(text);
  });
  record.name_offset = last->offset;
  record.name_size = last->size;
}

void Scene_V0::closeFile(const char* path) {
  Impl& impl = *impl_;
  impl.refuseWhenClosed("closeFile");
  impl.closed = true;
  // Whatever happens below, the next scene does not get them.
  const PropertiesAreGone properties_are_gone;
  if (!impl.bound) throw SceneError("closeFile: saveTo was never called");
  if (impl.out_of_memory) {
    impl.file.discard();
    throw SceneError(loftbay::host::toHostPath(textOf(path)) + ": write failed: out of memory");
  }
  if (impl.bound_path != textOf(path)) {
    impl.file.discard();
    throw SceneError("closeFile: the scene is bound to " + impl.bound_path + ", not to " +
                     std::string(textOf(path)));
  }
  try {
    if (!impl.failure) {
      impl.takeProperties();
      impl.finishFile();
    }
  } catch (const SceneError&) {
    impl.file.discard();
    throw;
  } catch (const std::bad_alloc&) {
    impl.file.discard();
    throw SceneError(loftbay::host::toHostPath(impl.bound_path) + ": write failed: out of memory");
  }
  impl.file.discard();  // nothing is left to discard after a success
  if (impl.failure) throw SceneError(*impl.failure);
}

Scene_V1::Scene_V1(const char* model_name) : Scene_V0(model_name) {}
Scene_V1::~Scene_V1() = default;

template <>
void Scene_V1::setApplicationInfo<double>(const char* application, const double& value) {
  impl_->refuseWhenClosed("setApplicationInfo");
  const auto reference = impl_->whole([&] { return impl_->texts.add(textOf(application)); });
  impl_->scene.application_offset = reference.offset;
  impl_->scene.application_size = reference.size;
  impl_->scene.application_value = value;
  impl_->scene.flags |= format::kSceneApplicationSet;
}

std::uint64_t Scene_V1::addComponent(const ObjectId& parent, const ObjectId& child) {
  return impl_->whole([&] { return impl_->attach(parent, child, nullptr); });
}

std::uint64_t Scene_V1::addComponent(const ObjectId& parent, const ObjectId& child,
                                     const ObjectId& transform) {
  return impl_->whole([&] { return impl_->attach(parent, child, &transform); });
}

namespace {

format::TransformRecord& transformOf(Scene_V0::Impl& impl, const ObjectId& id, const char* call) {
  return impl.transforms[impl.objects[impl.checked(id, ObjectType::Transform, call)].ordinal];
}

format::MeshRecord& meshOf(Scene_V0::Impl& impl, const ObjectId& id, const char* call) {
  return impl.meshes[impl.objects[impl.checked(id, ObjectType::Mesh, call)].ordinal];
}

format::MaterialRecord& materialOf(Scene_V0::Impl& impl, const ObjectId& id, const char* call) {
  return impl.materials[impl.objects[impl.checked(id, ObjectType::Material, call)].ordinal];
}

}  // namespace

void Scene_V1::setTranslation(const ObjectId& id, float x, float y, float z) {
  format::TransformRecord& transform = transformOf(*impl_, id, "setTranslation");
  transform.translation[0] = x;
  transform.translation[1] = y;
  transform.translation[2] = z;
  transform.flags |= format::kTranslationSet;
}

void Scene_V1::setRotation(const ObjectId& id, float axis_x, float axis_y, float axis_z, float angle_rad) {
  format::TransformRecord& transform = transformOf(*impl_, id, "setRotation");
  transform.rotation_axis[0] = axis_x;
  transform.rotation_axis[1] = axis_y;
  transform.rotation_axis[2] = axis_z;
  transform.rotation_angle_rad = angle_rad;
  transform.flags |= format::kRotationSet;
}

void Scene_V1::setScale(const ObjectId& id, float x, float y, float z) {
  format::TransformRecord& transform = transformOf(*impl_, id, "setScale");
  transform.scale[0] = x;
  transform.scale[1] = y;
  transform.scale[2] = z;
  transform.flags |= format::kScaleSet;
}

void Scene_V1::setMeshType(const ObjectId& id, MeshType type) {
  format::MeshRecord& mesh = meshOf(*impl_, id, "setMeshType");
  if (static_cast<std::uint32_t>(type) > static_cast<std::uint32_t>(MeshType::Points)) {
    impl_->refuse("setMeshType", static_cast<std::uint32_t>(id.first - 1),
                  "cannot have the mesh type " + std::to_string(static_cast<std::uint32_t>(type)));
  }
  mesh.mesh_type = static_cast<std::uint32_t>(type);
  mesh.flags |= format::kMeshTypeSet;
}

void Scene_V1::setDimension(const ObjectId& id, unsigned char dimension) {
  const std::uint32_t object = impl_->checked(id, ObjectType::Coordinates, "setDimension");
  format::CoordinatesRecord& record = impl_->coordinates[impl_->objects[object].ordinal].record;
  if (dimension == 0) impl_->refuse("setDimension", object, "cannot have the dimension 0");
  if (record.chunk != kNone) impl_->refuse("setDimension", object, "has its values already");
  record.dimension = dimension;
  record.flags |= format::kDimensionSet;
}

template <>
void Scene_V1::setValues<float>(const ObjectId& id, const float* data, std::uint64_t count) {
  const std::uint32_t object = impl_->checked(id, ObjectType::Coordinates, "setValues");
  CoordinatesState& state = impl_->coordinates[impl_->objects[object].ordinal];
  const std::uint32_t tuple_size = state.record.dimension * static_cast<std::uint32_t>(sizeof(float));
  if (state.record.chunk != kNone) impl_->refuse("setValues", object, "has its values already");
  if (data == nullptr && count != 0) impl_->refuse("setValues", object, "was given no data");
  if (count > std::uint64_t{std::numeric_limits<std::ptrdiff_t>::max()} / tuple_size) {
    impl_->refuse("setValues", object, "was given more values than memory can hold");
  }
  state.record.chunk = impl_->whole([&] {
    return impl_->writeArray(format::kFloatArrayChunk, tuple_size,
                             std::as_bytes(std::span(data, count * state.record.dimension)), &state.box);
  });
}

template <>
void Scene_V1::setValues<unsigned int>(const ObjectId& id, const unsigned int* data, std::uint64_t count) {
  static_assert(sizeof(unsigned int) == 4);
  const std::uint32_t object = impl_->checked(id, ObjectType::IndexArray, "setValues");
  format::IndexArrayRecord& record = impl_->index_arrays[impl_->objects[object].ordinal];
  if (record.chunk != kNone) impl_->refuse("setValues", object, "has its values already");
  if (data == nullptr && count != 0) impl_->refuse("setValues", object, "was given no data");
  if (count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(unsigned int)) {
    impl_->refuse("setValues", object, "was given more values than memory can hold");
  }
  record.chunk = impl_->whole([&] {
    return impl_->writeArray(format::kIndexArrayChunk, sizeof(unsigned int),
                             std::as_bytes(std::span(data, count)), nullptr);
  });
}

void Scene_V1::setCoordinates(const ObjectId& mesh, const ObjectId& coordinates) {
  format::MeshRecord& record = meshOf(*impl_, mesh, "setCoordinates");
  const std::uint32_t object = impl_->checked(coordinates, ObjectType::Coordinates, "setCoordinates");
  if (record.coordinates != kNone) {
    impl_->refuse("setCoordinates", static_cast<std::uint32_t>(mesh.first - 1), "has coordinates already");
  }
  record.coordinates = object;
}

void Scene_V1::setConnectivity(const ObjectId& mesh, const ObjectId& indices, const ObjectId& lengths) {
  format::MeshRecord& record = meshOf(*impl_, mesh, "setConnectivity");
  const std::uint32_t index_object = impl_->checked(indices, ObjectType::IndexArray, "setConnectivity");
  const std::uint32_t length_object = impl_->checked(lengths, ObjectType::IndexArray, "setConnectivity");
  if (record.indices != kNone) {
    impl_->refuse("setConnectivity", static_cast<std::uint32_t>(mesh.first - 1),
                  "has a connectivity already");
  }
  record.indices = index_object;
  record.lengths = length_object;
}

void Scene_V1::setMaterial(const ObjectId& target, const ObjectId& material) {
  const std::uint32_t object = impl_->checked(target, "setMaterial");
  const std::uint32_t material_object = impl_->checked(material, ObjectType::Material, "setMaterial");
  const auto type = static_cast<ObjectType>(impl_->objects[object].type);
  if (type != ObjectType::Mesh && type != ObjectType::Shape && type != ObjectType::Node) {
    impl_->refuse("setMaterial", object, "cannot have a material");
  }
  if (impl_->objects[object].material != kNone)
    impl_->refuse("setMaterial", object, "has a material already");
  impl_->objects[object].material = material_object;
}

void Scene_V1::setColor(const ObjectId& material, ColorType type, const float& red, const float& green,
                        const float& blue, const float& fourth) {
  format::MaterialRecord& record = materialOf(*impl_, material, "setColor");
  const auto number = static_cast<std::uint32_t>(type);
  if (number > static_cast<std::uint32_t>(ColorType::Ambient)) {
    impl_->refuse("setColor", static_cast<std::uint32_t>(material.first - 1),
                  "has no colour " + std::to_string(number));
  }
  const float values[4] = {red, green, blue, fourth};
  std::memcpy(record.colors[number], values, sizeof(values));
  record.flags |= 1U << number;
}

void Scene_V1::setAmbientIntensity(const ObjectId& material, float intensity) {
  format::MaterialRecord& record = materialOf(*impl_, material, "setAmbientIntensity");
  record.ambient_intensity = intensity;
  record.flags |= format::kAmbientIntensitySet;
}

void Scene_V1::createDefaultViews(const ObjectId& root) {
  Impl& impl = *impl_;
  const std::uint32_t top = impl.checked(root, ObjectType::Node, "createDefaultViews");
  const std::vector<std::uint32_t> children = impl.makeChildTable();
  BoxD bounds;
  walkTree(
      top,
      [&](std::uint32_t object) {
        const format::ObjectRecord& record = impl.objects[object];
        return std::span(children).subspan(record.first_child, record.child_count);
      },
      [&](std::uint32_t object) -> const format::TransformRecord* {
        const std::uint32_t placement = impl.objects[object].placement;
        return placement == kNone ? nullptr : &impl.transforms[impl.objects[placement].ordinal];
      },
      [&](std::uint32_t object, const Matrix& world, std::size_t) {
        const format::ObjectRecord& record = impl.objects[object];
        if (record.type != static_cast<std::uint32_t>(ObjectType::Mesh)) return;
        const std::uint32_t coordinates = impl.meshes[record.ordinal].coordinates;
        if (coordinates == kNone) return;
        addPlacedBox(bounds, impl.coordinates[impl.objects[coordinates].ordinal].box, world);
      },
      [](std::uint32_t) {});
  impl.root = top;
  impl.views.clear();
  for (const View& view : defaultViews(bounds)) {
    const auto name = impl.texts.add(view.name);
    format::ViewRecord record{};
    record.name_offset = name.offset;
    record.name_size = name.size;
    std::memcpy(record.position, view.position.data(), sizeof(record.position));
    std::memcpy(record.target, view.target.data(), sizeof(record.target));
    std::memcpy(record.up, view.up.data(), sizeof(record.up));
    record.height = view.height;
    impl.views.push_back(record);
  }
}

}  // namespace Orb::Zix
