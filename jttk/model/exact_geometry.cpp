// A part's exact geometry is in late loaded segments of the nodes that together are the part. What can be
// read is tessellated and joined into one set of strips; the rest is reported with file, segment, face and
// reason.
#include "jttk/model/exact_geometry.h"

#include <algorithm>
#include <bit>

#include "host/path.h"
#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"
#include "jttk/mesh/append.h"
#include "jttk/mesh/winding.h"
#include "jttk/model/segment_kinds.h"

namespace jttk {

namespace {

constexpr double kMillimetres = 1000;
constexpr std::size_t kMaxToldFaces = 100;   // of one segment
constexpr std::uint32_t kFreeSegments = 16;  // per node, searched at no cost to the work budget
// Bytes of exact geometry that are read in the time of one evaluation.
constexpr std::size_t kBytesPerWork = 16;

bool canBeRead(std::int32_t segment_type) {
  const auto type = static_cast<SegmentType>(segment_type);
  return type == SegmentType::XtBrep || type == SegmentType::MultiXtBrep;
}

}  // namespace

struct ExactGeometry::Losses {
  struct Loss {
    const Found* found;
    std::string reason;
  };
  std::vector<Loss> list;
  const Found* over_budget = nullptr;  // where the work that all parts may cost was used up
  std::optional<std::pair<const Found*, Error>> not_unpacked;
  void add(const Found& found, std::string reason) { list.push_back({&found, std::move(reason)}); }
};

ExactGeometry::ExactGeometry(Model& model, const std::vector<NodeRef>& chain) : model_(model), chain_(chain) {
  for (const NodeRef& ref : chain_) {
    const Document& document = ref.document();
    const Node& node = ref.data();
    for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
      const LateLoaded& entry = document.graph.late_loaded[node.late_loaded.first + i];
      const std::int32_t type = segmentType(document, entry);
      const auto is_known = [&](const Found& f) { return f.id == entry.segment && f.node.file == ref.file; };
      if (i >= kFreeSegments && !model_.library().spend(segments_.size() + 1) && !model_.hasRoom()) return;
      if (!isGeometryOfItsOwn(type) || std::any_of(segments_.begin(), segments_.end(), is_known)) continue;
      segments_.push_back({ref, entry.segment, type});
    }
  }
  // Beside segments of a kind that can be read, the others repeat the same geometry and are ignored.
  const auto is_other = [](const Found& f) { return !canBeRead(f.type); };
  if (!std::all_of(segments_.begin(), segments_.end(), is_other)) std::erase_if(segments_, is_other);
}

bool ExactGeometry::isOf(const ExactGeometry& other) const {
  return std::equal(segments_.begin(), segments_.end(), other.segments_.begin(), other.segments_.end(),
                    [](const Found& a, const Found& b) {
                      return a.id == b.id && &a.node.document() == &b.node.document();
                    });
}

bool ExactGeometry::isOfAReadableKind() const {
  return !segments_.empty() && canBeRead(segments_.front().type);
}

std::shared_ptr<const ShapeArrays> ExactGeometry::arrays(const TessValues& values,
                                                         const std::string& part_name, const float* box,
                                                         bool quietly) {
  const bool same = values == values_;
  if (segments_.empty() || (hopeless_ && same)) return nullptr;
  if (arrays_ && same) return arrays_;
  const ShapeCache::Key key = keyOf(values, box);
  values_ = values;
  arrays_ = model_.cache().find(key);
  hopeless_ = !arrays_ && model_.isHopeless(key);
  if (!arrays_ && !hopeless_) {
    Losses losses;
    arrays_ = make(values, box, losses);
    hopeless_ = !arrays_;
    if (hopeless_) model_.setHopeless(key);
    if (losses.over_budget != nullptr) reportNoWork(*losses.over_budget, part_name);
    if (losses.not_unpacked) {
      const auto& [found, error] = *losses.not_unpacked;
      model_.library().lostBy(error, part_name, found->node.document());
    }
    // Asked for again with other values, or for another occurrence: already reported.
    const Found* before = nullptr;
    bool is_new = false;
    for (const auto& [found, reason] : losses.list) {
      Document& document = found->node.document();
      if (found != before) is_new = document.reported_segments.insert(found->id).second;
      before = found;
      if (!is_new) continue;
      std::string where = loftbay::host::toHostPath(document.path);
      where.append(": segment ").append(found->id.text()).append(": ").append(reason);
      if (quietly && !arrays_) {
        model_.library().note(
            std::string(part_name).append(": the facets of the file are used: ").append(where));
      } else {
        model_.library().lost(part_name, where);
      }
    }
    if (arrays_) model_.cache().keep(key, arrays_);
  }
  if (arrays_) model_.holds(*this);
  return arrays_;
}

ShapeCache::Key ExactGeometry::keyOf(const TessValues& values, const float* box) const {
  const Found& top = segments_.front();
  Model::ExactKey what{&top.node.document(), {}, statedUnits(), {}};
  if (box != nullptr) std::transform(box, box + 6, what.box.begin(), std::bit_cast<std::uint32_t, float>);
  what.has_box = box != nullptr;
  bool in_one_file = true;
  for (const Found& found : segments_) {
    what.segments.push_back(found.id);
    in_one_file = in_one_file && &found.node.document() == what.document;
  }
  const NodeRef node = in_one_file ? model_.sameGeometry(std::move(what), top.node) : top.node;
  return {&node.document(), node.node, values.chord_percent, values.minimum_edge_length};
}

void ExactGeometry::reportNoWork(const Found& found, const std::string& part_name) const {
  model_.library().reportLimit(
      Library::Limit::ExactGeometry, part_name,
      loftbay::host::toHostPath(found.node.document().path) + ": segment " + found.id.text() +
          ": exact geometry of the model needs more work than files of this size are allowed; what is left "
          "out here, and of later parts, is not told again (no option raises this limit)");
}

std::shared_ptr<const ShapeArrays> ExactGeometry::make(const TessValues& values, const float* box,
                                                       Losses& losses) {
  ShapeGeometry all;
  const Allowance& work = model_.library().budget().exact();
  for (const Found& found : segments_) {
    if (work.left() == 0) {
      losses.over_budget = &found;
      break;
    }
    const Result<std::vector<brep::Bodies>> models = read(found);
    if (!models) {
      const Error& error = models.error();
      if (error.is_over_budget) {
        losses.not_unpacked = std::pair(&found, error);
        continue;
      }
      losses.add(found, error.textInSegment());
      continue;
    }
    for (const brep::Bodies& bodies : *models) append(all, triangles(found, bodies, values, box, losses));
  }
  if (all.primitiveCount() == 0) return nullptr;
  all.kind = PrimitiveKind::Polygons;
  ShapeArrays strips = makeShapeArrays(std::move(all));
  makeStripsOdd(strips.geometry);
  return std::make_shared<const ShapeArrays>(std::move(strips));
}

ShapeGeometry ExactGeometry::triangles(const Found& found, const brep::Bodies& bodies,
                                       const TessValues& values, const float* box, Losses& losses) const {
  brep::TessellationOptions options;
  options.chord_tolerance_percent = values.chord_percent;
  options.minimum_edge_length = values.minimum_edge_length;
  options.units_per_metre = unitsPerMetre(found, bodies, box);
  Allowance& work = model_.library().budget().exact();
  options.work_limit = work.left();
  brep::TessellatedBodies made = brep::tessellate(bodies, options);
  work.spend(made.work);
  if (made.is_cut) {
    losses.over_budget = &found;
    std::erase_if(made.losses, [](const auto& loss) { return loss.reason == brep::kTooMuchWork; });
  }
  for (std::size_t i = 0; i < std::min(made.losses.size(), kMaxToldFaces); ++i) {
    const brep::TessellationLoss& loss = made.losses[i];
    losses.add(found, loss.face == brep::kNoIndex ? loss.reason
                                                  : "face " + std::to_string(loss.face) + ": " + loss.reason);
  }
  if (made.losses.size() > kMaxToldFaces) {
    losses.add(found, std::to_string(made.losses.size() - kMaxToldFaces) + " more faces are lost");
  }
  ShapeGeometry shape = brep::mergedShape(made);
  if (shape.primitiveCount() == 0 && made.losses.empty() && !made.is_cut) losses.add(found, "has no faces");
  return shape;
}

Result<std::vector<brep::Bodies>> ExactGeometry::read(const Found& found) {
  if (!canBeRead(found.type)) return fail(unreadText(found.type));
  const JtFile& file = *found.node.document().file;
  const TocEntry* listed = file.find(found.id);
  if (listed == nullptr) return fail("is not in the table of contents");
  const Result<Segment> segment = file.segment(*listed);
  if (!segment) return passOn(segment);
  model_.library().noteSegment(found.node.document(), *segment);
  model_.library().budget().exact().spend(segment->data.size() / kBytesPerWork);
  if (static_cast<SegmentType>(found.type) == SegmentType::MultiXtBrep) {
    return brep::readMultiXtBrep(*segment, file.byteOrder());
  }
  Result<brep::Bodies> bodies = brep::readXtBrep(*segment, file.byteOrder());
  if (!bodies) return passOn(bodies);
  std::vector<brep::Bodies> one;
  one.push_back(*std::move(bodies));
  return one;
}

std::string ExactGeometry::statedUnits() const {
  for (const NodeRef& ref : chain_) {
    const std::string& units = ref.document().graph.text(ref.data().units);
    if (!units.empty()) return units;
  }
  return {};
}

double ExactGeometry::unitsPerMetre(const Found& found, const brep::Bodies& bodies, const float* box) const {
  if (const auto stated = brep::unitsPerMetre(bodies, statedUnits())) return *stated;
  if (box != nullptr) {
    if (const auto measured = brep::unitsPerMetreFromBox(bodies, box)) return *measured;
  }
  // What the file says of the whole model.
  const SceneGraph& graph = found.node.document().graph;
  if (const auto stated = brep::unitsPerMetre(bodies, graph.text(graph.nodes[graph.root].units)))
    return *stated;
  return kMillimetres;
}

}  // namespace jttk
