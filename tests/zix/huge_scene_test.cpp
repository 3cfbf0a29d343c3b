// A scene of more than 4 GB, where an offset of 32 bits would have turned over. It needs as much room on the
// disk, so it runs only when asked for: scripts/check-huge-scene.
#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <fstream>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "zix/export.h"
#include "zix/reader.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addShape;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr unsigned kMeshes = 72;
constexpr unsigned kPoints = 5'500'000;  // 66 MB

class Stopwatch {
 public:
  explicit Stopwatch(const char* what) : what_(what) {}
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;
  ~Stopwatch() {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
    std::printf("%-10s %.2f s\n", what_, time.count());
  }

 private:
  const char* what_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// The highest memory use of this process so far, in KB; mapped files count.
long peakMemoryKb() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long value = 0;
    if (word == "VmHWM:" && status >> value) return value;
  }
  return 0;
}

// The value k of mesh m: no two meshes are equal, and each value shows where it belongs.
float valueOf(unsigned mesh, unsigned k) { return static_cast<float>((mesh * 1'000'003U + k) % 16'000'000U); }

TEST(HugeScene, DISABLED_IsWrittenValidatedAndReadBack) {
  const ScratchFolder folder;
  if (std::filesystem::space(folder.path()).available < (std::uintmax_t{6} << 30)) {
    GTEST_SKIP() << "fewer than 6 GB are free in " << folder.path();
  }
  const std::string path = folder.programPath("huge.zix");
  const long before_kb = peakMemoryKb();
  {
    const Stopwatch watch("write");
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    const auto root = scene.createObject(ObjectType::Node);
    SampleMesh mesh{MeshType::Triangles, std::vector<float>(std::size_t{3} * kPoints), {0, 0, 0}, {3}};
    for (unsigned m = 0; m < kMeshes; ++m) {
      for (unsigned k = 0; k < mesh.points.size(); ++k) mesh.points[k] = valueOf(m, k);
      mesh.indices = {m, kPoints / 2, kPoints - 1};
      addShape(scene, root, "shape " + std::to_string(m), mesh);
    }
    scene.createDefaultViews(root);
    scene.closeFile(path.c_str());
  }
  std::printf("memory     %ld KB above the start, of which %zu KB are the test's own array\n",
              peakMemoryKb() - before_kb, std::size_t{12} * kPoints / 1024);
  const auto size = std::filesystem::file_size(folder.path() / "huge.zix");
  std::printf("size       %ju bytes\n", size);
  EXPECT_GT(size, std::uintmax_t{1} << 32);
  {
    const Stopwatch watch("validate");
    const auto report = validateFile(path);
    EXPECT_EQ(report.error_count, 0U);
    EXPECT_EQ(report.warning_count, 0U);
  }
  {
    const Stopwatch watch("read back");
    const auto scene = SceneFile::open(path);
    ASSERT_TRUE(scene);
    unsigned m = 0;
    for (std::uint32_t object = 0; object < scene->objectCount(); ++object) {
      if (scene->type(object) != ObjectType::Mesh) continue;
      const auto values = scene->coordinateValues(scene->mesh(object).coordinates);
      ASSERT_EQ(values.size(), std::size_t{3} * kPoints);
      std::size_t wrong = 0;
      for (unsigned k = 0; k < values.size(); ++k) wrong += values[k] != valueOf(m, k) ? 1U : 0U;
      EXPECT_EQ(wrong, 0U) << "mesh " << m;
      EXPECT_THAT(scene->indexValues(scene->mesh(object).indices), ElementsAre(m, kPoints / 2, kPoints - 1));
      ++m;
    }
    EXPECT_EQ(m, kMeshes);
  }
  {
    const Stopwatch watch("open");
    EXPECT_TRUE(SceneFile::open(path));
  }
  // GLB holds its sizes in 32 bits.
  const auto exported = loftbay::testing_support::runProgram(
      folder, "zix", {"export", folder.hostPath("huge.zix"), folder.hostPath("huge.glb")});
  EXPECT_EQ(exported.code, 1);
  EXPECT_THAT(exported.err, HasSubstr("GLB files are limited to 4 GiB; the scene needs "));
  EXPECT_THAT(folder.names(), ElementsAre("huge.zix"));
  std::printf("export     %s", exported.err.c_str());
}

}  // namespace
}  // namespace Orb::Zix
