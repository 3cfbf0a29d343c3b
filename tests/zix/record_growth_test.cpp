// Records grow at their end with minor versions: rows that are longer or shorter than the structure they are
// read into.
#include <gmock/gmock.h>

#include <memory>

#include "zix/reader.h"

namespace Orb::Zix {
namespace {

struct Grown {
  std::uint32_t first;
  std::uint32_t object = format::kNone;
  std::uint32_t count;
};

// Numbers from 1 on, in memory of exactly their size, so that a sanitizer sees a read behind the last row.
class Numbers {
 public:
  explicit Numbers(std::size_t count)
      : size_(count * sizeof(std::uint32_t)), bytes_(std::make_unique<std::byte[]>(size_)) {
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t value = i + 1;
      std::memcpy(bytes_.get() + i * sizeof(value), &value, sizeof(value));
    }
  }
  [[nodiscard]] Table<Grown> rowsOf(std::size_t fields) const {
    return {{bytes_.get(), size_}, fields * sizeof(std::uint32_t)};
  }

 private:
  std::size_t size_;
  std::unique_ptr<std::byte[]> bytes_;
};

TEST(RecordGrowth, FieldsThatRowsOfAnOlderVersionLackHaveTheirDefaults) {
  const Numbers numbers(2);
  const Table<Grown> table = numbers.rowsOf(1);
  ASSERT_EQ(table.size(), 2U);
  for (std::size_t row = 0; row < 2; ++row) {
    EXPECT_EQ(table[row].first, row + 1);
    EXPECT_EQ(table[row].object, format::kNone) << "not the next row";
    EXPECT_EQ(table[row].count, 0U);
  }
}

TEST(RecordGrowth, FieldsThatALaterVersionAddedAreSteppedOver) {
  const Numbers numbers(10);
  const Table<Grown> table = numbers.rowsOf(5);
  ASSERT_EQ(table.size(), 2U);
  EXPECT_EQ(table[1].first, 6U);
  EXPECT_EQ(table[1].object, 7U);
  EXPECT_EQ(table[1].count, 8U);
}

TEST(RecordGrowth, SizeIsThatOfTheFilesVersion) {
  constexpr format::RecordSize kSizes[] = {{0, 24}, {2, 28}, {5, 40}};
  const std::uint32_t expected[] = {24, 24, 28, 28, 28, 40, 40};
  for (std::uint16_t minor = 0; minor < 7; ++minor) {
    EXPECT_EQ(format::recordSizeIn(kSizes, minor), expected[minor]) << "1." << minor;
  }
}

struct NoSizes {
  static constexpr format::RecordSize kSizes[] = {{0, 4}};
  std::uint32_t first;
  std::uint32_t second;
};
struct HalfAligned {
  static constexpr format::RecordSize kSizes[] = {{0, 12}, {1, 16}};
  std::uint64_t first;
  std::uint64_t second;
};
struct Unknown {
  static constexpr format::RecordSize kSizes[] = {{0, 4}, {format::kNewestKnownMinor + 1, 8}};
  std::uint32_t first;
  std::uint32_t second;
};
struct Backwards {
  static constexpr format::RecordSize kSizes[] = {{0, 4}, {0, 8}};
  std::uint64_t first;
};
struct Right {
  static constexpr format::RecordSize kSizes[] = {{0, 8}};
  std::uint64_t first;
};

TEST(RecordGrowth, ListsOfSizesAreChecked) {
  EXPECT_FALSE(format::hasItsListedSizes<NoSizes>()) << "not its own at the end";
  EXPECT_FALSE(format::hasItsListedSizes<HalfAligned>())
      << "the second row's first field would not be aligned";
  EXPECT_FALSE(format::hasItsListedSizes<Unknown>()) << "a version that does not exist";
  EXPECT_FALSE(format::hasItsListedSizes<Backwards>());
  EXPECT_TRUE(format::hasItsListedSizes<Right>());
}

}  // namespace
}  // namespace Orb::Zix
