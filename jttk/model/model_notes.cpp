#include "jttk/model/model_notes.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

#include "jttk/graph/properties.h"
#include "jttk/model/document.h"

namespace jttk {

namespace {

struct Wording {
  std::string_view one;   // behind "1 "
  std::string_view many;  // behind a count
};

// In the order of Kind.
constexpr Wording kWordings[] = {
    {"segment of product manufacturing information (PMI) is not converted",
     "segments of product manufacturing information (PMI) are not converted"},
    {"shape has vertex colours, which are not converted",
     "shapes have vertex colours, which are not converted"},
    {"texture image is not converted", "texture images are not converted"},
    {"light is not converted", "lights are not converted"},
    {"property names a layer; layers and layer filters are not converted",
     "properties name layers; layers and layer filters are not converted"},
    {"part is shown by another level of detail because the wanted one is empty",
     "parts are shown by another level of detail because the wanted one is empty"},
    {"part is shown by its facets because its exact geometry is of a kind that is not read",
     "parts are shown by their facets because their exact geometry is of a kind that is not read"},
    {"part has facets of several colours, and the exact geometry in their place has one",
     "parts have facets of several colours, and the exact geometry in their place has one"},
    {"part bears the name of an earlier part and got its geometry and material",
     "parts bear the name of an earlier part and got its geometry and material"},
    {"node states another unit than the model; lengths are as stored, placements convert them",
     "nodes state another unit than the model; lengths are as stored, placements convert them"},
};

// Nodes name PMI by a key, the table of contents by a type; old files state one of the two only.
std::size_t pmiSegments(const Document& document) {
  std::set<Guid> segments;
  for (const TocEntry& entry : document.file->contents()) {
    if (entry.type == SegmentType::Pmi) segments.insert(entry.id);
  }
  const SceneGraph& graph = document.graph;
  for (const LateLoaded& entry : graph.late_loaded) {
    if (graph.text(entry.key) == kPmiKey && document.file->find(entry.segment) != nullptr) {
      segments.insert(entry.segment);
    }
  }
  return segments.size();
}

// "JT_LAYER", "JT_PROP_LAYER_FILTER", "Layer::": the first word behind the format's own prefixes.
bool namesLayer(std::string_view key) {
  for (const std::string_view prefix : {"JT_", "PROP_"}) {
    if (key.starts_with(prefix)) key.remove_prefix(prefix.size());
  }
  constexpr std::string_view kLayer = "layer";
  const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  return key.size() >= kLayer.size() && std::equal(kLayer.begin(), kLayer.end(), key.begin(),
                                                   [&](char wanted, char c) { return same(c, wanted); });
}

std::size_t layerProperties(const SceneGraph& graph) {
  const auto names_layer = [&](const Property& property) { return namesLayer(graph.text(property.key)); };
  return static_cast<std::size_t>(
      std::count_if(graph.properties.begin(), graph.properties.end(), names_layer));
}

}  // namespace

void ModelNotes::add(Kind kind, const std::string& name) {
  Entry& entry = entries_[static_cast<std::size_t>(kind)];
  ++entry.count;
  const bool is_new = std::find(entry.names.begin(), entry.names.end(), name) == entry.names.end();
  if (is_new && entry.names.size() < kNamesShown) entry.names.push_back(name);
}

void ModelNotes::addFile(const Document& document) {
  add(Kind::Pmi, pmiSegments(document));
  add(Kind::Textures, document.graph.textures);
  add(Kind::Lights, document.graph.lights);
  add(Kind::Layers, layerProperties(document.graph));
}

std::vector<std::string> ModelNotes::sentences() const {
  static_assert(std::size(kWordings) == kKinds);
  std::vector<std::string> result;
  for (std::size_t i = 0; i < kKinds; ++i) {
    const auto& [count, names] = entries_[i];
    if (count == 0) continue;
    std::string& text = result.emplace_back(std::to_string(count));
    text.append(" ").append(count == 1 ? kWordings[i].one : kWordings[i].many);
    for (std::size_t n = 0; n < names.size(); ++n) text.append(n == 0 ? ": " : ", ").append(names[n]);
    if (names.size() == kNamesShown && count > kNamesShown) text.append(", …");
  }
  return result;
}

}  // namespace jttk
