// The two forms of a new scene file until it is complete: without a name, and with a temporary one on systems
// that have no files without names. Tests of saving go through both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/output_file.h"
#include "zix/output_file_system.h"
#include "zix/zix.h"

namespace loftbay::testing_support {

enum class Way { Unnamed, Named };

inline const char* nameOf(Way way) { return way == Way::Unnamed ? "Unnamed" : "Named"; }

// Sees every call to the system while it lives, and can make creating files without a name fail.
class WayHook : public Orb::Zix::FileOperationHook {
 public:
  explicit WayHook(Way way) : way_(way) { Orb::Zix::setFileOperationHook(this); }
  ~WayHook() override { Orb::Zix::setFileOperationHook(nullptr); }

  int before(Orb::Zix::FileOperation operation, std::size_t) override {
    return way_ == Way::Named && operation == Orb::Zix::FileOperation::CreateUnnamed
               ? Orb::Zix::system::unsupported()
               : 0;
  }

 private:
  Way way_;
};

inline bool hasUnnamedFiles(const ScratchFolder& folder) {
  std::intptr_t handle = 0;
  const int error = Orb::Zix::system::createUnnamed(folder.programPath("."), &handle);
  if (error == 0) Orb::Zix::system::close(handle);
  return error == 0;
}

// More than the write buffer, so that arrays reach the system while the calls are made.
inline void fillBigScene(Orb::Zix::Scene_V1& scene) {
  fillSampleScene(scene);
  const std::vector<unsigned int> big(400000, 7);
  scene.setValues<unsigned int>(scene.createObject(Orb::Zix::ObjectType::IndexArray), big.data(), big.size());
  scene.setValues<unsigned int>(scene.createObject(Orb::Zix::ObjectType::IndexArray), big.data(), 1);
  // Stored already, in the file: it is read back.
  scene.setValues<unsigned int>(scene.createObject(Orb::Zix::ObjectType::IndexArray), big.data(), big.size());
}

// What closeFile throws; empty when it succeeds.
inline std::string closeMessage(Orb::Zix::Scene_V1& scene, const std::string& path) {
  try {
    scene.closeFile(path.c_str());
  } catch (const Orb::Zix::SceneError& error) {
    return error.what();
  }
  return "";
}

// The sample scene, bound to a file that is not complete yet.
class OpenScene {
 public:
  explicit OpenScene(std::string program_path) : path_(std::move(program_path)) {
    scene_.saveTo(path_.c_str(), " ", true, true);
    fillSampleScene(scene_);
  }
  // What closeFile throws; empty when it succeeds.
  std::string close() { return closeMessage(scene_, path_); }

 private:
  std::string path_;
  Orb::Zix::Scene_V1 scene_{"Model"};
};

}  // namespace loftbay::testing_support
