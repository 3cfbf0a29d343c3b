// Merging equal vertices: vertices per second on strips of a ring and on positions that are all different,
// beside a plain copy of the same arrays and beside the rule as it reads, with a text stream and an ordered
// map.
#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <sstream>
#include <string>

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

std::vector<Point> distinctPositions() {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> values(-1000, 1000);
  std::vector<Point> points(loftbay::bench::quick() ? 2'000 : kMergedTriangles);
  for (Point& p : points) p = {values(random), values(random), values(random)};
  return points;
}

void countVertices(benchmark::State& state, const std::vector<Point>& points) {
  state.counters["vertices/s"] =
      benchmark::Counter(static_cast<double>(points.size()) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(points.size() * sizeof(Point)) * state.iterations());
}

void merge(benchmark::State& state, const std::vector<Point>& points) {
  std::vector<std::uint32_t> identity(points.size());
  std::iota(identity.begin(), identity.end(), 0U);
  for (auto _ : state) {
    std::vector<Point> unique;
    std::vector<Point> companions;
    auto indices = identity;
    loftbay::geometry::removeDuplicateVertices(points, unique, indices, {}, companions);
    benchmark::DoNotOptimize(unique.data());
  }
  countVertices(state, points);
}

void mergeLiterally(benchmark::State& state, const std::vector<Point>& points) {
  for (auto _ : state) {
    std::map<std::string, std::uint32_t> vertices;
    std::vector<Point> unique;
    std::vector<std::uint32_t> indices;
    std::ostringstream key;
    for (const Point& p : points) {
      key.str("");
      key << p.x << p.y << p.z;
      const auto [place, is_new] = vertices.try_emplace(key.str(), static_cast<std::uint32_t>(unique.size()));
      if (is_new) unique.push_back(p);
      indices.push_back(place->second);
    }
    benchmark::DoNotOptimize(indices.data());
  }
  countVertices(state, points);
}

void copyVertices(benchmark::State& state) {
  const auto points = corners();
  for (auto _ : state) {
    std::vector<Point> copy(points);
    benchmark::DoNotOptimize(copy.data());
  }
  countVertices(state, points);
}

void mergeStrips(benchmark::State& state) { merge(state, corners()); }
void mergeStripsLiterally(benchmark::State& state) { mergeLiterally(state, corners()); }
void mergeDistinct(benchmark::State& state) { merge(state, distinctPositions()); }
void mergeDistinctLiterally(benchmark::State& state) { mergeLiterally(state, distinctPositions()); }

BENCHMARK(copyVertices)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeStrips)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeStripsLiterally)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeDistinct)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeDistinctLiterally)->Unit(benchmark::kMillisecond);

}  // namespace
