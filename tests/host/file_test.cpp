#include "host/file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

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

TEST_F(FileTest, ReadsByPlace) {
  std::ofstream(folder_ / "a.bin", std::ios::binary) << "abcdef";
  std::string reason;
  const auto file = ReadOnlyFile::open(programPath("a.bin"), &reason);
  ASSERT_TRUE(file.has_value()) << reason;
  EXPECT_EQ(file->size(), 6U);
  std::array<std::byte, 2> bytes{};
  ASSERT_TRUE(file->readAt(4, bytes, &reason)) << reason;
  EXPECT_EQ(bytes[1], std::byte{'f'});
  ASSERT_TRUE(file->readAt(0, bytes, &reason)) << reason;
  EXPECT_EQ(bytes[0], std::byte{'a'});
  EXPECT_TRUE(file->readAt(6, {}, &reason));
}

TEST_F(FileTest, AFileThatShrinksIsAnErrorOfTheRead) {
  std::ofstream(folder_ / "a.bin", std::ios::binary) << std::string(100000, 'x');
  std::string reason;
  const auto file = ReadOnlyFile::open(programPath("a.bin"), &reason);
  ASSERT_TRUE(file.has_value()) << reason;
  std::vector<std::byte> bytes(file->size());
  EXPECT_FALSE(file->readAt(1, bytes, &reason));
  EXPECT_EQ(reason, "the file ends at or before byte 100000");
#ifndef _WIN32  // there a file that is open cannot be shortened
  std::filesystem::resize_file(folder_ / "a.bin", 10);
  EXPECT_FALSE(file->readAt(0, bytes, &reason));
  EXPECT_EQ(reason, "the file ends at or before byte 10; it had 100000 bytes when it was opened");
  EXPECT_FALSE(file->readAt(50000, bytes, &reason));
  EXPECT_EQ(reason, "the file ends at or before byte 50000; it had 100000 bytes when it was opened");
#endif
}

TEST_F(FileTest, NoFileHasBytesBeyondEveryFilesEnd) {
  std::ofstream(folder_ / "a.bin", std::ios::binary) << "abc";
  std::string reason;
  const auto file = ReadOnlyFile::open(programPath("a.bin"), &reason);
  ASSERT_TRUE(file.has_value()) << reason;
  std::array<std::byte, 1> bytes{};
  EXPECT_FALSE(file->readAt(~std::uint64_t{0}, bytes, &reason));
  EXPECT_FALSE(reason.empty());
}

TEST_F(FileTest, TellsWhyAFileCannotBeRead) {
  std::string reason;
  EXPECT_FALSE(ReadOnlyFile::open(programPath("missing.bin"), &reason).has_value());
  EXPECT_FALSE(reason.empty());
  EXPECT_FALSE(ReadOnlyFile::open(toProgramPath(folder_.string()), &reason).has_value());
  EXPECT_EQ(reason, "Is a directory");
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

TEST_F(FileTest, AGrowingFileIsClosedAfterEachPieceAndMadeAnewWhenItWasTakenAway) {
  GrowingFile file(programPath("log.txt"));
  EXPECT_TRUE(file.append("one\n"));
  EXPECT_TRUE(file.append("two\n"));
  std::filesystem::rename(folder_ / "log.txt", folder_ / "taken.txt");
  EXPECT_TRUE(file.append("three\n"));
  const auto text = [&](const char* name) {
    std::ifstream stream(folder_ / name);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  };
  EXPECT_EQ(text("taken.txt"), "one\ntwo\n");
  EXPECT_EQ(text("log.txt"), "three\n");
}

TEST_F(FileTest, AGrowingFileIsNoFolderAndTriesAgain) {
  GrowingFile file(programPath("log.txt"));
  EXPECT_TRUE(makeDirectory(programPath("log.txt")));
  EXPECT_FALSE(file.append("lost"));
  std::filesystem::remove(folder_ / "log.txt");
  EXPECT_TRUE(file.append("kept"));
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
