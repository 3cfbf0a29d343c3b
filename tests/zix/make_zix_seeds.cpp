// Writes the seeds of the fuzz targets of scenes: make_zix_seeds CORPUS_FOLDER.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "tests/zix/zix_builder.h"

namespace {

namespace fs = std::filesystem;
using namespace loftbay::testing_support;
using Orb::Zix::ObjectType;

// As the writer writes them: every kind of object and of mesh.
std::string sampleFile() {
  const ScratchFolder folder;
  writeSampleScene(folder.programPath("scene.zix"));
  return folder.read("scene.zix");
}

// Two nodes with properties, and a unit.
std::string fileWithProperties() {
  ZixBuilder built;
  built.texts = "nodes";
  for (int i = 0; i < 2; ++i) built.add(ZixBuilder::plain(static_cast<std::uint32_t>(ObjectType::Node)));
  built.addProperty(zf::kNone, zf::kUnitKey, "inch");
  built.addProperty(zf::kNone, zf::kUnitMetresKey, "0.0254");
  built.addProperty(0, "Mass", "2 kg");
  built.addProperty(1, "Mass", "");
  built.addProperty(1, "Material", "Steel");
  return built.build();
}

// What the writer does not write: a later minor version with longer rows, a chunk of an unknown type, a
// parent behind its child, no root, and coordinates of four values.
std::string laterFile() {
  const auto plain = [](ObjectType type) { return ZixBuilder::plain(static_cast<std::uint32_t>(type)); };
  ZixBuilder built;
  built.minor_version = zf::kNewestKnownMinor + 1;
  built.texts = "later";
  const auto shape = built.add(plain(ObjectType::Shape));
  const auto mesh = built.add(plain(ObjectType::Mesh));
  const auto node = built.add(plain(ObjectType::Node));
  const auto coordinates = built.add(plain(ObjectType::Coordinates));
  const auto indices = built.add(plain(ObjectType::IndexArray));
  const auto lengths = built.add(plain(ObjectType::IndexArray));
  built.objects[shape].parent = node;
  built.objects[shape].first_child = 0;
  built.objects[shape].child_count = 1;
  built.objects[mesh].parent = shape;
  built.objects[node].name_size = 5;
  built.objects[node].first_child = 1;
  built.objects[node].child_count = 1;
  built.children = {mesh, shape};
  const float points[3][4] = {{0, 0, 0, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}};
  const std::uint32_t corners[] = {0, 1, 2};
  const std::uint32_t three = 3;
  built.addArray(zf::kFloatArrayChunk, sizeof(points[0]), recordBytes(points));
  built.addArray(zf::kIndexArrayChunk, sizeof(three), recordBytes(corners));
  built.addArray(zf::kIndexArrayChunk, sizeof(three), recordBytes(three));
  built.coordinates = {{4, 0, zf::kDimensionSet, 0}};
  built.index_arrays = {{1, 0}, {2, 0}};
  const zf::MeshRecord record{0, coordinates, indices, lengths, zf::kMeshTypeSet, 0};
  built.left_out = zf::kMeshChunk;
  built.others = {{zf::kMeshChunk, sizeof(record) + 8, recordBytes(record) + "new data"},
                  {zf::chunkType("LATE"), 1, "of an unknown type"}};
  return built.build();
}

bool write(const fs::path& file, unsigned first, const std::string& scene) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream.put(static_cast<char>(first)).write(scene.data(), static_cast<std::streamsize>(scene.size()));
  return stream.good();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: make_zix_seeds CORPUS_FOLDER\n", stderr);
    return 2;
  }
  const fs::path root = argv[1];
  // The targets' first byte: with 1 the reader's target repairs checksums; the tools' target always does.
  const std::string sample = sampleFile();
  const std::string later = laterFile();
  const std::string properties = fileWithProperties();
  const bool is_written = write(root / "zix_reader_fuzz" / "sample.bin", 0, sample) &&
                          write(root / "zix_reader_fuzz" / "sample_repaired.bin", 1, sample) &&
                          write(root / "zix_reader_fuzz" / "later_minor_repaired.bin", 1, later) &&
                          write(root / "zix_reader_fuzz" / "properties_repaired.bin", 1, properties) &&
                          write(root / "zix_tools_fuzz" / "properties.bin", 0, properties) &&
                          write(root / "zix_tools_fuzz" / "sample.bin", 0, sample) &&
                          write(root / "zix_tools_fuzz" / "later_minor.bin", 0, later);
  return is_written ? 0 : 1;
}
