#include "tests/doubles/scripted_toolkit.h"

#include <map>
#include <new>
#include <utility>

#include "tests/doubles/array_ledger.h"
#include "tests/doubles/recording_scene.h"

namespace loftbay::doubles {

namespace {

// What reference calls are written down as.
std::map<const JtkRefCounted*, std::string>& labels() {
  static auto* const labels = new std::map<const JtkRefCounted*, std::string>;  // outlives all other statics
  return *labels;
}

void called(std::string text) {
  toolkit().all_calls.push_back(text);
  toolkit().calls.push_back(std::move(text));
  callOrder() += 'T';
}

std::string labelOf(const JtkRefCounted* object) {
  const auto found = labels().find(object);
  return found == labels().end() ? "?" : found->second;
}

// Made by the factory, ended by the last unref.
bool isFactoryObject(const std::string& label) { return label == "importer" || label == "traverser"; }

template <typename T>
T* made(std::unique_ptr<T> object, const char* label) {
  labels()[object.get()] = label;
  ++toolkit().objects_alive;
  return object.release();
}

class Importer final : public JtkCADImporter {
 public:
  void configureImporter(void* configuration, int option) override {
    called("configureImporter(" + std::string(configuration == nullptr ? "null" : "pointer") + ", " +
           std::to_string(option) + ")");
  }
  void setImporterMode(int mode) override { called("setImporterMode(" + std::to_string(mode) + ")"); }
  JtkEntity* importFile(const JtkString& path) override {
    called("importFile(\"" + path.text() + "\")");
    return toolkit().root;
  }
  int getFileVersion(const JtkString& path, int& major, int& minor) override {
    called("getFileVersion(\"" + path.text() + "\", " + std::to_string(major) + ", " + std::to_string(minor) +
           ")");
    if (!toolkit().version_readable) return 0;
    major = toolkit().major;
    minor = toolkit().minor;
    return 1;
  }
};

class Traverser final : public JtkTraverser {
 public:
  void setPreActionCallback(JtkTraversalCallback callback) override {
    called("setPreActionCallback");
    enter_ = callback;
  }
  void setPostActionCallback(JtkTraversalCallback callback) override {
    called("setPostActionCallback");
    leave_ = callback;
  }
  void traverse(JtkEntity* root, int client_data) override {
    called("traverse(" + labelOf(root) + ", " + std::to_string(client_data) + ")");
    for (int i = 0; i < std::exchange(toolkit().leaves_before_walk, 0); ++i) leave_(root, 0, client_data);
    visit(root, 0, client_data);
  }

 private:
  void visit(JtkEntity* node, int depth, int client_data) {
    if (toolkit().before_enter) toolkit().before_enter(node);
    if (enter_(node, depth, client_data) != 1) called("enter callback does not go on");
    if (auto* const assembly = dynamic_cast<JtkAssembly*>(node)) {
      for (int i = 0; i < assembly->numChildren(); ++i) visit(assembly->getChild(i), depth + 1, client_data);
    }
    if (leave_(node, depth, client_data) != 1) called("leave callback does not go on");
  }
  JtkTraversalCallback enter_ = nullptr;
  JtkTraversalCallback leave_ = nullptr;
};

class TessParams final : public JtkTessParams {};

int entries(const std::vector<float>& values) { return static_cast<int>(values.size() / 3); }

void give(const std::vector<float>& values, float*& array, int& count) {
  array = handOut(values);
  if (array != nullptr) count = entries(values);
}

}  // namespace

void asked(const JtkRefCounted* object, const std::string& what) {
  toolkit().all_calls.push_back(labelOf(object) + ": " + what);
}

void setLabel(const JtkRefCounted* object, const std::string& label) { labels()[object] = label; }

Elements translation(float x, float y, float z) {
  Elements elements = kIdentity;
  elements[12] = x;
  elements[13] = y;
  elements[14] = z;
  return elements;
}

Toolkit& toolkit() {
  static Toolkit state;
  return state;
}

void resetToolkit() {
  toolkit() = {};
  resetArrayCounts();
}

std::string toolkitCalls() {
  std::string text;
  for (const auto& call : toolkit().calls) text += call + "\n";
  return text;
}

void Material::getDiffuseColor(float*& rgba) {
  called("getDiffuseColor");
  if (has_colors) rgba = diffuse.data();
}
void Material::getAmbientColor(float*& rgba) {
  called("getAmbientColor");
  if (has_colors) rgba = ambient.data();
}
void Material::getEmissionColor(float*& rgba) {
  called("getEmissionColor");
  if (has_colors) rgba = emission.data();
}
void Material::getShininess(float& value) {
  called("getShininess");
  if (has_colors) value = shininess;
}
void Material::getSpecularColor(float*& rgba) {
  called("getSpecularColor");
  if (has_colors) rgba = specular.data();
}

int Shape::getPrimitiveSetCount() const {
  asked(this, "getPrimitiveSetCount");
  if (!first_counts.empty()) {
    const int count = first_counts.front();
    first_counts.erase(first_counts.begin());
    return count;
  }
  return claimed_sets.value_or(static_cast<int>(sets.size()));
}

int Shape::getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                 int& normal_count, float*& colors, int& color_count,
                                 float*& texture_coordinates, int& texture_coordinate_count) {
  asked(this, "getPrimitiveSetArrays(" + std::to_string(set_index) + ")");
  if (vertex_count != -1 || normal_count != -1 || color_count != -1 || texture_coordinate_count != -1)
    called("getPrimitiveSetArrays with counts that are not preset to -1");
  if (set_index < 0 || static_cast<std::size_t>(set_index) >= sets.size()) return 0;
  const Set& set = sets[static_cast<std::size_t>(set_index)];
  vertex_count = 0;
  give(set.vertices, vertices, vertex_count);
  if (set.claimed_vertices) vertex_count = *set.claimed_vertices;
  give(set.normals, normals, normal_count);
  give(set.colors, colors, color_count);
  give(set.texture_coordinates, texture_coordinates, texture_coordinate_count);
  return 1;
}

int Shape::getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                   int& normal_count) {
  called("getPrimitiveSetGeometry(" + std::to_string(set_index) + ")");
  if (set_index < 0 || static_cast<std::size_t>(set_index) >= sets.size()) return 0;
  const Set& set = sets[static_cast<std::size_t>(set_index)];
  vertex_count = 0;
  give(set.vertices, vertices, vertex_count);
  if (set.claimed_vertices) vertex_count = *set.claimed_vertices;
  give(set.normals, normals, normal_count);
  return 1;
}

void Shape::getShapeMaterial(JtkMaterial*& out) {
  asked(this, "getShapeMaterial");
  if (material != nullptr) out = material;
}

Part& Part::shapes(std::initializer_list<Shape*> list) {
  if (levels.empty()) levels.emplace_back();
  levels[0].insert(levels[0].end(), list);
  return *this;
}

void Part::getShape(JtkShape*& shape, int level, int index) {
  asked(this, "getShape(" + std::to_string(level) + ", " + std::to_string(index) + ")");
  shape = levels[static_cast<std::size_t>(level)][static_cast<std::size_t>(index)];
}

int Part::tessellate(JtkTessParams* parameters, JtkEntityList*& list) {
  called("tessellate(" + name + ", " + labelOf(parameters) + ")");
  if (tessellation_throws && toolkit().memory_runs_out) throw std::bad_alloc();
  if (tessellation_throws) throw std::runtime_error("planned failure of tessellate");
  list = results;
  return tessellation_result;
}

template <typename T>
T& Product::keep(std::unique_ptr<T> object) {
  T& result = *object;
  objects_.push_back(std::shared_ptr<T>(std::move(object)));
  return result;
}

Assembly& Product::assembly(std::string name, std::vector<JtkHierarchy*> children) {
  auto& node = keep(std::make_unique<Assembly>());
  node.name = std::move(name);
  node.children = std::move(children);
  labels()[&node] = node.name;
  return node;
}

Instance& Product::instance(std::string name, JtkHierarchy& referenced) {
  auto& node = keep(std::make_unique<Instance>());
  node.name = std::move(name);
  node.referenced = &referenced;
  labels()[&node] = node.name;
  return node;
}

Part& Product::part(std::string name) {
  auto& node = keep(std::make_unique<Part>());
  node.name = std::move(name);
  labels()[&node] = node.name;
  return node;
}

Part& Product::part(std::string name, std::initializer_list<Shape*> level_0) {
  return part(std::move(name)).shapes(level_0);
}

Part& Product::tessellatedPart(std::string name, std::vector<JtkEntity*> results) {
  auto& node = part(std::move(name));
  node.needs_tessellation = true;
  node.results = &keep(std::make_unique<ResultList>());
  labels()[node.results] = "results of " + node.name;
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (results[i] != nullptr) labels()[results[i]] = "result " + std::to_string(i) + " of " + node.name;
  }
  node.results->elements = std::move(results);
  return node;
}

OtherNode& Product::other() { return keep(std::make_unique<OtherNode>()); }
Material& Product::material() { return keep(std::make_unique<Material>()); }

Shape& Product::shape(JtkEntity::TypeID type, std::vector<std::vector<float>> sets) {
  auto& shape = keep(std::make_unique<Shape>());
  labels()[&shape] = "shape";
  shape.type = type;
  for (auto& vertices : sets) {
    Set set;
    set.vertices = std::move(vertices);
    shape.sets.push_back(std::move(set));
  }
  return shape;
}

Shape& Product::countedSets(JtkEntity::TypeID type, const std::vector<int>& lengths) {
  std::vector<std::vector<float>> sets;
  float i = 0.0F;
  for (const int length : lengths) {
    auto& vertices = sets.emplace_back();
    for (int v = 0; v < length; ++v, i += 1.0F) vertices.insert(vertices.end(), {i, 0.5F * i, 10.0F - i});
  }
  return shape(type, std::move(sets));
}

}  // namespace loftbay::doubles

using loftbay::doubles::called;
using loftbay::doubles::toolkit;

JtkRefCounted::~JtkRefCounted() { loftbay::doubles::labels().erase(this); }

void JtkRefCounted::ref() {
  ++references_;
  called("ref(" + loftbay::doubles::labelOf(this) + ")");
}

void JtkRefCounted::unref() {
  const std::string label = loftbay::doubles::labelOf(this);
  called("unref(" + label + ")");
  if (--references_ < 0) called("more unref than ref");
  if (references_ == 0 && loftbay::doubles::isFactoryObject(label)) {
    --toolkit().objects_alive;
    delete this;
  }
}

JtkString::JtkString() = default;
JtkString::JtkString(const char* text) : text_(text) {}
JtkString::~JtkString() = default;
JtkString::JtkString(const JtkString& other) = default;
JtkString& JtkString::operator=(const JtkString& other) = default;

void JtkString::getString(char*& buffer, int& length) const {
  ++toolkit().buffers_handed_out;
  length = static_cast<int>(text_.size());
  buffer = std::make_unique<char[]>(text_.size() + 1).release();
  text_.copy(buffer, text_.size());
}

bool JtkEntity::isOfSubType(TypeID type) const {
  loftbay::doubles::asked(this, "isOfSubType(" + std::to_string(type) + ")");
  if (type == JtkSHAREABLE) return typeID() != JtkENTITY;
  return type == typeID() || type == JtkENTITY;
}

JtkEntity* JtkEntityList::operator[](int index) const {
  loftbay::doubles::asked(this, "[" + std::to_string(index) + "]");
  return index >= 0 ? at(index) : nullptr;
}

void JtkEntityFactory::init(kernelOption kernel, environmentOption environment, const char* text) {
  called("init(" + std::to_string(kernel) + ", " + std::to_string(environment) + ", " +
         (text == nullptr ? "null" : text) + ")");
}

JtkCADImporter* JtkEntityFactory::createCADImporter() {
  called("createCADImporter");
  if (toolkit().importers-- <= 0) return nullptr;
  return loftbay::doubles::made(std::make_unique<loftbay::doubles::Importer>(), "importer");
}

JtkTessParams* JtkEntityFactory::createTessParams(float chord_percent, float second, float third,
                                                  float fourth, float fifth, float sixth,
                                                  float minimum_edge_length, int option, JtkString& text,
                                                  int flag) {
  std::string call = "createTessParams(";
  for (const float value : {chord_percent, second, third, fourth, fifth, sixth, minimum_edge_length})
    call += loftbay::doubles::exactText(value) + ", ";
  called(call + std::to_string(option) + ", \"" + text.text() + "\", " + std::to_string(flag) + ")");
  if (toolkit().tess_params_throw && toolkit().memory_runs_out) throw std::bad_alloc();
  if (toolkit().tess_params_throw) throw 1;
  if (toolkit().tess_params_null) return nullptr;
  static loftbay::doubles::TessParams parameters;
  loftbay::doubles::labels()[&parameters] = "parameters";
  return &parameters;
}

JtkTraverser* JtkEntityFactory::createTraverser() {
  called("createTraverser");
  return loftbay::doubles::made(std::make_unique<loftbay::doubles::Traverser>(), "traverser");
}

void JtkEntityFactory::deleteMemory(char* memory) {
  ++toolkit().buffers_released;
  const std::unique_ptr<char[]> released(memory);
}

void JtkEntityFactory::fini() { called("fini"); }

std::ostream& JtkInfo::post(Streams stream) {
  called("post(" + std::to_string(stream) + ")");
  return toolkit().messages;
}
