// Merging equal vertices: vertices per second on strips of a ring, beside a plain copy of the same arrays.
#include <benchmark/benchmark.h>

#include <cstring>
#include <numeric>

#include "bench/models.h"
#include "geometry/duplicate_vertices.h"

namespace {

using loftbay::geometry::Point;

constexpr std::size_t kMergedTriangles = 400'000;

// Every corner of every triangle, as shapes of short strips hand them out.
std::vector<Point> corners() {
  const auto shape = loftbay::bench::ring(kMergedTriangles);
  std::vector<Point> points;
  for (const auto corner : shape.corner_positions) {
    const auto& p = shape.positions[corner];
    points.push_back({p.x, p.y, p.z});
  }
  return points;
}

void merge(benchmark::State& state) {
  const auto points = corners();
  std::vector<std::uint32_t> identity(points.size());
  std::iota(identity.begin(), identity.end(), 0U);
  for (auto _ : state) {
    std::vector<Point> unique;
    std::vector<Point> companions;
    auto indices = identity;
    loftbay::geometry::removeDuplicateVertices(points, unique, indices, {}, companions);
    benchmark::DoNotOptimize(unique.data());
  }
  state.counters["vertices/s"] =
      benchmark::Counter(static_cast<double>(points.size()) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(points.size() * sizeof(Point)) * state.iterations());
}

void copyVertices(benchmark::State& state) {
  const auto points = corners();
  for (auto _ : state) {
    std::vector<Point> copy(points);
    benchmark::DoNotOptimize(copy.data());
  }
  state.counters["vertices/s"] =
      benchmark::Counter(static_cast<double>(points.size()) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(points.size() * sizeof(Point)) * state.iterations());
}

BENCHMARK(copyVertices)->Unit(benchmark::kMillisecond);
BENCHMARK(merge)->Unit(benchmark::kMillisecond);

}  // namespace
