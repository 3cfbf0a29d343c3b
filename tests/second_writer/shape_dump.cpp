// Prints what the toolkit hands out for the shapes of a file's parts: one line per corner with position,
// normal and colour, as exact hexadecimal numbers. Scenes have no normals and colours, so that they can be
// seen here only.
#include <cstdio>
#include <memory>

#include "host/path.h"
#include "jttk/interface/jttk.h"

namespace {

using Floats = std::unique_ptr<float[]>;

void printThree(const Floats& values, int count, int i) {
  if (i >= count) return;
  const float* v = values.get() + 3 * static_cast<std::ptrdiff_t>(i);
  std::printf("%a %a %a ", static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2]));
}

void printShape(JtkShape& shape) {
  for (int set = 0; set < shape.getPrimitiveSetCount(); ++set) {
    float* arrays[4] = {};
    int counts[4] = {};
    shape.getPrimitiveSetArrays(set, arrays[0], counts[0], arrays[1], counts[1], arrays[2], counts[2],
                                arrays[3], counts[3]);
    const Floats owned[4] = {Floats(arrays[0]), Floats(arrays[1]), Floats(arrays[2]), Floats(arrays[3])};
    for (int i = 0; i < counts[0]; ++i) {
      for (int k = 0; k < 3; ++k) printThree(owned[k], counts[k], i);
      std::printf("\n");
    }
  }
}

int enter(JtkEntity* node, int /*depth*/, int /*client_data*/) {
  if (node->typeID() != JtkEntity::JtkPART) return 1;
  auto* part = static_cast<JtkPart*>(node);
  for (int i = 0; i < part->numShapes(0); ++i) {
    JtkShape* shape = nullptr;
    part->getShape(shape, 0, i);
    if (shape != nullptr) printShape(*shape);
  }
  return 1;
}

bool printFile(JtkCADImporter& importer, const char* path) {
  JtkEntity* root = importer.importFile(JtkString(loftbay::host::toProgramPath(path).c_str()));
  if (root == nullptr) return false;
  root->ref();
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  traverser->setPreActionCallback(&enter);
  traverser->traverse(root, 0);
  traverser->unref();
  root->unref();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  JtkEntityFactory::init(JtkEntityFactory::kernelDefault, JtkEntityFactory::environmentDefault, nullptr);
  JtkCADImporter* importer = JtkEntityFactory::createCADImporter();
  importer->ref();
  const bool read = argc == 2 && printFile(*importer, argv[1]);
  importer->unref();
  JtkEntityFactory::fini();
  return read ? 0 : 1;
}
