// The n-th system call fails or the process is killed before it, for every n until none is; and the failures
// that need no injection. All with files that have no name until they are complete, and with the temporary
// names of systems that know no such files.
#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <tuple>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/interrupted_write.h"
#include "zix/output_file.h"
#include "zix/output_file_system.h"
#include "zix/reader.h"
#include "zix/validate.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace Orb::Zix {
namespace {

using loftbay::testing_support::fillSampleScene;
using loftbay::testing_support::ScratchFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// How the new file lives until it is complete.
enum class Way { Unnamed, Named };

const char* nameOf(Way way) { return way == Way::Unnamed ? "Unnamed" : "Named"; }

// A hook that may take the files without a name away.
class WayHook : public FileOperationHook {
 public:
  explicit WayHook(Way way) : way_(way) { setFileOperationHook(this); }
  ~WayHook() override { setFileOperationHook(nullptr); }

  int before(FileOperation operation, std::size_t) override {
    return way_ == Way::Named && operation == FileOperation::CreateUnnamed ? system::unsupported() : 0;
  }

 private:
  Way way_;
};

bool hasUnnamedFiles(const ScratchFolder& folder) {
  std::intptr_t handle = 0;
  const int error = system::createUnnamed(folder.programPath("."), &handle);
  if (error == 0) system::close(handle);
  return error == 0;
}

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

// More than the write buffer, so that arrays reach the system while the calls are made.
void fillBigScene(Scene_V1& scene) {
  fillSampleScene(scene);
  const std::vector<unsigned int> big(400000, 7);
  scene.setValues<unsigned int>(scene.createObject(ObjectType::IndexArray), big.data(), big.size());
  scene.setValues<unsigned int>(scene.createObject(ObjectType::IndexArray), big.data(), 1);
}

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
      // A complete file, though nobody will look for it there.
      EXPECT_EQ(validateFile(folder.programPath(name)).error_count, 0U) << kills;
      std::filesystem::remove(folder.path() / name);
    }
  }
  EXPECT_GE(kills, 10);
  EXPECT_EQ(left, 1) << "killed before the rename";
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

std::string closeMessage(Scene_V1& scene, const std::string& path) {
  try {
    scene.closeFile(path.c_str());
  } catch (const SceneError& error) {
    return error.what();
  }
  return "";
}

TEST(SaveFailure, MissingFolderIsThrownByCloseFile) {
  const ScratchFolder folder;
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("missing/scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  fillSampleScene(scene);
#ifdef _WIN32
  const std::string expected = folder.hostPath("missing\\scene.zix") + ": create failed: ";
#else
  const std::string expected =
      folder.hostPath("missing/scene.zix") + ": create failed: No such file or directory";
#endif
  EXPECT_THAT(closeMessage(scene, path), testing::StartsWith(expected));
}

TEST(SaveFailure, DirectoryIsNoOutput) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "scene.zix");
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  fillSampleScene(scene);
  EXPECT_THAT(closeMessage(scene, path), HasSubstr("it is a directory"));
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

TEST(SaveFailure, PathThatBecomesADirectoryMeanwhile) {
  const ScratchFolder folder;
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  fillSampleScene(scene);
  std::filesystem::create_directory(folder.path() / "scene.zix");
  EXPECT_THAT(closeMessage(scene, path), HasSubstr("rename failed"));
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

#ifndef _WIN32

TEST(SaveFailure, FolderThatGoesAwayMeanwhile) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "inner");
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("inner/scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  fillSampleScene(scene);
  std::filesystem::remove_all(folder.path() / "inner");
  EXPECT_THAT(closeMessage(scene, path), HasSubstr("rename failed: No such file or directory"));
}

TEST(SaveFailure, DeviceIsNotReplaced) {
  Scene_V1 scene("Model");
  scene.saveTo("\\dev\\null", " ", true, true);
  fillSampleScene(scene);
  EXPECT_EQ(closeMessage(scene, "\\dev\\null"), "/dev/null: create failed: it is no regular file");
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
    Scene_V1 scene("Model");
    const std::string path = folder.programPath("scene.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    EXPECT_EQ(closeMessage(scene, path), folder.hostPath("scene.zix") + ": create failed: Permission denied");
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
    Scene_V1 scene("Model");
    const std::string path = folder.programPath("scene.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    fillSampleScene(scene);
    chmod(folder.path().c_str(), 0555);
    EXPECT_EQ(closeMessage(scene, path), folder.hostPath("scene.zix") + ": rename failed: Permission denied");
    EXPECT_THAT(folder.names(), with_old
                                    ? testing::Matcher<std::vector<std::string>>(ElementsAre("scene.zix"))
                                    : testing::Matcher<std::vector<std::string>>(IsEmpty()));
    if (with_old) {
      EXPECT_EQ(folder.read("scene.zix"), "old");
    }
  }
}

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
      loftbay::testing_support::writeSampleScene(folder.programPath(name));
      EXPECT_EQ(std::filesystem::status(folder.path() / name).permissions(), rights) << name << nameOf(way);
    }
    std::filesystem::remove(folder.path() / "new.zix");
  }
}

#endif

// Writes down the operations, runs of equal ones once.
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
    loftbay::testing_support::writeSampleScene(folder.programPath("scene.zix"));
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
    loftbay::testing_support::writeSampleScene(folder.programPath(nameOf(way)));
  }
  EXPECT_EQ(folder.read("Unnamed"), folder.read("Named"));
}

TEST(SaveFailure, RelativePathStaysWhereItWasWhenTheDirectoryChanges) {
  const ScratchFolder folder;
  const ScratchFolder elsewhere;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  Scene_V1 scene("Model");
  scene.saveTo("scene.zix", " ", true, true);
  fillSampleScene(scene);
  std::filesystem::current_path(elsewhere.path());
  const std::string message = closeMessage(scene, "scene.zix");
  std::filesystem::current_path(before);
  EXPECT_EQ(message, "");
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
  EXPECT_THAT(elsewhere.names(), IsEmpty());
}

TEST(SaveFailure, NameAsLongAsTheFileSystemAllows) {
  const ScratchFolder folder;
  const std::string name = std::string(246, 'x') + "\xC3\xA4.zix";
  Scene_V1 scene("Model");
  scene.saveTo(folder.programPath(name).c_str(), " ", true, true);
  EXPECT_EQ(closeMessage(scene, folder.programPath(name)), "");
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

TEST(Interrupt, RemovesTheTemporaryThatIsBeingWritten) {
  const ScratchFolder folder;
  const WayHook hook(Way::Named);
  Scene_V1 scene("Model");
  scene.saveTo(folder.programPath("scene.zix").c_str(), " ", true, true);
  fillSampleScene(scene);
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
    Scene_V1 scene("Model");
    const std::string path = folder.programPath("scene.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    EXPECT_THAT(closeMessage(scene, path), HasSubstr("rename failed: "));
    EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
    EXPECT_EQ(folder.read("scene.zix"), "old");
  }
}

TEST(Interrupt, TouchesNothingOnceTheFileIsInPlace) {
  const ScratchFolder folder;
  loftbay::testing_support::writeSampleScene(folder.programPath("scene.zix"));
  removeInterruptedWrites();
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
  // Between the name and the end of the call, too.
  const InterruptAt interrupt(FileOperation::FlushFolder, Way::Unnamed);
  loftbay::testing_support::writeSampleScene(folder.programPath("scene.zix"));
  loftbay::testing_support::writeSampleScene(folder.programPath("another.zix"));
  EXPECT_THAT(folder.names(), ElementsAre("another.zix", "scene.zix"));
}

}  // namespace
}  // namespace Orb::Zix
