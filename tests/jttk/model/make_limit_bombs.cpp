// Writes small files that stand for more than any machine has: make_limit_bombs FOLDER.
#include <cstdio>
#include <filesystem>

#include "tests/jttk/support/limit_bombs.h"
#include "tests/jttk/support/write_file.h"

int main(int argc, char** argv) {
  using namespace jttk::testing;
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
  for (std::size_t k = 0; k < kFriends; ++k)
    writeFile(folder / friendName(k), friendOfAll(k, kFriends).file());
  return 0;
}
