// Temporaries that lie beside an output when it is written again.
#include <gmock/gmock.h>

#include "tests/zix/output_ways.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::OpenScene;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::Way;
using loftbay::testing_support::WayHook;
using loftbay::testing_support::writeSampleScene;
using ::testing::ElementsAre;
using ::testing::SizeIs;

TEST(Abandoned, TemporariesOfTheOutputAreRemovedWhoeverWroteThem) {
  const ScratchFolder folder;
  folder.write(".scene.zix.1-0.tmp", "of process 1, which lives");
  folder.write(".scene.zix.4294967295-17.tmp", "of another machine");
  writeSampleScene(folder.programPath("scene.zix"));
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

TEST(Abandoned, TemporariesOfOtherOutputsAndOtherFilesStay) {
  const ScratchFolder folder;
  const std::vector<std::string> others = {".other.zix.1-0.tmp", ".scene.zix.1-.tmp",
                                           ".scene.zix.1.tmp",   ".scene.zix.1-0.tmp.gz",
                                           ".scene.zix.tmp",     ".scene.zix.x1-0.tmp"};
  for (const std::string& name : others) folder.write(name, "kept");
  std::filesystem::create_directory(folder.path() / ".scene.zix.2-0.tmp");
#ifndef _WIN32
  std::filesystem::create_symlink(".other.zix.1-0.tmp", folder.path() / ".scene.zix.3-0.tmp");
#endif
  const auto before = folder.names();
  writeSampleScene(folder.programPath("scene.zix"));
  EXPECT_THAT(folder.names(), SizeIs(before.size() + 1));
  for (const std::string& name : others) EXPECT_EQ(folder.read(name), "kept") << name;
}

TEST(Abandoned, ATemporaryWhoseWriterLivesStaysAndItsSceneIsComplete) {
  const ScratchFolder folder;
  const WayHook hook(Way::Named);
  OpenScene slow(folder.programPath("scene.zix"));
  ASSERT_THAT(folder.names(), SizeIs(1));
  const std::string temporary = folder.names()[0];
  writeSampleScene(folder.programPath("scene.zix"));
  EXPECT_THAT(folder.names(), ElementsAre(temporary, "scene.zix"));
  removeAbandonedTemporaries(folder.programPath("scene.zix"));
  EXPECT_THAT(folder.names(), ElementsAre(temporary, "scene.zix"));
  EXPECT_EQ(slow.close(), "");
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
  EXPECT_EQ(validateFile(folder.programPath("scene.zix")).error_count, 0U);
}

// Another process looks for abandoned temporaries before one kind of call.
class CleanBefore : public WayHook {
 public:
  CleanBefore(FileOperation operation, Way way, std::string path)
      : WayHook(way), operation_(operation), path_(std::move(path)) {}
  int before(FileOperation operation, std::size_t size_bytes) override {
    if (operation == operation_) removeAbandonedTemporaries(path_);
    return WayHook::before(operation, size_bytes);
  }

 private:
  FileOperation operation_;
  std::string path_;
};

TEST(Abandoned, NoTemporaryCountsAsSuchUntilItIsInPlace) {
  for (const Way way : {Way::Unnamed, Way::Named}) {
    for (const FileOperation operation : {FileOperation::Close, FileOperation::Rename}) {
      const ScratchFolder folder;
      folder.write("scene.zix", "old");
      const CleanBefore cleaner(operation, way, folder.programPath("scene.zix"));
      OpenScene scene(folder.programPath("scene.zix"));
      EXPECT_EQ(scene.close(), "");
      EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
      EXPECT_EQ(validateFile(folder.programPath("scene.zix")).error_count, 0U);
    }
  }
}

}  // namespace
}  // namespace Orb::Zix
