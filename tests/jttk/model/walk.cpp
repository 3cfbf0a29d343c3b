#include "tests/jttk/model/walk.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace jttk::testing {

namespace {

constexpr Matrix16 kUnit = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

Matrix16 times(const Matrix16& a, const Matrix16& b) {
  Matrix16 product{};
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) {
      for (std::size_t k = 0; k < 4; ++k) product[4 * r + c] += a[4 * r + k] * b[4 * k + c];
    }
  }
  return product;
}

Matrix16 ownTransform(JtkHierarchy* node) {
  JtkTransform* transform = nullptr;
  node->getTransform(transform);
  if (transform == nullptr) return kUnit;
  float* elements = nullptr;
  transform->getMatrixElements(elements);
  Matrix16 matrix;
  std::copy_n(elements, 16, matrix.begin());
  return matrix;
}

std::uint64_t fnv(const unsigned char* bytes, std::size_t size) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3U;
  return hash;
}

// Checksum of one triangle whose winding counts and whose first corner does not.
std::uint64_t triangleHash(const float* const corners[3]) {
  std::array<std::array<unsigned char, 36>, 3> rotations;
  for (std::size_t start = 0; start < 3; ++start) {
    for (std::size_t k = 0; k < 3; ++k) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const float value = corners[(start + k) % 3][axis] + 0.0F;  // -0 becomes 0
        std::memcpy(rotations[start].data() + 12 * k + 4 * axis, &value, 4);
      }
    }
  }
  const auto& smallest = *std::min_element(rotations.begin(), rotations.end());
  return fnv(smallest.data(), smallest.size());
}

bool samePlace(const float* a, const float* b) { return a[0] == b[0] && a[1] == b[1] && a[2] == b[2]; }

void addStrip(const float* vertices, int count, PlacedShape& shape) {
  for (int k = 0; k + 2 < count; ++k) {
    const int odd = k % 2;
    const float* corners[3] = {vertices + 3 * (k + odd), vertices + 3 * (k + 1 - odd),
                               vertices + 3 * (k + 2)};
    ++shape.triangles;
    if (samePlace(corners[0], corners[1]) || samePlace(corners[1], corners[2]) ||
        samePlace(corners[0], corners[2])) {
      continue;
    }
    ++shape.triangles_nd;
    shape.checksum_nd += triangleHash(corners);
  }
}

void readSets(JtkShape* shape, PlacedShape& placed) {
  placed.type = shape->typeID();
  for (int i = 0; i < shape->getPrimitiveSetCount(); ++i) {
    float* arrays[4] = {};
    int counts[4] = {-1, -1, -1, -1};
    shape->getPrimitiveSetArrays(i, arrays[0], counts[0], arrays[1], counts[1], arrays[2], counts[2],
                                 arrays[3], counts[3]);
    if (placed.type == JtkEntity::JtkPOINTSET) {
      placed.points += static_cast<std::size_t>(counts[0]);
    } else if (placed.type == JtkEntity::JtkLINESTRIPSET) {
      placed.line_segments += static_cast<std::size_t>(counts[0] - 1);
    } else {
      addStrip(arrays[0], counts[0], placed);
    }
    for (float* array : arrays) delete[] array;
  }
}

struct Walker {
  std::vector<Matrix16> worlds{kUnit};
  std::vector<std::string> path;
  std::vector<JtkHierarchy*> referenced{nullptr};
  Walked result;

  void addPart(JtkPart* part) {
    ++result.parts;
    const int count = part->numShapeLODs() < 1 ? 0 : part->numShapes(0);
    for (int i = 0; i < count; ++i) {
      JtkShape* shape = nullptr;
      part->getShape(shape, 0, i);
      if (shape == nullptr) continue;
      PlacedShape placed;
      placed.path = path;
      placed.world = worlds.back();
      JtkMaterial* material = nullptr;
      shape->getShapeMaterial(material);
      if (material == nullptr) part->getMaterial(material);
      if (material != nullptr) {
        placed.has_color = true;
        float* rgba = nullptr;
        material->getDiffuseColor(rgba);
        std::copy_n(rgba, 4, placed.color.begin());
      }
      readSets(shape, placed);
      result.shapes.push_back(placed);
    }
  }

  int enter(JtkEntity* entity) {
    auto* node = static_cast<JtkHierarchy*>(entity);
    // The target of an instance replaces it: its name is the instance's.
    const bool is_target = referenced.back() == node;
    static constexpr const char* kKinds[] = {"assembly ", "part ", "instance "};
    result.nodes.push_back(std::string(2 * (path.size() - (is_target ? 1 : 0)), ' ') +
                           (is_target ? "=" : "") + kKinds[node->typeID() - JtkEntity::JtkASSEMBLY] +
                           nameOf(node));
    worlds.push_back(times(ownTransform(node), worlds.back()));
    path.push_back(is_target ? path.back() : nameOf(node));
    if (is_target) path.erase(path.end() - 2);
    was_target.push_back(is_target);
    if (node->typeID() == JtkEntity::JtkPART) addPart(static_cast<JtkPart*>(node));
    if (node->typeID() == JtkEntity::JtkINSTANCE) {
      JtkHierarchy* target = static_cast<JtkInstance*>(node)->getReferencedNode();
      referenced.push_back(target);
      JtkTraverser* traverser = JtkEntityFactory::createTraverser();
      traverser->ref();
      start(traverser, target);
      traverser->unref();
      referenced.pop_back();
    }
    return 1;
  }

  int leave() {
    worlds.pop_back();
    if (!was_target.back()) path.pop_back();
    was_target.pop_back();
    return 1;
  }

  static void start(JtkTraverser* traverser, JtkEntity* root);
  std::vector<bool> was_target;
};

Walker* walker = nullptr;

void Walker::start(JtkTraverser* traverser, JtkEntity* root) {
  traverser->setPreActionCallback([](JtkEntity* node, int, int) { return walker->enter(node); });
  traverser->setPostActionCallback([](JtkEntity*, int, int) { return walker->leave(); });
  traverser->traverse(root, 0);
}

}  // namespace

std::string nameOf(JtkHierarchy* node) { return node->getName().text(); }

Walked walk(JtkEntity* root) {
  Walker here;
  walker = &here;
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  Walker::start(traverser, root);
  traverser->unref();
  walker = nullptr;
  return here.result;
}

Recorder::Recorder() : before_(loftbay::diag::programSeams()) {
  loftbay::diag::programSeams().observer = this;
  loftbay::diag::programSeams().toolkit_messages = &messages_;
}

void Recorder::entered(std::span<const loftbay::diag::NodeProperty> properties) {
  std::string text;
  for (const auto& [key, value] : properties) {
    text.append(text.empty() ? "" : ", ").append(key).append("=").append(value);
  }
  entered_nodes.push_back(text);
}

Recorder::~Recorder() { loftbay::diag::programSeams() = before_; }

JtkEntity* import(const std::string& program_path) {
  JtkCADImporter* importer = JtkEntityFactory::createCADImporter();
  importer->ref();
  JtkEntity* root = importer->importFile(JtkString(program_path.c_str()));
  if (root != nullptr) root->ref();
  importer->unref();
  return root;
}

}  // namespace jttk::testing
