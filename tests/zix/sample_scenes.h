// Small scenes that several tests write.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "zix/reader.h"
#include "zix/zix.h"

namespace loftbay::testing_support {

// An object with a name, in no tree yet.
inline Orb::Zix::ObjectId addObject(Orb::Zix::Scene_V1& scene, Orb::Zix::ObjectType type,
                                    const std::string& name) {
  const auto id = scene.createObject(type);
  scene.setName(id, name.c_str());
  return id;
}

// A mesh as the converter makes it: shape, mesh, coordinates, two index arrays; with a material if asked.
struct SampleMesh {
  Orb::Zix::MeshType type = Orb::Zix::MeshType::Triangles;
  std::vector<float> points;
  std::vector<unsigned int> indices;
  std::vector<unsigned int> lengths;
};

inline Orb::Zix::ObjectId addShape(Orb::Zix::Scene_V1& scene, const Orb::Zix::ObjectId& parent,
                                   const std::string& name, const SampleMesh& sample) {
  using Orb::Zix::ObjectType;
  const auto shape = addObject(scene, ObjectType::Shape, name);
  scene.addComponent(parent, shape);
  const auto mesh = scene.createObject(ObjectType::Mesh);
  scene.setMeshType(mesh, sample.type);
  scene.setName(mesh, "mesh");
  scene.addComponent(shape, mesh);
  const auto coordinates = scene.createObject(ObjectType::Coordinates);
  scene.setDimension(coordinates, 3);
  scene.setValues<float>(coordinates, sample.points.data(), sample.points.size() / 3);
  scene.setCoordinates(mesh, coordinates);
  const auto indices = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(indices, sample.indices.data(), sample.indices.size());
  const auto lengths = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(lengths, sample.lengths.data(), sample.lengths.size());
  scene.setConnectivity(mesh, indices, lengths);
  return mesh;
}

inline void addMaterial(Orb::Zix::Scene_V1& scene, const Orb::Zix::ObjectId& mesh, float red, float green,
                        float blue, float transparency) {
  using Orb::Zix::ColorType;
  const auto material = addObject(scene, Orb::Zix::ObjectType::Material, "Material");
  scene.setMaterial(mesh, material);
  scene.setColor(material, ColorType::Diffuse, red, green, blue, transparency);
  scene.setColor(material, ColorType::Ambient, red / 2, green / 2, blue / 2, 1.0F);
  scene.setColor(material, ColorType::Emission, 0.0F, 0.125F, 0.0F, 1.0F);
  scene.setColor(material, ColorType::Specular, 0.25F, 0.5F, 0.75F, 1.0F);
  scene.setAmbientIntensity(material, 128.0F);
}

// A square of two triangles in the plane z = 0, from the origin to (size, size).
inline SampleMesh square(float size) {
  return {Orb::Zix::MeshType::Triangles,
          {0, 0, 0, size, 0, 0, 0, size, 0, size, size, 0},
          {2, 0, 1, 3, 2, 1},
          {3, 3}};
}

// A scene of a node "root", below which `fill(scene, root)` hangs the rest; with the default views.
template <typename Fill>
void writeScene(const std::string& program_path, Fill fill) {
  Orb::Zix::Scene_V1 scene("Model");
  scene.saveTo(program_path.c_str(), " ", true, true);
  const auto root = addObject(scene, Orb::Zix::ObjectType::Node, "root");
  fill(scene, root);
  scene.createDefaultViews(root);
  scene.closeFile(program_path.c_str());
}

// The same, opened.
template <typename Fill>
Orb::Zix::SceneFile makeScene(const std::string& program_path, Fill fill) {
  writeScene(program_path, fill);
  return std::move(*Orb::Zix::SceneFile::open(program_path));
}

// Node root
//   Node plate, moved by (10, 20, 30), turned by a quarter about z, scaled by 2
//     Shape square (triangles, with material), Shape path (lines)
//   Node mirror, scaled by -1
//     Shape square_orb_2, Shape dots (points)
inline void fillSampleScene(Orb::Zix::Scene_V1& scene) {
  using Orb::Zix::ObjectType;
  const auto root = addObject(scene, ObjectType::Node, "root");
  const auto plate = addObject(scene, ObjectType::Node, "plate");
  const auto placed = addObject(scene, ObjectType::Transform, "plate_orb_2");
  scene.setTranslation(placed, 10, 20, 30);
  scene.setRotation(placed, 0, 0, 1, 1.5707964F);
  scene.setScale(placed, 2, 2, 2);
  scene.addComponent(root, plate, placed);
  addMaterial(scene, addShape(scene, plate, "square", square(1)), 0.75F, 0.5F, 0.25F, 0.0F);
  addShape(scene, plate, "path", {Orb::Zix::MeshType::Lines, {0, 0, 0, 1, 0, 0, 1, 1, 0}, {0, 1, 2}, {3}});
  const auto mirror = addObject(scene, ObjectType::Node, "mirror");
  const auto mirrored = addObject(scene, ObjectType::Transform, "mirror_orb_2");
  scene.setScale(mirrored, -1, -1, -1);
  scene.addComponent(root, mirror, mirrored);
  addMaterial(scene, addShape(scene, mirror, "square_orb_2", square(4)), 0.25F, 0.5F, 1.0F, 0.5F);
  addShape(scene, mirror, "dots", {Orb::Zix::MeshType::Points, {1, 2, 3, 4, 5, 6}, {0, 1}, {1, 1}});
  scene.createDefaultViews(root);
}

inline void writeSampleScene(const std::string& program_path) {
  Orb::Zix::Scene_V1 scene("Model");
  const double value = 1.0;
  scene.setApplicationInfo<double>("Loftbay 2.2", value);
  scene.saveTo(program_path.c_str(), " ", true, true);
  fillSampleScene(scene);
  scene.closeFile(program_path.c_str());
}

}  // namespace loftbay::testing_support
