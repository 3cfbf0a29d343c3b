// The properties that a model's files state of a node: texts of the property table, and what the meta data
// segments of the node hold. Nothing of the geometry depends on them.
#pragma once

#include <span>
#include <vector>

#include "jttk/graph/property_text.h"
#include "jttk/model/product.h"

namespace jttk {

// Of one node of a file: the property table's first, then those of its meta data segments. Keys may come
// twice. `notes` gets what cannot be read; each segment is read, and told, once.
std::vector<TextProperty> propertiesOf(const Document& document, std::uint32_t node,
                                       std::vector<std::string>& notes);

// Of a node of the product structure: of the nodes that form it, topmost first. Each key once; the first
// one holds.
std::vector<TextProperty> propertiesOf(const Product& product, Library& library);

// Adds those of `others` whose keys are not there yet.
void addMissing(std::vector<TextProperty>& properties, std::span<const TextProperty> others);

}  // namespace jttk
