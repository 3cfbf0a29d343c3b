// The checks before a job, on real files.
#include "convert/path_validation.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "host/file.h"
#include "host/path.h"
#include "tests/doubles/job_fixture.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace loftbay::convert {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPermissionBox =
    "error: Permission denied for writing the ZIX file.\nPlease verify whether you have the write "
    "permission.";

class PathValidation : public doubles::JobTest {
 protected:
  PathValidation() {
    diag::programSeams().showMessageBox = [this](std::string_view text, diag::BoxIcon icon) {
      boxes.push_back((icon == diag::BoxIcon::Error ? "error: " : "other: ") + std::string(text));
    };
    std::ofstream(folder / "in.jt") << "x";
    in = path("in.jt");
    out = path("out.zix");
  }
  std::string path(const char* name) const { return host::toProgramPath((folder / name).string()); }
  bool exists(const char* name) const { return std::filesystem::exists(folder / name); }

  std::string in;
  std::string out;
};

TEST_F(PathValidation, BothEmptyAsksForTheInputOnly) {
  EXPECT_FALSE(validatePaths("", ""));
  EXPECT_THAT(boxes, ElementsAre("error: Please specify the input file."));
}

TEST_F(PathValidation, EmptyOutputComesBeforeTheInputsExtension) {
  EXPECT_FALSE(validatePaths("in.txt", ""));
  EXPECT_THAT(boxes, ElementsAre("error: Please specify the output file."));
}

TEST_F(PathValidation, InputExtensionComesBeforeTheOutputs) {
  EXPECT_FALSE(validatePaths("in.txt", "out.txt"));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Unsupported input format."));
}

TEST_F(PathValidation, OutputExtensionComesBeforeTheInputFile) {
  EXPECT_FALSE(validatePaths("missing.jt", "out.txt"));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Unsupported output format."));
}

TEST_F(PathValidation, InputFileComesBeforeTheOutputDirectory) {
  EXPECT_FALSE(validatePaths(path("missing.jt"), path("missing/out.zix")));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Input file is not found."));
}

TEST_F(PathValidation, ExtensionIsBehindTheLastPointOfTheWholePath) {
  EXPECT_TRUE(isInputExtension("C:\\models\\part.JT"));
  EXPECT_TRUE(isInputExtension("a.Jt"));
  EXPECT_TRUE(isInputExtension("a.jT"));
  EXPECT_FALSE(isInputExtension("C:\\models.old\\part"));
  EXPECT_EQ(fileExtension("C:\\models.old\\part"), "old\\part");
  EXPECT_FALSE(isInputExtension("a.jt2"));
  EXPECT_FALSE(isInputExtension("jt"));
  EXPECT_FALSE(isInputExtension("a."));
  EXPECT_EQ(fileExtension("no point"), "");
  EXPECT_TRUE(isOutputExtension("C:\\out\\scene.ZIX"));
  EXPECT_FALSE(isOutputExtension("C:\\out\\scene.zix2"));
  EXPECT_FALSE(isOutputExtension("scene.zi"));
}

TEST_F(PathValidation, APointInAFolderIsNoExtensionOfTheInput) {
  std::filesystem::create_directory(folder / "models.jt");
  std::ofstream(folder / "models.jt" / "part") << "x";
  EXPECT_FALSE(validatePaths(path("models.jt/part"), out));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Unsupported input format."));
  boxes.clear();
  std::ofstream(folder / "models.jt" / "part.JT") << "x";
  EXPECT_TRUE(validatePaths(path("models.jt/part.JT"), out));
  EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(PathValidation, ALongerOutputExtensionIsRefused) {
  EXPECT_FALSE(validatePaths(in, path("scene.zix2")));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Unsupported output format."));
  boxes.clear();
  EXPECT_TRUE(validatePaths(in, path("scene.ZIX")));
  EXPECT_THAT(boxes, IsEmpty());
}

// The text before the only separator is empty, and a directory with an empty name does not exist.
TEST_F(PathValidation, AnOutputBehindTheOnlySeparatorHasNoDirectory) {
  EXPECT_FALSE(validatePaths(in, "\\scene.zix"));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Output directory is not available."));
}

TEST_F(PathValidation, ADirectoryAsInputIsNotFound) {
  std::filesystem::create_directory(folder / "folder.jt");
  EXPECT_FALSE(validatePaths(path("folder.jt"), out));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Input file is not found."));
}

TEST_F(PathValidation, AMissingOutputDirectoryIsNotAvailable) {
  EXPECT_FALSE(validatePaths(in, path("missing/out.zix")));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Output directory is not available."));
}

TEST_F(PathValidation, AFileAsOutputDirectoryIsNotAvailable) {
  EXPECT_FALSE(validatePaths(in, path("in.jt/out.zix")));
  EXPECT_THAT(boxes, ElementsAre("error: Error:Output directory is not available."));
}

TEST_F(PathValidation, ABareOutputNameSkipsTheDirectoryTest) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  EXPECT_TRUE(validatePaths("in.jt", "scene.zix"));
  EXPECT_FALSE(exists("scene.zix"));
  std::filesystem::current_path(before);
}

TEST_F(PathValidation, SuccessShowsAndLogsNothingAndLeavesNoProbe) {
  EXPECT_TRUE(validatePaths(in, out));
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_EQ(log(), "");
  EXPECT_FALSE(exists("out.zix"));
  EXPECT_TRUE(exists("in.jt"));
}

TEST_F(PathValidation, SuccessRemovesAnExistingOutput) {
  std::ofstream(folder / "out.zix") << "old scene";
  EXPECT_TRUE(validatePaths(in, out));
  EXPECT_FALSE(exists("out.zix"));
}

TEST_F(PathValidation, LeavesTheCurrentDirectoryAsItWas) {
  const auto before = std::filesystem::current_path();
  EXPECT_TRUE(validatePaths(in, out));
  EXPECT_FALSE(validatePaths(in, path("missing/out.zix")));
  EXPECT_EQ(std::filesystem::current_path(), before);
}

// A directory at the output path cannot be opened for writing by anybody.
TEST_F(PathValidation, ADirectoryAsOutputIsRefusedAndLoggedAfterTheBox) {
  std::filesystem::create_directory(folder / "out.zix");
  diag::programSeams().showMessageBox = [this](std::string_view text, diag::BoxIcon) {
    EXPECT_EQ(log(), "");
    boxes.push_back("error: " + std::string(text));
  };
  EXPECT_FALSE(validatePaths(in, out));
  EXPECT_THAT(boxes, ElementsAre(kPermissionBox));
  EXPECT_EQ(
      log(),
      "Permission denied for writing the ZIX file. Please verify whether you have the write permission.\n");
}

#ifndef _WIN32

// Runs `check` in a child process without root's rights; its result is what the child found.
template <typename Check>
bool asPlainUser(const Check& check) {
  const pid_t child = fork();
  if (child == 0) {
    constexpr unsigned kNobody = 65534;
    if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(2);
    _exit(check() ? 0 : 1);
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(PathValidation, AReadOnlyOutputFileIsRefused) {
  std::ofstream(folder / "out.zix") << "old scene";
  std::filesystem::permissions(folder, std::filesystem::perms::all);
  std::filesystem::permissions(folder / "out.zix",
                               std::filesystem::perms::owner_read | std::filesystem::perms::others_read);
  EXPECT_TRUE(asPlainUser([&] {
    return !validatePaths(in, out) && boxes == std::vector<std::string>{kPermissionBox} &&
           log().starts_with("Permission denied");
  }));
  EXPECT_TRUE(exists("out.zix"));
}

TEST_F(PathValidation, ADirectoryWithoutWriteAccessIsRefused) {
  using std::filesystem::perms;
  std::filesystem::permissions(folder, perms::all);
  std::filesystem::create_directory(folder / "locked");
  std::filesystem::permissions(
      folder / "locked", perms::owner_read | perms::owner_exec | perms::others_read | perms::others_exec);
  EXPECT_TRUE(asPlainUser([&] {
    return !validatePaths(in, path("locked/out.zix")) && boxes == std::vector<std::string>{kPermissionBox} &&
           log().starts_with("Permission denied");
  }));
}

TEST_F(PathValidation, ADirectoryThatCannotBeEnteredIsNotAvailable) {
  using std::filesystem::perms;
  std::filesystem::permissions(folder, perms::all);
  std::filesystem::create_directory(folder / "closed");
  std::filesystem::permissions(folder / "closed", perms::none);
  EXPECT_TRUE(asPlainUser([&] {
    return !validatePaths(in, path("closed/out.zix")) &&
           boxes == std::vector<std::string>{"error: Error:Output directory is not available."};
  }));
  std::filesystem::permissions(folder / "closed", perms::all);
}

// Without a readable current directory the test has nothing to go back to, so it tests nothing.
TEST_F(PathValidation, AnUnreadableCurrentDirectoryPassesTheDirectoryTest) {
  const auto before = std::filesystem::current_path();
  std::filesystem::create_directory(folder / "gone");
  std::filesystem::current_path(folder / "gone");
  std::filesystem::remove(folder / "gone");
  EXPECT_TRUE(isDirectoryAvailable("\\no such directory"));
  std::filesystem::current_path(before);
  EXPECT_FALSE(isDirectoryAvailable("\\no such directory"));
}

// 2048 bytes hold 2047 characters and the end.
TEST_F(PathValidation, ACurrentDirectoryBeyondTheLimitPassesTheDirectoryTest) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  // Down to a path of exactly 2047 characters, in steps that no limit of the system forbids.
  for (std::size_t length = folder.string().size(); length < 2047;) {
    const std::size_t left = 2047 - length - 1;
    const std::string name(left > 200 ? 100 : left, 'd');
    ASSERT_EQ(mkdir(name.c_str(), 0777), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
    length += 1 + name.size();
  }
  EXPECT_FALSE(isDirectoryAvailable("\\no such directory"));
  ASSERT_EQ(mkdir("e", 0777), 0);
  ASSERT_EQ(chdir("e"), 0);
  EXPECT_TRUE(isDirectoryAvailable("\\no such directory"));
  std::filesystem::current_path(before);
}

#endif

}  // namespace
}  // namespace loftbay::convert
