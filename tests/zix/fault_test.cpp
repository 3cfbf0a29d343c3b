// The n-th system call of a save fails, or the process is killed before it, for every n until none is: the
// old file or the new one stays, and no temporary.
#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <tuple>

#include "tests/zix/output_ways.h"
#include "zix/validate.h"

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

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
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Fails one call, or from it on all calls.
class FailAt : public WayHook {
 public:
  FailAt(int number, bool lasting, Way way) : WayHook(way), left_(number), lasting_(lasting) {}

  int before(FileOperation operation, std::size_t size_bytes) override {
    if (const int refused = WayHook::before(operation, size_bytes); refused != 0) return refused;
    if (left_ > 0) {
      --left_;
      return 0;
    }
    if (failed_ && !lasting_) return 0;
    if (!failed_) operation_ = operation;
    failed_ = true;
    return ENOSPC;
  }
  [[nodiscard]] bool failed() const { return failed_; }
  [[nodiscard]] FileOperation operation() const { return operation_; }

 private:
  int left_;
  bool lasting_;
  bool failed_ = false;
  FileOperation operation_{};
};

using FaultCase = std::tuple<Way, bool, bool>;  // how; for good, or once; with an old file in place
class Faults : public ::testing::TestWithParam<FaultCase> {};

TEST_P(Faults, EndInTheOldFileOrTheNewOneAndNoTemporary) {
  const auto [way, lasting, with_old] = GetParam();
  const ScratchFolder folder;
  const std::string path = folder.programPath("scene.zix");
  int failures = 0;
  for (int n = 0;; ++n) {
    ASSERT_LT(n, 1000);
    std::filesystem::remove(folder.path() / "scene.zix");
    if (with_old) folder.write("scene.zix", "old");
    const FailAt fault(n, lasting, way);
    std::string message;
    try {
      Scene_V1 scene("Model");
      // None of these throws.
      scene.saveTo(path.c_str(), " ", true, true);
      fillBigScene(scene);
      try {
        scene.closeFile(path.c_str());
      } catch (const SceneError& error) {
        message = error.what();
      }
    } catch (const std::exception& error) {
      FAIL() << "call " << n << " threw before closeFile: " << error.what();
    }
    const auto names = folder.names();
    if (!names.empty()) {
      ASSERT_THAT(names, ElementsAre("scene.zix")) << n;
    }
    if (!fault.failed()) {
      EXPECT_EQ(message, "");
      break;
    }
    ++failures;
    EXPECT_THAT(message, HasSubstr(folder.hostPath("scene.zix"))) << n;
#ifndef _WIN32  // where the number means something else
    EXPECT_THAT(message, HasSubstr("No space left on device")) << n;
#endif
    if (names.empty() || folder.read("scene.zix") == "old") {
      EXPECT_EQ(names.empty(), !with_old) << n;
      EXPECT_NE(fault.operation(), FileOperation::FlushFolder);
    } else {
      // Complete; its name may not be durable yet.
      EXPECT_EQ(validateFile(path).error_count, 0U) << n;
      const std::vector<FileOperation> afterwards =
          way == Way::Named
              ? std::vector{FileOperation::FlushFolder}
              : std::vector{FileOperation::Flush, FileOperation::Close, FileOperation::FlushFolder};
      EXPECT_THAT(afterwards, testing::Contains(fault.operation())) << n;
    }
  }
  // create, two or more writes, seek, write, seek, flush, link or close and rename, flush of the folder
  EXPECT_GE(failures, 10);
  EXPECT_EQ(validateFile(path).error_count, 0U);
}

INSTANTIATE_TEST_SUITE_P(AllWays, Faults,
                         ::testing::Combine(::testing::Values(Way::Unnamed, Way::Named), ::testing::Bool(),
                                            ::testing::Bool()),
                         [](const auto& test) {
                           return std::string(nameOf(std::get<0>(test.param))) +
                                  (std::get<1>(test.param) ? "Lasting" : "Once") +
                                  (std::get<2>(test.param) ? "OverAnOldFile" : "InAnEmptyFolder");
                         });

#ifndef _WIN32

// Ends the process as a SIGKILL from outside would, before one of the calls.
class KillAt : public WayHook {
 public:
  KillAt(int number, Way way) : WayHook(way), left_(number) {}
  int before(FileOperation operation, std::size_t size_bytes) override {
    const int refused = WayHook::before(operation, size_bytes);
    if (left_-- == 0) raise(SIGKILL);
    return refused;
  }

 private:
  int left_;
};

// Writes the scene in a process of its own; true when it was killed.
bool killedAt(int number, Way way, const std::string& path) {
  const pid_t child = fork();
  if (child == 0) {
    const KillAt kill(number, way);
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    fillBigScene(scene);
    scene.closeFile(path.c_str());
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

TEST(Kill, LeavesNothingWhereFilesNeedNoName) {
  const ScratchFolder folder;
  if (!hasUnnamedFiles(folder)) GTEST_SKIP() << "no files without a name in " << folder.path();
  const std::string path = folder.programPath("scene.zix");
  int kills = 0;
  for (; killedAt(kills, Way::Unnamed, path); ++kills) {
    if (std::filesystem::exists(folder.path() / "scene.zix")) {
      EXPECT_EQ(validateFile(path).error_count, 0U) << kills;
      EXPECT_THAT(folder.names(), ElementsAre("scene.zix")) << kills;
      std::filesystem::remove(folder.path() / "scene.zix");
    } else {
      EXPECT_THAT(folder.names(), IsEmpty()) << kills;
    }
  }
  EXPECT_GE(kills, 10);
}

TEST(Kill, LeavesATemporaryOnlyBetweenItsNameAndTheRename) {
  const ScratchFolder folder;
  if (!hasUnnamedFiles(folder)) GTEST_SKIP() << "no files without a name in " << folder.path();
  const std::string path = folder.programPath("scene.zix");
  int kills = 0;
  int left = 0;
  for (;; ++kills) {
    folder.write("scene.zix", "old");
    if (!killedAt(kills, Way::Unnamed, path)) break;
    if (folder.read("scene.zix") != "old") {
      EXPECT_EQ(validateFile(path).error_count, 0U) << kills;
    }
    for (const std::string& name : folder.names()) {
      if (name == "scene.zix") continue;
      ++left;
      // A complete file, though not under the output's name.
      EXPECT_EQ(validateFile(folder.programPath(name)).error_count, 0U) << kills;
      std::filesystem::remove(folder.path() / name);
    }
  }
  EXPECT_GE(kills, 10);
  EXPECT_EQ(left, 1) << "killed before the rename";
}

TEST(Kill, LeavesNothingThatTheNextRunDoesNotRemove) {
  const ScratchFolder folder;
  const std::string path = folder.programPath("scene.zix");
  for (const Way way : {Way::Unnamed, Way::Named}) {
    int left = 0;
    for (int kills = 0;; ++kills) {
      ASSERT_LT(kills, 1000);
      folder.write("scene.zix", "old");
      if (!killedAt(kills, way, path)) break;
      if (folder.names().size() > 1) ++left;
      writeSampleScene(path);
      EXPECT_THAT(folder.names(), ElementsAre("scene.zix")) << kills << nameOf(way);
    }
    EXPECT_GE(left, 1);
  }
}

TEST(Kill, LeavesTheOldFileWholeWhereTheNewOneNeedsATemporaryName) {
  const ScratchFolder folder;
  const std::string path = folder.programPath("scene.zix");
  int kills = 0;
  for (;; ++kills) {
    folder.write("scene.zix", "old");
    if (!killedAt(kills, Way::Named, path)) break;
    if (folder.read("scene.zix") != "old") {
      EXPECT_EQ(validateFile(path).error_count, 0U) << kills;
    }
    for (const std::string& name : folder.names()) {
      if (name == "scene.zix") continue;
      EXPECT_THAT(name, testing::StartsWith(".scene.zix.")) << kills;
      std::filesystem::remove(folder.path() / name);
    }
  }
  EXPECT_GE(kills, 10);
}

#endif

}  // namespace
}  // namespace Orb::Zix
