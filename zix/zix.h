// The scene writer: creates typed objects, names them, links them into a tree, fills them with transforms,
// arrays and colours, and writes them as one Zix file.
//
//   Orb::Zix::Scene_V1 scene("Model");
//   scene.saveTo("out.zix", " ", true, true);
//   const auto root = scene.createObject(Orb::Zix::ObjectType::Node);
//   scene.setName(root, "root");
//   scene.createDefaultViews(root);
//   scene.closeFile("out.zix");          // durable and renamed into place when this returns
//
// Data goes to a temporary file next to the output while the calls are made; only small object records
// stay in memory. A scene that is destroyed without closeFile leaves nothing behind. I/O errors are kept
// and thrown by closeFile as SceneError; wrong use of an id throws SceneError at once. Every pointer is read
// before the call returns. Paths are narrow texts in the program's form (separator `\`), UTF-8. One scene is
// used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Orb::Zix {

// Names an object in every later call. Opaque; copied by value; equal ids name the same object.
struct ObjectId {
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  friend bool operator==(const ObjectId&, const ObjectId&) = default;
};

enum class ObjectType : std::uint32_t {
  IndexArray = 4,
  Coordinates = 11,
  Material = 14,
  Transform = 15,
  Mesh = 16,
  Shape = 18,
  Node = 19,
};

enum class MeshType : std::uint32_t { Triangles = 0, Lines = 1, Points = 2 };

enum class ColorType : std::uint32_t { Diffuse = 0, Specular = 1, Emission = 2, Ambient = 3 };

// Thrown for I/O failures (path, operation, the system's reason) and for wrong use of an id (the object's
// name and type).
class SceneError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Scene_V0 {
 public:
  Scene_V0(const Scene_V0&) = delete;
  Scene_V0& operator=(const Scene_V0&) = delete;

  // Binds the scene to its output file; called once, before any object is created. `text` and the flags are
  // recorded in the file and select nothing.
  void saveTo(const char* path, const char* text, bool first_flag, bool second_flag);

  // Every call gives an id distinct from all earlier ones.
  ObjectId createObject(ObjectType type);

  // The object's display name, any bytes up to the NUL. A null pointer is an empty name.
  void setName(const ObjectId& id, const char* name);

  // Finishes the file, makes it durable and puts it at `path`. Throws SceneError when anything since saveTo
  // failed, or when a call found no memory (std::bad_alloc) and is incomplete; then nothing is left of the
  // new file, unless making its name durable was all that failed.
  void closeFile(const char* path);

  struct Impl;

 protected:
  explicit Scene_V0(const char* model_name);
  ~Scene_V0();

  std::unique_ptr<Impl> impl_;
};

class Scene_V1 : public Scene_V0 {
 public:
  explicit Scene_V1(const char* model_name);
  ~Scene_V1();

  // Records the writing application. Only double is provided.
  template <typename T>
  void setApplicationInfo(const char* application, const T& value);

  // Attaches `child` (Node, Shape or Mesh) under `parent`. The result is the number of the parent's
  // children before the call.
  std::uint64_t addComponent(const ObjectId& parent, const ObjectId& child);
  // The same, placed by a Transform object.
  std::uint64_t addComponent(const ObjectId& parent, const ObjectId& child, const ObjectId& transform);

  // Parts of a Transform object; a point p is placed at rotation * (scale * p) + translation.
  void setTranslation(const ObjectId& id, float x, float y, float z);
  // Axis (unit vector) and angle in radians, right-handed.
  void setRotation(const ObjectId& id, float axis_x, float axis_y, float axis_z, float angle_rad);
  void setScale(const ObjectId& id, float x, float y, float z);

  void setMeshType(const ObjectId& id, MeshType type);

  // Components per tuple of a Coordinates object.
  void setDimension(const ObjectId& id, unsigned char dimension);
  // float: `count` tuples of a Coordinates object (count * dimension floats are read).
  // unsigned int: `count` values of an IndexArray object. `data` may be null when count is 0.
  template <typename T>
  void setValues(const ObjectId& id, const T* data, std::uint64_t count);

  void setCoordinates(const ObjectId& mesh, const ObjectId& coordinates);
  // `indices` holds the vertex indices of all elements one after another, `lengths` one entry per element:
  // how many indices it takes.
  void setConnectivity(const ObjectId& mesh, const ObjectId& indices, const ObjectId& lengths);
  void setMaterial(const ObjectId& target, const ObjectId& material);
  // The fourth value of the diffuse colour is its transparency: 0 is opaque, 1 invisible (not an alpha).
  // Those of the other colours are stored and have no meaning.
  void setColor(const ObjectId& material, ColorType type, const float& red, const float& green,
                const float& blue, const float& fourth);
  void setAmbientIntensity(const ObjectId& material, float intensity);

  // Named cameras front, back, left, right, top, bottom and iso, fitted to the bounds of what is below
  // `root`. Called once, after all objects exist.
  void createDefaultViews(const ObjectId& root);
};

// --- properties -------------------------------------------------------------------------------------------
//
// Texts that a program hands over beside the calls of a job, for the scene or for one of its objects. They
// are the process's, not a scene's: the next scene whose closeFile is called stores them, and whether it
// succeeds or not, none are left then; nor when a scene is destroyed without closeFile. So a process writes
// one scene with properties at a time. Until then they are in memory. Any thread may call.
//
// A key is there once per owner: setting it again replaces the value. The answer is false, and nothing is
// kept, when the key is empty or has more than 1024 bytes. `unit` (the name of the scene's unit) and
// `unit_metres` (its length in metres, as a decimal number) are keys of the scene that readers know.
[[nodiscard]] bool setSceneProperty(std::string_view key, std::string_view value);
// `object`: an id of the scene that will be closed. If it is none, that scene's closeFile throws.
[[nodiscard]] bool setObjectProperty(const ObjectId& object, std::string_view key, std::string_view value);
struct Property {
  std::string_view key;
  std::string_view value;
};
// The properties of what the program enters from here on, in place of those of the call before: the Node that
// is created next gets them; where none is created, every Shape does. The answer is how many were left out
// because of their keys.
std::size_t setPropertiesOfEntered(std::span<const Property> properties);
// Forgets all that was set since the last scene was closed.
void dropPendingProperties() noexcept;

template <>
void Scene_V1::setApplicationInfo<double>(const char* application, const double& value);
template <>
void Scene_V1::setValues<float>(const ObjectId& id, const float* data, std::uint64_t count);
template <>
void Scene_V1::setValues<unsigned int>(const ObjectId& id, const unsigned int* data, std::uint64_t count);

}  // namespace Orb::Zix
