#include "jttk/model/part.h"

#include <algorithm>

#include "jttk/model/entity_list.h"
#include "jttk/settings.h"

namespace jttk {

namespace {

using Level = std::vector<PartObject::ShapePlace>;

// Collects the shapes below a part. All nodes below belong to it, also assemblies and instances.
class Collector {
 public:
  Collector(Model& model, std::vector<Level>& levels) : model_(model), levels_(levels) {}

  // Whether a node of the finest level is hidden.
  [[nodiscard]] bool hidesFinest() const { return hides_finest_; }

  void run(const Product& product, const Inherited& inherited) {
    steps_.push_back({product.content, inherited, kAnyLevel, false});
    if (!product.content_is_child) steps_.back().end = childCount(product.content);
    while (!steps_.empty()) {
      if (steps_.back().end == kNotVisited) {
        if (!model_.library().spend(WorkBudget::kUnitsPerPlace) && !model_.hasRoom()) return;
        const Step step = steps_.back();
        steps_.pop_back();
        visit(step);
      } else if (steps_.back().next == steps_.back().end) {
        steps_.pop_back();
      } else if (!visitNextChild()) {
        return;
      }
    }
  }

 private:
  static constexpr std::uint32_t kAnyLevel = kNone;  // value of Step::level above any level-of-detail node
  static constexpr std::uint32_t kNotVisited = kNone;
  static constexpr std::uint64_t kUnitsPerLevel = 16;

  // A node that is to be visited or, once it was, the next of its children.
  struct Step {
    NodeRef ref;
    Inherited inherited;
    std::uint32_t level;
    bool has_own_material;
    bool children_are_levels = false;
    std::uint32_t next = 0;
    std::uint32_t end = kNotVisited;
  };

  static std::uint32_t childCount(NodeRef ref) { return ref.node == kNone ? 0 : ref.data().children.count; }

  void visit(Step step) {
    const MaterialStates::State above = step.inherited.material;
    Matrix matrix = step.inherited.transform == nullptr ? kIdentity : *step.inherited.transform;
    if (model_.applyAttributes(step.ref, step.inherited, matrix)) {
      step.inherited.transform = matrix == kIdentity ? nullptr : model_.keep(matrix);
    }
    step.has_own_material = step.has_own_material || step.inherited.material != above;
    const NodeKind kind = step.ref.data().kind;
    if (isShape(kind)) {
      const std::uint32_t level = step.level == kAnyLevel ? 0 : step.level;
      needLevels(level + 1);
      levels_[level].push_back(
          {step.ref, step.inherited.material, step.has_own_material, step.inherited.transform, nullptr});
    } else if (kind == NodeKind::Partition && step.ref.document().isReference(step.ref.node)) {
      const FileWay* way = model_.library().follow(step.ref);
      if (way == nullptr || !isShown(way->document->graph, way->document->graph.root)) return;
      step.ref = {way, way->document->graph.root};
      steps_.push_back(step);
    } else if (isLod(kind)) {
      visitLevels(step);
    } else {
      step.end = childCount(step.ref);
      steps_.push_back(step);
    }
  }

  // Child k of a level of detail node is level k; inside a level only the finest of another such node counts.
  void visitLevels(Step step) {
    const Node& node = step.ref.data();
    const bool nested = step.level != kAnyLevel;
    const std::uint32_t count = nested ? std::min(node.children.count, 1U) : node.children.count;
    if (count == 0) return;
    if (!nested) {
      if (!model_.library().spend(kUnitsPerLevel * count) && !model_.hasRoom()) return;
      needLevels(count);
    }
    const SceneGraph& graph = step.ref.document().graph;
    const std::uint32_t finest = graph.children[node.children.first];
    if (finest < graph.nodes.size() && !isShown(graph, finest)) hides_finest_ = true;
    step.children_are_levels = !nested;
    step.end = count;
    steps_.push_back(step);
  }

  // False when nothing more may be looked at.
  bool visitNextChild() {
    Step& step = steps_.back();
    const std::uint32_t number = step.next++;
    const SceneGraph& graph = step.ref.document().graph;
    const Node& node = step.ref.data();
    const std::uint32_t child = graph.children[node.children.first + number];
    const bool is_selected = node.kind != NodeKind::Switch || child == graph.selectedChild(node);
    if (!is_selected || !isShown(graph, child) || !graph.nodes[child].has_shapes) {
      return model_.library().spend(1) || model_.hasRoom();
    }
    const std::uint32_t level = step.children_are_levels ? number : step.level;
    steps_.push_back({{step.ref.way, child}, step.inherited, level, step.has_own_material});
    return true;
  }

  void needLevels(std::size_t count) {
    if (levels_.size() < count) levels_.resize(count);
  }

  Model& model_;
  std::vector<Level>& levels_;
  std::vector<Step> steps_;
  bool hides_finest_ = false;
};

}  // namespace

PartObject::PartObject(Model& model, NodeRef near, std::string name)
    : HierarchyObject(model, Product{ProductKind::Part, {}, {near.way, kNone}, false}, Met::AsChild, {}),
      given_name_(std::move(name)),
      exact_(model, product_.chain) {}

PartObject::~PartObject() {
  if (!levels_) return;
  for (const Level& level : *levels_) {
    for (const ShapePlace& shape : level) {
      if (shape.object != nullptr) shape.object->unref();
    }
  }
}

std::string PartObject::name() { return given_name_ ? *given_name_ : HierarchyObject::name(); }

void PartObject::wasLeft() {
  HierarchyObject::wasLeft();
  model_.noteName(name(), *this);
}

bool PartObject::looksLike(const PartObject& other) const {
  const NodeRef& content = product_.content;
  const NodeRef& others = other.product_.content;
  const bool same_content =
      content.node == others.node && (content.node == kNone || &content.document() == &others.document());
  return same_content && product_.content_is_child == other.product_.content_is_child &&
         below_.transform_is_final == other.below_.transform_is_final &&
         model_.materials().areEqual(below_.material, other.below_.material) && exact_.isOf(other.exact_);
}

// Exact geometry replaces the facets and their nodes, and with them the materials on these nodes. If all
// shapes share one, it becomes the part's.
MaterialStates::State PartObject::materialInForce() {
  if (!settings().exact_geometry || !exact_.exists()) return below_.material;
  static_cast<void>(levels());
  if (offers_exact_ || levelZeroIsEmpty()) return below_.material;
  const Level& level = levels_->front();
  const auto differs = [&](const ShapePlace& shape) { return shape.material != level.front().material; };
  return std::any_of(level.begin(), level.end(), differs) ? below_.material : level.front().material;
}

void PartObject::getMaterial(JtkMaterial*& material) {
  material = model_.materials().material(materialInForce());
  if (material == nullptr && model_.hasMaterials()) material = model_.materials().grey();
}

std::vector<Level> PartObject::statedLevels() {
  std::vector<Level> stated;
  if (product_.content.node != kNone) Collector(model_, stated).run(product_, below_);
  return stated;
}

const std::vector<Level>& PartObject::levels() {
  if (levels_) return *levels_;
  levels_.emplace();
  if (product_.content.node != kNone) {
    Collector collector(model_, *levels_);
    collector.run(product_, below_);
    if (collector.hidesFinest()) {
      // What is hidden must not be shown in another form either.
      levels_->erase(levels_->begin(), levels_->begin() + static_cast<std::ptrdiff_t>(wantedLevel(*levels_)));
    } else {
      chooseFirstLevel();
    }
  }
  // The converter does not ask the parts of instances whether they need tessellation, so exact geometry is
  // offered as level 0.
  if (met_ == Met::AsTarget && wantsExactGeometry() && exactArrays()) offerExactGeometry();
  if (levels_->empty()) noteWireframe();
  if (!exact_.exists() && levelZeroIsEmpty() && !hidesItsShapes()) tellUnreadGeometry();
  return *levels_;
}

// Null shapes are shapes that show nothing.
bool PartObject::levelZeroIsEmpty() const {
  if (level_zero_yields_) return !*level_zero_yields_;
  if (levels_->empty()) return true;
  const Level& level = levels_->front();
  return std::all_of(level.begin(), level.end(),
                     [](const ShapePlace& shape) { return shape.ref.data().kind == NodeKind::NullShape; });
}

// A part whose nodes are all hidden has no shapes because they must not be seen.
bool PartObject::hidesItsShapes() const {
  if (product_.content.node == kNone || !levels_->empty()) return false;
  const SceneGraph& graph = product_.content.document().graph;
  if (product_.content_is_child) return !isShown(graph, product_.content.node);
  const Range children = product_.content.data().children;
  for (std::uint32_t i = 0; i < children.count; ++i) {
    if (isShown(graph, graph.children[children.first + i])) return false;
  }
  return children.count > 0;
}

bool PartObject::wantsExactGeometry() {
  static_cast<void>(levels());
  if (!exact_.exists()) return false;
  return levelZeroIsEmpty() ? !hidesItsShapes() : settings().exact_geometry;
}

std::shared_ptr<const ShapeArrays> PartObject::exactArrays(const TessValues& values) {
  const bool has_facets = !offers_exact_ && !levelZeroIsEmpty();
  return exact_.arrays(values, name(), box(), has_facets);
}

// The box that the file states: of the part itself, or else round its shapes.
const float* PartObject::box() {
  if (box_) return box_->data();
  for (const NodeRef& ref : product_.chain) {
    if (ref.data().figures != kNone) {
      box_ = ref.document().graph.figures[ref.data().figures].box;
      return box_->data();
    }
  }
  if (levels_->empty()) return nullptr;
  for (const ShapePlace& shape : levels_->front()) {
    // Shapes with a transform are left out: their boxes would have to be moved first.
    if (shape.ref.data().figures == kNone || shape.transform != nullptr) continue;
    const auto& own = shape.ref.document().graph.figures[shape.ref.data().figures].box;
    if (!box_) box_ = own;
    for (std::size_t k = 0; k < 3; ++k) {
      (*box_)[k] = std::min((*box_)[k], own[k]);
      (*box_)[k + 3] = std::max((*box_)[k + 3], own[k + 3]);
    }
  }
  return box_ ? box_->data() : nullptr;
}

void PartObject::offerExactGeometry() {
  noteOneColor();
  if (levels_->empty()) levels_->emplace_back();
  Level& level = levels_->front();
  ShapePlace place;
  place.ref = product_.top();
  if (!level.empty()) place = level.front();  // its material
  place.transform = nullptr;
  JtkMaterial* material = place.has_own_material ? model_.materials().material(place.material) : nullptr;
  place.object = new ShapeObject(model_, *this, material);
  place.object->ref();
  level.assign(1, place);
  offers_exact_ = true;
}

// A wireframe shows the edges of a body; a part that has nothing else comes without a shape.
void PartObject::noteWireframe() {
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

int PartObject::numShapeLODs() { return static_cast<int>(levels().size()); }

int PartObject::numShapes(int level) {
  if (level < 0 || level >= numShapeLODs()) return 0;
  return static_cast<int>((*levels_)[static_cast<std::size_t>(level)].size());
}

void PartObject::getShape(JtkShape*& shape, int level, int index) {
  shape = nullptr;
  if (index < 0 || index >= numShapes(level)) return;
  // Each call is one more occurrence of the shape in the scene.
  const std::string part_name = name();
  model_.countName(part_name.size());
  if (!model_.countShape()) return;
  ShapePlace& place = (*levels_)[static_cast<std::size_t>(level)][static_cast<std::size_t>(index)];
  if (place.object == nullptr) {
    JtkMaterial* material = place.has_own_material ? model_.materials().material(place.material) : nullptr;
    place.object = new ShapeObject(model_, place.ref, part_name, place.transform, material);
    place.object->ref();
  }
  if (!place.object->acquire()) return;
  if (model_.countCorners(place.object->arrays()->geometry.corner_positions.size())) {
    shape = place.object;
  } else if (isShape(place.ref.data().kind)) {
    // It will not fit anywhere else either; marked, so that it is not decoded again.
    place.ref.document().reported.insert(place.ref.node);
  }
}

int PartObject::requiresTessellation() {
  static_cast<void>(levels());
  if (offers_exact_ || !wantsExactGeometry() || !model_.countShape()) return 0;
  const auto arrays = exactArrays();
  if (!arrays || !model_.countCorners(arrays->geometry.corner_positions.size())) return 0;
  noteOneColor();
  return 1;
}

int PartObject::tessellate(JtkTessParams* parameters, JtkEntityList*& results) {
  results = nullptr;
  static_cast<void>(levels());
  const auto* given = static_cast<const TessParams*>(parameters);
  auto arrays = exactArrays(given == nullptr ? latestTessValues() : given->values());
  if (!arrays) return 0;
  results = new EntityList({new ShapeObject(model_, std::move(arrays))});
  return 1;
}

}  // namespace jttk
