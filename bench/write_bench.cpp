// Writing bulk arrays: the scene writer beside plain writes of 1 MiB of the same bytes, both ended by a
// flush to the device.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

#include "bench/models.h"
#include "host/path.h"
#include "zix/zix.h"

namespace {

constexpr std::size_t kArraysWritten = 64;

std::size_t floatsPerArray() { return loftbay::bench::quick() ? 3'000 : 1'500'000; }

std::vector<float> arrayValues() {
  std::vector<float> result(floatsPerArray());
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = static_cast<float>(i) * 0.001F;
  return result;
}

void plainWrite(benchmark::State& state) {
  constexpr std::size_t kBlock = 1U << 20U;
  const auto array = arrayValues();
  const std::string path = loftbay::bench::temporaryPath("plain.bin");
  const std::size_t size = array.size() * sizeof(float);
  const char* const bytes = reinterpret_cast<const char*>(array.data());
  for (auto _ : state) {
    const int file = open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    for (std::size_t i = 0; i < kArraysWritten; ++i) {
      for (std::size_t done = 0; done < size; done += kBlock) {
        const std::size_t block = std::min(kBlock, size - done);
        if (write(file, bytes + done, block) != static_cast<ssize_t>(block))
          throw std::runtime_error("write");
      }
    }
    fsync(file);
    close(file);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size * kArraysWritten) * state.iterations());
}

void sceneWrite(benchmark::State& state) {
  using namespace Orb::Zix;
  auto array = arrayValues();
  const std::string path = loftbay::host::toProgramPath(loftbay::bench::temporaryPath("scene.zix"));
  for (auto _ : state) {
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    const auto root = scene.createObject(ObjectType::Node);
    for (std::size_t i = 0; i < kArraysWritten; ++i) {
      const auto coordinates = scene.createObject(ObjectType::Coordinates);
      scene.setDimension(coordinates, 3);
      array.front() = static_cast<float>(i);  // equal arrays would be stored once
      scene.setValues<float>(coordinates, array.data(), array.size() / 3);
    }
    scene.createDefaultViews(root);
    scene.closeFile(path.c_str());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(array.size() / 3 * 3 * sizeof(float) * kArraysWritten) *
                          state.iterations());
}

BENCHMARK(plainWrite)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sceneWrite)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
