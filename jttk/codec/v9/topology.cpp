// Decodes the topology. Every corner stores the slot that it sits in, and every slot its corner, so that
// stepping round a vertex or along a polygon never searches.
//
// If slot i of a vertex is corner j of a polygon, then slot i + 1 is the polygon across the edge to corner j
// - 1, and slot i - 1 the one across the edge to corner j + 1.
#include "jttk/codec/v9/topology.h"

#include <algorithm>
#include <string>

#include "jttk/codec/v9/topology_records.h"

namespace jttk {
namespace {

constexpr std::uint32_t kUnknown = 0xffffffffU;
constexpr std::uint32_t kFinished = 0xffffffffU;
// How many of the latest open vertices are looked at for the next one to finish.
constexpr std::size_t kActiveWindow = 16;

struct Polygon {
  std::uint32_t first_corner;
  std::uint32_t valence;

  [[nodiscard]] std::uint32_t next(std::uint32_t corner) const {
    return corner + 1 == valence ? 0 : corner + 1;
  }
  [[nodiscard]] std::uint32_t previous(std::uint32_t corner) const {
    return (corner == 0 ? valence : corner) - 1;
  }
};

struct Corner {
  std::uint32_t vertex = kUnknown;
  std::uint32_t slot = kUnknown;  // known vertices get their slot when the polygon is linked to them
};

struct Vertex {
  std::uint32_t first_slot;
  std::uint32_t degree;
  std::uint32_t empty_slots;  // kFinished once all its slots are filled
  std::uint32_t next_slot;    // no slot before this one is empty
  VertexRecords records;

  [[nodiscard]] std::uint32_t next(std::uint32_t slot) const { return slot + 1 == degree ? 0 : slot + 1; }
  [[nodiscard]] std::uint32_t previous(std::uint32_t slot) const { return (slot == 0 ? degree : slot) - 1; }
};

struct Slot {
  std::uint32_t polygon = kUnknown;
  std::uint32_t corner = 0;
};

class TopologyDecoder {
 public:
  TopologyDecoder(const TopologySymbols& symbols, PacketForm form, std::uint64_t offset)
      : symbols_(symbols), offset_(offset), records_(symbols, form) {}

  // Each of these is false after a mistake in the data; error() says which. So are those below, which are
  // called for every corner: a bool goes up from them in a register, a result does not.
  bool prepare(const TopologyLimits& limits);
  bool run();
  Topology takeResult();
  [[nodiscard]] const Error& error() const noexcept { return error_; }

 private:
  bool wrong(std::string reason, CheckPlace check = CheckPlace::current()) {
    error_ = makeError(std::move(reason), offset_, check);
    return false;
  }
  bool addPolygon(std::uint32_t& polygon);
  bool completeVertex(std::uint32_t vertex);
  bool completePolygon(std::uint32_t polygon);
  template <bool Forward>
  bool walk(std::uint32_t polygon, std::uint32_t last);
  bool link(std::uint32_t polygon, std::uint32_t corner, std::uint32_t vertex, std::uint32_t slot);
  bool pull(std::uint32_t polygon, std::uint32_t to_corner, const Slot& from, bool forward);
  bool activate(std::uint32_t polygon, std::uint32_t corner);
  bool addVertex(std::uint32_t polygon, std::uint32_t corner, std::uint32_t degree);
  bool split(std::uint32_t polygon, std::uint32_t corner);
  [[nodiscard]] bool isCover(std::size_t polygon) const;
  [[nodiscard]] std::uint32_t degreeContext(const Polygon& polygon) const;
  std::uint32_t nextActive();
  bool checkAllUsed();
  void assignRecords(std::vector<std::uint32_t>& corner_records) const;

  const TopologySymbols& symbols_;
  std::uint64_t offset_;
  Error error_;

  std::vector<Polygon> polygons_;
  std::vector<Corner> corners_;
  std::vector<Vertex> vertices_;
  std::vector<Slot> slots_;
  std::vector<std::uint32_t> active_;  // open vertices, and finished ones that nextActive() will remove

  std::size_t next_degree_[kTopologyContexts] = {};
  std::size_t next_split_ = 0;
  std::uint32_t used_corners_ = 0;
  std::uint32_t used_slots_ = 0;
  TopologyRecords records_;
  std::uint32_t components_ = 0;
};

// Sizes are known before the first symbol is used: every corner sits in one slot, so there are as many slots
// as corners, and both arrays get their final size here.
bool TopologyDecoder::prepare(const TopologyLimits& limits) {
  const std::uint64_t most_corners = std::min(limits.maximum_corners, kMaximumShapeCorners);
  const Result<TopologySizes> sizes = topologySizes(symbols_, most_corners, offset_);
  if (!sizes) {
    error_ = sizes.error();
    return false;
  }
  const auto [corner_count, vertex_count] = *sizes;
  if (limits.memory != nullptr) {
    constexpr std::size_t kPerCorner = sizeof(Corner) + sizeof(Slot) + 2 * sizeof(std::uint32_t);
    constexpr std::size_t kPerPolygon = sizeof(Polygon) + sizeof(std::uint32_t);
    constexpr std::size_t kPerVertex = sizeof(Vertex) + sizeof(std::uint32_t);
    auto taken = limits.memory->take(corner_count, kPerCorner, offset_);
    if (taken) taken = limits.memory->take(symbols_.valences.size(), kPerPolygon, offset_);
    if (taken) taken = limits.memory->take(vertex_count, kPerVertex, offset_);
    if (!taken) {
      error_ = taken.error();
      return false;
    }
  }
  polygons_.reserve(symbols_.valences.size());
  vertices_.reserve(vertex_count);
  corners_.resize(static_cast<std::size_t>(corner_count));
  slots_.resize(static_cast<std::size_t>(corner_count));
  active_.reserve(vertex_count);
  return true;
}

bool TopologyDecoder::run() {
  while (polygons_.size() < symbols_.valences.size()) {
    std::uint32_t seed = 0;
    if (!addPolygon(seed)) return false;
    ++components_;
    for (std::uint32_t corner = 0; corner < polygons_[seed].valence; ++corner) {
      if (corners_[polygons_[seed].first_corner + corner].vertex == kUnknown && !activate(seed, corner))
        return false;
    }
    for (std::uint32_t vertex = nextActive(); vertex != kUnknown; vertex = nextActive()) {
      if (!completeVertex(vertex)) return false;
    }
  }
  return checkAllUsed();
}

bool TopologyDecoder::addPolygon(std::uint32_t& polygon) {
  if (polygons_.size() == symbols_.valences.size()) return wrong("too few polygons");
  polygon = static_cast<std::uint32_t>(polygons_.size());
  const auto valence = static_cast<std::uint32_t>(symbols_.valences[polygon]);
  polygons_.push_back({used_corners_, valence});
  used_corners_ += valence;
  return true;
}

bool TopologyDecoder::completeVertex(std::uint32_t index) {
  // vertices_ does not move: it has its final capacity.
  Vertex& vertex = vertices_[index];
  for (; vertex.next_slot < vertex.degree; ++vertex.next_slot) {
    if (slots_[vertex.first_slot + vertex.next_slot].polygon != kUnknown) continue;
    std::uint32_t polygon = 0;
    if (!addPolygon(polygon)) return false;
    corners_[polygons_[polygon].first_corner].vertex = index;
    if (!link(polygon, 0, index, vertex.next_slot) || !completePolygon(polygon)) return false;
  }
  vertex.empty_slots = kFinished;
  return true;
}

// The polygon has its corner 0. First come the corners that it shares with polygons across its edges, then
// new vertices and splits.
bool TopologyDecoder::completePolygon(std::uint32_t index) {
  const Polygon polygon = polygons_[index];
  if (!walk<true>(index, polygon.valence - 1) || !walk<false>(index, std::min(1U, polygon.valence - 1)))
    return false;
  for (std::uint32_t corner = 0; corner < polygon.valence; ++corner) {
    const Corner& known = corners_[polygon.first_corner + corner];
    if (known.vertex == kUnknown) {
      if (!activate(index, corner)) return false;
    } else if (known.slot == kUnknown) {
      return wrong("a corner that has no place at its vertex");
    }
  }
  return true;
}

// Links the corners whose vertex became known through a neighbour (see pull), from corner 0 towards `last`.
template <bool Forward>
bool TopologyDecoder::walk(std::uint32_t index, std::uint32_t last) {
  const Polygon polygon = polygons_[index];
  std::uint32_t corner = 0;
  while (corner != last) {
    const std::uint32_t following = Forward ? polygon.next(corner) : polygon.previous(corner);
    const Corner target = corners_[polygon.first_corner + following];
    if (target.vertex == kUnknown || target.slot != kUnknown) return true;
    // The polygon across the edge between the two corners, and its corner at the vertex at hand.
    const Corner here = corners_[polygon.first_corner + corner];
    const Vertex& vertex = vertices_[here.vertex];
    const Slot across =
        slots_[vertex.first_slot + (Forward ? vertex.previous(here.slot) : vertex.next(here.slot))];
    if (across.polygon == kUnknown) return true;
    // It runs along the edge in the opposite direction.
    const Polygon& neighbour = polygons_[across.polygon];
    const std::uint32_t its_corner =
        Forward ? neighbour.previous(across.corner) : neighbour.next(across.corner);
    const Corner shared = corners_[neighbour.first_corner + its_corner];
    if (shared.vertex != target.vertex || shared.slot == kUnknown)
      return wrong("polygons that do not share an edge");
    const Vertex& end = vertices_[target.vertex];
    const std::uint32_t slot = Forward ? end.previous(shared.slot) : end.next(shared.slot);
    if (!link(index, following, target.vertex, slot)) return false;
    corner = following;
  }
  return true;
}

bool TopologyDecoder::link(std::uint32_t polygon, std::uint32_t corner, std::uint32_t vertex_index,
                           std::uint32_t slot) {
  Vertex& vertex = vertices_[vertex_index];
  Slot& taken = slots_[vertex.first_slot + slot];
  if (taken.polygon != kUnknown) return wrong("two polygons in one slot of a vertex");
  taken = {polygon, corner};
  --vertex.empty_slots;
  corners_[polygons_[polygon].first_corner + corner].slot = slot;
  if (vertex.degree < 2) return true;
  const Polygon& shape = polygons_[polygon];
  return pull(polygon, shape.previous(corner), slots_[vertex.first_slot + vertex.next(slot)], true) &&
         pull(polygon, shape.next(corner), slots_[vertex.first_slot + vertex.previous(slot)], false);
}

// The polygon in the neighbouring slot shares an edge: the vertex at that edge's other end becomes known.
bool TopologyDecoder::pull(std::uint32_t polygon, std::uint32_t to_corner, const Slot& from, bool forward) {
  if (from.polygon == kUnknown) return true;
  const Polygon& neighbour = polygons_[from.polygon];
  const std::uint32_t its_corner = forward ? neighbour.next(from.corner) : neighbour.previous(from.corner);
  const std::uint32_t shared = corners_[neighbour.first_corner + its_corner].vertex;
  if (shared == kUnknown) return true;
  Corner& target = corners_[polygons_[polygon].first_corner + to_corner];
  if (target.vertex != kUnknown && target.vertex != shared)
    return wrong("a corner that would be at two vertices");
  target.vertex = shared;
  return true;
}

bool TopologyDecoder::activate(std::uint32_t polygon, std::uint32_t corner) {
  const std::uint32_t context = degreeContext(polygons_[polygon]);
  const auto& degrees = symbols_.degrees[context];
  if (next_degree_[context] == degrees.size()) return wrong("too few degrees");
  const auto degree = static_cast<std::uint32_t>(degrees[next_degree_[context]++]);
  return degree == 0 ? split(polygon, corner) : addVertex(polygon, corner, degree);
}

bool TopologyDecoder::addVertex(std::uint32_t polygon, std::uint32_t corner, std::uint32_t degree) {
  const auto index = static_cast<std::uint32_t>(vertices_.size());
  const Vertex vertex{used_slots_, degree, degree - 1, 1, records_.ofNextVertex(degree)};
  used_slots_ += degree;
  vertices_.push_back(vertex);
  slots_[vertex.first_slot] = {polygon, corner};
  corners_[polygons_[polygon].first_corner + corner] = {index, 0};
  active_.push_back(index);
  return true;
}

// A split does not make the neighbours known: the corners that follow have split symbols of their own.
bool TopologyDecoder::split(std::uint32_t polygon, std::uint32_t corner) {
  if (next_split_ == symbols_.split_offsets.size()) return wrong("too few splits");
  const auto offset = static_cast<std::uint32_t>(symbols_.split_offsets[next_split_]);
  const auto position = static_cast<std::uint32_t>(symbols_.split_positions[next_split_]);
  ++next_split_;
  if (offset == 0 || offset > active_.size()) return wrong("a split to a vertex that is not open");
  const std::uint32_t index = active_[active_.size() - offset];
  Vertex& vertex = vertices_[index];
  if (position >= vertex.degree) return wrong("a split to a slot that the vertex does not have");
  Slot& taken = slots_[vertex.first_slot + position];
  if (taken.polygon != kUnknown) return wrong("a split to a slot that is taken");
  taken = {polygon, corner};
  --vertex.empty_slots;
  corners_[polygons_[polygon].first_corner + corner] = {index, position};
  return true;
}

// Triangles and quadrangles: how the known corners' degrees compare with those of a regular mesh.
std::uint32_t TopologyDecoder::degreeContext(const Polygon& polygon) const {
  if (polygon.valence == 5) return 6;
  if (polygon.valence < 3 || polygon.valence > 5) return 7;
  std::uint64_t sum = 0;
  std::uint64_t known = 0;
  for (std::uint32_t corner = 0; corner < polygon.valence; ++corner) {
    const std::uint32_t vertex = corners_[polygon.first_corner + corner].vertex;
    if (vertex == kUnknown) continue;
    sum += vertices_[vertex].degree;
    ++known;
  }
  const std::uint64_t regular = known * (polygon.valence == 3 ? 6U : 4U);
  const std::uint32_t base = polygon.valence == 3 ? 0 : 3;
  return base + (sum < regular ? 0U : sum == regular ? 1U : 2U);
}

// The open vertex with the fewest empty slots among the latest; of equals the latest. The window's lower end
// moves down as finished vertices are taken out of it.
std::uint32_t TopologyDecoder::nextActive() {
  while (!active_.empty() && vertices_[active_.back()].empty_slots == kFinished) active_.pop_back();
  std::uint32_t best = kUnknown;
  std::uint32_t best_empty = kFinished;
  for (std::size_t i = active_.size(); i > 0 && i + kActiveWindow > active_.size(); --i) {
    const std::uint32_t vertex = active_[i - 1];
    const std::uint32_t empty = vertices_[vertex].empty_slots;
    if (empty == kFinished) {
      active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i - 1));
    } else if (empty < best_empty) {
      best = vertex;
      best_empty = empty;
    }
  }
  return best;
}

bool TopologyDecoder::checkAllUsed() {
  for (std::size_t i = 0; i < kTopologyContexts; ++i) {
    if (next_degree_[i] != symbols_.degrees[i].size()) return wrong("degrees are left over");
  }
  if (next_split_ != symbols_.split_offsets.size()) return wrong("splits are left over");
  // Every vertex was finished, so every slot is filled; as many corners as slots, so every corner has its
  // slot.
  return true;
}

void TopologyDecoder::assignRecords(std::vector<std::uint32_t>& corner_records) const {
  for (std::size_t i = 0; i < vertices_.size(); ++i) {
    const Vertex& vertex = vertices_[i];
    const std::uint32_t end = i + 1 < vertices_.size() ? vertices_[i + 1].records.first : records_.count();
    records_.forSlots(vertex.records, end, vertex.degree, [&](std::uint32_t slot, std::uint32_t record) {
      const Slot& taken = slots_[vertex.first_slot + slot];
      corner_records[polygons_[taken.polygon].first_corner + taken.corner] = record;
    });
  }
}

// For writers that leave the flags out: a negative group marks a cover, too.
bool TopologyDecoder::isCover(std::size_t polygon) const {
  if (!symbols_.flags.empty()) return symbols_.flags[polygon] != 0;
  return polygon < symbols_.groups.size() && symbols_.groups[polygon] < 0;
}

Topology TopologyDecoder::takeResult() {
  Topology mesh;
  mesh.vertices = static_cast<std::uint32_t>(vertices_.size());
  mesh.records = records_.count();
  mesh.components = components_;
  mesh.records_fit = records_.fit();
  std::vector<std::uint32_t> records(corners_.size(), kNoTopologyRecord);
  if (mesh.records_fit) assignRecords(records);
  mesh.corner_vertices.resize(corners_.size());
  std::uint32_t written = 0;
  if (!polygons_.empty()) {
    mesh.polygon_starts.reserve(polygons_.size() + 1);
    mesh.polygon_starts.push_back(0);
  }
  for (std::size_t i = 0; i < polygons_.size(); ++i) {
    if (isCover(i)) {
      ++mesh.covers;
      continue;
    }
    const std::uint32_t first = polygons_[i].first_corner;
    for (std::uint32_t corner = first; corner < first + polygons_[i].valence; ++corner, ++written) {
      mesh.corner_vertices[written] = corners_[corner].vertex;
      records[written] = records[corner];
    }
    mesh.polygon_starts.push_back(written);
  }
  mesh.corner_vertices.resize(written);
  records.resize(written);
  mesh.corner_records = std::move(records);
  if (mesh.polygon_starts.size() == 1) mesh.polygon_starts.clear();
  return mesh;
}

}  // namespace

Result<Topology> decodeTopology(const TopologySymbols& symbols, PacketForm form, std::uint64_t offset,
                                const TopologyLimits& limits) {
  TopologyDecoder decoder(symbols, form, offset);
  if (!decoder.prepare(limits) || !decoder.run()) {
    return tl::unexpected<Error>(decoder.error().in("topology"));
  }
  return decoder.takeResult();
}

}  // namespace jttk
