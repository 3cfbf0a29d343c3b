// How much memory writing takes, against 64 MiB, 200 bytes per object and the bytes of the names.
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "bench/zix_numbers/measuring.h"
#include "host/process.h"

namespace zix_numbers {

using namespace Orb::Zix;

namespace {

struct Measured {
  Made made;
  std::uint64_t grown_bytes = 0;
};

// How far the peak memory of a process that does `work` exceeds its memory at the start, in bytes. Each
// `work` runs in a new process: memory that was freed earlier would be used again and not be counted.
Measured memoryOf(const std::function<Made()>& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  const pid_t child = fork();
  if (child == 0) {
    Measured measured;
    const auto before = loftbay::host::processMemory();
    measured.made = work();
    const auto after = loftbay::host::processMemory();
    measured.grown_bytes = after->peak_working_set_bytes - before->working_set_bytes;
    _exit(write(ends[1], &measured, sizeof(measured)) == sizeof(measured) ? 0 : 1);
  }
  close(ends[1]);
  Measured measured;
  const bool told = read(ends[0], &measured, sizeof(measured)) == sizeof(measured);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!told || status != 0) throw std::runtime_error("the measured process failed");
  return measured;
}

class CountingScene {
 public:
  explicit CountingScene(std::string path = scratchPath("memory.zix")) : path_(std::move(path)) {
    scene_.saveTo(path_.c_str(), " ", true, true);
  }

  ObjectId make(ObjectType type, const std::string& name) {
    const ObjectId id = scene_.createObject(type);
    scene_.setName(id, name.c_str());
    ++made.objects;
    made.name_bytes += name.size();
    return id;
  }
  Scene_V1& operator*() { return scene_; }
  void finish(const ObjectId& root) {
    scene_.createDefaultViews(root);
    scene_.closeFile(path_.c_str());
  }

  Made made;

 private:
  std::string path_;
  Scene_V1 scene_{"Model"};
};

// Coordinates that no other object has: equal ones would be kept once, as the index arrays are.
std::array<float, 3> ownPoint(std::uint64_t number) {
  return {static_cast<float>(number % 4096), static_cast<float>(number / 4096), 3};
}
const unsigned int kIndex = 0;

}  // namespace

Made writeParts(const std::string& path, std::uint64_t objects) {
  CountingScene scene(path);
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 0; i < objects / 8; ++i) {
    const std::string name = "part number " + std::to_string(i);
    const auto node = scene.make(ObjectType::Node, name);
    (*scene).addComponent(root, node, scene.make(ObjectType::Transform, name + "_orb_2"));
    const auto shape = scene.make(ObjectType::Shape, name + "_orb_3");
    (*scene).addComponent(node, shape);
    const auto mesh = scene.make(ObjectType::Mesh, "mesh");
    (*scene).addComponent(shape, mesh);
    const auto coordinates = scene.make(ObjectType::Coordinates, "");
    (*scene).setValues<float>(coordinates, ownPoint(i).data(), 1);
    (*scene).setCoordinates(mesh, coordinates);
    const auto indices = scene.make(ObjectType::IndexArray, "");
    (*scene).setValues<unsigned int>(indices, &kIndex, 1);
    const auto lengths = scene.make(ObjectType::IndexArray, "");
    (*scene).setValues<unsigned int>(lengths, &kIndex, 1);
    (*scene).setConnectivity(mesh, indices, lengths);
    (*scene).setMaterial(mesh, scene.make(ObjectType::Material, "Material"));
  }
  scene.finish(root);
  return scene.made;
}

namespace {

// Arrays of coordinates with long names: the objects for which the scene keeps most.
Made writeCoordinates(std::uint64_t objects) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 1; i < objects; ++i) {
    const auto id = scene.make(ObjectType::Coordinates, "some longer name of its own " + std::to_string(i));
    (*scene).setValues<float>(id, ownPoint(i).data(), 1);
  }
  scene.finish(root);
  return scene.made;
}

Made writeNodes(std::uint64_t objects) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 1; i < objects; ++i) (*scene).addComponent(root, scene.make(ObjectType::Node, ""));
  scene.finish(root);
  return scene.made;
}

Made writeBigArrays(std::vector<float>& values) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (int i = 0; i < 4; ++i) {
    values.front() = static_cast<float>(i);
    (*scene).setValues<float>(scene.make(ObjectType::Coordinates, ""), values.data(), values.size() / 3);
  }
  scene.finish(root);
  return scene.made;
}

}  // namespace

void measureMemory() {
  constexpr std::uint64_t kBase = std::uint64_t{64} << 20;
  const std::uint64_t objects = quick ? 10'000 : 1'000'000;
  // Asked for here, so that the processes find this one's folder made.
  const std::string path = scratchPath("memory.zix");
  std::vector<float> big(quick ? 30'000 : 48'000'000, 1.0F);
  const auto measure = [&](const std::string& what, const std::function<Made()>& write) {
    const auto [made, grown] = memoryOf(write);
    const std::uint64_t limit = kBase + 200 * made.objects + made.name_bytes;
    report(fmt::format("memory, {} objects: {}", made.objects, what),
           fmt::format("{:.1f} MB", static_cast<double>(grown) / 1e6),
           fmt::format("< {:.1f} MB", static_cast<double>(limit) / 1e6), grown < limit);
  };
  measure("parts as the converter makes them", [&] { return writeParts(path, objects); });
  measure("coordinates with long names", [&] { return writeCoordinates(objects); });
  measure("nodes without names", [&] { return writeNodes(objects); });
  measure(fmt::format("4 arrays of {} MB", big.size() * 4 / 1'000'000), [&] { return writeBigArrays(big); });
}

}  // namespace zix_numbers
