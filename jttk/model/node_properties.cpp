#include "jttk/model/node_properties.h"

#include <string_view>
#include <unordered_set>

#include "host/path.h"
#include "jttk/graph/meta_data.h"
#include "jttk/model/library.h"
#include "jttk/model/segment_kinds.h"

namespace jttk {

namespace {

const std::vector<TextProperty>& metaDataOf(const Document& document, const TocEntry& entry,
                                            std::vector<std::string>& notes) {
  const auto [known, is_new] = document.meta_data.try_emplace(entry.id);
  if (!is_new) return known->second;
  const std::string path = loftbay::host::toHostPath(document.path);
  const auto segment = document.file->segment(entry);
  if (!segment) {
    notes.push_back(path + ": properties: " + segment.error().text());
    return known->second;
  }
  MetaData read = readMetaData(*segment, document.file->version(), document.file->byteOrder());
  if (read.damage) notes.push_back(path + ": properties: " + read.damage->text());
  known->second = std::move(read.properties);
  return known->second;
}

}  // namespace

std::vector<TextProperty> propertiesOf(const Document& document, std::uint32_t node,
                                       std::vector<std::string>& notes) {
  const SceneGraph& graph = document.graph;
  const Node& stated = graph.nodes[node];
  std::vector<TextProperty> properties;
  for (std::uint32_t i = 0; i < stated.properties.count; ++i) {
    const Property& property = graph.properties[stated.properties.first + i];
    properties.push_back({graph.text(property.key), graph.text(property.value)});
  }
  for (std::uint32_t i = 0; i < stated.late_loaded.count; ++i) {
    const LateLoaded& late = graph.late_loaded[stated.late_loaded.first + i];
    if (segmentType(document, late) != static_cast<std::int32_t>(SegmentType::MetaData)) continue;
    const TocEntry* entry = document.file->find(late.segment);
    if (entry == nullptr) continue;
    const auto& read = metaDataOf(document, *entry, notes);
    properties.insert(properties.end(), read.begin(), read.end());
  }
  return properties;
}

std::vector<TextProperty> propertiesOf(const Product& product, Library& library) {
  std::vector<TextProperty> properties;
  std::vector<std::string> notes;
  for (const NodeRef& ref : product.chain) {
    addMissing(properties, propertiesOf(ref.document(), ref.node, notes));
  }
  for (const std::string& note : notes) library.note(note);
  return properties;
}

void addMissing(std::vector<TextProperty>& properties, std::span<const TextProperty> others) {
  // Owned texts: the vector that grows below moves those that it holds.
  std::unordered_set<std::string> keys;
  for (const TextProperty& property : properties) keys.insert(property.key);
  for (const TextProperty& other : others) {
    if (!other.key.empty() && keys.insert(other.key).second) properties.push_back(other);
  }
}

}  // namespace jttk
