#include "jttk/file/jt_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "samples/maker/pieces/container.h"
#include "tests/jttk/support/from_maker.h"

namespace {

using jttk::Compression;
using jttk::JtFile;
using jttk::SegmentType;
using jttk::from_maker::guidOf;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::container;
using loftbay::maker::pieces::ContainerSegment;
using loftbay::maker::pieces::kSegmentId;
using loftbay::maker::pieces::xzOf;
using loftbay::maker::pieces::zlibOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::uint32_t kSceneGraph = 1;
constexpr std::uint32_t kShapeLod0 = 7;
constexpr std::size_t kOrderByte = 80;
constexpr std::size_t kContents9 = 80 + 1 + 4 + 4 + 16;

Bytes textBytes(std::string_view text) { return ByteBuilder().text(text).result(); }

Bytes prefixed(std::uint32_t flag, std::uint32_t algorithm, const Bytes& packed) {
  return ByteBuilder()
      .u32(flag)
      .u32(static_cast<std::uint32_t>(packed.size()) + 1)
      .u8(algorithm)
      .bytes(packed)
      .result();
}

// Opens a file of one segment and unpacks it.
jttk::Result<Bytes> unpackedSegment(std::string_view version, std::uint32_t type, const Bytes& data,
                                    Compression* compression = nullptr) {
  const Bytes bytes = container(version, {{kSegmentId, type, data}});
  const auto file = JtFile::fromBytes(bytes);
  if (!file) return tl::unexpected<jttk::Error>(file.error());
  const auto segment = (*file)->segment(*(*file)->find(guidOf(kSegmentId)));
  if (!segment) return tl::unexpected<jttk::Error>(segment.error());
  if (compression != nullptr) *compression = segment->compression;
  return Bytes(segment->data.begin(), segment->data.end());
}

std::string openError(const Bytes& bytes) {
  const auto file = JtFile::fromBytes(bytes);
  return file ? "opened" : file.error().text();
}

TEST(JtFile, ReadsHeaderAndContentsOfBothOffsetWidths) {
  for (const char* version : {"8.1", "9.5", "10.3"}) {
    const Bytes bytes = container(version, {{kSegmentId, kShapeLod0, textBytes("abc")}});
    const auto file = JtFile::fromBytes(bytes);
    ASSERT_TRUE(file.has_value()) << file.error().text();
    EXPECT_EQ((*file)->headerText(), std::string("Version ") + version + " JT");
    EXPECT_EQ((*file)->sceneGraphId(), guidOf(kSegmentId));
    ASSERT_EQ((*file)->contents().size(), 1U);
    EXPECT_EQ((*file)->contents()[0].type, SegmentType::ShapeLod0);
    EXPECT_EQ(unpackedSegment(version, kShapeLod0, textBytes("abc")).value(), textBytes("abc"));
  }
}

TEST(JtFile, APlainSegmentIsAViewIntoTheFile) {
  const Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  const auto file = JtFile::fromBytes(bytes);
  const auto segment = (*file)->segment((*file)->contents()[0]);
  ASSERT_TRUE(segment.has_value());
  EXPECT_EQ(segment->data.data(), bytes.data() + bytes.size() - 3);
  EXPECT_EQ(segment->base_offset, bytes.size() - 3);
}

TEST(JtFile, UnpacksByThePrefixOfTheSegment) {
  Compression compression{};
  const Bytes plain = textBytes("scene graph");
  EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, prefixed(2, 2, zlibOf(plain)), &compression).value(), plain);
  EXPECT_EQ(compression, Compression::Zlib);
  EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, prefixed(0, 1, plain), &compression).value(), plain);
  EXPECT_EQ(compression, Compression::Stored);
}

TEST(JtFile, AnUnknownTypeWithoutASensiblePrefixIsHandedOutWhole) {
  const Bytes plain = textBytes("whatever this may be");
  EXPECT_EQ(unpackedSegment("9.5", 40, plain).value(), plain);
  EXPECT_EQ(unpackedSegment("9.5", 40, prefixed(2, 2, zlibOf(plain))).value(), plain);
}

TEST(JtFile, RepeatedEntriesCountOnce) {
  const ContainerSegment segment{kSegmentId, kShapeLod0, textBytes("abc")};
  const Bytes bytes = container("8.0", {segment, segment});
  const auto file = JtFile::fromBytes(bytes);
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ((*file)->contents().size(), 1U);
  EXPECT_EQ((*file)->duplicateEntries(), 1U);
}

TEST(JtFile, AReservedFieldThatIsSetDoesNotMoveTheContents) {
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  bytes[kOrderByte + 1] = std::byte{1};
  EXPECT_EQ(openError(bytes), "opened");
}

TEST(JtFile, SaysWhyBytesAreNotAJtFile) {
  EXPECT_THAT(openError(textBytes("PK")),
              StartsWith("not a JT file: the header does not begin with \"Version\""));
  EXPECT_THAT(openError({}), StartsWith("not a JT file"));
  EXPECT_THAT(openError(textBytes("Version x")), StartsWith("not a JT file: no number"));
  EXPECT_THAT(openError(container("7.0", {})), HasSubstr("JT 7.0 is not supported"));
  EXPECT_THAT(openError(container("11.0", {})), HasSubstr("JT 11.0 is not supported"));
  Bytes order = container("9.5", {});
  order[kOrderByte] = std::byte{7};
  EXPECT_THAT(openError(order), HasSubstr("byte order is 7"));
}

// A table of contents can list the whole file under thousands of names.
TEST(JtFile, BytesThatAreReadAgainAndAgainMeetALimit) {
  constexpr std::uint64_t kTimes = 10;
  const Bytes bytes = container("9.5", {{kSegmentId, 7, Bytes(10'000, std::byte{1})}});
  const auto file = JtFile::fromBytes(bytes);
  ASSERT_TRUE(file);
  const jttk::WorkLimit unlimited{.base = std::uint64_t{1} << 40U, .per_byte = 0, .given = {}};
  const auto budget = std::make_shared<jttk::WorkBudget>(
      jttk::WorkLimits{.places = unlimited,
                       .unpacked = {.base = 0, .per_byte = kTimes, .given = {}},
                       .exact = unlimited,
                       .memory = unlimited});
  (*file)->setBudget(budget);
  const jttk::TocEntry& entry = *(*file)->find(guidOf(kSegmentId));
  for (std::uint64_t i = 0; i < kTimes; ++i) EXPECT_TRUE((*file)->segment(entry)) << i;
  const auto refused = (*file)->segment(entry);
  ASSERT_FALSE(refused);
  EXPECT_TRUE(refused.error().is_over_budget);
  EXPECT_THAT(refused.error().text(),
              HasSubstr("bytes are read from the file (no option raises this limit)"));
}

TEST(JtFile, ContentsOutsideOfTheFileAreAnError) {
  Bytes bytes = container("9.5", {});
  bytes[kOrderByte + 5 + 2] = std::byte{0x7f};
  EXPECT_THAT(openError(bytes), HasSubstr("outside of the file"));
  Bytes count = container("9.5", {});
  count[kContents9] = std::byte{1};
  EXPECT_THAT(openError(count), HasSubstr("count larger than the bytes left"));
}

TEST(JtFile, ASegmentOutsideOfTheFileIsAnErrorOfThatSegment) {
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  bytes.resize(bytes.size() - 3 - 24);
  const auto file = JtFile::fromBytes(bytes);
  ASSERT_TRUE(file.has_value());
  const auto segment = (*file)->segment((*file)->contents()[0]);
  ASSERT_FALSE(segment.has_value());
  EXPECT_THAT(segment.error().text(), HasSubstr("lie outside of the file"));
  EXPECT_THAT(segment.error().text(), StartsWith("segment " + guidOf(kSegmentId).text() + ": "));
}

TEST(JtFile, OfASegmentThatIsCutOffThereIsWhatThereIs) {
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  bytes.pop_back();
  const auto file = JtFile::fromBytes(bytes);
  const auto segment = (*file)->segment((*file)->contents()[0]);
  ASSERT_TRUE(segment.has_value()) << segment.error().text();
  EXPECT_EQ(segment->data.size(), 2U);
}

// In the file: the contents' entry (id, offset, length, type) and the segment's header (id, type, length).
constexpr std::size_t kEntry9 = kContents9 + 4;
constexpr std::size_t kHeader9 = kEntry9 + 28;

TEST(JtFile, OfTwoLengthsOfASegmentTheLongerOneHolds) {
  for (const std::size_t length_at : {kEntry9 + 20, kHeader9 + 20}) {
    Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
    ASSERT_EQ(bytes[length_at], std::byte{27});
    bytes[length_at] = std::byte{25};
    const auto file = JtFile::fromBytes(bytes);
    const auto segment = (*file)->segment((*file)->contents()[0]);
    ASSERT_TRUE(segment.has_value()) << segment.error().text();
    EXPECT_EQ(segment->data.size(), 3U);
  }
}

TEST(JtFile, ASegmentMayNameItselfOtherwiseWhereTypeAndLengthAreRight) {
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  bytes[kHeader9] ^= std::byte{1};
  const auto read = [&] {
    const auto file = JtFile::fromBytes(bytes);
    const auto segment = (*file)->segment((*file)->contents()[0]);
    return segment ? std::string() : segment.error().what;
  };
  EXPECT_EQ(read(), "");
  bytes[kHeader9 + 16] = std::byte{9};
  EXPECT_THAT(read(), HasSubstr("names another segment"));
}

TEST(JtFile, ATypeThatTheContentsLeaveOutIsThatOfTheSegment) {
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, textBytes("abc")}});
  bytes[kEntry9 + 27] = std::byte{0};
  const auto file = JtFile::fromBytes(bytes);
  EXPECT_EQ((*file)->contents()[0].type, SegmentType::ShapeLod0);
}

TEST(JtFile, TheSceneGraphIsFoundByItsTypeWhereItsIdIsNotListed) {
  const GuidValue other{7, 7, 7, {}};
  Bytes bytes = container("9.5", {{other, kShapeLod0, textBytes("abc")}, {kSegmentId, kSceneGraph, {}}});
  const auto file = JtFile::fromBytes(bytes);
  EXPECT_EQ((*file)->sceneGraph()->id, guidOf(other));  // the header's word counts
  bytes[kOrderByte + 9] ^= std::byte{1};                // now it names what does not exist
  const auto lost = JtFile::fromBytes(bytes);
  ASSERT_NE((*lost)->sceneGraph(), nullptr);
  EXPECT_EQ((*lost)->sceneGraph()->id, guidOf(kSegmentId));
}

// Flag and algorithm usually agree.
TEST(JtFile, WhereFlagAndAlgorithmDisagreeTheDataTell) {
  Compression compression{};
  const Bytes plain = textBytes("scene graph");
  for (const std::uint32_t flag : {0U, 1U, 3U}) {
    EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, prefixed(flag, 2, zlibOf(plain)), &compression).value(),
              plain);
    EXPECT_EQ(compression, Compression::Zlib);
  }
  EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, prefixed(2, 1, zlibOf(plain))).value(), plain);
  EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, prefixed(2, 1, plain), &compression).value(), plain);
  EXPECT_EQ(compression, Compression::Stored);
}

TEST(JtFile, ASegmentThatBeginsWithAnElementHasNoPrefix) {
  Compression compression{};
  const Bytes element = ByteBuilder().u32(16).u64(0x10dd103e).u64(0).text("more").result();
  EXPECT_EQ(unpackedSegment("9.5", kSceneGraph, element, &compression).value(), element);
  EXPECT_EQ(compression, Compression::None);
}

TEST(JtFile, ASegmentThatDoesNotUnpackIsAnError) {
  Bytes packed = zlibOf(textBytes("scene graph"));
  packed[0] = std::byte{0};
  EXPECT_THAT(unpackedSegment("9.5", kSceneGraph, prefixed(2, 2, packed)).error().what,
              HasSubstr("does not inflate"));
  EXPECT_THAT(unpackedSegment("9.5", kSceneGraph, textBytes("ab")).error().what, HasSubstr("ends too early"));
  const Bytes lying = ByteBuilder().u32(2).u32(500).u8(2).u32(0).result();
  EXPECT_THAT(unpackedSegment("9.5", kSceneGraph, lying).error().what, HasSubstr("499 bytes, but only 4"));
}

TEST(JtFile, NoTruncationCrashes) {
  const Bytes whole =
      container("10.0", {{kSegmentId, kSceneGraph, prefixed(2, 2, zlibOf(textBytes("graph")))}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto exact = std::make_unique<std::byte[]>(size);
    std::copy_n(whole.begin(), size, exact.get());
    const auto file = JtFile::fromBytes({exact.get(), size});
    if (!file) continue;
    for (const auto& entry : (*file)->contents()) {
      const auto segment = (*file)->segment(entry);
      const bool lacks_no_data = whole.size() - size <= 4;  // the checksum
      EXPECT_EQ(segment.has_value(), lacks_no_data) << size;
      if (segment) {
        EXPECT_THAT(segment->note, HasSubstr("checksum"));
      }
    }
  }
}

// Adds to a number of four bytes.
void add(Bytes& bytes, std::size_t at, int difference) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  value += static_cast<std::uint32_t>(difference);
  std::memcpy(bytes.data() + at, &value, sizeof value);
}

constexpr std::size_t kPrefix9 = kHeader9 + 24;  // where there is one segment
constexpr GuidValue kOther{7, 7, 7, {}};

// A file of one segment that is packed with zlib, or with LZMA.
Bytes packedFile(const Bytes& plain, bool lzma) {
  const Bytes data =
      lzma ? prefixed(3, 3, xzOf(plain, loftbay::maker::XzCheck::Crc32)) : prefixed(2, 2, zlibOf(plain));
  return container("9.5", {{kSegmentId, kSceneGraph, data}});
}

TEST(JtFile, AStreamEndsWhereItEndsWhateverTheLengthsSay) {
  const Bytes plain = textBytes(std::string(500, 'a') + "scene graph");
  for (const int variant : {0, 1, 2, 3, 4, 5, 6, 7}) {
    for (const int cut : {1, 2, 4, 9, 20}) {
      Bytes bytes = packedFile(plain, (variant & 1) != 0);
      if ((variant & 2) != 0) {
        add(bytes, kEntry9 + 20, -cut);
        add(bytes, kHeader9 + 20, -cut);
      }
      if ((variant & 4) != 0) add(bytes, kPrefix9 + 4, -cut);
      const auto file = JtFile::fromBytes(bytes);
      const auto segment = (*file)->segment((*file)->contents()[0]);
      ASSERT_TRUE(segment.has_value()) << segment.error().text();
      EXPECT_EQ(Bytes(segment->data.begin(), segment->data.end()), plain);
      EXPECT_EQ(segment->note, "");
      EXPECT_THAT((*file)->cutOff(), ::testing::IsEmpty());
    }
  }
}

TEST(JtFile, AStreamWhoseChecksumIsCutOffIsReadWithANote) {
  const Bytes plain = textBytes("scene graph");
  Bytes packed = zlibOf(plain);
  packed.pop_back();
  const Bytes next = container(
      "9.5", {{kSegmentId, kSceneGraph, prefixed(2, 2, packed)}, {kOther, kShapeLod0, textBytes("abc")}});
  Bytes prefix = prefixed(2, 2, packed);
  const Bytes junk = textBytes("junk");  // in no segment
  prefix.insert(prefix.end(), junk.begin(), junk.end());
  Bytes unlisted = container("9.5", {{kSegmentId, kSceneGraph, prefix}});
  add(unlisted, kEntry9 + 20, -4);
  add(unlisted, kHeader9 + 20, -4);
  for (const Bytes& bytes : {next, unlisted}) {
    const auto file = JtFile::fromBytes(bytes);
    const auto segment = (*file)->segment((*file)->contents()[0]);
    ASSERT_TRUE(segment.has_value()) << segment.error().text();
    EXPECT_EQ(Bytes(segment->data.begin(), segment->data.end()), plain);
    EXPECT_THAT(segment->note, HasSubstr("checksum"));
  }
}

TEST(JtFile, ALengthOf0SaysNothing) {
  const Bytes element = ByteBuilder().u32(16).u64(0x10dd103e).u64(0).text("more").result();
  Bytes bytes = container("9.5", {{kSegmentId, kSceneGraph, prefixed(0, 1, element)}});
  add(bytes, kPrefix9 + 4, -static_cast<int>(element.size() + 1));
  for (const bool everywhere : {false, true}) {
    if (everywhere) {
      add(bytes, kEntry9 + 20, -static_cast<int>(element.size() + 9 + 24));
      add(bytes, kHeader9 + 20, -static_cast<int>(element.size() + 9 + 24));
    }
    const auto file = JtFile::fromBytes(bytes);
    const auto segment = (*file)->segment((*file)->contents()[0]);
    ASSERT_TRUE(segment.has_value()) << segment.error().text();
    EXPECT_EQ(Bytes(segment->data.begin(), segment->data.end()), element);
  }
}

TEST(JtFile, AnElementIsWholeWhateverTheLengthSays) {
  const Bytes element = ByteBuilder().u32(16).u64(0x10dd103e).u64(7).result();
  Bytes bytes = container("9.5", {{kSegmentId, kShapeLod0, element}});
  add(bytes, kEntry9 + 20, -3);
  add(bytes, kHeader9 + 20, -3);
  const auto file = JtFile::fromBytes(bytes);
  const auto segment = (*file)->segment((*file)->contents()[0]);
  EXPECT_EQ(segment->data.size(), element.size());
}

// The entries of a file with segments a, b, c name them as `ids` says.
Bytes misnamed(const std::vector<GuidValue>& ids) {
  const GuidValue names[] = {kSegmentId, kOther, {8, 8, 8, {}}};
  std::vector<ContainerSegment> segments;
  const char* texts[] = {"a", "bb", "ccc"};
  for (std::size_t i = 0; i < ids.size(); ++i)
    segments.push_back({names[i], kShapeLod0, textBytes(texts[i])});
  Bytes bytes = container("9.5", segments);
  for (std::size_t i = 0; i < ids.size(); ++i)
    std::memcpy(&bytes[kEntry9 + 28 * i], &ids[i], sizeof(GuidValue));
  return bytes;
}

std::string textOf(const JtFile& file, const GuidValue& id) {
  const jttk::TocEntry* entry = file.find(guidOf(id));
  if (entry == nullptr) return "not listed";
  const auto segment = file.segment(*entry);
  if (!segment) return segment.error().what;
  return {reinterpret_cast<const char*>(segment->data.data()), segment->data.size()};
}

TEST(JtFile, OfTwoIdsOfASegmentThatOfItsHeaderCountsWhereItIsListed) {
  const GuidValue third{8, 8, 8, {}};
  const Bytes swapped = misnamed({kOther, kSegmentId});
  const auto file = JtFile::fromBytes(swapped);
  EXPECT_EQ(textOf(**file, kSegmentId), "a");
  EXPECT_EQ(textOf(**file, kOther), "bb");
  ASSERT_EQ((*file)->contradictions().size(), 2U);
  EXPECT_THAT((*file)->contradictions()[0], HasSubstr("the header counts"));

  const Bytes chain = misnamed({kOther, third, kSegmentId});
  const auto chained = JtFile::fromBytes(chain);
  EXPECT_EQ(textOf(**chained, kSegmentId), "a");
  EXPECT_EQ(textOf(**chained, kOther), "bb");
  EXPECT_EQ(textOf(**chained, third), "ccc");
  EXPECT_EQ((*chained)->contradictions().size(), 3U);
}

TEST(JtFile, OfManyContradictionsTheFirstAreToldAndTheOthersCounted) {
  std::vector<ContainerSegment> segments;
  for (std::uint32_t i = 0; i < 25; ++i) segments.push_back({{i + 1, 0, 0, {}}, kShapeLod0, textBytes("a")});
  Bytes bytes = container("9.5", segments);
  for (std::uint32_t i = 0; i < 25; ++i) {
    const GuidValue unknown{i + 100, 0, 0, {}};
    std::memcpy(&bytes[kEntry9 + 28 * i], &unknown, sizeof(GuidValue));
  }
  const auto file = JtFile::fromBytes(bytes);
  ASSERT_EQ((*file)->contradictions().size(), 21U);
  EXPECT_THAT((*file)->contradictions()[19], HasSubstr("the table counts"));
  EXPECT_EQ((*file)->contradictions()[20],
            "5 more entries of the table of contents contradict their segments");
}

TEST(JtFile, AnIdThatOnlyTheTableKnowsCounts) {
  const Bytes bytes = misnamed({kSegmentId, GuidValue{9, 9, 9, {}}});
  const auto file = JtFile::fromBytes(bytes);
  EXPECT_EQ(textOf(**file, {9, 9, 9, {}}), "bb");
  ASSERT_EQ((*file)->contradictions().size(), 1U);
  EXPECT_THAT((*file)->contradictions()[0], HasSubstr("the table counts"));
}

TEST(JtFile, OfTwoPlacesOfASegmentThatWithItsHeaderIsUsed) {
  const GuidValue nobody{9, 9, 9, {}};
  Bytes bytes = misnamed({kOther, kOther});  // nobody's is listed first as the other
  std::memcpy(&bytes[kEntry9 + 56], &nobody, sizeof(GuidValue));
  const auto file = JtFile::fromBytes(bytes);
  EXPECT_EQ(textOf(**file, kOther), "bb");
  EXPECT_EQ((*file)->contents().size(), 1U);
  EXPECT_EQ((*file)->contradictions().size(), 2U);
}

TEST(JtFile, SegmentsThatTheEndOfTheFileCutsOffAreListed) {
  const Bytes element = ByteBuilder().u32(16).u64(0x10dd103e).u64(7).result();
  const Bytes whole = container("9.5", {{kSegmentId, kShapeLod0, element}, {kOther, kShapeLod0, element}});
  const auto cutAt = [&](std::size_t missing) {
    const Bytes bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(missing));
    const auto file = JtFile::fromBytes(bytes);
    return (*file)->cutOff().size();
  };
  EXPECT_EQ(cutAt(0), 0U);
  EXPECT_EQ(cutAt(1), 1U);
  EXPECT_EQ(cutAt(element.size() + 24), 1U);
  EXPECT_EQ(cutAt(element.size() + 25), 2U);
  Bytes longer = whole;  // the lengths are one too large, the element is there
  add(longer, kEntry9 + 28 + 20, 1);
  const auto file = JtFile::fromBytes(longer);
  EXPECT_THAT((*file)->cutOff(), ::testing::IsEmpty());
}

TEST(JtFile, AFileThatDoesNotExistIsAnErrorWithTheReason) {
  EXPECT_THAT(JtFile::open("no-such-file.jt").error().what, StartsWith("cannot be opened: "));
  EXPECT_FALSE(JtFile::readVersion("no-such-file.jt").has_value());
}

}  // namespace
