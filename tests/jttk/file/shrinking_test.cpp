// A file that becomes shorter while it is open: an error with segment and offset, never a signal.
#include <gmock/gmock.h>

#include <filesystem>

#include "jttk/file/jt_file.h"
#include "samples/maker/pieces/container.h"
#include "tests/jttk/support/from_maker.h"
#include "tests/zix/scratch_folder.h"

#ifndef _WIN32  // there a file that is open cannot be shortened

namespace jttk {
namespace {

using from_maker::guidOf;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::container;
using loftbay::maker::pieces::kSegmentId;
using loftbay::testing_support::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::uint32_t kShapeLod0 = 7;
constexpr std::size_t kManyPages = std::size_t{1} << 20;

class Shrinking : public ::testing::Test {
 protected:
  // A file with one segment of many pages, opened.
  std::unique_ptr<JtFile> openFile() {
    const Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, Bytes(kManyPages, std::byte{1})}});
    folder_.write("model.jt", std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    auto file = JtFile::open(folder_.programPath("model.jt"));
    EXPECT_TRUE(file);
    return std::move(*file);
  }
  void shrinkTo(std::uintmax_t size) { std::filesystem::resize_file(folder_.path() / "model.jt", size); }
  static std::string errorOf(const JtFile& file) {
    const auto segment = file.segment(*file.find(guidOf(kSegmentId)));
    return segment ? "read" : segment.error().text();
  }

  ScratchFolder folder_;
};

TEST_F(Shrinking, ASegmentThatIsGoneIsAnErrorWithItsNameAndPlace) {
  const auto file = openFile();
  EXPECT_EQ(errorOf(*file), "read");
  shrinkTo(kManyPages / 2);
  EXPECT_THAT(errorOf(*file),
              StartsWith("segment " + guidOf(kSegmentId).text() + ": cannot be read: the file ends"));
  EXPECT_THAT(errorOf(*file), HasSubstr("bytes when it was opened (at byte "));
  shrinkTo(0);
  EXPECT_THAT(errorOf(*file), HasSubstr("cannot be read: the file ends"));
}

TEST_F(Shrinking, WhatWasReadBeforeStays) {
  const auto file = openFile();
  const auto segment = file->segment(*file->find(guidOf(kSegmentId)));
  ASSERT_TRUE(segment);
  shrinkTo(0);
  EXPECT_EQ(segment->data.size(), kManyPages);
  EXPECT_EQ(std::count(segment->data.begin(), segment->data.end(), std::byte{1}),
            static_cast<std::ptrdiff_t>(kManyPages));
}

}  // namespace
}  // namespace jttk

#endif
