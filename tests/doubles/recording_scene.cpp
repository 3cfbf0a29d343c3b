#include "tests/doubles/recording_scene.h"

#include <charconv>
#include <map>
#include <utility>

#include "zix/zix.h"

namespace loftbay::doubles {

namespace {

using Orb::Zix::ObjectId;

struct Record {
  std::string text;
  std::string order;
  std::uint64_t objects = 0;
  std::map<std::string, int, std::less<>> calls;
  std::map<std::string, std::pair<int, Throws>, std::less<>> failures;
  std::map<std::uint64_t, unsigned char> dimensions;  // by the first half of the id
};

constexpr unsigned char kDefaultDimension = 3;  // the scene writer's

Record& record() {
  static Record record;
  return record;
}

// The second half shows whether ids are passed on as a whole.
std::uint64_t secondHalf(std::uint64_t first) { return first * 0x100000001ULL + 7; }

std::string show(const ObjectId& id) {
  const bool known = id.first >= 1 && id.first <= record().objects && id.second == secondHalf(id.first);
  return known ? "#" + std::to_string(id.first) : "#?";
}
std::string show(const char* text) {
  return text == nullptr ? std::string("null") : "\"" + std::string(text) + "\"";
}
std::string show(bool value) { return value ? "true" : "false"; }
std::string show(float value) { return exactText(value); }
std::string show(double value) { return exactText(static_cast<float>(value)); }
std::string show(unsigned char value) { return std::to_string(value); }
std::string show(std::string text) { return text; }

std::string show(Orb::Zix::ObjectType type) {
  switch (type) {
    case Orb::Zix::ObjectType::IndexArray:
      return "IndexArray";
    case Orb::Zix::ObjectType::Coordinates:
      return "Coordinates";
    case Orb::Zix::ObjectType::Material:
      return "Material";
    case Orb::Zix::ObjectType::Transform:
      return "Transform";
    case Orb::Zix::ObjectType::Mesh:
      return "Mesh";
    case Orb::Zix::ObjectType::Shape:
      return "Shape";
    case Orb::Zix::ObjectType::Node:
      return "Node";
  }
  return "type?";
}
std::string show(Orb::Zix::MeshType type) {
  constexpr const char* kNames[] = {"Triangles", "Lines", "Points"};
  return kNames[static_cast<std::size_t>(type)];
}
std::string show(Orb::Zix::ColorType type) {
  constexpr const char* kNames[] = {"Diffuse", "Specular", "Emission", "Ambient"};
  return kNames[static_cast<std::size_t>(type)];
}

// Writes the line down, then throws where a test has asked for it.
template <typename... Arguments>
void called(std::string_view result, std::string_view operation, const Arguments&... arguments) {
  std::string line(result);
  line += operation;
  line += "(";
  std::string_view separator;
  ((line += separator, line += show(arguments), separator = ", "), ...);
  line += ")";
  Record& r = record();
  r.order += 'S';
  const std::string name(operation.substr(0, operation.find('<')));
  const int number = ++r.calls[name];
  const auto failure = r.failures.find(name);
  const bool throws = failure != r.failures.end() && failure->second.first == number;
  r.text += line + (throws ? " -> throws\n" : "\n");
  if (!throws) return;
  if (failure->second.second == Throws::Number) throw 42;
  throw Orb::Zix::SceneError("planned failure of " + name);
}

}  // namespace

std::string exactText(float value) {
  char buffer[40];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

void resetScene() { record() = {}; }

std::string& callOrder() { return record().order; }

const std::string& sceneCalls() { return record().text; }

void letSceneThrow(std::string_view operation, int nth, Throws what) {
  record().failures[std::string(operation)] = {nth, what};
}

}  // namespace loftbay::doubles

namespace Orb::Zix {

using loftbay::doubles::called;
using loftbay::doubles::record;

struct Scene_V0::Impl {
  std::uint64_t components = 0;
};

Scene_V0::Scene_V0(const char* model_name) : impl_(std::make_unique<Impl>()) {
  called("", "Scene_V1", model_name);
}
Scene_V0::~Scene_V0() { called("", "~Scene_V1"); }

void Scene_V0::saveTo(const char* path, const char* text, bool first_flag, bool second_flag) {
  called("", "saveTo", path, text, first_flag, second_flag);
}

ObjectId Scene_V0::createObject(ObjectType type) {
  const std::uint64_t number = ++record().objects;
  called("#" + std::to_string(number) + " = ", "createObject", type);
  return {number, loftbay::doubles::secondHalf(number)};
}

void Scene_V0::setName(const ObjectId& id, const char* name) { called("", "setName", id, name); }
void Scene_V0::closeFile(const char* path) { called("", "closeFile", path); }

Scene_V1::Scene_V1(const char* model_name) : Scene_V0(model_name) {}
Scene_V1::~Scene_V1() = default;

template <>
void Scene_V1::setApplicationInfo<double>(const char* application, const double& value) {
  called("", "setApplicationInfo<double>", application, value);
}

std::uint64_t Scene_V1::addComponent(const ObjectId& parent, const ObjectId& child) {
  called("", "addComponent", parent, child);
  return impl_->components++;
}
std::uint64_t Scene_V1::addComponent(const ObjectId& parent, const ObjectId& child,
                                     const ObjectId& transform) {
  called("", "addComponent", parent, child, transform);
  return impl_->components++;
}

void Scene_V1::setTranslation(const ObjectId& id, float x, float y, float z) {
  called("", "setTranslation", id, x, y, z);
}
void Scene_V1::setRotation(const ObjectId& id, float axis_x, float axis_y, float axis_z, float angle_rad) {
  called("", "setRotation", id, axis_x, axis_y, axis_z, angle_rad);
}
void Scene_V1::setScale(const ObjectId& id, float x, float y, float z) {
  called("", "setScale", id, x, y, z);
}
void Scene_V1::setMeshType(const ObjectId& id, MeshType type) { called("", "setMeshType", id, type); }
void Scene_V1::setDimension(const ObjectId& id, unsigned char dimension) {
  called("", "setDimension", id, dimension);
  record().dimensions[id.first] = dimension;
}

template <>
void Scene_V1::setValues<float>(const ObjectId& id, const float* data, std::uint64_t count) {
  const auto found = record().dimensions.find(id.first);
  const std::uint64_t dimension =
      found == record().dimensions.end() ? loftbay::doubles::kDefaultDimension : found->second;
  std::string values = std::to_string(count) + ":";
  for (std::uint64_t i = 0; i < count * dimension; ++i) {
    values += i > 0 && i % dimension == 0 ? ", " : " ";
    values += loftbay::doubles::exactText(data[i]);
  }
  called("", "setValues<float>", id, values);
}

template <>
void Scene_V1::setValues<unsigned int>(const ObjectId& id, const unsigned int* data, std::uint64_t count) {
  std::string values = std::to_string(count) + ":";
  for (std::uint64_t i = 0; i < count; ++i) values += " " + std::to_string(data[i]);
  called("", "setValues<unsigned int>", id, values);
}

void Scene_V1::setCoordinates(const ObjectId& mesh, const ObjectId& coordinates) {
  called("", "setCoordinates", mesh, coordinates);
}
void Scene_V1::setConnectivity(const ObjectId& mesh, const ObjectId& indices, const ObjectId& lengths) {
  called("", "setConnectivity", mesh, indices, lengths);
}
void Scene_V1::setMaterial(const ObjectId& target, const ObjectId& material) {
  called("", "setMaterial", target, material);
}
void Scene_V1::setColor(const ObjectId& material, ColorType type, const float& red, const float& green,
                        const float& blue, const float& fourth) {
  called("", "setColor", material, type, red, green, blue, fourth);
}
void Scene_V1::setAmbientIntensity(const ObjectId& material, float intensity) {
  called("", "setAmbientIntensity", material, intensity);
}
void Scene_V1::createDefaultViews(const ObjectId& root) { called("", "createDefaultViews", root); }

// Programs hand these over, no job does; so a call would show.
bool setSceneProperty(std::string_view key, std::string_view value) {
  called("", "setSceneProperty", std::string(key).c_str(), std::string(value).c_str());
  return true;
}
std::size_t setPropertiesOfEntered(std::span<const Property> properties) {
  for (const auto& [key, value] : properties) {
    called("", "setPropertiesOfEntered", std::string(key).c_str(), std::string(value).c_str());
  }
  return 0;
}

}  // namespace Orb::Zix
