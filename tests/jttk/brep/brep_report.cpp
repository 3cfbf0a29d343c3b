// brep_report [--chord PERCENT] [--min-edge LENGTH] [--repeat N] FILE.jt…: tessellates every XT B-Rep segment
// of the files and prints what came out, body by body, and the speed over all of them.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"
#include "tests/jttk/brep/mesh_measures.h"

namespace {

using namespace jttk;
using namespace jttk::brep;

std::vector<char> readFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Totals {
  std::size_t faces = 0;
  double read_seconds = 0;
  double seconds = 0;
};

void report(const Segment& segment, ByteOrder order, TessellationOptions options, int repeat,
            Totals& totals) {
  const auto start = std::chrono::steady_clock::now();
  const Result<Bodies> bodies = readXtBrep(segment, order);
  totals.read_seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (!bodies) {
    std::printf("  %s\n", bodies.error().text().c_str());
    return;
  }
  options.units_per_metre = unitsPerMetre(*bodies, "").value_or(1000);
  TessellatedBodies made;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < repeat; ++i) made = tessellate(*bodies, options);
  totals.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() / repeat;
  totals.faces += bodies->faces.size();
  std::printf("  %s: %zu bodies, %zu faces; chord %.6g of diagonal %.6g\n", bodies->schema.c_str(),
              bodies->bodies.size(), bodies->faces.size(), made.chord_tolerance, made.diagonal);
  for (const TessellatedBody& body : made.bodies) {
    const MeshMeasures m = measure(body.shape);
    std::printf(
        "  body %u: %zu triangles (%zu degenerate), %zu open edges, area %.9g, volume6 %.9g, %zu corners "
        "against their normal, %zu bad normals\n",
        body.body, m.triangles, m.degenerate, m.open_edges, m.area, 6 * m.volume, m.against_normals,
        m.bad_normals);
  }
  for (const TessellationLoss& loss : made.losses)
    std::printf("  face %d: %s\n", loss.face, loss.reason.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  TessellationOptions options;
  int repeat = 1;
  Totals totals;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--chord" && i + 1 < argc) {
      options.chord_tolerance_percent = std::atof(argv[++i]);
    } else if (word == "--min-edge" && i + 1 < argc) {
      options.minimum_edge_length = std::atof(argv[++i]);
    } else if (word == "--repeat" && i + 1 < argc) {
      repeat = std::max(1, std::atoi(argv[++i]));
    } else {
      const std::vector<char> bytes = readFile(argv[i]);
      const auto file = JtFile::fromBytes(std::as_bytes(std::span(bytes)));
      if (!file) {
        std::printf("%s: %s\n", argv[i], file.error().text().c_str());
        continue;
      }
      std::printf("%s\n", argv[i]);
      for (const TocEntry& entry : (*file)->contents()) {
        if (entry.type != SegmentType::XtBrep) continue;
        const Result<Segment> segment = (*file)->segment(entry);
        if (segment) report(*segment, (*file)->byteOrder(), options, repeat, totals);
      }
    }
  }
  std::printf("%zu faces read in %.4f s, tessellated in %.4f s: %.0f faces per second\n", totals.faces,
              totals.read_seconds, totals.seconds,
              totals.seconds > 0 ? static_cast<double>(totals.faces) / totals.seconds : 0);
  return 0;
}
