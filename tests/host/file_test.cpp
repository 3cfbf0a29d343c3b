#include "host/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "host/path.h"
#include "host/process.h"

namespace loftbay::host {
namespace {

class FileTest : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("host_test_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)));
    std::filesystem::create_directory(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string programPath(const char* name) const { return toProgramPath((folder_ / name).string()); }

  std::filesystem::path folder_;
};

TEST_F(FileTest, ADirectoryDoesNotOpenForReading) {
  EXPECT_TRUE(makeDirectory(programPath("sub")));
  EXPECT_EQ(openFile(programPath("sub"), "r"), nullptr);
}

TEST_F(FileTest, MapsAFileAndTellsWhyItCannot) {
  std::ofstream(folder_ / "a.bin", std::ios::binary) << "abc";
  std::string reason;
  const auto mapped = MappedFile::open(programPath("a.bin"), &reason);
  ASSERT_TRUE(mapped.has_value()) << reason;
  ASSERT_EQ(mapped->bytes().size(), 3U);
  EXPECT_EQ(mapped->bytes()[2], std::byte{'c'});

  EXPECT_FALSE(MappedFile::open(programPath("missing.bin"), &reason).has_value());
  EXPECT_FALSE(reason.empty());
  EXPECT_FALSE(MappedFile::open(toProgramPath(folder_.string()), &reason).has_value());
  EXPECT_EQ(reason, "Is a directory");
}

TEST_F(FileTest, AnEmptyFileMapsToAnEmptyView) {
  std::ofstream(folder_ / "empty.bin").flush();
  std::string reason;
  const auto mapped = MappedFile::open(programPath("empty.bin"), &reason);
  ASSERT_TRUE(mapped.has_value());
  EXPECT_TRUE(mapped->bytes().empty());
}

TEST_F(FileTest, RemovesFilesButNoDirectories) {
  std::ofstream(folder_ / "a.bin").flush();
  EXPECT_TRUE(removeFile(programPath("a.bin")));
  EXPECT_FALSE(pathExists(programPath("a.bin")));
  EXPECT_FALSE(removeFile(toProgramPath(folder_.string())));
}

TEST_F(FileTest, CreatingAndRemovingLeavesNoFileWhetherThereWasOneOrNot) {
  EXPECT_TRUE(createAndRemove(programPath("a.bin")));
  EXPECT_FALSE(pathExists(programPath("a.bin")));
  std::ofstream(folder_ / "a.bin") << "old";
  EXPECT_TRUE(createAndRemove(programPath("a.bin")));
  EXPECT_FALSE(pathExists(programPath("a.bin")));
}

TEST_F(FileTest, WhatCannotBeWrittenCannotBeCreatedAndRemoved) {
  EXPECT_FALSE(createAndRemove(programPath("missing") + "\\a.bin"));
  EXPECT_TRUE(makeDirectory(programPath("sub")));
  EXPECT_FALSE(createAndRemove(programPath("sub")));
  EXPECT_FALSE(createAndRemove(programPath("sub") + "\\"));
  EXPECT_TRUE(pathExists(programPath("sub")));
  EXPECT_FALSE(createAndRemove(programPath(std::string(300, 'x').c_str())));
}

TEST_F(FileTest, CreatingAndRemovingEmptiesWhatOtherNamesShow) {
  const auto contents = [&](const char* name) {
    std::ifstream in(folder_ / name);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  std::ofstream(folder_ / "one") << "old";
  std::filesystem::create_hard_link(folder_ / "one", folder_ / "other");
  EXPECT_TRUE(createAndRemove(programPath("one")));
  EXPECT_FALSE(pathExists(programPath("one")));
  EXPECT_TRUE(pathExists(programPath("other")));
  EXPECT_EQ(contents("other"), "");
}

TEST(CurrentDirectory, IsNotToldWhenItNeedsMoreThanTheLimit) {
  ASSERT_TRUE(currentDirectory(2048).has_value());
  EXPECT_FALSE(currentDirectory(2).has_value());
}

TEST(ProcessMemory, TellsAPeakThatIsNotBelowTheCurrentSize) {
  const auto memory = processMemory();
  ASSERT_TRUE(memory.has_value());
  EXPECT_GT(memory->working_set_bytes, 0U);
  EXPECT_GE(memory->peak_working_set_bytes, memory->working_set_bytes / 2);
}

}  // namespace
}  // namespace loftbay::host
