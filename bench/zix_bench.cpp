// The Zix writer and reader beside their lower bounds: plain 1 MiB writes of the same bytes, both ended by
// fsync; and reading and checking the index bytes of a scene of 100,000 objects.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "host/path.h"
#include "zix/checksum.h"
#include "zix/output_file_system.h"
#include "zix/reader.h"
#include "zix/zix.h"

namespace {

using namespace Orb::Zix;

std::string scratchPath(const char* name) {
  const auto text = (std::filesystem::temp_directory_path() / name).u8string();
  return loftbay::host::toProgramPath(std::string(text.begin(), text.end()));
}

// 384 MiB as 128 coordinate arrays: so much that the rename and the second flush at the end weigh little.
constexpr std::size_t kArrays = 128;
const std::vector<float>& values() {
  static const std::vector<float> made = [] {
    std::vector<float> list(std::size_t{3} << 18 | 1U);
    for (std::size_t i = 0; i < list.size(); ++i) list[i] = static_cast<float>(i % 1000) * 0.37F;
    list.resize(list.size() / 3 * 3);
    return list;
  }();
  return made;
}

void BM_ZixWriteArrays(benchmark::State& state) {
  const std::string path = scratchPath("zix_bench.zix");
  for (auto _ : state) {
    // As with the plain writes: an old file would hold its pages in the cache until the new one is complete.
    system::remove(system::nativePath(path));
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    std::vector<float> own = values();
    for (std::size_t i = 0; i < kArrays; ++i) {
      own.front() = static_cast<float>(i) + 0.5F;  // equal arrays would be stored once
      scene.setValues<float>(scene.createObject(ObjectType::Coordinates), own.data(), own.size() / 3);
    }
    scene.closeFile(path.c_str());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kArrays * values().size() * 4));
}
BENCHMARK(BM_ZixWriteArrays)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);

void BM_PlainWrite(benchmark::State& state) {
  const std::string path = scratchPath("zix_bench.bin");
  const auto bytes = std::as_bytes(std::span(values()));
  for (auto _ : state) {
    system::remove(system::nativePath(path));
    std::intptr_t file = 0;
    if (system::createExclusive(system::nativePath(path), &file) != 0)
      return state.SkipWithError("cannot create");
    for (std::size_t i = 0; i < kArrays; ++i) {
      for (auto rest = bytes; !rest.empty();) {
        const auto piece = rest.first(std::min(rest.size(), std::size_t{1} << 20));
        system::write(file, piece);
        rest = rest.subspan(piece.size());
      }
    }
    system::flush(file);
    system::close(file);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kArrays * bytes.size()));
}
BENCHMARK(BM_PlainWrite)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3);

// About 100,000 objects as the converter makes them: per part a node, a transform and a shape with its mesh,
// three arrays and a material.
const std::string& manyObjects() {
  static const std::string made = [] {
    const std::string path = scratchPath("zix_bench_objects.zix");
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    const auto root = scene.createObject(ObjectType::Node);
    const unsigned int index = 0;
    for (int i = 0; i < 12500; ++i) {
      const float point[3] = {static_cast<float>(i), 2, 3};
      const auto node = scene.createObject(ObjectType::Node);
      scene.setName(node, ("part number " + std::to_string(i)).c_str());
      const auto transform = scene.createObject(ObjectType::Transform);
      scene.addComponent(root, node, transform);
      const auto shape = scene.createObject(ObjectType::Shape);
      scene.addComponent(node, shape);
      const auto mesh = scene.createObject(ObjectType::Mesh);
      scene.addComponent(shape, mesh);
      const auto coordinates = scene.createObject(ObjectType::Coordinates);
      scene.setValues<float>(coordinates, point, 1);
      scene.setCoordinates(mesh, coordinates);
      const auto indices = scene.createObject(ObjectType::IndexArray);
      scene.setValues<unsigned int>(indices, &index, 1);
      const auto lengths = scene.createObject(ObjectType::IndexArray);
      scene.setValues<unsigned int>(lengths, &index, 1);
      scene.setConnectivity(mesh, indices, lengths);
      scene.setMaterial(mesh, scene.createObject(ObjectType::Material));
    }
    scene.createDefaultViews(root);
    scene.closeFile(path.c_str());
    return path;
  }();
  return made;
}

void BM_ZixOpen(benchmark::State& state) {
  for (auto _ : state) {
    const auto scene = SceneFile::open(manyObjects());
    benchmark::DoNotOptimize(scene->objectCount());
  }
}
BENCHMARK(BM_ZixOpen)->Unit(benchmark::kMicrosecond)->Repetitions(3);

void BM_ReadAndCheckIndexBytes(benchmark::State& state) {
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  {
    const auto scene = SceneFile::open(manyObjects());
    end = scene->size();
    for (std::size_t i = 0; i < scene->chunks().size() && start == 0; ++i) {
      if (scene->chunks()[i].type == format::kSceneChunk) start = scene->chunks()[i].offset;
    }
  }
  const auto path = loftbay::host::toFileSystemPath(manyObjects());
  for (auto _ : state) {
    std::ifstream file(path, std::ios::binary);
    const auto buffer = std::make_unique_for_overwrite<char[]>(end - start);
    file.seekg(static_cast<std::streamoff>(start));
    file.read(buffer.get(), static_cast<std::streamsize>(end - start));
    benchmark::DoNotOptimize(checksum(std::as_bytes(std::span(buffer.get(), end - start))));
  }
}
BENCHMARK(BM_ReadAndCheckIndexBytes)->Unit(benchmark::kMicrosecond)->Repetitions(3);

}  // namespace
