// Tessellation of exact geometry at the default tolerances, in faces per second. The files are those of
// LOFTBAY_JT_SAMPLES; without them the benchmark says so and is skipped.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "jttk/brep/tessellate.h"

namespace {

using namespace jttk;
using namespace jttk::brep;

void addBodies(const std::string& path, std::vector<Bodies>& all) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  const auto file = JtFile::fromBytes(std::as_bytes(std::span(bytes)));
  if (!file) return;
  for (const TocEntry& entry : (*file)->contents()) {
    if (entry.type != SegmentType::XtBrep) continue;
    const auto segment = (*file)->segment(entry);
    if (!segment) continue;
    auto bodies = readXtBrep(*segment, (*file)->byteOrder());
    if (bodies) all.push_back(*std::move(bodies));
  }
}

void tessellateSamples(benchmark::State& state) {
  const char* const folder = std::getenv("LOFTBAY_JT_SAMPLES");
  std::vector<Bodies> all;
  for (const char* name : {"fan_v9.0.jt", "bolt.jt", "nut.jt"}) {
    if (folder) addBodies(std::string(folder) + "/" + name, all);
  }
  if (all.empty()) {
    state.SkipWithError("no sample files: set LOFTBAY_JT_SAMPLES");
    return;
  }
  std::size_t faces = 0;
  for (auto _ : state) {
    for (const Bodies& bodies : all) {
      benchmark::DoNotOptimize(tessellate(bodies, {}));
      faces += bodies.faces.size();
    }
  }
  state.counters["faces"] = benchmark::Counter(static_cast<double>(faces), benchmark::Counter::kIsRate);
}
BENCHMARK(tessellateSamples)->Unit(benchmark::kMillisecond);

}  // namespace
