// Writes the seeds of the fuzz targets of scene graphs and whole files: make_graph_seeds CORPUS_FOLDER.
#include <cstdio>
#include <filesystem>
#include <string>

#include "samples/maker/pieces/graph_builder.h"
#include "samples/maker/pieces/write_file.h"

namespace {

namespace fs = std::filesystem;
using namespace loftbay::maker::pieces;

constexpr Date kADay = {2014, 3, 3, 14, 54, 43};

// One of everything.
GraphBuilder machine(const std::string& version, ByteOrder order) {
  GraphBuilder graph(version, order);
  graph.move(20, 1, 2, 3);
  graph.transform(21, {-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  GraphBuilder::Material material;
  material.diffuse = {0.25F, 0.5F, 0.75F, 1};
  graph.material(22, material);
  graph.partition(0, {1}, "machine.jt").name("machine.asm;1;0:");
  graph.metaData(1, {2, 3, 4, 9}).attributes({20, 22}).property("JT_PROP_MEASUREMENT_UNITS", "Inches");
  graph.instance(2, 5).name("a;0;0:").attributes({21});
  graph.instance(3, 5);
  graph.switchNode(4, {2, 3}, 1);
  graph.part(5, {6}).lateLoaded("JT_LLPROP_XTBREP", {1, 2, 3, {}}, 17);
  graph.rangeLod(6, {7, 8});
  graph.group(7, {8, 12}).attributes({21});
  if (std::stoi(version) >= 9) {
    graph.triStrips(8).attributes({22});
  } else {
    graph.emptyTriStrips(8);
  }
  graph.partition(9, {}, "other.jt").name("other");
  graph.nullShape(12);
  return graph;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: make_graph_seeds CORPUS_FOLDER\n", stderr);
    return 2;
  }
  const fs::path root = argv[1];
  const std::pair<const char*, unsigned> versions[] = {{"8.1", 1}, {"9.5", 3}, {"10.0", 4}};
  for (const auto& [version, number] : versions) {
    for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
      const bool big = order == ByteOrder::Big;
      const std::string name = std::string(version) + (big ? "_big" : "");
      const GraphBuilder graph = machine(version, order);
      Bytes segment{static_cast<std::byte>(number | (big ? 8U : 0U))};
      const Bytes body = graph.segment();
      segment.insert(segment.end(), body.begin(), body.end());
      writeFile(root / "scene_graph_fuzz" / name, segment);
      writeFile(root / "jt_file_fuzz" / name, graph.file());
      GraphBuilder described(version, order);
      described.partition(0, {})
          .number("count", 7)
          .number("ratio", 0.25F)
          .number("drawn", kADay)
          .metaData(
              {1, 2, 3, {}},
              {{"Name::", std::string("wheel")}, {"Teeth::", 42}, {"Mass::", 0.1F}, {"Drawn::", kADay}});
      writeFile(root / "jt_file_fuzz" / ("properties_" + name), described.file());
    }
  }
  return 0;
}
