// Grows the mesh polygon by polygon; topology.h says what the words mean.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "jttk/codec/v9/active_vertices.h"
#include "jttk/codec/v9/grown_mesh.h"
#include "jttk/codec/v9/topology_records.h"
#include "jttk/codec/v9/topology_symbols.h"
#include "jttk/file/error.h"

namespace jttk {

template <typename Corners>
class TopologyGrowth {
 public:
  using Mesh = GrownMesh<Corners>;

  // `sizes`: of the symbols, which are checked; these must outlive this.
  TopologyGrowth(const TopologySymbols& symbols, PacketForm form, const TopologySizes& sizes,
                 std::uint64_t offset)
      : symbols_(symbols),
        offset_(offset),
        mesh_(symbols.valences, static_cast<std::size_t>(sizes.corners), sizes.vertices),
        records_(symbols, form) {
    active_.reserve(sizes.vertices);
  }

  // False after a mistake in the data; error() says which. So are those below, which are called for every
  // corner: a bool goes up from them in a register, a result does not.
  bool run() {
    while (mesh_.polygons < symbols_.valences.size()) {
      std::uint32_t seed = 0;
      if (!addPolygon(seed)) return false;
      ++mesh_.components;
      if (!activateUnknown(seed, 0)) return false;
      const auto empty_slots_of = [&](std::uint32_t vertex) { return mesh_.vertices[vertex].empty_slots; };
      for (std::uint32_t vertex = active_.next(empty_slots_of); vertex != ActiveVertices::kNone;
           vertex = active_.next(empty_slots_of)) {
        if (!completeVertex(vertex)) return false;
      }
    }
    return checkAllUsed();
  }
  // Complete after run(). It may be overwritten then.
  [[nodiscard]] Mesh& mesh() noexcept { return mesh_; }
  [[nodiscard]] const TopologyRecords& records() const noexcept { return records_; }
  [[nodiscard]] const Error& error() const noexcept { return error_; }

 private:
  using Corner = typename Mesh::Corner;
  using Vertex = typename Mesh::Vertex;
  static constexpr std::uint32_t kUnknown = Mesh::kUnknown;

  bool wrong(const char* reason, CheckPlace check = CheckPlace::current()) {
    error_ = makeError(reason, offset_, check);
    return false;
  }

  bool addPolygon(std::uint32_t& polygon) {
    if (mesh_.polygons == symbols_.valences.size()) return wrong("too few polygons");
    polygon = mesh_.polygons++;
    const std::uint32_t first = mesh_.numbers.first(polygon);
    for (std::uint32_t i = 0; i < mesh_.numbers.valence(polygon); ++i)
      mesh_.corners[first + i] = {kUnknown, kUnknown};
    return true;
  }

  bool completeVertex(std::uint32_t index) {
    Vertex& vertex = mesh_.vertices[index];
    // Its first slot was filled when it was made.
    for (std::uint32_t slot = vertex.first_slot + 1; slot < vertex.end_slot; ++slot) {
      if (mesh_.slots[slot] != kUnknown) continue;
      std::uint32_t polygon = 0;
      if (!addPolygon(polygon) || !linkFirst(polygon, index, slot) || !completePolygon(polygon)) return false;
    }
    vertex.empty_slots = ActiveVertices::kFinished;
    return true;
  }

  // Corner 0 of the polygon sits. First come the corners that it shares with polygons across its edges, then
  // new vertices and splits.
  bool completePolygon(std::uint32_t polygon) {
    const std::uint32_t first = mesh_.numbers.first(polygon);
    const std::uint32_t valence = mesh_.numbers.valence(polygon);
    if (!walk<true>(first, first + valence - 1) || !walk<false>(first, first + std::min(1U, valence - 1)))
      return false;
    return activateUnknown(polygon, 1);
  }

  // Corners whose vertex is not known are at new vertices, or splits say where they are.
  bool activateUnknown(std::uint32_t polygon, std::uint32_t from) {
    const std::uint32_t first = mesh_.numbers.first(polygon);
    for (std::uint32_t i = from; i < mesh_.numbers.valence(polygon); ++i) {
      const Corner& known = mesh_.corners[first + i];
      if (known.vertex == kUnknown) {
        if (!activate(polygon, first + i)) return false;
      } else if (known.slot == kUnknown) {
        return wrong("a corner that has no place at its vertex");
      }
    }
    return true;
  }

  // Links the corners whose vertex became known through a neighbour (see pull), from `corner` towards `last`.
  template <bool Forward>
  bool walk(std::uint32_t corner, std::uint32_t last) {
    while (corner != last) {
      const std::uint32_t following = Forward ? mesh_.numbers.next(corner) : mesh_.numbers.previous(corner);
      const Corner target = mesh_.corners[following];
      if (target.vertex == kUnknown || target.slot != kUnknown) return true;
      // The polygon across the edge between the two corners, and its corner at the vertex at hand.
      const Corner here = mesh_.corners[corner];
      const Vertex& vertex = mesh_.vertices[here.vertex];
      const std::uint32_t across = mesh_.slots[Forward ? vertex.previous(here.slot) : vertex.next(here.slot)];
      if (across == kUnknown) return true;
      // It runs along the edge in the opposite direction.
      const Corner shared =
          mesh_.corners[Forward ? mesh_.numbers.previous(across) : mesh_.numbers.next(across)];
      if (shared.vertex != target.vertex || shared.slot == kUnknown)
        return wrong("polygons that do not share an edge");
      const Vertex& end = mesh_.vertices[target.vertex];
      const std::uint32_t slot = Forward ? end.previous(shared.slot) : end.next(shared.slot);
      // What the polygon across says about the corner at hand is where that is already.
      if (!put(following, target.vertex, slot) || !pull<!Forward>(following, end, slot)) return false;
      corner = following;
    }
    return true;
  }

  bool linkFirst(std::uint32_t polygon, std::uint32_t vertex, std::uint32_t slot) {
    const std::uint32_t corner = mesh_.numbers.first(polygon);
    const Vertex& at = mesh_.vertices[vertex];
    return put(corner, vertex, slot) && pull<true>(corner, at, slot) && pull<false>(corner, at, slot);
  }

  bool put(std::uint32_t corner, std::uint32_t vertex, std::uint32_t slot) {
    if (mesh_.slots[slot] != kUnknown) return wrong("two polygons in one slot of a vertex");
    mesh_.slots[slot] = corner;
    mesh_.corners[corner] = {vertex, slot};
    --mesh_.vertices[vertex].empty_slots;
    return true;
  }

  // The polygon in the next or previous slot shares an edge with that of `corner`: the vertex at the edge's
  // other end becomes known. (A vertex with one slot is never linked to: the slot is taken from the start.)
  template <bool FromNext>
  bool pull(std::uint32_t corner, const Vertex& vertex, std::uint32_t slot) {
    const std::uint32_t from = mesh_.slots[FromNext ? vertex.next(slot) : vertex.previous(slot)];
    if (from == kUnknown) return true;
    const std::uint32_t shared =
        mesh_.corners[FromNext ? mesh_.numbers.next(from) : mesh_.numbers.previous(from)].vertex;
    if (shared == kUnknown) return true;
    Corner& target = mesh_.corners[FromNext ? mesh_.numbers.previous(corner) : mesh_.numbers.next(corner)];
    if (target.vertex != kUnknown && target.vertex != shared)
      return wrong("a corner that would be at two vertices");
    target.vertex = shared;
    return true;
  }

  bool activate(std::uint32_t polygon, std::uint32_t corner) {
    const std::uint32_t context = degreeContext(polygon);
    const auto& degrees = symbols_.degrees[context];
    if (next_degree_[context] == degrees.size()) return wrong("too few degrees");
    const auto degree = static_cast<std::uint32_t>(degrees[next_degree_[context]++]);
    if (degree == 0) return split(corner);
    addVertex(corner, degree);
    return true;
  }

  void addVertex(std::uint32_t corner, std::uint32_t degree) {
    const auto index = static_cast<std::uint32_t>(mesh_.vertices.size());
    const std::uint32_t first = used_slots_;
    used_slots_ += degree;
    mesh_.vertices.push_back({first, used_slots_, degree - 1});
    mesh_.records.push_back(records_.ofNextVertex(degree));
    std::fill(&mesh_.slots[first], &mesh_.slots[first] + degree, kUnknown);
    mesh_.slots[first] = corner;
    mesh_.corners[corner] = {index, first};
    active_.add(index);
  }

  // A split does not make the neighbours known: the corners that follow have split symbols of their own.
  bool split(std::uint32_t corner) {
    if (next_split_ == symbols_.split_offsets.size()) return wrong("too few splits");
    const auto offset = static_cast<std::uint32_t>(symbols_.split_offsets[next_split_]);
    const auto position = static_cast<std::uint32_t>(symbols_.split_positions[next_split_]);
    ++next_split_;
    if (offset == 0 || offset > active_.size()) return wrong("a split to a vertex that is not open");
    const std::uint32_t index = active_.back(offset);
    const Vertex& vertex = mesh_.vertices[index];
    if (position >= vertex.end_slot - vertex.first_slot)
      return wrong("a split to a slot that the vertex does not have");
    if (mesh_.slots[vertex.first_slot + position] != kUnknown)
      return wrong("a split to a slot that is taken");
    return put(corner, index, vertex.first_slot + position);
  }

  // Triangles and quadrangles: how the known corners' degrees compare with those of a regular mesh.
  [[nodiscard]] std::uint32_t degreeContext(std::uint32_t polygon) const {
    const std::uint32_t valence = mesh_.numbers.valence(polygon);
    if (valence == 5) return 6;
    if (valence < 3 || valence > 5) return 7;
    const std::uint32_t first = mesh_.numbers.first(polygon);
    std::uint64_t sum = 0;
    std::uint64_t known = 0;
    for (std::uint32_t i = 0; i < valence; ++i) {
      const std::uint32_t index = mesh_.corners[first + i].vertex;
      if (index == kUnknown) continue;
      sum += mesh_.vertices[index].end_slot - mesh_.vertices[index].first_slot;
      ++known;
    }
    const std::uint64_t regular = known * (valence == 3 ? 6U : 4U);
    const std::uint32_t base = valence == 3 ? 0 : 3;
    return base + (sum < regular ? 0U : sum == regular ? 1U : 2U);
  }

  bool checkAllUsed() {
    for (std::size_t i = 0; i < kTopologyContexts; ++i) {
      if (next_degree_[i] != symbols_.degrees[i].size()) return wrong("degrees are left over");
    }
    if (next_split_ != symbols_.split_offsets.size()) return wrong("splits are left over");
    // Every vertex was finished, so every slot is filled; as many corners as slots, so every corner has its
    // slot.
    return true;
  }

  const TopologySymbols& symbols_;
  std::uint64_t offset_;
  Error error_;
  Mesh mesh_;
  ActiveVertices active_;
  std::size_t next_degree_[kTopologyContexts] = {};
  std::size_t next_split_ = 0;
  std::uint32_t used_slots_ = 0;
  TopologyRecords records_;
};

}  // namespace jttk
