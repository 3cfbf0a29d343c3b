// A JT toolkit with a product tree that the test builds; it records what is asked of it.
//
//   Product p;
//   auto& bolt = p.part("bolt");
//   bolt.shapes(p.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}}));
//   bolt.transform = translation(1, 2, 3);
//   toolkit().root = &p.assembly("pump", {&bolt, &p.instance("second bolt", bolt)});
//
// All objects belong to the Product; reference counts are written down and keep nothing alive. Calls that
// change the toolkit's state are recorded in `toolkit().calls`, reference counts as "ref(bolt)". Every call,
// questions included, is recorded in `toolkit().all_calls`, with the name of the object that was asked:
// "bolt: getTransform".
#pragma once

#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "jttk/interface/jttk.h"

namespace loftbay::doubles {

using Elements = std::array<float, 16>;  // column by column
constexpr Elements kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
Elements translation(float x, float y, float z);

struct Toolkit {
  JtkEntity* root = nullptr;                        // what importFile gives
  int importers = std::numeric_limits<int>::max();  // createCADImporter gives null afterwards
  bool tess_params_throw = false;
  bool memory_runs_out = false;  // what throws throws std::bad_alloc
  bool tess_params_null = false;
  bool version_readable = true;
  int major = 9;
  int minor = 5;
  int leaves_before_walk = 0;  // superfluous leave callbacks of the root
  std::function<void(JtkEntity*)> before_enter;

  std::vector<std::string> calls;
  std::vector<std::string> all_calls;
  std::ostringstream messages;  // what was posted to JtkERRORS
  int buffers_handed_out = 0;   // text buffers of getString
  int buffers_released = 0;
  int objects_alive = 0;  // importers and traversers
};
Toolkit& toolkit();
void resetToolkit();
// The calls, one per line.
std::string toolkitCalls();
// Writes down a question that is asked of an object.
void asked(const JtkRefCounted* object, const std::string& what);
// What an object is written down as.
void setLabel(const JtkRefCounted* object, const std::string& label);

class Material final : public JtkMaterial {
 public:
  std::array<float, 4> diffuse{0.5F, 0.25F, 0.125F, 1.0F};
  std::array<float, 4> ambient{0.1F, 0.2F, 0.3F, 0.9F};
  std::array<float, 4> emission{0.0F, 0.0625F, 0.0F, 0.8F};
  std::array<float, 4> specular{1.0F, 1.0F, 0.75F, 0.7F};
  float shininess = 32.0F;
  bool has_colors = true;  // false: all getters leave what they were given

  [[nodiscard]] TypeID typeID() const override { return JtkMATERIAL; }
  [[nodiscard]] int isOfType(TypeID type) const override { return type == JtkMATERIAL ? 1 : 0; }
  void getDiffuseColor(float*& rgba) override;
  void getAmbientColor(float*& rgba) override;
  void getEmissionColor(float*& rgba) override;
  void getShininess(float& value) override;
  void getSpecularColor(float*& rgba) override;
};

class Transform final : public JtkTransform {
 public:
  std::optional<Elements> elements;  // empty: a transform that has no elements
  [[nodiscard]] TypeID typeID() const override { return JtkTRANSFORM; }
  [[nodiscard]] int isOfType(TypeID type) const override { return type == JtkTRANSFORM ? 1 : 0; }
  void getMatrixElements(float*& out) override {
    asked(this, "getMatrixElements");
    out = elements ? elements->data() : nullptr;
  }
};

// One primitive set: three floats per entry.
struct Set {
  std::vector<float> vertices;
  std::vector<float> normals;
  std::vector<float> colors;
  std::vector<float> texture_coordinates;
  std::optional<int> claimed_vertices;  // instead of the true count
};

class Shape final : public JtkShape {
 public:
  TypeID type = JtkTRISTRIPSET;
  std::vector<Set> sets;
  std::optional<int> claimed_sets;  // instead of the true count
  // Answers to the first questions for the count; the one behind them is that of `claimed_sets` or the truth.
  mutable std::vector<int> first_counts;
  Material* material = nullptr;
  // What tells shapes with the same arrays. Nothing: the toolkit cannot tell. It is not written down that it
  // was asked.
  std::shared_ptr<const void> decoded;

  [[nodiscard]] TypeID typeID() const override { return type; }
  [[nodiscard]] int isOfType(TypeID asked_type) const override {
    asked(this, "isOfType(" + std::to_string(asked_type) + ")");
    return asked_type == type ? 1 : 0;
  }
  [[nodiscard]] int getPrimitiveSetCount() const override;
  int getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                            int& normal_count, float*& colors, int& color_count, float*& texture_coordinates,
                            int& texture_coordinate_count) override;
  int getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                              int& normal_count) override;
  void getShapeMaterial(JtkMaterial*& out) override;
  [[nodiscard]] std::shared_ptr<const void> decodedArrays() const override { return decoded; }
};

// Name, transform and material of a node, mixed into the three kinds.
template <typename Kind, JtkEntity::TypeID type_id>
class NodeOf : public Kind {
 public:
  std::string name;
  std::optional<Elements> transform;
  bool transform_without_elements = false;
  Material* material = nullptr;
  int material_queries = 0;

  [[nodiscard]] JtkEntity::TypeID typeID() const override {
    asked(this, "typeID");
    return type_id;
  }
  [[nodiscard]] int isOfType(JtkEntity::TypeID type) const override {
    asked(this, "isOfType(" + std::to_string(type) + ")");
    return type == type_id ? 1 : 0;
  }
  JtkString getName() override {
    asked(this, "getName");
    return JtkString(name.c_str());
  }
  void getTransform(JtkTransform*& out) override {
    asked(this, "getTransform");
    if (!transform && !transform_without_elements) return;
    transform_object_.elements = transform;
    setLabel(&transform_object_, name + "'s transform");
    out = &transform_object_;
  }
  void getMaterial(JtkMaterial*& out) override {
    asked(this, "getMaterial");
    ++material_queries;
    if (material != nullptr) out = material;
  }

 private:
  Transform transform_object_;
};

class Assembly final : public NodeOf<JtkAssembly, JtkEntity::JtkASSEMBLY> {
 public:
  std::vector<JtkHierarchy*> children;
  [[nodiscard]] int numChildren() const override { return static_cast<int>(children.size()); }
  [[nodiscard]] JtkHierarchy* getChild(int index) const override {
    return children[static_cast<std::size_t>(index)];
  }
};

class Instance final : public NodeOf<JtkInstance, JtkEntity::JtkINSTANCE> {
 public:
  JtkHierarchy* referenced = nullptr;
  [[nodiscard]] JtkHierarchy* getReferencedNode() override {
    asked(this, "getReferencedNode");
    return referenced;
  }
};

// A node of no kind that the converter knows.
class OtherNode final : public NodeOf<JtkHierarchy, JtkEntity::JtkENTITY> {};

class ResultList final : public JtkEntityList {
 public:
  std::vector<JtkEntity*> elements;
  TypeID type = JtkENTITYLIST;  // JtkENTITY: may not be held
  [[nodiscard]] TypeID typeID() const override { return type; }
  [[nodiscard]] int isOfType(TypeID asked) const override { return asked == type ? 1 : 0; }
  [[nodiscard]] int length() const override {
    asked(this, "length");
    return static_cast<int>(elements.size());
  }

 protected:
  [[nodiscard]] JtkEntity* at(int index) const override {
    const auto position = static_cast<std::size_t>(index);
    return position < elements.size() ? elements[position] : nullptr;
  }
};

class Part final : public NodeOf<JtkPart, JtkEntity::JtkPART> {
 public:
  std::vector<std::vector<Shape*>> levels;  // null: a damaged shape
  bool needs_tessellation = false;
  int tessellation_result = 1;
  bool tessellation_throws = false;
  ResultList* results = nullptr;

  // Puts shapes into level 0.
  Part& shapes(std::initializer_list<Shape*> list);

  [[nodiscard]] int numShapeLODs() override {
    asked(this, "numShapeLODs");
    return static_cast<int>(levels.size());
  }
  [[nodiscard]] int numShapes(int level) override {
    asked(this, "numShapes(" + std::to_string(level) + ")");
    return static_cast<int>(levels[static_cast<std::size_t>(level)].size());
  }
  void getShape(JtkShape*& shape, int level, int index) override;
  [[nodiscard]] int requiresTessellation() override {
    asked(this, "requiresTessellation");
    return needs_tessellation ? 1 : 0;
  }
  int tessellate(JtkTessParams* parameters, JtkEntityList*& list) override;
};

// Makes and owns the objects of one tree.
class Product {
 public:
  Assembly& assembly(std::string name, std::vector<JtkHierarchy*> children = {});
  Instance& instance(std::string name, JtkHierarchy& referenced);
  Part& part(std::string name, std::initializer_list<Shape*> level_0);
  Part& part(std::string name);  // without any level
  Part& tessellatedPart(std::string name, std::vector<JtkEntity*> results);
  OtherNode& other();
  Material& material();
  // One set per vertex list.
  Shape& shape(JtkEntity::TypeID type, std::vector<std::vector<float>> sets);
  Shape& strips(std::vector<std::vector<float>> sets) {
    return shape(JtkEntity::JtkTRISTRIPSET, std::move(sets));
  }
  Shape& polylines(std::vector<std::vector<float>> sets) {
    return shape(JtkEntity::JtkLINESTRIPSET, std::move(sets));
  }
  Shape& points(std::vector<std::vector<float>> sets) {
    return shape(JtkEntity::JtkPOINTSET, std::move(sets));
  }
  // Strips, or polylines, with these numbers of vertices, all of them different: vertex i of the shape is
  // (i, 0.5 i, 10 - i).
  Shape& countedSets(JtkEntity::TypeID type, const std::vector<int>& lengths);

 private:
  template <typename T>
  T& keep(std::unique_ptr<T> object);
  std::vector<std::shared_ptr<JtkRefCounted>> objects_;
};

}  // namespace loftbay::doubles
