// An interrupt of the program (Ctrl-C) while a scene is saved.
#include <gmock/gmock.h>

#include "tests/zix/output_ways.h"
#include "zix/interrupted_write.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::OpenScene;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::Way;
using loftbay::testing_support::WayHook;
using loftbay::testing_support::writeSampleScene;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(Interrupt, RemovesTheTemporaryThatIsBeingWritten) {
  const ScratchFolder folder;
  const WayHook hook(Way::Named);
  OpenScene scene(folder.programPath("scene.zix"));
  EXPECT_EQ(folder.names().size(), 1U);
  removeInterruptedWrites();
#ifdef _WIN32
  GTEST_SKIP() << "the name goes when the process that has the file open ends";
#endif
  EXPECT_THAT(folder.names(), IsEmpty());
}

// An interrupt before one kind of call.
class InterruptAt : public WayHook {
 public:
  InterruptAt(FileOperation operation, Way way) : WayHook(way), operation_(operation) {}
  int before(FileOperation operation, std::size_t size_bytes) override {
    if (operation == operation_) removeInterruptedWrites();
    return WayHook::before(operation, size_bytes);
  }

 private:
  FileOperation operation_;
};

TEST(Interrupt, LeavesTheOldFileWhenItComesBeforeTheRename) {
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const ScratchFolder folder;
    folder.write("scene.zix", "old");
    const InterruptAt interrupt(FileOperation::Rename, way);
    OpenScene scene(folder.programPath("scene.zix"));
    EXPECT_THAT(scene.close(), HasSubstr("rename failed: "));
    EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
    EXPECT_EQ(folder.read("scene.zix"), "old");
  }
}

TEST(Interrupt, TouchesNothingOnceTheFileIsInPlace) {
  const ScratchFolder folder;
  writeSampleScene(folder.programPath("scene.zix"));
  removeInterruptedWrites();
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
  // Between the name and the end of the call, too.
  const InterruptAt interrupt(FileOperation::FlushFolder, Way::Unnamed);
  writeSampleScene(folder.programPath("scene.zix"));
  writeSampleScene(folder.programPath("another.zix"));
  EXPECT_THAT(folder.names(), ElementsAre("another.zix", "scene.zix"));
}

}  // namespace
}  // namespace Orb::Zix
