#include "jttk/codec/v9/topology.h"

#include <algorithm>

#include "jttk/codec/v9/corner_numbers.h"
#include "jttk/codec/v9/topology_growth.h"
#include "jttk/codec/v9/topology_result.h"

namespace jttk {
namespace {

// Sizes are known before the first symbol is used: every corner sits in one slot, so there are as many slots
// as corners, and all arrays are made once.
Result<TopologySizes> sizesWithinLimits(const TopologySymbols& symbols, std::uint64_t offset,
                                        const TopologyLimits& limits) {
  const std::uint64_t most_corners = std::min(limits.maximum_corners, kMaximumShapeCorners);
  auto sizes = topologySizes(symbols, most_corners, offset);
  if (!sizes || limits.memory == nullptr) return sizes;
  // A corner has its vertex and slot, a slot its corner; vertex and record of each corner are kept.
  constexpr std::size_t kPerCorner = 24;
  constexpr std::size_t kPerPolygon = 12;
  constexpr std::size_t kPerVertex = 36;
  auto taken = limits.memory->take(sizes->corners, kPerCorner, offset);
  if (taken) taken = limits.memory->take(symbols.valences.size(), kPerPolygon, offset);
  if (taken) taken = limits.memory->take(sizes->vertices, kPerVertex, offset);
  if (!taken) return passOn(taken);
  return sizes;
}

template <typename Corners>
Result<Topology> grow(const TopologySymbols& symbols, PacketForm form, const TopologySizes& sizes,
                      std::uint64_t offset) {
  TopologyGrowth<Corners> growth(symbols, form, sizes, offset);
  if (!growth.run()) return tl::unexpected<Error>(growth.error());
  return TopologyResult<Corners>(symbols, growth.mesh(), growth.records()).make();
}

}  // namespace

Result<Topology> decodeTopology(const TopologySymbols& symbols, PacketForm form, std::uint64_t offset,
                                const TopologyLimits& limits) {
  const auto sizes = sizesWithinLimits(symbols, offset, limits);
  const bool triangles = symbols.valences.size() <= triangle_edges::kMostTriangles &&
                         std::all_of(symbols.valences.begin(), symbols.valences.end(),
                                     [](std::int32_t valence) { return valence == 3; });
  auto mesh = !sizes      ? passOn(sizes)
              : triangles ? grow<TriangleCorners>(symbols, form, *sizes, offset)
                          : grow<PolygonCorners>(symbols, form, *sizes, offset);
  if (!mesh) return tl::unexpected<Error>(mesh.error().in("topology"));
  return mesh;
}

}  // namespace jttk
