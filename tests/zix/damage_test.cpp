// Damaged files: cut at every byte, every byte changed, and every rule of the format broken once.
#include <gmock/gmock.h>

#include <functional>
#include <memory>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "tests/zix/zix_builder.h"
#include "zix/reader.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::BuiltChunk;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::ZixBuilder;

// An exact-size heap copy, so that a sanitizer sees a read of one byte too many.
class Bytes {
 public:
  explicit Bytes(std::string_view text)
      : size_(text.size()), words_(std::make_unique<std::byte[]>(text.size())) {
    std::memcpy(words_.get(), text.data(), text.size());
  }
  [[nodiscard]] std::span<const std::byte> view() const { return {words_.get(), size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<std::byte[]> words_;
};

std::string sampleFile() {
  const ScratchFolder folder;
  loftbay::testing_support::writeSampleScene(folder.programPath("scene.zix"));
  return folder.read("scene.zix");
}

std::string codeOf(const std::string& file) {
  const Bytes bytes(file);
  const auto scene = SceneFile::fromBytes(bytes.view());
  return scene ? "accepted" : scene.error().code;
}

TEST(Damage, FileCutAtAnyByteIsRefused) {
  const std::string file = sampleFile();
  EXPECT_EQ(codeOf(file), "accepted");
  for (std::size_t size = 0; size < file.size(); ++size) {
    const std::string code = codeOf(file.substr(0, size));
    EXPECT_EQ(code, size == 0 ? "NOT_ZIX" : "TRUNCATED") << size;
  }
}

TEST(Damage, OneByteTooManyIsRefused) { EXPECT_EQ(codeOf(sampleFile() + '\0'), "EXTRA_BYTES"); }

TEST(Damage, ValidateFindsEverySingleFlippedBit) {
  std::string file = sampleFile();
  EXPECT_EQ(validateBytes(Bytes(file).view()).error_count, 0U);
  for (std::size_t i = 0; i < file.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      file[i] = static_cast<char>(file[i] ^ (1 << bit));
      EXPECT_GT(validateBytes(Bytes(file).view()).error_count, 0U) << "byte " << i << " bit " << bit;
      file[i] = static_cast<char>(file[i] ^ (1 << bit));
    }
  }
}

TEST(Damage, OtherFilesAreNoZixFiles) {
  EXPECT_EQ(codeOf("PK\x03\x04 some other file that is longer than the header of a Zix file is, by far"),
            "NOT_ZIX");
}

// The smallest tree with one of everything; broken by the cases below.
ZixBuilder goodBuilder() {
  ZixBuilder built;
  built.texts = "rootmesh";
  const auto root = built.add(ZixBuilder::plain(19));
  const auto shape = built.add(ZixBuilder::plain(18));
  const auto mesh = built.add(ZixBuilder::plain(16));
  const auto coordinates = built.add(ZixBuilder::plain(11));
  const auto indices = built.add(ZixBuilder::plain(4));
  const auto transform = built.add(ZixBuilder::plain(15));
  const auto material = built.add(ZixBuilder::plain(14));
  built.objects[root].name_size = 4;
  built.objects[root].child_count = 1;
  built.objects[shape].parent = root;
  built.objects[shape].placement = transform;
  built.objects[shape].first_child = 1;
  built.objects[shape].child_count = 1;
  built.objects[mesh].parent = shape;
  built.objects[mesh].material = material;
  built.children = {shape, mesh};
  built.scene.root = root;
  const std::uint32_t one_triangle[] = {0, 1, 2};
  built.addArray(format::kFloatArrayChunk, 12, std::string(36, '\0'));
  built.addArray(format::kIndexArrayChunk, 4, std::string(reinterpret_cast<const char*>(one_triangle), 12));
  built.meshes = {{0, coordinates, indices, indices, 1, 0}};
  built.coordinates = {{3, 0, 1, 0}};
  built.index_arrays = {{1, 0}};
  built.transforms = {format::kIdentityTransform};
  built.materials = {{}};
  built.views = {{0, 4, 0, {0, 0, 1}, {0, 0, 0}, {0, 1, 0}, 1}};
  return built;
}

struct RefusalCase {
  const char* name;
  const char* code;
  std::function<void(ZixBuilder&)> break_it;
};

class Refusal : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(Refusal, HasItsCode) {
  ZixBuilder built = goodBuilder();
  EXPECT_EQ(codeOf(built.build()), "accepted");
  GetParam().break_it(built);
  EXPECT_EQ(codeOf(built.build()), GetParam().code);
}

using B = ZixBuilder;
INSTANTIATE_TEST_SUITE_P(
    Reader, Refusal,
    ::testing::Values(
        RefusalCase{"LaterMajorVersion", "UNKNOWN_VERSION", [](B& b) { b.major_version = 2; }},
        RefusalCase{"LaterMinorVersion", "accepted", [](B& b) { b.minor_version = format::kNewestKnownMinor + 7; }},
        RefusalCase{"UnknownChunk", "accepted", [](B& b) { b.others.push_back({0x21212121, 1, "skip me"}); }},
        RefusalCase{"UnknownChunkThatMustBeKnown", "UNKNOWN_CHUNK",
                    [](B& b) { b.others.push_back({0x21212121, 1, "do not skip me", format::kChunkMustBeKnown}); }},
        RefusalCase{"TableMissing", "MISSING_CHUNK", [](B& b) { b.left_out = format::kViewChunk; }},
        RefusalCase{"TableTwice", "DUPLICATE_CHUNK", [](B& b) { b.others.push_back({format::kTextChunk, 1, "x"}); }},
        RefusalCase{"RecordSizeZero", "RECORD_SIZE", [](B& b) { b.others.push_back({0x21212121, 0, "x"}); }},
        RefusalCase{"HalfRecord", "RECORD_SIZE", [](B& b) { b.arrays[0].bytes.resize(35); }},
        RefusalCase{"IndexRecordOfEightBytes", "RECORD_SIZE",
                    [](B& b) { b.arrays.push_back({format::kIndexArrayChunk, 8, "12345678"}); }},
        RefusalCase{"NameOutsideTexts", "TEXT_RANGE", [](B& b) { b.objects[3].name_size = 9; }},
        RefusalCase{"NameOffsetOverflows", "TEXT_RANGE",
                    [](B& b) { b.objects[3].name_offset = UINT64_MAX; b.objects[3].name_size = 4; }},
        RefusalCase{"ModelNameOutsideTexts", "TEXT_RANGE", [](B& b) { b.scene.model_name_offset = 9; }},
        RefusalCase{"ViewNameOutsideTexts", "TEXT_RANGE", [](B& b) { b.views[0].name_offset = 5; }},
        RefusalCase{"RootIsNoNode", "OBJECT_NUMBER", [](B& b) { b.scene.root = 1; }},
        RefusalCase{"RootOutOfRange", "OBJECT_NUMBER", [](B& b) { b.scene.root = 7; }},
        RefusalCase{"UnknownObjectType", "OBJECT_TYPE", [](B& b) { b.add(B::plain(17)); }},
        RefusalCase{"WrongOrdinal", "OBJECT_ORDINAL", [](B& b) { b.objects[6].ordinal = 1; }},
        RefusalCase{"RowMissing", "TABLE_ROWS", [](B& b) { b.materials.clear(); }},
        RefusalCase{"RowTooMany", "TABLE_ROWS", [](B& b) { b.transforms.push_back({}); }},
        RefusalCase{"PlacementIsNoTransform", "OBJECT_NUMBER", [](B& b) { b.objects[1].placement = 2; }},
        RefusalCase{"PlacementWithoutParent", "OBJECT_NUMBER", [](B& b) { b.objects[0].placement = 5; }},
        RefusalCase{"MaterialIsNoMaterial", "OBJECT_NUMBER", [](B& b) { b.objects[2].material = 5; }},
        RefusalCase{"MaterialOnATransform", "OBJECT_NUMBER", [](B& b) { b.objects[5].material = 6; }},
        RefusalCase{"MeshUnderANode", "OBJECT_NUMBER", [](B& b) { b.objects[0].child_count = 2; b.objects[2].parent = 0; b.objects[1].first_child = b.objects[1].child_count = 0; }},
        RefusalCase{"TransformInTheTree", "OBJECT_NUMBER", [](B& b) { b.objects[5].parent = 0; }},
        RefusalCase{"ParentOutOfRange", "OBJECT_NUMBER", [](B& b) { b.objects[2].parent = 70; b.objects[1].first_child = b.objects[1].child_count = 0; }},
        RefusalCase{"ChildrenBeyondTheTable", "CHILDREN", [](B& b) { b.objects[1].child_count = 2; }},
        RefusalCase{"ChildrenOfAnotherRow", "CHILDREN", [](B& b) { b.objects[1].first_child = 0; }},
        RefusalCase{"FirstChildWithoutChildren", "CHILDREN", [](B& b) { b.objects[3].first_child = 1; }},
        RefusalCase{"ChildrenOfATransform", "CHILDREN", [](B& b) { b.objects[5].first_child = 2; b.objects[5].child_count = 1; }},
        RefusalCase{"ChildrenOfATransformThatAreThere", "CHILDREN",
                    [](B& b) { b.objects[5].first_child = 2; b.objects[5].child_count = 1; b.children.push_back(2); }},
        RefusalCase{"ChildrenOfAMesh", "CHILDREN",
                    [](B& b) { b.objects[2].first_child = 2; b.objects[2].child_count = 1; b.children.push_back(2); }},
        RefusalCase{"ChildListedTwice", "CHILDREN",
                    [](B& b) { b.objects[1].child_count = 2; b.children.push_back(2); }},
        RefusalCase{"ChildOutOfRange", "CHILDREN", [](B& b) { b.children[1] = 7; }},
        RefusalCase{"ChildOfAnotherParent", "CHILDREN", [](B& b) { b.children[1] = 0; }},
        RefusalCase{"ChildRowOfNobody", "CHILDREN", [](B& b) { b.children.push_back(1); }},
        RefusalCase{"ChildNotListed", "CHILDREN",
                    [](B& b) { b.children.pop_back(); b.objects[1].first_child = b.objects[1].child_count = 0; }},
        RefusalCase{"Cycle", "CYCLE",
                    [](B& b) {
                      // Two nodes, each of which is the other's parent.
                      auto node = B::plain(19);
                      node.child_count = 1;
                      node.first_child = 2;
                      node.parent = 8;
                      b.add(node);
                      node.first_child = 3;
                      node.parent = 7;
                      b.add(node);
                      b.children.insert(b.children.end(), {8, 7});
                    }},
        RefusalCase{"UnknownMeshType", "MESH_TYPE", [](B& b) { b.meshes[0].mesh_type = 3; }},
        RefusalCase{"MeshCoordinatesAreIndices", "OBJECT_NUMBER", [](B& b) { b.meshes[0].coordinates = 4; }},
        RefusalCase{"MeshIndicesAreCoordinates", "OBJECT_NUMBER", [](B& b) { b.meshes[0].indices = 3; }},
        RefusalCase{"MeshLengthsOutOfRange", "OBJECT_NUMBER", [](B& b) { b.meshes[0].lengths = 7; }},
        RefusalCase{"DimensionZero", "DIMENSION", [](B& b) { b.coordinates[0].dimension = 0; }},
        RefusalCase{"DimensionOfOtherRecords", "ARRAY_CHUNK", [](B& b) { b.coordinates[0].dimension = 2; }},
        RefusalCase{"CoordinatesInAnIndexChunk", "ARRAY_CHUNK", [](B& b) { b.coordinates[0].chunk = 1; }},
        RefusalCase{"IndicesInATableChunk", "ARRAY_CHUNK", [](B& b) { b.index_arrays[0].chunk = 2; }},
        RefusalCase{"ArrayChunkOutOfRange", "ARRAY_CHUNK", [](B& b) { b.index_arrays[0].chunk = 12; }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Refusal, LongerRecordsOfALaterMinorVersionAreRead) {
  ZixBuilder built = goodBuilder();
  built.left_out = format::kMeshChunk;
  built.others = {{format::kMeshChunk, sizeof(format::MeshRecord) + 8,
                   loftbay::testing_support::recordBytes(built.meshes[0]) + "new data"}};
  EXPECT_EQ(codeOf(built.build()), "RECORD_SIZE") << "not in a file of this version";
  built.minor_version = format::kNewestKnownMinor + 1;
  EXPECT_EQ(codeOf(built.build()), "accepted");
}

TEST(Refusal, ShorterRecordsOfALaterMinorVersionAreNone) {
  ZixBuilder built = goodBuilder();
  built.left_out = format::kMeshChunk;
  built.others = {
      {format::kMeshChunk, 20, loftbay::testing_support::recordBytes(built.meshes[0]).substr(0, 20)}};
  built.minor_version = format::kNewestKnownMinor + 1;
  EXPECT_EQ(codeOf(built.build()), "RECORD_SIZE");
}

std::vector<std::string> findings(const ZixBuilder& built) {
  const std::string file = built.build();
  std::vector<std::string> codes;
  for (const auto& message : validateBytes(Bytes(file).view()).messages) {
    codes.push_back((message.is_error ? "error " : "warning ") + message.code);
  }
  return codes;
}

TEST(Validate, ChecksWhatArraysHold) {
  ZixBuilder built = goodBuilder();
  // One index array serves as both: three elements of 0, 1 and 2 indices.
  EXPECT_THAT(findings(built), ::testing::ElementsAre("warning ELEMENT_LENGTH"));
  built.meshes[0].mesh_type = 1;
  EXPECT_THAT(findings(built), ::testing::IsEmpty());
  const float not_finite = std::numeric_limits<float>::infinity();
  built.arrays[0].bytes.replace(8, 4, loftbay::testing_support::recordBytes(not_finite));
  built.arrays[1].bytes[0] = 3;
  built.objects[0].name_offset = 8;
  built.objects[0].name_size = 1;
  built.texts += '\xFF';
  EXPECT_THAT(findings(built), ::testing::ElementsAre("warning NAME_NOT_UTF8", "warning LENGTHS_SUM",
                                                      "error INDEX_RANGE", "warning NOT_FINITE"));
}

TEST(Validate, ListOfFindingsIsCapped) {
  ZixBuilder built;
  for (int i = 0; i < 1000; ++i) built.add(ZixBuilder::plain(18));
  const std::string file = built.build();
  const auto report = validateBytes(Bytes(file).view());
  EXPECT_EQ(report.messages.size(), 100U);
  EXPECT_EQ(report.warning_count, 1001U) << "1000 shapes that hang under nothing, and no root";
  EXPECT_TRUE(report.truncated());
}

}  // namespace
}  // namespace Orb::Zix
