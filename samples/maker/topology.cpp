// The coder follows the reader step by step on the finished mesh and writes down what the reader cannot know:
//   valence, group and flag of each polygon when it is reached; degree and attribute mask of each vertex when
//   it is reached first; and, where a polygon meets a vertex that is known already but not by way of a
//   neighbour ("split", degree 0), which vertex that is and where in its ring the polygon sits.
// So every rule here about order (which vertex is next, what counts as known) is a rule of the format.
#include "samples/maker/topology.h"

#include <algorithm>
#include <bit>

#include "samples/maker/hash.h"
#include "samples/maker/packet.h"
#include "samples/maker/polygon_mesh.h"

namespace loftbay::maker {
namespace {

constexpr std::uint32_t kNone = PolygonMesh::kNone;
constexpr std::size_t kSearchWindow = 16;  // how many active vertices are looked at
constexpr std::uint32_t kMaxPlainDegree = 64;

class Coder {
 public:
  Coder(const Shape& shape, bool version10)
      : shape_(shape),
        version10_(version10),
        mesh_(buildMesh(shape)),
        known_(mesh_.polygon.size(), 0),
        coded_polygon_(mesh_.polygon_starts.size() - 1, 0),
        verts_(mesh_.position.size()) {
    out_.upper_masks.resize(version10 ? 1 : 2);
    for (std::size_t p = mesh_.real_polygons; p + 1 < mesh_.polygon_starts.size(); ++p) ++out_.covers;
  }

  Topology run() {
    for (std::uint32_t p = 0; p < mesh_.real_polygons; ++p) {
      if (coded_polygon_[p] != 0) continue;
      ++out_.components;
      putPolygon(p);
      const std::uint32_t first = mesh_.polygon_starts[p];
      for (auto c = first; c < mesh_.polygon_starts[p + 1]; ++c) activate(c);
      for (std::uint32_t v = nextActive(); v != kNone; v = nextActive()) complete(v);
    }
    out_.hash = topologyHash(out_);
    return std::move(out_);
  }

 private:
  struct Vert {
    std::uint32_t first_corner = kNone;  // in slot 0 of the ring; kNone: not reached yet
    std::uint32_t empty_slots = 0;
    std::uint32_t place = 0;  // index in active_
    bool done = false;
  };

  [[nodiscard]] std::uint32_t valence(std::uint32_t p) const {
    return mesh_.polygon_starts[p + 1] - mesh_.polygon_starts[p];
  }

  void putPolygon(std::uint32_t p) {
    const bool cover = p >= mesh_.real_polygons;
    coded_polygon_[p] = 1;
    out_.valences.push_back(static_cast<std::int32_t>(valence(p)));
    out_.groups.push_back(cover ? -1 : 0);
    out_.flags.push_back(cover ? 1 : 0);
    if (!cover) out_.polygons.push_back(p);
  }

  void setKnown(std::uint32_t corner) {
    known_[corner] = 1;
    --verts_[mesh_.vertex[corner]].empty_slots;
  }

  // Compares the mean degree of the polygon's known vertices with that of a regular mesh.
  [[nodiscard]] std::size_t degreeContext(std::uint32_t p) const {
    const std::uint32_t n = valence(p);
    if (n == 5) return 6;
    if (n != 3 && n != 4) return 7;
    std::uint64_t degrees = 0;
    std::uint64_t expected = 0;
    for (auto c = mesh_.polygon_starts[p]; c < mesh_.polygon_starts[p + 1]; ++c) {
      if (known_[c] == 0) continue;
      degrees += mesh_.degree[mesh_.vertex[c]];
      expected += n == 3 ? 6 : 4;
    }
    const std::size_t base = n == 3 ? 0 : 3;
    return base + (degrees < expected ? 0 : degrees == expected ? 1 : 2);
  }

  // The polygon of `corner` meets a vertex that the reader cannot derive.
  void activate(std::uint32_t corner) {
    const std::uint32_t v = mesh_.vertex[corner];
    Vert& vert = verts_[v];
    auto& symbols = out_.degrees[degreeContext(mesh_.polygon[corner])];
    if (vert.first_corner == kNone) {
      symbols.push_back(static_cast<std::int32_t>(mesh_.degree[v]));
      vert.first_corner = corner;
      vert.empty_slots = mesh_.degree[v];
      vert.place = static_cast<std::uint32_t>(active_.size());
      active_.push_back(v);
      out_.vert_positions.push_back(mesh_.position[v]);
      putMask(v);
    } else {
      symbols.push_back(0);
      std::int32_t slot = 0;
      for (auto c = vert.first_corner; c != corner; c = mesh_.turnLeft(c)) ++slot;
      out_.split_offsets.push_back(static_cast<std::int32_t>(active_.size() - vert.place));
      out_.split_positions.push_back(slot);
    }
    setKnown(corner);
  }

  // One bit per slot of the ring: a new attribute record begins there. Covers have no attributes; records
  // before the first set bit are the last one's.
  void putMask(std::uint32_t v) {
    const std::uint32_t degree = mesh_.degree[v];
    mask_.assign((std::max(degree, kMaxPlainDegree) + 31) / 32, 0);
    if (shape_.hasRecords()) markRecords(v);
    if (degree > kMaxPlainDegree) {
      out_.high_degree_masks.insert(out_.high_degree_masks.end(), mask_.begin(), mask_.end());
      return;
    }
    const std::size_t context = degree < 2 ? 0 : std::min<std::size_t>(7, degree - 2);
    const std::uint64_t mask = std::uint64_t{mask_[1]} << 32 | mask_[0];
    const auto piece = [&](unsigned from, unsigned width) {
      return static_cast<std::int32_t>(static_cast<std::uint32_t>(mask >> from & ((1ULL << width) - 1)));
    };
    if (context < 7) {
      out_.masks[context].push_back(piece(0, 32));
    } else if (version10_) {
      out_.masks[7].push_back(piece(0, 32));
      out_.upper_masks[0].push_back(piece(32, 32));
    } else {
      out_.masks[7].push_back(piece(0, 30));
      out_.upper_masks[0].push_back(piece(30, 30));
      out_.upper_masks[1].push_back(piece(60, 4));
    }
  }

  void markRecords(std::uint32_t v) {
    const auto isReal = [&](std::uint32_t c) { return mesh_.polygon[c] < mesh_.real_polygons; };
    const std::uint32_t first = verts_[v].first_corner;
    std::uint32_t before = mesh_.turnRight(first);
    while (!isReal(before)) before = mesh_.turnRight(before);
    std::uint32_t record = shape_.corner_records[before];
    bool any = false;
    std::uint32_t slot = 0;
    std::uint32_t c = first;
    do {
      if (isReal(c) && shape_.corner_records[c] != record) {
        record = shape_.corner_records[c];
        mask_[slot / 32] |= 1U << (slot % 32);
        out_.record_sources.push_back(record);
        any = true;
      }
      ++slot;
      c = mesh_.turnLeft(c);
    } while (c != first);
    if (!any) {
      mask_[0] |= 1U;
      out_.record_sources.push_back(record);
    }
  }

  // The vertex with the fewest empty slots among the latest ones; finished ones leave the list here.
  std::uint32_t nextActive() {
    while (!active_.empty() && verts_[active_.back()].done) active_.pop_back();
    std::uint32_t best = kNone;
    for (std::size_t i = active_.size(); i-- > 0;) {
      if (i + kSearchWindow < active_.size()) break;
      const std::uint32_t v = active_[i];
      if (verts_[v].done) {
        active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i));
        for (std::size_t k = i; k < active_.size(); ++k)
          verts_[active_[k]].place = static_cast<std::uint32_t>(k);
      } else if (best == kNone || verts_[v].empty_slots < verts_[best].empty_slots) {
        best = v;
      }
    }
    return best;
  }

  void complete(std::uint32_t v) {
    std::uint32_t c = verts_[v].first_corner;
    do {
      if (known_[c] == 0) completePolygon(c);
      c = mesh_.turnLeft(c);
    } while (c != verts_[v].first_corner);
    verts_[v].done = true;
  }

  // A polygon that the reader makes in an empty slot. It derives the corners next to that slot as far as
  // neighbours across shared edges are known, on both sides; the others are activated in order.
  void completePolygon(std::uint32_t first) {
    const std::uint32_t p = mesh_.polygon[first];
    const std::uint32_t n = valence(p);
    putPolygon(p);
    setKnown(first);
    std::uint32_t low = 1;
    std::uint32_t forward = first;
    for (; low < n; ++low) {
      const std::uint32_t neighbour = mesh_.turnRight(forward);
      if (known_[neighbour] == 0 || known_[mesh_.previous(neighbour)] == 0) break;
      forward = mesh_.next(forward);
      setKnown(forward);
    }
    std::uint32_t high = n;
    std::uint32_t backward = first;
    for (; high > low; --high) {
      const std::uint32_t neighbour = mesh_.turnLeft(backward);
      if (known_[neighbour] == 0 || known_[mesh_.next(neighbour)] == 0) break;
      backward = mesh_.previous(backward);
      setKnown(backward);
    }
    for (; low < high; ++low) {
      forward = mesh_.next(forward);
      activate(forward);
    }
  }

  const Shape& shape_;
  bool version10_;
  PolygonMesh mesh_;
  std::vector<std::uint8_t> known_;  // per corner: the reader knows its vertex
  std::vector<std::uint8_t> coded_polygon_;
  std::vector<Vert> verts_;
  std::vector<std::uint32_t> active_;
  std::vector<std::uint32_t> mask_;
  Topology out_;
};

}  // namespace

Topology encodeTopology(const Shape& shape, bool version10) { return Coder(shape, version10).run(); }

std::uint32_t topologyHash(const Topology& topology) {
  std::uint32_t h = 0;
  for (const auto& array : topology.degrees) h = hashWords(array, h);
  h = hashWords(topology.valences, h);
  h = hashWords(topology.groups, h);
  h = hashHalves(topology.flags, h);
  for (const auto& array : topology.masks) h = hashWords(array, h);
  for (const auto& array : topology.upper_masks) h = hashWords(array, h);
  h = hashWords(topology.high_degree_masks, h);
  h = hashWords(topology.split_offsets, h);
  return hashWords(topology.split_positions, h);
}

void writeTopologyStreams(ByteWriter& out, const Topology& topology, const Options& options) {
  const auto plain = [&](const std::vector<std::int32_t>& values) {
    writePacket(out, values, Predictor::None, options);
  };
  for (const auto& array : topology.degrees) plain(array);
  plain(topology.valences);
  plain(topology.groups);
  writePacket(out, topology.flags, Predictor::Lag1, options);
  for (const auto& array : topology.masks) plain(array);
  for (const auto& array : topology.upper_masks) plain(array);
  out.i32(static_cast<std::int64_t>(topology.high_degree_masks.size()));
  for (const auto word : topology.high_degree_masks) out.u32(word);
  writePacket(out, topology.split_offsets, Predictor::Lag1, options);
  plain(topology.split_positions);
  out.u32(topology.hash);
}

}  // namespace loftbay::maker
