// How a new scene file exists while it is written, and how it gets its name.
#include <gmock/gmock.h>

#include "tests/zix/output_ways.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::fillBigScene;
using loftbay::testing_support::hasUnnamedFiles;
using loftbay::testing_support::nameOf;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::Way;
using loftbay::testing_support::WayHook;
using loftbay::testing_support::writeSampleScene;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

#ifndef _WIN32

TEST(NewFile, HasNoNameUntilItIsComplete) {
  const ScratchFolder folder;
  if (!hasUnnamedFiles(folder)) GTEST_SKIP() << "no files without a name in " << folder.path();
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  fillBigScene(scene);
  EXPECT_THAT(folder.names(), IsEmpty());
  scene.closeFile(path.c_str());
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

TEST(NewFile, HasTheRightsOfAnyNewFileHoweverItWasMade) {
  const ScratchFolder folder;
  folder.write("plain", "");
  const auto rights = std::filesystem::status(folder.path() / "plain").permissions();
  folder.write("over.zix", "old");
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const WayHook hook(way);
    for (const char* name : {"new.zix", "over.zix"}) {
      writeSampleScene(folder.programPath(name));
      EXPECT_EQ(std::filesystem::status(folder.path() / name).permissions(), rights) << name << nameOf(way);
    }
    std::filesystem::remove(folder.path() / "new.zix");
  }
}

#endif

// Records the operations, runs of equal ones once.
class Recorder : public WayHook {
 public:
  using WayHook::WayHook;
  int before(FileOperation operation, std::size_t size_bytes) override {
    if (seen.empty() || seen.back() != operation) seen.push_back(operation);
    return WayHook::before(operation, size_bytes);
  }
  std::vector<FileOperation> seen;
};

TEST(NewFile, IsDurableBeforeItIsPutInPlaceAndItsNameAfterwards) {
  using enum FileOperation;
  const auto operations = [](const ScratchFolder& folder, Way way) {
    Recorder recorder(way);
    writeSampleScene(folder.programPath("scene.zix"));
    return recorder.seen;
  };
  const ScratchFolder folder;
  if (hasUnnamedFiles(folder)) {
    EXPECT_THAT(operations(folder, Way::Unnamed),
                ElementsAre(CreateUnnamed, Write, Seek, Write, Seek, Flush, Link, Flush, Close, FlushFolder));
    // Now there is an old file.
    EXPECT_THAT(operations(folder, Way::Unnamed), ElementsAre(CreateUnnamed, Write, Seek, Write, Seek, Flush,
                                                              Link, Rename, Flush, Close, FlushFolder));
  }
  EXPECT_THAT(operations(folder, Way::Named), ElementsAre(CreateUnnamed, Create, Write, Seek, Write, Seek,
                                                          Flush, Close, Rename, FlushFolder));
}

TEST(NewFile, IsTheSameHoweverItWasMade) {
  const ScratchFolder folder;
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const WayHook hook(way);
    writeSampleScene(folder.programPath(nameOf(way)));
  }
  EXPECT_EQ(folder.read("Unnamed"), folder.read("Named"));
}

}  // namespace
}  // namespace Orb::Zix
