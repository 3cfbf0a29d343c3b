#include "jttk/interface/inspect.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "diag/program_seams.h"
#include "host/path.h"
#include "jttk/interface/object_factory.h"
#include "jttk/interface/part.h"
#include "jttk/model/model.h"
#include "jttk/model/name_key.h"
#include "jttk/model/node_properties.h"

namespace jttk {

namespace diag = loftbay::diag;

namespace {

// Takes what the toolkit reports while a file is described.
class Listener final : public diag::Observer {
 public:
  explicit Listener(FileDescription& file) : file_(file), before_(diag::programSeams()) {
    diag::programSeams().observer = this;
    diag::programSeams().toolkit_messages = &nowhere_;
  }
  ~Listener() override { diag::programSeams() = before_; }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  void lost(std::string_view part, std::string_view reason) override {
    file_.losses.push_back({std::string(part), std::string(reason)});
  }
  void note(std::string_view text) override { file_.notes.emplace_back(text); }

 private:
  FileDescription& file_;
  diag::ProgramSeams before_;
  std::ostream nowhere_{nullptr};
};

// Whether the toolkit reads segments of this type.
bool isRead(SegmentType type) {
  return type == SegmentType::SceneGraph || type == SegmentType::Shape || type == SegmentType::XtBrep ||
         type == SegmentType::MultiXtBrep ||
         (type >= SegmentType::ShapeLod0 && type <= SegmentType::ShapeLod9);
}

void listCutOff(const JtFile& jt, const std::string& path, std::vector<std::string>& unreadable) {
  for (const TocEntry* entry : jt.cutOff()) {
    unreadable.push_back(loftbay::host::toHostPath(path) + ": segment " + entry->id.text() + " (" +
                         segmentTypeName(entry->type) +
                         ") lies behind the end of the file or goes beyond it");
  }
}

void describeContainer(const Document& document, FileDescription& file) {
  const JtFile& jt = *document.file;
  file.major = jt.version().major;
  file.minor = jt.version().minor;
  file.big_endian = jt.byteOrder() == ByteOrder::Big;
  file.header_text = jt.headerText();
  const auto last = file.header_text.find_last_not_of(" \r\n\t\0");
  file.header_text.resize(last == std::string::npos ? 0 : last + 1);
  file.duplicate_entries = jt.duplicateEntries();
  const std::vector<const TocEntry*> cut = jt.cutOff();
  listCutOff(jt, document.path, file.unreadable_segments);
  std::map<std::pair<SegmentType, std::string>, std::size_t> counts;
  for (const TocEntry& entry : jt.contents()) {
    const Result<Segment> segment = jt.segment(entry);
    ++counts[{entry.type, segment ? compressionName(segment->compression) : "unreadable"}];
    if (segment || std::find(cut.begin(), cut.end(), &entry) != cut.end()) continue;
    file.unreadable_segments.push_back(loftbay::host::toHostPath(document.path) + ": " +
                                       segment.error().text());
  }
  for (const auto& [key, count] : counts) {
    file.segments.push_back({segmentTypeName(key.first), key.second, count, isRead(key.first)});
  }
  for (const UnknownElement& element : document.graph.unknown) ++file.unknown[element.kind.text()];
}

void countUnread(const Document& document, FileDescription& file) {
  for (const TocEntry& entry : document.file->contents()) {
    if (!isRead(entry.type)) ++file.unread_segments[segmentTypeName(entry.type)];
  }
}

// The box that the root of a file states, where it is one.
std::optional<std::array<float, 6>> statedBox(const SceneGraph& graph) {
  if (graph.root >= graph.nodes.size() || graph.nodes[graph.root].statistics == kNone) return std::nullopt;
  const auto& box = graph.statistics[graph.nodes[graph.root].statistics].box;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const float low = box[axis];
    const float high = box[axis + 3];
    if (!std::isfinite(low) || !std::isfinite(high) || low > high) return std::nullopt;
  }
  return box;
}

void listProperties(const Document& document, FileDescription& file) {
  const SceneGraph& graph = document.graph;
  const std::string path = loftbay::host::toHostPath(document.path);
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) {
    const Node& node = graph.nodes[i];
    const std::vector<TextProperty> properties = propertiesOf(document, i, file.notes);
    if (properties.empty()) continue;
    NodeProperties& listed = file.properties.emplace_back(
        NodeProperties{path, node.id, kindName(node.kind), document.label(i), {}});
    for (const TextProperty& property : properties) listed.texts.emplace_back(property.key, property.value);
  }
}

const char* shapeName(JtkEntity::TypeID type) {
  switch (type) {
    case JtkEntity::JtkNULLSHAPE:
      return "null shape";
    case JtkEntity::JtkPOINTSET:
      return "point set";
    case JtkEntity::JtkLINESTRIPSET:
      return "polyline set";
    case JtkEntity::JtkPOLYGONSET:
      return "polygon set";
    case JtkEntity::JtkTRISTRIPSET:
      return "tri-strip set";
    default:
      return "primitive set";
  }
}

// Walks the product tree with a stack of its own.
class TreeLister {
 public:
  TreeLister(FileDescription& file, const DescribeOptions& options) : file_(file), options_(options) {}

  void run(JtkHierarchy* root) {
    steps_.push_back({root, 0});
    while (!steps_.empty()) {
      if (file_.tree.size() == options_.max_nodes) {
        file_.tree_is_cut = true;
        return;
      }
      const Step step = steps_.back();
      steps_.pop_back();
      list(step);
    }
  }

 private:
  struct Step {
    JtkHierarchy* node;
    std::size_t depth;
  };

  void list(const Step& step) {
    NodeDescription& node = file_.tree.emplace_back();
    node.depth = step.depth;
    node.name = step.node->getName().text();
    JtkTransform* transform = nullptr;
    step.node->getTransform(transform);
    node.has_transform = transform != nullptr;
    switch (step.node->typeID()) {
      case JtkEntity::JtkASSEMBLY:
        listAssembly(*static_cast<AssemblyObject*>(step.node), step.depth, node);
        break;
      case JtkEntity::JtkINSTANCE: {
        auto* instance = static_cast<InstanceObject*>(step.node);
        node.kind = "instance";
        node.has_material = hasMaterial(instance);
        steps_.push_back({instance->getReferencedNode(), step.depth + 1});
        break;
      }
      default:
        listPart(*static_cast<PartObject*>(step.node), node);
    }
  }

  static bool hasMaterial(JtkHierarchy* node) {
    JtkMaterial* material = nullptr;
    node->getMaterial(material);
    return material != nullptr;
  }

  void listAssembly(AssemblyObject& assembly, std::size_t depth, NodeDescription& node) {
    node.kind = "assembly";
    node.has_material = hasMaterial(&assembly);
    takeUnits(assembly.product(), node);
    findBefore(assembly.product(), node);
    if (node.listed_before) return;
    for (int i = assembly.numChildren(); i-- > 0;) {
      if (JtkHierarchy* child = assembly.getChild(i)) steps_.push_back({child, depth + 1});
    }
  }

  void listPart(PartObject& part, NodeDescription& node) {
    node.kind = "part";
    node.has_material = part.hasMaterialInForce();
    takeUnits(part.product(), node);
    findBefore(part.product(), node);
    if (node.listed_before) return;
    // Without decoding it is unknown which level has geometry, so the stated levels are listed.
    const auto stated =
        options_.decode_shapes ? decltype(part.part().statedLevels())() : part.part().statedLevels();
    const auto& levels = options_.decode_shapes ? part.part().levels() : stated;
    if (!options_.decode_shapes && levels.empty() && part.part().hasExactGeometry())
      node.levels.push_back({exactShape()});
    node.levels.resize(std::max(levels.size(), node.levels.size()));
    // Asked so that a part whose exact geometry cannot be tessellated is named among the losses.
    if (options_.decode_shapes) (void)part.requiresTessellation();
    for (std::size_t level = 0; level < levels.size(); ++level) {
      const auto& places = levels[level];
      for (std::size_t i = 0; i < places.size(); ++i) {
        ShapeDescription shape;
        // Exact geometry that replaces shapes becomes strips.
        const NodeKind kind = places[i].ref.data().kind;
        shape.kind = kindName(isShape(kind) ? kind : NodeKind::TriStripSet);
        shape.is_exact = places[i].is_exact;
        shape.stated_triangles = statedTriangles(places[i].ref);
        if (options_.decode_shapes) decode(part, level, i, shape);
        node.levels[level].push_back(std::move(shape));
      }
      part.model().releaseShapes();
    }
  }

  // Placeholder entry for exact geometry that was not tessellated.
  static ShapeDescription exactShape() {
    ShapeDescription shape;
    shape.kind = kindName(NodeKind::TriStripSet);
    shape.is_exact = true;
    return shape;
  }

  static std::optional<std::size_t> statedTriangles(const NodeRef& ref) {
    const Node& node = ref.data();
    if (node.kind != NodeKind::TriStripSet || node.statistics == kNone) return std::nullopt;
    const std::int32_t most = ref.document().graph.statistics[node.statistics].polygon_count[1];
    if (most < 0) return std::nullopt;
    return static_cast<std::size_t>(most);
  }

  static void decode(PartObject& part, std::size_t level, std::size_t index, ShapeDescription& description) {
    JtkShape* shape = nullptr;
    part.getShape(shape, static_cast<int>(level), static_cast<int>(index));
    description.kind.clear();
    if (shape == nullptr) return;
    description.decoded = true;
    description.kind = shapeName(shape->typeID());
    const ShapeGeometry& geometry = static_cast<ShapeObject*>(shape)->arrays()->geometry;
    description.sets = geometry.primitiveCount();
    const std::size_t corners = geometry.corner_positions.size();
    switch (geometry.kind) {
      case PrimitiveKind::Polylines:
        description.lines = corners - description.sets;
        break;
      case PrimitiveKind::Points:
        description.points = corners;
        break;
      case PrimitiveKind::TriangleStrips:
      case PrimitiveKind::Polygons:
        description.triangles = corners - 2 * description.sets;
        break;
      case PrimitiveKind::Empty:
        break;
    }
  }

  // `node` is the last of the tree so far.
  void findBefore(const Product& product, NodeDescription& node) {
    const NodeRef top = product.top();
    if (top.node == kNone) return;
    const auto [before, is_new] = listed_.try_emplace({&top.document(), top.node}, file_.tree.size() - 1);
    node.listed_before = !is_new;
    if (!is_new) node.first_listed = before->second;
  }

  void takeUnits(const Product& product, NodeDescription& node) {
    for (const NodeRef& ref : product.chain) {
      if (node.units.empty()) node.units = ref.document().graph.text(ref.data().units);
    }
    std::string lower = foldCase(node.units);
    if (file_.units.empty() && lower != "unknown") file_.units = std::move(lower);
  }

  FileDescription& file_;
  const DescribeOptions& options_;
  std::vector<Step> steps_;
  std::map<std::pair<const Document*, std::uint32_t>, std::size_t> listed_;  // place in the tree
};

}  // namespace

FileDescription describeFile(const std::string& program_path, const DescribeOptions& options) {
  FileDescription file;
  const Listener listener(file);
  Result<std::unique_ptr<Document>> document = openDocument(program_path);
  if (!document) {
    const Error& error = document.error();
    const std::string path = loftbay::host::toHostPath(program_path);
    file.losses.push_back({path, path + ": " + error.text()});
    // The container may be sound where the scene graph is not.
    if (auto container = JtFile::open(program_path)) {
      Document shell;
      shell.path = program_path;
      shell.file = std::move(*container);
      shell.file->setBudget(newBudget());
      describeContainer(shell, file);
      countUnread(shell, file);
    }
    return file;
  }
  file.loaded = true;
  describeContainer(**document, file);
  file.box = statedBox((*document)->graph);
  JtkHierarchy* root = createRoot(std::move(*document));
  root->ref();
  TreeLister(file, options).run(root);
  const Library& library = dynamic_cast<ModelNode&>(*root).model().library();
  const std::vector<const Document*> documents = library.documents();
  for (std::size_t i = 1; i < documents.size(); ++i) {
    file.files.push_back(loftbay::host::toHostPath(documents[i]->path));
    listCutOff(*documents[i]->file, documents[i]->path, file.unreadable_segments);
  }
  for (const Document* each : documents) {
    countUnread(*each, file);
    if (options.properties) listProperties(*each, file);
  }
  root->unref();
  return file;
}

}  // namespace jttk
