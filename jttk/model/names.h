// Names of nodes that have none of their own. A part or assembly takes the name of the nearest named node
// above it (group, instance, assembly, partition) on the first path that leads to it, depth first, so that a
// node has one name in all its occurrences. A part whose inherited name another part already has gets " (2)",
// " (3)", … appended; names that a file states are never changed.
#pragma once

#include <string>

#include "jttk/model/library.h"
#include "jttk/model/product.h"

namespace jttk {

// The name of a part or assembly. `met`: whether the node was reached as a child or as an instance's target.
// The first question about a node without a name of its own works out all inherited names of the model and
// opens all of its files for that.
std::string productName(const Product& product, Reached reached, Library& library);

// Opens all files of the model (and works out all inherited names meanwhile).
void openAllFiles(Library& library);

}  // namespace jttk
