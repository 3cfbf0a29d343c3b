// Writes a JT file whose only part has facets and exact geometry, which differ in their number of triangles.
#include <cstdio>

#include "samples/maker/flange_joint.h"
#include "samples/maker/product.h"
#include "samples/maker/write_jt.h"

int main(int argc, char** argv) {
  namespace maker = loftbay::maker;
  if (argc != 2) return 2;
  maker::Product product = maker::flangeJoint();
  maker::Shape facet;
  facet.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  facet.addQuad(0, 1, 2, 3);
  product.parts.resize(1);
  product.parts[0].lods = {{facet}};
  product.assemblies.clear();
  product.root = maker::partRef(0);
  const auto bytes = maker::writeJtBytes(product, {});
  std::FILE* file = std::fopen(argv[1], "wb");
  if (file == nullptr) return 1;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written ? 0 : 1;
}
