// Writes small files that would need more than any machine has: make_limit_bombs FOLDER.
#include <cstdio>
#include <filesystem>

#include "samples/maker/pieces/limit_bombs.h"
#include "samples/maker/pieces/write_file.h"

int main(int argc, char** argv) {
  using namespace loftbay::maker::pieces;
  if (argc != 2) {
    std::fputs("usage: make_limit_bombs FOLDER\n", stderr);
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  constexpr std::size_t kFriends = 30;
  std::filesystem::create_directories(folder);
  writeFile(folder / "instances.jt", instancesOfInstances().file());
  writeFile(folder / "children.jt", equalChildren(2'000'000).file());
  writeFile(folder / "exact.jt", costlyParts(60, 20).file());
  writeFile(folder / "failing.jt", failingSegment(120, 4'000'000).file());
  writeFile(folder / "zeros.jt", packedZeros(1'000'000'000).file());
  writeFile(folder / "one_edge.jt", filledUp(facesOfOneEdge(700, 180).file()));
  writeFile(folder / "tetrahedra9.jt", filledUp(tetrahedra("9.5", 100'000).file()));
  writeFile(folder / "tetrahedra10.jt", filledUp(tetrahedra("10.5", 100'000).file()));
  writeFile(folder / "polygons9.jt", filledUp(largePolygons("9.5", 1000, 380).file()));
  writeFile(folder / "polygon10.jt", filledUp(largePolygons("10.5", 380'000, 1).file()));
  writeFile(folder / "polygon_too_large.jt", filledUp(largePolygons("9.5", 720'000, 1).file()));
  writeFile(folder / "strip8.jt", filledUp(longStrip(700'000, true).file()));
  writeFile(folder / "strip_too_large.jt", filledUp(longStrip(1'050'000, true).file()));
  writeFile(folder / "equal_corners8.jt", filledUp(longStrip(2'000'000, false).file()));
  writeFile(folder / "everything.jt", filledUp(everythingAtOnce().file()));
  for (std::size_t k = 0; k < kFriends; ++k)
    writeFile(folder / friendName(k), friendOfAll(k, kFriends).file());
  return 0;
}
