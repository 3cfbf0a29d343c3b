// Failures of a save that need no injection: each is reported by closeFile and leaves what was there.
#include <gmock/gmock.h>

#include "tests/zix/output_ways.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace Orb::Zix {
namespace {

using loftbay::testing_support::closeMessage;
using loftbay::testing_support::fillSampleScene;
using loftbay::testing_support::hasUnnamedFiles;
using loftbay::testing_support::OpenScene;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::Way;
using loftbay::testing_support::WayHook;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(SaveFailure, MissingFolderIsThrownByCloseFile) {
  const ScratchFolder folder;
  OpenScene scene(folder.programPath("missing/scene.zix"));
#ifdef _WIN32
  const std::string expected = folder.hostPath("missing\\scene.zix") + ": create failed: ";
#else
  const std::string expected =
      folder.hostPath("missing/scene.zix") + ": create failed: No such file or directory";
#endif
  EXPECT_THAT(scene.close(), testing::StartsWith(expected));
}

TEST(SaveFailure, DirectoryIsNoOutput) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "scene.zix");
  OpenScene scene(folder.programPath("scene.zix"));
  EXPECT_THAT(scene.close(), HasSubstr("it is a directory"));
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

TEST(SaveFailure, PathThatBecomesADirectoryMeanwhile) {
  const ScratchFolder folder;
  OpenScene scene(folder.programPath("scene.zix"));
  std::filesystem::create_directory(folder.path() / "scene.zix");
  EXPECT_THAT(scene.close(), HasSubstr("rename failed"));
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

#ifndef _WIN32

TEST(SaveFailure, FolderThatGoesAwayMeanwhile) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "inner");
  OpenScene scene(folder.programPath("inner/scene.zix"));
  std::filesystem::remove_all(folder.path() / "inner");
  EXPECT_THAT(scene.close(), HasSubstr("rename failed: No such file or directory"));
}

TEST(SaveFailure, DeviceIsNotReplaced) {
  OpenScene scene("\\dev\\null");
  EXPECT_EQ(scene.close(), "/dev/null: create failed: it is no regular file");
}

// Permissions do not bind root: for as long as this lives, the process is another user.
class WithoutPrivilege {
 public:
  WithoutPrivilege() : was_root_(geteuid() == 0) {
    if (was_root_) works_ = seteuid(kNobody) == 0;
#ifdef __linux__
    // A process that has changed its user may else not look into its own folder in /proc.
    if (was_root_) prctl(PR_SET_DUMPABLE, 1);
#endif
  }
  WithoutPrivilege(const WithoutPrivilege&) = delete;
  WithoutPrivilege& operator=(const WithoutPrivilege&) = delete;
  ~WithoutPrivilege() {
    if (was_root_ && seteuid(0) != 0) std::abort();
  }
  [[nodiscard]] bool works() const { return works_; }
  static void own(const std::filesystem::path& path) {
    if (geteuid() == 0 && chown(path.c_str(), kNobody, kNobody) != 0) std::abort();
  }

 private:
  static constexpr uid_t kNobody = 65534;
  bool was_root_;
  bool works_ = true;
};

TEST(SaveFailure, FolderWithoutWritePermission) {
  const ScratchFolder folder;
  WithoutPrivilege::own(folder.path());
  const WithoutPrivilege user;
  if (!user.works()) GTEST_SKIP() << "this process cannot become another user";
  chmod(folder.path().c_str(), 0555);
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const WayHook hook(way);
    OpenScene scene(folder.programPath("scene.zix"));
    EXPECT_EQ(scene.close(), folder.hostPath("scene.zix") + ": create failed: Permission denied");
  }
}

TEST(SaveFailure, FolderThatIsClosedMeanwhileHoldsTheOldFileAndNothingElse) {
  const ScratchFolder folder;
  WithoutPrivilege::own(folder.path());
  const WithoutPrivilege user;
  if (!user.works()) GTEST_SKIP() << "this process cannot become another user";
  if (!hasUnnamedFiles(folder)) GTEST_SKIP() << "no files without a name in " << folder.path();
  for (const bool with_old : {false, true}) {
    chmod(folder.path().c_str(), 0755);
    if (with_old) folder.write("scene.zix", "old");
    OpenScene scene(folder.programPath("scene.zix"));
    chmod(folder.path().c_str(), 0555);
    EXPECT_EQ(scene.close(), folder.hostPath("scene.zix") + ": rename failed: Permission denied");
    EXPECT_THAT(folder.names(), with_old
                                    ? testing::Matcher<std::vector<std::string>>(ElementsAre("scene.zix"))
                                    : testing::Matcher<std::vector<std::string>>(IsEmpty()));
    if (with_old) {
      EXPECT_EQ(folder.read("scene.zix"), "old");
    }
  }
}

#endif

TEST(SaveFailure, RelativePathStaysWhereItWasWhenTheDirectoryChanges) {
  const ScratchFolder folder;
  const ScratchFolder elsewhere;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  OpenScene scene("scene.zix");
  std::filesystem::current_path(elsewhere.path());
  const std::string message = scene.close();
  std::filesystem::current_path(before);
  EXPECT_EQ(message, "");
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
  EXPECT_THAT(elsewhere.names(), IsEmpty());
}

TEST(SaveFailure, NameAsLongAsTheFileSystemAllows) {
  const ScratchFolder folder;
  const std::string name = std::string(246, 'x') + "\xC3\xA4.zix";
  OpenScene scene(folder.programPath(name));
  EXPECT_EQ(scene.close(), "");
  EXPECT_THAT(folder.names(), ElementsAre(name));
}

TEST(SaveFailure, WithoutSaveToCloseFileSaysSo) {
  Scene_V1 scene("Model");
  fillSampleScene(scene);
  EXPECT_EQ(closeMessage(scene, "scene.zix"), "closeFile: saveTo was never called");
}

TEST(SaveFailure, OtherPathThanThatOfSaveToIsRefused) {
  const ScratchFolder folder;
  Scene_V1 scene("Model");
  scene.saveTo(folder.programPath("a.zix").c_str(), " ", true, true);
  EXPECT_THAT(closeMessage(scene, folder.programPath("b.zix")), HasSubstr("is bound to"));
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
}  // namespace Orb::Zix
