#include "jttk/model/part.h"

#include <algorithm>

#include "jttk/graph/shown_children.h"
#include "jttk/model/names.h"
#include "jttk/model/part_shapes.h"
#include "jttk/model/settings.h"

namespace jttk {

std::string Part::name() const {
  return given_name_ ? *given_name_ : productName(product_, reached_, model_.library());
}

bool Part::looksLike(const Part& other) const {
  const NodeRef& content = product_.content;
  const NodeRef& others = other.product_.content;
  const bool same_content =
      content.node == others.node && (content.node == kNone || &content.document() == &others.document());
  return same_content && product_.content_is_child == other.product_.content_is_child &&
         inherited_.transform_is_final == other.inherited_.transform_is_final &&
         model_.materials().areEqual(inherited_.material, other.inherited_.material) &&
         exact_.isOf(other.exact_);
}

// Exact geometry replaces the facets and their nodes, and with them the materials on these nodes. If all
// shapes share one, it becomes the part's.
MaterialStates::State Part::materialInForce() {
  if (!settings().exact_geometry || !exact_.exists()) return inherited_.material;
  static_cast<void>(levels());
  if (offers_exact_ || levelZeroIsEmpty()) return inherited_.material;
  const Level& level = levels_->front();
  const auto differs = [&](const ShapeOccurrence& shape) { return shape.material != level.front().material; };
  return std::any_of(level.begin(), level.end(), differs) ? inherited_.material : level.front().material;
}

std::vector<Level> Part::statedLevels() { return collectShapes(model_, product_, inherited_).levels; }

const std::vector<Level>& Part::levels() {
  if (levels_) return *levels_;
  PartShapes shapes = collectShapes(model_, product_, inherited_);
  levels_ = std::move(shapes.levels);
  // What is hidden must not be shown in another form either.
  if (shapes.hides_finest) {
    dropLevelsBefore(wantedLevel(*levels_));
  } else if (product_.content.node != kNone) {
    chooseFirstLevel();
  }
  const bool is_level = offers_exact_as_level_ && wantsExactGeometry();
  if (is_level && exactArrays(currentTessValues())) offerExactGeometry();
  if (levels_->empty()) noteWireframe();
  if (!exact_.exists() && levelZeroIsEmpty() && !hidesItsShapes()) reportUnreadGeometry();
  return *levels_;
}

// Null shapes are shapes that show nothing.
bool Part::levelZeroIsEmpty() const {
  if (level_zero_yields_) return !*level_zero_yields_;
  if (levels_->empty()) return true;
  const Level& level = levels_->front();
  return std::all_of(level.begin(), level.end(), [](const ShapeOccurrence& shape) {
    return shape.ref.data().kind == NodeKind::NullShape;
  });
}

// A part whose nodes are all hidden has no shapes because they must not be seen.
bool Part::hidesItsShapes() const {
  if (product_.content.node == kNone || !levels_->empty()) return false;
  const SceneGraph& graph = product_.content.document().graph;
  if (product_.content_is_child) return !isShown(graph, product_.content.node);
  const Range children = product_.content.data().children;
  for (std::uint32_t i = 0; i < children.count; ++i) {
    if (isShown(graph, graph.children[children.first + i])) return false;
  }
  return children.count > 0;
}

bool Part::wantsExactGeometry() {
  static_cast<void>(levels());
  if (!exact_.exists()) return false;
  return levelZeroIsEmpty() ? !hidesItsShapes() : settings().exact_geometry;
}

std::shared_ptr<const ShapeArrays> Part::exactArrays(const TessValues& values) {
  const bool has_facets = !offers_exact_ && !levelZeroIsEmpty();
  return exact_.arrays(values, name(), box(), has_facets);
}

// The box that the file states: of the part itself, or else round its shapes.
const float* Part::box() {
  if (box_) return box_->data();
  for (const NodeRef& ref : product_.chain) {
    if (ref.data().statistics != kNone) {
      box_ = ref.document().graph.statistics[ref.data().statistics].box;
      return box_->data();
    }
  }
  if (levels_->empty()) return nullptr;
  for (const ShapeOccurrence& shape : levels_->front()) {
    // Shapes with a transform are left out: their boxes would have to be moved first.
    if (shape.ref.data().statistics == kNone || shape.transform != nullptr) continue;
    const auto& own = shape.ref.document().graph.statistics[shape.ref.data().statistics].box;
    if (!box_) box_ = own;
    for (std::size_t k = 0; k < 3; ++k) {
      (*box_)[k] = std::min((*box_)[k], own[k]);
      (*box_)[k + 3] = std::max((*box_)[k + 3], own[k + 3]);
    }
  }
  return box_ ? box_->data() : nullptr;
}

void Part::offerExactGeometry() {
  noteOneColor();
  if (levels_->empty()) levels_->emplace_back();
  Level& level = levels_->front();
  ShapeOccurrence exact;
  exact.ref = product_.top();
  if (!level.empty()) exact = level.front();  // its material
  exact.transform = nullptr;
  exact.is_exact = true;
  level.assign(1, exact);
  offers_exact_ = true;
}

bool Part::offersExactGeometry() {
  static_cast<void>(levels());
  return offers_exact_;
}

void Part::dropLevelsBefore(std::size_t level) {
  levels_->erase(levels_->begin(), levels_->begin() + static_cast<std::ptrdiff_t>(level));
}

// A wireframe shows the edges of a body; a part that has nothing else comes without a shape.
void Part::noteWireframe() {
  for (const NodeRef& ref : product_.chain) {
    Document& document = ref.document();
    const Range segments = ref.data().late_loaded;
    for (std::uint32_t i = 0; i < segments.count; ++i) {
      const TocEntry* entry = document.file->find(document.graph.late_loaded[segments.first + i].segment);
      if (entry == nullptr || entry->type != SegmentType::Wireframe) continue;
      if (document.reported.insert(ref.node).second) {
        std::string text("\"");
        text.append(name()).append("\" has no shapes but a wireframe, which is left out");
        model_.library().note(text);
      }
      return;
    }
  }
}

}  // namespace jttk
