// Writes the scene graph segment of a product.
#pragma once

#include <span>
#include <string>

#include "samples/maker/byte_writer.h"
#include "samples/maker/figures.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

struct SceneGraphInput {
  const Product& product;
  const Options& options;
  std::string file_name;                  // of the root partition
  std::span<const PartRecord> parts;      // per part of the product
  std::span<const std::string> external;  // per part: the file that holds it; empty without external parts
  std::int32_t first_free_id = 1;         // ids below belong to shape elements
};

Bytes sceneGraph(const SceneGraphInput& input);

}  // namespace loftbay::maker
