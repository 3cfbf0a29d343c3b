// The n-th system call fails, for every n until none does; and the failures that need no injection.
#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/interrupted_write.h"
#include "zix/output_file.h"
#include "zix/reader.h"
#include "zix/validate.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Orb::Zix {
namespace {

using loftbay::testing_support::fillSampleScene;
using loftbay::testing_support::ScratchFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Fails one call, or from it on all calls.
class FailAt : public FileOperationHook {
 public:
  FailAt(int number, bool lasting) : left_(number), lasting_(lasting) { setFileOperationHook(this); }
  ~FailAt() override { setFileOperationHook(nullptr); }

  int before(FileOperation operation, std::size_t) override {
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

class Faults : public ::testing::TestWithParam<bool> {};

TEST_P(Faults, EndInTheOldFileOrTheNewOneAndNoTemporary) {
  const ScratchFolder folder;
  const std::string path = folder.programPath("scene.zix");
  int failures = 0;
  for (int n = 0;; ++n) {
    ASSERT_LT(n, 1000);
    folder.write("scene.zix", "old");
    const FailAt fault(n, GetParam());
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
    ASSERT_THAT(folder.names(), ElementsAre("scene.zix")) << n;
    if (!fault.failed()) {
      EXPECT_EQ(message, "");
      break;
    }
    ++failures;
    EXPECT_THAT(message, HasSubstr(folder.hostPath("scene.zix"))) << n;
#ifndef _WIN32  // where the number means something else
    EXPECT_THAT(message, HasSubstr("No space left on device")) << n;
#endif
    if (fault.operation() == FileOperation::FlushFolder) {
      EXPECT_EQ(validateFile(path).error_count, 0U);
    } else {
      EXPECT_EQ(folder.read("scene.zix"), "old") << n;
    }
  }
  // create, two or more writes, seek, write, seek, flush, close, rename, flush of the folder
  EXPECT_GE(failures, 10);
  EXPECT_EQ(validateFile(path).error_count, 0U);
}

INSTANTIATE_TEST_SUITE_P(OnceAndLasting, Faults, ::testing::Bool(),
                         [](const auto& test) { return test.param ? "Lasting" : "Once"; });

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

TEST(SaveFailure, FolderWithoutWritePermission) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  const ScratchFolder folder;
  chmod(folder.path().c_str(), 0555);
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  EXPECT_THAT(closeMessage(scene, path), HasSubstr("Permission denied"));
}

#endif

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

TEST(Interrupt, TouchesNothingOnceTheFileIsInPlace) {
  const ScratchFolder folder;
  loftbay::testing_support::writeSampleScene(folder.programPath("scene.zix"));
  removeInterruptedWrites();
  EXPECT_THAT(folder.names(), ElementsAre("scene.zix"));
}

}  // namespace
}  // namespace Orb::Zix
