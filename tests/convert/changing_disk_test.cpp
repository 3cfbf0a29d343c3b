// The whole conversion, with the real toolkit and the real scene writer, where the disk changes between the
// check of the paths and the end of the job.
#include <gmock/gmock.h>

#include <cerrno>
#include <sstream>

#include "convert/job.h"
#include "convert/path_validation.h"
#include "diag/program_seams.h"
#include "host/file.h"
#include "samples/maker/sample_files.h"
#include "samples/maker/write_jt.h"
#include "tests/zix/scratch_folder.h"
#include "zix/output_file.h"
#include "zix/validate.h"

#ifdef _WIN32
#include <windows.h>

#include "host/path.h"
#endif

namespace loftbay::convert {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Losses final : public diag::Observer {
 public:
  std::vector<std::string> reasons;
  void lost(std::string_view, std::string_view reason) override { reasons.emplace_back(reason); }
};

class ChangingDisk : public testing::Test {
 protected:
  ChangingDisk() : saved_(diag::programSeams()) {
    auto& seams = diag::programSeams();
    seams.showMessageBox = [this](std::string_view text, diag::BoxIcon) { boxes_.emplace_back(text); };
    seams.toolkit_messages = &messages_;
    seams.observer = &losses_;
    const auto sample = maker::sampleFiles().front();
    maker::writeJtFile(sample.product, sample.options, folder_.path() / "model.jt");
  }
  ~ChangingDisk() override { diag::programSeams() = saved_; }

  // The job behind the check.
  bool convertNow() {
    bool success = false;
    const obJt2Zix job(model_.c_str(), scene_.c_str(), &success, true);
    return success;
  }

  testing_support::ScratchFolder folder_;
  std::string model_ = folder_.programPath("model.jt");
  std::string scene_ = folder_.programPath("scene.zix");
  std::vector<std::string> boxes_;
  std::ostringstream messages_;
  Losses losses_;

 private:
  diag::ProgramSeams saved_;
};

TEST_F(ChangingDisk, AnUndisturbedConversionLosesNothing) {
  ASSERT_TRUE(validatePaths(model_, scene_));
  EXPECT_TRUE(convertNow());
  EXPECT_THAT(boxes_, IsEmpty());
  EXPECT_THAT(losses_.reasons, IsEmpty());
  EXPECT_THAT(folder_.names(), ElementsAre("model.jt", "scene.zix"));
}

TEST_F(ChangingDisk, AModelThatVanishesAfterTheCheckGivesAnEmptySceneAndIsNamedAsLost) {
  ASSERT_TRUE(validatePaths(model_, scene_));
  ASSERT_TRUE(host::removeFile(model_));
  EXPECT_TRUE(convertNow());
  EXPECT_THAT(messages_.str(), HasSubstr("Unable to find root node.  Check file...\n"));
  ASSERT_EQ(losses_.reasons.size(), 1U);
  EXPECT_THAT(losses_.reasons[0], HasSubstr("model.jt"));
  EXPECT_THAT(folder_.names(), ElementsAre("scene.zix"));
  EXPECT_EQ(Orb::Zix::validateFile(scene_).error_count, 0U);
}

// From the first write on the disk takes nothing.
class FullDisk final : public Orb::Zix::FileOperationHook {
 public:
  FullDisk() { Orb::Zix::setFileOperationHook(this); }
  ~FullDisk() override { Orb::Zix::setFileOperationHook(nullptr); }
  int before(Orb::Zix::FileOperation operation, std::size_t) override {
#ifdef _WIN32
    constexpr int kFull = ERROR_DISK_FULL;
#else
    constexpr int kFull = ENOSPC;
#endif
    return operation == Orb::Zix::FileOperation::Write ? kFull : 0;
  }
};

TEST_F(ChangingDisk, AFullDiskIsToldAndLeavesNoUnfinishedFile) {
  ASSERT_TRUE(validatePaths(model_, scene_));
  {
    const FullDisk full;
    EXPECT_TRUE(convertNow());
  }
  EXPECT_THAT(boxes_, ElementsAre("Failed to save"));
  ASSERT_EQ(losses_.reasons.size(), 1U);
  EXPECT_THAT(losses_.reasons[0], HasSubstr("scene.zix"));
  EXPECT_THAT(losses_.reasons[0], testing::AnyOf(HasSubstr("No space left"), HasSubstr("isk full"),
                                                 HasSubstr("not enough space")));  // each host's own words
  EXPECT_THAT(folder_.names(), ElementsAre("model.jt"));
}

TEST_F(ChangingDisk, AFolderThatTakesTheOutputsNameIsToldAndKept) {
  ASSERT_TRUE(validatePaths(model_, scene_));
  ASSERT_TRUE(host::makeDirectory(scene_));
  EXPECT_TRUE(convertNow());
  EXPECT_THAT(boxes_, ElementsAre("Failed to save"));
  ASSERT_EQ(losses_.reasons.size(), 1U);
  EXPECT_THAT(losses_.reasons[0], HasSubstr("it is a directory"));
  EXPECT_THAT(folder_.names(), ElementsAre("model.jt", "scene.zix"));
}

#ifdef _WIN32

TEST_F(ChangingDisk, AnOutputThatAnotherProgramHoldsIsToldAndKept) {
  ASSERT_TRUE(validatePaths(model_, scene_));
  folder_.write("scene.zix", "another program's");
  const HANDLE held = CreateFileW(host::toFileSystemPath(scene_).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(convertNow());
  CloseHandle(held);
  EXPECT_THAT(boxes_, ElementsAre("Failed to save"));
  ASSERT_EQ(losses_.reasons.size(), 1U);
  EXPECT_THAT(losses_.reasons[0], testing::AnyOf(HasSubstr("in use"), HasSubstr("denied")));
  EXPECT_EQ(folder_.read("scene.zix"), "another program's");
  EXPECT_THAT(folder_.names(), ElementsAre("model.jt", "scene.zix"));
}

#endif

}  // namespace
}  // namespace loftbay::convert
