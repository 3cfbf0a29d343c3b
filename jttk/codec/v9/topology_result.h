// Makes the decoded mesh of a grown one: covers left out, corners with their attribute records, and how
// triangles hang together.
#pragma once

#include <cstdint>
#include <vector>

#include "jttk/codec/v9/decoded_topology.h"
#include "jttk/codec/v9/grown_mesh.h"
#include "jttk/codec/v9/topology_records.h"
#include "jttk/mesh/triangle_edges.h"

namespace jttk {

template <typename Corners>
class TopologyResult {
 public:
  // The mesh must be complete. Its corners' slots are overwritten: with their records.
  TopologyResult(const TopologySymbols& symbols, GrownMesh<Corners>& mesh, const TopologyRecords& records)
      : symbols_(symbols), mesh_(mesh), records_(records) {}

  Topology make() {
    result_.vertices = static_cast<std::uint32_t>(mesh_.vertices.size());
    result_.records = records_.count();
    result_.components = mesh_.components;
    result_.records_fit = records_.fit();
    leaveOutCovers();
    lookAround();
    writePolygons();
    return std::move(result_);
  }

 private:
  static constexpr std::uint32_t kCover = 0xffffffffU;

  // For writers that leave the flags out: a negative group marks a cover, too.
  [[nodiscard]] bool isCover(std::size_t polygon) const {
    if (!symbols_.flags.empty()) return symbols_.flags[polygon] != 0;
    return polygon < symbols_.groups.size() && symbols_.groups[polygon] < 0;
  }

  // Counts what is left, and numbers it anew where there are covers.
  void leaveOutCovers() {
    only_triangles_ = mesh_.polygons <= triangle_edges::kMostTriangles;
    for (std::uint32_t i = 0; i < mesh_.polygons; ++i) {
      const std::uint32_t valence = mesh_.numbers.valence(i);
      if (isCover(i)) {
        ++result_.covers;
      } else {
        kept_corners_ += valence;
        only_triangles_ = only_triangles_ && valence == 3;
      }
    }
    if (result_.covers == 0) return;
    new_numbers_.reserve(mesh_.polygons);
    std::uint32_t kept = 0;
    for (std::uint32_t i = 0; i < mesh_.polygons; ++i) new_numbers_.push_back(isCover(i) ? kCover : kept++);
  }
  [[nodiscard]] std::uint32_t newNumber(std::uint32_t polygon) const {
    return new_numbers_.empty() ? polygon : new_numbers_[polygon];
  }
  // The number that edges have in the result, kNoEdge for those of covers.
  [[nodiscard]] std::uint32_t edgeAt(std::uint32_t corner) const {
    const std::uint32_t polygon = mesh_.numbers.polygonOf(corner);
    const std::uint32_t kept = newNumber(polygon);
    if (kept == kCover) return triangle_edges::kNoEdge;
    return kept * triangle_edges::kPerTriangle + corner - mesh_.numbers.first(polygon);
  }

  // Goes round each vertex. Neighbours are given up where going by the numbers of vertices alone could pair
  // edges in another way: where one edge leads twice from a vertex to another, or from a vertex to itself.
  void lookAround() {
    if (only_triangles_) {
      result_.neighbours.assign(kept_corners_ / 3 * triangle_edges::kPerTriangle, triangle_edges::kNoEdge);
    }
    bool paired = only_triangles_;
    std::vector<std::uint32_t> seen_from(paired ? mesh_.vertices.size() : 0, kCover);
    const bool renumbered = !Corners::kNumberedAsEdges || !new_numbers_.empty();
    for (std::uint32_t vertex = 0; vertex < mesh_.vertices.size(); ++vertex) {
      if (paired)
        paired = renumbered ? pairAround<true>(vertex, seen_from) : pairAround<false>(vertex, seen_from);
      giveRecords(vertex);
    }
    if (!paired) result_.neighbours = {};
  }

  // The edge from a vertex along a polygon comes back along the polygon in the slot before.
  template <bool Renumbered>
  bool pairAround(std::uint32_t index, std::vector<std::uint32_t>& seen_from) {
    // Copies, so that what is written does not make them be loaded anew.
    const auto vertex = mesh_.vertices[index];
    const std::uint32_t* const slots = mesh_.slots.get();
    const auto* const corners = mesh_.corners.get();
    std::uint32_t* const seen = seen_from.data();
    std::uint32_t* const neighbours = result_.neighbours.data();
    std::uint32_t back = mesh_.numbers.previous(slots[vertex.end_slot - 1]);
    for (std::uint32_t slot = vertex.first_slot; slot < vertex.end_slot; ++slot) {
      const std::uint32_t corner = slots[slot];
      const std::uint32_t end = corners[mesh_.numbers.next(corner)].vertex;
      if (corners[back].vertex != end || seen[end] == index || end == index) return false;
      seen[end] = index;
      if constexpr (Renumbered) {
        const std::uint32_t edge = edgeAt(corner);
        if (edge != triangle_edges::kNoEdge) neighbours[edge] = edgeAt(back);
      } else {
        neighbours[corner] = back;
      }
      back = mesh_.numbers.previous(corner);
    }
    return true;
  }

  void giveRecords(std::uint32_t index) {
    const auto& vertex = mesh_.vertices[index];
    const auto giveAll = [slots = mesh_.slots.get(), corners = mesh_.corners.get(), first = vertex.first_slot,
                          end_slot = vertex.end_slot](std::uint32_t record) {
      for (std::uint32_t slot = first; slot < end_slot; ++slot) corners[slots[slot]].slot = record;
    };
    if (!result_.records_fit) return giveAll(kNoTopologyRecord);
    const VertexRecords& records = mesh_.records[index];
    const std::size_t following = index + std::size_t{1};
    const std::uint32_t end =
        following < mesh_.records.size() ? mesh_.records[following].first : records_.count();
    if (end == records.first) return giveAll(kNoTopologyRecord);
    if (end - records.first == 1) return giveAll(records.first);
    records_differ_ = true;
    records_.forSlots(records, end, vertex.end_slot - vertex.first_slot,
                      [&](std::uint32_t slot, std::uint32_t record) {
                        mesh_.corners[mesh_.slots[vertex.first_slot + slot]].slot = record;
                      });
  }

  void writePolygons() {
    result_.corner_vertices.resize(kept_corners_);
    result_.corner_records.resize(kept_corners_);
    std::uint32_t written = 0;
    if (mesh_.polygons > result_.covers) {
      result_.polygon_starts.reserve(std::size_t{mesh_.polygons} + 1);
      result_.polygon_starts.push_back(0);
    }
    for (std::uint32_t i = 0; i < mesh_.polygons; ++i) {
      if (newNumber(i) == kCover) continue;
      const std::uint32_t first = mesh_.numbers.first(i);
      for (std::uint32_t k = 0; k < mesh_.numbers.valence(i); ++k, ++written) {
        result_.corner_vertices[written] = mesh_.corners[first + k].vertex;
        result_.corner_records[written] = mesh_.corners[first + k].slot;
      }
      result_.polygon_starts.push_back(written);
    }
    if (records_differ_) separateByRecords();
  }

  // Edges whose ends have other records on the other side are no neighbours.
  void separateByRecords() {
    using triangle_edges::next;
    const auto recordAt = [&](std::uint32_t edge) {
      return result_.corner_records[triangle_edges::cornerOf(edge)];
    };
    for (std::uint32_t& other : result_.neighbours) {
      if (other == triangle_edges::kNoEdge) continue;
      const auto edge = static_cast<std::uint32_t>(&other - result_.neighbours.data());
      if (recordAt(edge) != recordAt(next(other)) || recordAt(next(edge)) != recordAt(other))
        other = triangle_edges::kNoEdge;
    }
  }

  const TopologySymbols& symbols_;
  GrownMesh<Corners>& mesh_;
  const TopologyRecords& records_;
  Topology result_;
  std::uint32_t kept_corners_ = 0;
  bool only_triangles_ = true;
  bool records_differ_ = false;             // some vertex has more than one
  std::vector<std::uint32_t> new_numbers_;  // per polygon, kCover for those; empty where there are none
};

}  // namespace jttk
