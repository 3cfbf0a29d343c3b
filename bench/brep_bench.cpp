// Tessellation of exact geometry at the default tolerances, in faces per second of one core: the project's
// own flange, and the fan, bolt and nut together. The latter are in the folder that LOFTBAY_JT_SAMPLES names,
// else in
// ../shared/jt-samples; without them that benchmark says so and is skipped.
//
//   LOFTBAY_JT_SAMPLES=DIR build/bin/loftbay_bench --benchmark_filter=tessellate
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"
#include "jttk/brep/xt_model.h"
#include "samples/maker/flange_joint.h"

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

void tessellateAll(benchmark::State& state, const std::vector<Bodies>& all) {
  std::size_t faces = 0;
  std::size_t triangles = 0;
  for (auto _ : state) {
    triangles = 0;
    for (const Bodies& bodies : all) {
      const TessellatedBodies made = tessellate(bodies, {});
      for (const TessellatedBody& body : made.bodies) triangles += body.triangle_faces.size();
      faces += bodies.faces.size();
    }
  }
  state.counters["faces"] = benchmark::Counter(static_cast<double>(faces), benchmark::Counter::kIsRate);
  state.counters["triangles_each_time"] = static_cast<double>(triangles);
}

void tessellateFanBoltNut(benchmark::State& state) {
  const char* const given = std::getenv("LOFTBAY_JT_SAMPLES");
  const std::string folder = given != nullptr ? given : "../shared/jt-samples";
  std::vector<Bodies> all;
  for (const char* name : {"fan_v9.0.jt", "bolt.jt", "nut.jt"}) addBodies(folder + "/" + name, all);
  if (all.empty()) {
    state.SkipWithError("no sample files: set LOFTBAY_JT_SAMPLES");
    return;
  }
  tessellateAll(state, all);
}
BENCHMARK(tessellateFanBoltNut)->Unit(benchmark::kMillisecond);

void tessellateFlange(benchmark::State& state) {
  const loftbay::maker::Product joint = loftbay::maker::flangeJoint();
  std::vector<Bodies> all;
  for (const loftbay::maker::Part& part : joint.parts) {
    const auto nodes = XtNodes::read(std::as_bytes(std::span(part.exact->stream)), 0);
    if (nodes) all.push_back(buildBodies(*nodes));
  }
  tessellateAll(state, all);
}
BENCHMARK(tessellateFlange)->Unit(benchmark::kMillisecond);

}  // namespace
