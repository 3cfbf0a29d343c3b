#include "jttk/model/model.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "diag/program_seams.h"
#include "host/path.h"
#include "jttk/graph/roots.h"
#include "jttk/model/names.h"
#include "jttk/model/segment_kinds.h"
#include "jttk/model/settings.h"
#include "jttk/model/shape_decoding.h"

namespace jttk {

namespace diag = loftbay::diag;

namespace {

// Costs in units (64 = one occurrence): a name one unit per byte beyond 64; a shape 8 occurrences and 2 units
// per corner, each time that it is handed out; decoding one unit per 128 bytes of arrays.
constexpr std::uint64_t kFreeNameBytes = 64;
constexpr std::uint64_t kUnitsPerShape = 8 * WorkBudget::kUnitsPerPlace;  // it has so many more log lines
constexpr std::uint64_t kUnitsPerCorner = 2;
constexpr std::uint64_t kDecodedBytesPerUnit = 128;
constexpr std::uint32_t kFreeAttributes = 16;

std::uint64_t unitsOfName(std::size_t bytes) { return bytes > kFreeNameBytes ? bytes - kFreeNameBytes : 0; }

// How many corners have a coordinate that is no finite number.
std::size_t cornersWithoutPlace(const ShapeGeometry& geometry) {
  const auto is_number = [](float value) { return std::isfinite(value); };
  const auto& positions = geometry.positions;
  if (std::all_of(positions.begin(), positions.end(), is_number)) return 0;
  const auto has_no_place = [&](std::uint32_t corner) {
    const auto first = positions.begin() + 3 * static_cast<std::ptrdiff_t>(corner);
    return !std::all_of(first, first + 3, is_number);
  };
  return static_cast<std::size_t>(
      std::count_if(geometry.corner_positions.begin(), geometry.corner_positions.end(), has_no_place));
}

}  // namespace

Model::Model(std::unique_ptr<Document> main)
    : library_(std::move(main), settings().allow_outside, settings().search_folders),
      memory_(std::make_shared<MemoryBudget>()),
      cache_(settings().shape_cache_bytes) {}

Model::~Model() {
  try {
    reportOwnTransforms();
    library_.reportNotes();
  } catch (...) {
    reportOfMissingNotes();
  }
}

bool Model::reportPlaces() {
  library_.reportLimit(Library::Limit::Places, library_.mainFile()->document->nearestLabel(kNone),
                       "the model places more than " + std::to_string(library_.budget().placeLimit()) +
                           " nodes or shapes; what is beyond is left out (--max-places)");
  return false;
}

bool Model::hasRoom() { return library_.budget().contents().left() > 0 || reportPlaces(); }

bool Model::countOccurrence(NodeRef node) {
  if (node.node != kNone) {
    const std::uint64_t name = unitsOfName(node.document().graph.text(node.data().name).size());
    if (name > library_.budget().contents().left()) return reportPlaces();
  }
  return library_.budget().places().take(WorkBudget::kUnitsPerPlace) || reportPlaces();
}

void Model::countName(std::size_t bytes) { library_.budget().contents().spend(unitsOfName(bytes)); }

bool Model::countShape() { return library_.budget().contents().take(kUnitsPerShape) || reportPlaces(); }

bool Model::countCorners(std::size_t corners) {
  return library_.budget().contents().take(kUnitsPerCorner * corners) || reportPlaces();
}

bool Model::applyAttributes(NodeRef ref, Inherited& inherited, Matrix& matrix) {
  const SceneGraph& graph = ref.document().graph;
  const Node& node = ref.data();
  bool any = false;
  if (node.attributes.count > kFreeAttributes) library_.spend(node.attributes.count);
  for (std::uint32_t i = 0; i < node.attributes.count; ++i) {
    const std::uint32_t index = graph.node_attributes[node.attributes.first + i];
    if (index == kNone) continue;
    const Attribute& attribute = graph.attributes[index];
    if (attribute.kind == AttributeKind::Material) {
      inherited.material = materials_.apply(inherited.material, graph, index);
    }
    if (attribute.kind != AttributeKind::Transform || (attribute.state & Attribute::kIgnore) != 0) continue;
    if (inherited.transform_is_final && (attribute.state & Attribute::kForce) == 0) continue;
    checkTransform(ref, index);
    matrix = homogenised(graph.transforms[attribute.value] * matrix);
    any = true;
    if ((attribute.state & Attribute::kFinal) != 0) inherited.transform_is_final = true;
  }
  return any;
}

void Model::checkTransform(NodeRef ref, std::uint32_t attribute) {
  Document& document = ref.document();
  if (!document.checked_transforms.insert(attribute).second) return;
  const Attribute& transform = document.graph.attributes[attribute];
  const auto places = checkPlaces(document.graph.transforms[transform.value]);
  if (places) return;
  library_.lost(document.nearestLabel(ref.node), loftbay::host::toHostPath(document.path) +
                                                     ": scene graph: the transform " +
                                                     std::to_string(transform.id) + " of the " +
                                                     nodeText(ref.data()) + " " + places.error().text());
}

void Model::checkCoordinates(NodeRef shape, const std::string& part_name, const ShapeGeometry& geometry) {
  const std::size_t corners = cornersWithoutPlace(geometry);
  if (corners == 0) return;
  Document& document = shape.document();
  if (!document.reported_coordinates.insert(shape.node).second) return;
  const std::uint32_t entry = geometryEntry(document, shape.data());
  const std::string segment =
      entry == kNone ? "" : "segment " + document.graph.late_loaded[entry].segment.text() + ": ";
  library_.lost(part_name, loftbay::host::toHostPath(document.path) + ": " + segment +
                               nodeText(shape.data()) + ": " + std::to_string(corners) + " of " +
                               std::to_string(geometry.corner_positions.size()) +
                               " corners have coordinates that are no finite numbers");
}

void Model::noteOwnTransform(const std::string& instance) {
  ++own_transforms_;
  if (own_transform_names_.size() < kNamesShown && std::ranges::count(own_transform_names_, instance) == 0)
    own_transform_names_.push_back(instance);
}

void Model::reportOwnTransforms() const {
  if (own_transforms_ == 0) return;
  std::string text = std::to_string(own_transforms_);
  text += own_transforms_ == 1 ? " instanced part lost its own transformation"
                               : " instanced parts lost their own transformation";
  for (std::size_t i = 0; i < own_transform_names_.size(); ++i)
    text += (i == 0 ? ": " : ", ") + own_transform_names_[i];
  if (own_transform_names_.size() == kNamesShown && own_transforms_ > kNamesShown) text += ", …";
  diag::programSeams().observer->note(text);
}

void Model::reportOfMissingNotes() const noexcept {
  try {
    const std::string file = loftbay::host::toHostPath(library_.mainFile()->document->path);
    diag::programSeams().observer->lost(file, "out of memory: some notes are missing");
  } catch (...) {
    // Nor is there memory for this.
  }
}

const Matrix* Model::keep(const Matrix& matrix) { return &matrices_.emplace_back(matrix); }

bool Model::hasMaterials() {
  if (library_.hasMaterials()) return true;
  openAllFiles(library_);
  return library_.hasMaterials();
}

void Model::reportFacts(NodeRef shape, const std::string& part_name, const ShapeFacts& facts) {
  Document& document = shape.document();
  if (!facts.doubt.empty() && document.reported_doubts.insert(shape.node).second) {
    library_.lost(part_name, loftbay::host::toHostPath(document.path) + ": " + facts.doubt +
                                 "; the shape is doubtful, and is kept");
  }
  if (!facts.coordinate_note.empty()) {
    noteShape(shape, part_name, document.noted_coordinates, "has odd coordinates: " + facts.coordinate_note,
              "have coordinates that are in doubt");
  }
  if (!facts.unread_attributes.empty()) {
    noteShape(shape, part_name, document.reported_attributes,
              "was read without some of its vertex attributes: " + facts.unread_attributes,
              "were read without some of their vertex attributes");
  }
}

void Model::noteShape(NodeRef shape, const std::string& part_name,
                      std::unordered_set<std::uint32_t>& reported, const std::string& text,
                      const char* of_more) {
  constexpr std::size_t kMostNotes = 20;  // of one file, as all its shapes are usually alike
  if (reported.size() > kMostNotes || !reported.insert(shape.node).second) return;
  const std::string file = loftbay::host::toHostPath(shape.document().path);
  if (reported.size() > kMostNotes) {
    library_.note(file + ": more shapes " + of_more);
    return;
  }
  library_.note(file + ": \"" + part_name + "\": " + kindName(shape.data().kind) + " " +
                std::to_string(shape.data().id) + " " + text);
}

std::shared_ptr<const ShapeArrays> Model::countMemory(ShapeArrays arrays, std::uint64_t before) {
  auto counted = std::make_unique<const ShapeArrays>(std::move(arrays));
  const std::uint64_t size = counted->sizeBytes();
  memory_->giveBackTo(before, size);
  const std::uint64_t held = memory_->taken() - before;
  return {counted.release(), [memory = memory_, held](const ShapeArrays* gone) {
            memory->giveBack(held);
            delete gone;
          }};
}

bool Model::isPlaceholder(NodeRef shape) {
  const Document& document = shape.document();
  return geometryEntry(document, shape.data()) == kNone && unreadGeometry(document, shape.data()) != nullptr;
}

std::shared_ptr<const ShapeArrays> Model::shapeArrays(NodeRef shape, const std::string& part_name) {
  Document& document = shape.document();
  if (document.reported.contains(shape.node)) return nullptr;
  if (latest_ && latest_document_ == &document && latest_node_ == shape.node) return latest_;
  const ShapeCache::Key key{&document, shape.node, 0, 0};
  if (auto kept = cache_.find(key)) return kept;
  const std::uint64_t before = memory_->taken();
  const std::uint64_t asked_before = memory_->asked();
  memory_->setLimit(library_.budget().memoryLimit());
  Result<ShapeGeometry> geometry = decodeShape(document, shape.data(), *memory_);
  library_.budget().contents().spend((memory_->asked() - asked_before) / kDecodedBytesPerUnit);
  if (!geometry) {
    memory_->giveBackTo(before);
    document.reported.insert(shape.node);
    library_.lostBy(geometry.error(), part_name, document);
    return nullptr;
  }
  reportFacts(shape, part_name, geometry->facts);
  checkCoordinates(shape, part_name, *geometry);
  if (!geometry->colors.empty() && document.counted_colors.insert(shape.node).second) {
    library_.notes().add(ModelNotes::Kind::VertexColors, 1);
  }
  auto arrays = countMemory(makeShapeArrays(std::move(*geometry)), before);
  cache_.keep(key, arrays);
  latest_document_ = &document;
  latest_node_ = shape.node;
  latest_ = arrays;
  return arrays;
}

void Model::releaseShapes() {
  latest_.reset();
  for (Holder* holder : holders_) holder->release();
  holders_.clear();
}

}  // namespace jttk
