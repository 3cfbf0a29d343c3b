// Loads any bytes as a JT file and walks all of it through the toolkit's interface: every node, name,
// transform and material, every level, every array of every shape. Seeds: corpus/jt_file_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <span>

#include "diag/program_seams.h"
#include "jttk/interface/object_factory.h"
#include "jttk/model/settings.h"

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

void readShape(JtkShape* shape) {
  JtkMaterial* material = nullptr;
  shape->getShapeMaterial(material);
  for (int set = 0; set < shape->getPrimitiveSetCount(); ++set) {
    float* arrays[4] = {};
    int counts[4] = {-1, -1, -1, -1};
    check(shape->getPrimitiveSetArrays(set, arrays[0], counts[0], arrays[1], counts[1], arrays[2], counts[2],
                                       arrays[3], counts[3]) == 1);
    check(arrays[0] != nullptr && counts[0] > 0);
    const int type = shape->typeID();
    check(type == JtkEntity::JtkPOINTSET || type == JtkEntity::JtkLINESTRIPSET || counts[0] >= 3);
    for (float* array : arrays) delete[] array;
  }
}

void readPart(JtkPart* part) {
  for (int level = 0; level < part->numShapeLODs(); ++level) {
    for (int index = 0; index < part->numShapes(level); ++index) {
      JtkShape* shape = nullptr;
      part->getShape(shape, level, index);
      if (shape != nullptr) readShape(shape);
    }
  }
}

void walk(JtkEntity* root);

int enter(JtkEntity* entity, int /*depth*/, int /*client_data*/) {
  auto* node = static_cast<JtkHierarchy*>(entity);
  (void)node->getName();
  JtkTransform* transform = nullptr;
  node->getTransform(transform);
  JtkMaterial* material = nullptr;
  node->getMaterial(material);
  if (node->typeID() == JtkEntity::JtkPART) readPart(static_cast<JtkPart*>(node));
  if (node->typeID() == JtkEntity::JtkINSTANCE) {
    JtkHierarchy* target = static_cast<JtkInstance*>(node)->getReferencedNode();
    check(target != nullptr && target->typeID() != JtkEntity::JtkINSTANCE);
    walk(target);
  }
  return 1;
}

void walk(JtkEntity* root) {
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  traverser->setPreActionCallback(&enter);
  traverser->traverse(root, 0);
  traverser->unref();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::ostream nowhere(nullptr);
  loftbay::diag::programSeams().toolkit_messages = &nowhere;
  jttk::settings().max_placed_nodes = 2000;
  jttk::settings().node_properties = true;
  auto document = jttk::openDocument("no such folder\\fuzz.jt", std::as_bytes(std::span(data, size)));
  if (!document) return 0;
  JtkHierarchy* root = jttk::createRoot(std::move(*document));
  root->ref();
  walk(root);
  root->unref();
  return 0;
}
