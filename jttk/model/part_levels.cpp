// Which level of detail a part hands out first: the wanted one if it gives any geometry, then exact geometry
// that can be read, then the next coarser one that does, then the next finer one. Whether a level gives
// geometry is known for sure only when a shape of it is decoded; that is done where there is a choice, and
// the decoded shape is at hand when it is asked for next.
#include <algorithm>
#include <set>

#include "host/path.h"
#include "jttk/graph/shown_children.h"
#include "jttk/model/part.h"
#include "jttk/model/segment_kinds.h"
#include "jttk/model/settings.h"

namespace jttk {

std::size_t wantedLevel(const std::vector<Level>& levels) {
  if (levels.empty()) return 0;
  return std::min<std::size_t>(settings().level_of_detail, levels.size() - 1);
}

// Why levels gave nothing.
struct Part::Tried {
  bool damage = false;
  bool unread_kind = false;  // shapes whose only segment is of a kind that is not read
};

bool Part::yields(std::size_t level, Tried& tried) {
  for (const ShapeOccurrence& where : (*levels_)[level]) {
    const Node& node = where.ref.data();
    if (node.kind == NodeKind::NullShape) continue;
    if (model_.isPlaceholder(where.ref)) {
      tried.unread_kind = true;
      continue;
    }
    const auto arrays = model_.shapeArrays(where.ref, name());
    if (arrays && arrays->geometry.primitiveCount() > 0) return true;
    if (!arrays) tried.damage = true;
  }
  return false;
}

void Part::chooseFirstLevel() {
  const std::size_t count = levels_->size();
  if (count == 0) return;
  const std::size_t wanted = wantedLevel(*levels_);
  if (count == 1 && !exact_.exists()) return;  // no choice
  const bool exact_is_known = exact_.isOfAReadableKind();
  // Where exact geometry is wanted and can be made, the facets are not decoded.
  const auto has_shapes = [](const auto& level) { return !level.empty(); };
  const bool any_shape = std::any_of(levels_->begin(), levels_->end(), has_shapes);
  const bool exact_is_wanted = exact_is_known && settings().exact_geometry;
  if (exact_is_wanted && exact_.arrays(currentTessValues(), name(), box(), any_shape)) return;
  std::vector<std::size_t> order;
  for (std::size_t i = wanted; i < count; ++i) order.push_back(i);
  for (std::size_t i = wanted; i-- > 0;) order.push_back(i);
  Tried tried;
  for (const std::size_t level : order) {
    if (yields(level, tried)) {
      level_zero_yields_ = true;
      if (level != wanted) reportOtherLevel(wanted, level, tried);
      dropLevelsBefore(level);
      return;
    }
    if (level != wanted || !exact_is_known || settings().level_of_detail != kFinestLevel) continue;
    if (exact_.arrays(currentTessValues(), name(), box(), false)) break;
    tried.damage = true;  // and its reason is reported
  }
  level_zero_yields_ = false;
  if (exact_is_known && exact_.arrays(currentTessValues(), name(), box(), false)) return;
  // For exact geometry beside shapes there is only a note, which is not enough when the shapes show nothing.
  const NodeRef top = product_.top();
  if (exact_is_wanted && any_shape && top.document().reported_levels.insert(top.node).second) {
    model_.library().lost(name(), loftbay::host::toHostPath(top.document().path) +
                                      ": neither the exact geometry nor any level of detail can be shown");
  }
  const auto with_shapes = std::find_if(levels_->begin(), levels_->end(), has_shapes);
  if (with_shapes != levels_->end()) levels_->erase(levels_->begin(), with_shapes);
}

void Part::reportOtherLevel(std::size_t wanted, std::size_t chosen, const Tried& tried) {
  const NodeRef top = product_.top();
  Document& document = top.document();
  if (!document.reported_levels.insert(top.node).second) return;
  if (tried.damage) {
    model_.library().lost(name(), loftbay::host::toHostPath(document.path) + ": level of detail " +
                                      std::to_string(wanted) + " cannot be read; level " +
                                      std::to_string(chosen) + " is shown instead");
  } else if (tried.unread_kind || exact_.exists()) {
    model_.library().notes().add(ModelNotes::Kind::CoarserThanUnread, name());
  } else {
    model_.library().notes().add(ModelNotes::Kind::CoarserLevel, name());
  }
}

// A part without shapes and exact geometry of its own may have nodes below it with geometry that cannot be
// read.
void Part::reportUnreadGeometry() {
  if (product_.content.node == kNone) return;
  Document& document = product_.content.document();
  const SceneGraph& graph = document.graph;
  std::set<std::uint32_t> visited;
  std::vector<std::uint32_t> left = {product_.content.node};
  while (!left.empty()) {
    const std::uint32_t index = left.back();
    left.pop_back();
    if (!model_.library().spend(1) && !model_.hasRoom()) return;
    if (!isShown(graph, index) || !visited.insert(index).second) continue;
    const Node& node = graph.nodes[index];
    // Other shapes report it themselves.
    const bool tells = !isShape(node.kind) || node.kind == NodeKind::NullShape;
    const LateLoaded* unread = tells ? unreadGeometry(document, node) : nullptr;
    if (unread != nullptr && document.reported_segments.insert(unread->segment).second) {
      model_.library().lost(name(), loftbay::host::toHostPath(document.path) + ": segment " +
                                        unread->segment.text() + ": " +
                                        unreadText(segmentType(document, *unread)));
    }
    for (std::uint32_t i = node.children.count; i-- > 0;) {
      left.push_back(graph.children[node.children.first + i]);
    }
  }
}

// Facets of several colours that exact geometry replaces: it has one colour.
void Part::noteOneColor() {
  if (levels_->empty()) return;
  const auto color = [&](const ShapeOccurrence& shape) {
    const MaterialValues* values = model_.materials().values(shape.material);
    return values == nullptr ? std::nullopt : std::optional(values->diffuse);
  };
  const auto& level = levels_->front();
  const auto differs = [&](const ShapeOccurrence& shape) { return color(shape) != color(level.front()); };
  if (!std::any_of(level.begin(), level.end(), differs)) return;
  const NodeRef top = product_.top();
  if (!top.document().reported_colors.insert(top.node).second) return;
  model_.library().notes().add(ModelNotes::Kind::SeveralColors, name());
}

}  // namespace jttk
