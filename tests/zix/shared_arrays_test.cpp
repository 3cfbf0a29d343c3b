// Equal arrays are in a file once, however often they are set, and unequal ones never share a chunk.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "tests/zix/output_ways.h"
#include "zix/array_store.h"
#include "zix/checksum.h"
#include "zix/reader.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::closeMessage;
using loftbay::testing_support::fillBigScene;
using loftbay::testing_support::nameOf;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::Way;
using loftbay::testing_support::WayHook;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A scene of arrays alone: object n is the n-th that was added.
class ArrayScene {
 public:
  explicit ArrayScene(const ScratchFolder& folder) : path_(folder.programPath("scene.zix")) {
    scene_.saveTo(path_.c_str(), " ", true, true);
  }
  void addFloats(const std::vector<float>& values, unsigned char dimension = 3) {
    const auto id = scene_.createObject(ObjectType::Coordinates);
    scene_.setDimension(id, dimension);
    scene_.setValues<float>(id, values.data(), values.size() / dimension);
  }
  void addIndices(const std::vector<unsigned int>& values) {
    scene_.setValues<unsigned int>(scene_.createObject(ObjectType::IndexArray), values.data(), values.size());
  }
  std::string close() { return closeMessage(scene_, path_); }
  SceneFile reopened() {
    EXPECT_EQ(close(), "");
    EXPECT_EQ(validateFile(path_).error_count, 0U);
    auto file = SceneFile::open(path_);
    EXPECT_TRUE(file.has_value());
    return std::move(*file);
  }

 private:
  std::string path_;
  Scene_V1 scene_{"Model"};
};

// The chunk of each array, by object.
std::vector<std::uint32_t> chunksOf(const SceneFile& file) {
  std::vector<std::uint32_t> chunks;
  for (std::uint32_t i = 0; i < file.objectCount(); ++i) {
    chunks.push_back(file.type(i) == ObjectType::Coordinates ? file.coordinates(i).chunk
                                                             : file.indexArray(i).chunk);
  }
  return chunks;
}

std::size_t arrayCount(const SceneFile& file) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < file.chunks().size(); ++i) {
    const std::uint32_t type = file.chunks()[i].type;
    if (type == format::kFloatArrayChunk || type == format::kIndexArrayChunk) ++count;
  }
  return count;
}

std::vector<unsigned int> numbers(std::size_t count, unsigned int first) {
  std::vector<unsigned int> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = first + static_cast<unsigned int>(i);
  return values;
}

TEST(SharedArrays, EqualOnesAreStoredOnce) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  scene.addIndices({1, 2, 3});
  scene.addFloats({1, 2, 3, 4, 5, 6});
  scene.addIndices({1, 2, 4});
  scene.addIndices({1, 2, 3});
  scene.addFloats({1, 2, 3, 4, 5, 6});
  scene.addIndices({1, 2, 3});
  const SceneFile file = scene.reopened();
  EXPECT_THAT(chunksOf(file), ElementsAre(0, 1, 2, 0, 1, 0));
  EXPECT_EQ(arrayCount(file), 3U);
  EXPECT_THAT(file.indexValues(5), ElementsAre(1, 2, 3));
  EXPECT_THAT(file.coordinateValues(4), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(SharedArrays, EmptyOnesAreOnePerTypeAndDimension) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  scene.addIndices({});
  scene.addFloats({});
  scene.addIndices({});
  scene.addFloats({}, 2);
  scene.addFloats({});
  EXPECT_THAT(chunksOf(scene.reopened()), ElementsAre(0, 1, 0, 2, 1));
}

TEST(SharedArrays, FloatsAndIndicesOfTheSameBytesAreTwo) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  scene.addFloats({0, 0, 0}, 1);  // dimension 1: the record size is that of indices
  scene.addIndices({0, 0, 0});
  EXPECT_THAT(chunksOf(scene.reopened()), ElementsAre(0, 1));
}

TEST(SharedArrays, OfAnotherDimensionAreNotTheSame) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  scene.addFloats({1, 2, 3, 4, 5, 6}, 3);
  scene.addFloats({1, 2, 3, 4, 5, 6}, 2);
  scene.addFloats({1, 2, 3, 4, 5, 6}, 3);
  EXPECT_THAT(chunksOf(scene.reopened()), ElementsAre(0, 1, 0));
}

TEST(SharedArrays, NumbersWithOtherBitsAreNotTheSame) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  scene.addFloats({0.0F, 1, 2});
  scene.addFloats({-0.0F, 1, 2});
  scene.addFloats({std::nanf("1"), 1, 2});
  scene.addFloats({std::nanf("1"), 1, 2});
  EXPECT_THAT(chunksOf(scene.reopened()), ElementsAre(0, 1, 2, 2));
}

TEST(SharedArrays, AreFoundInTheBufferInTheFileAndAcrossBoth) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  // The buffer takes 1 MiB; so some of these are in the file, one lies across, and the last ones are held.
  constexpr unsigned int kCount = 20;
  constexpr std::size_t kValues = 50000;
  for (unsigned int i = 0; i < kCount; ++i) scene.addIndices(numbers(kValues, i));
  for (unsigned int i = 0; i < kCount; ++i) scene.addIndices(numbers(kValues, i));
  const auto big = numbers(400000, 7);  // straight to the file
  scene.addIndices(big);
  scene.addIndices(big);
  const SceneFile file = scene.reopened();
  EXPECT_EQ(arrayCount(file), kCount + 1);
  for (unsigned int i = 0; i < kCount; ++i) {
    EXPECT_EQ(file.indexArray(kCount + i).chunk, i);
    EXPECT_EQ(file.indexValues(kCount + i)[kValues - 1], i + kValues - 1);
  }
  EXPECT_EQ(file.indexArray(2 * kCount + 1).chunk, kCount);
}

TEST(SharedArrays, ThousandsAreAllFound) {
  const ScratchFolder folder;
  ArrayScene scene(folder);
  constexpr unsigned int kCount = 5000;
  for (int pass = 0; pass < 2; ++pass) {
    for (unsigned int i = 0; i < kCount; ++i) scene.addIndices({i, 1, 2});
  }
  const SceneFile file = scene.reopened();
  ASSERT_EQ(arrayCount(file), kCount);
  for (std::uint32_t i = 0; i < kCount; ++i) ASSERT_EQ(file.indexArray(kCount + i).chunk, i);
}

// --- with hashes that say too little ----------------------------------------------------------------------

std::uint64_t sameForAll(std::uint64_t) { return 0; }

// Stores arrays without a scene.
class Store {
 public:
  explicit Store(const ScratchFolder& folder, ArrayStore::Hash hash = ArrayStore::checksumItself)
      : store_(file_, chunks_, hash) {
    EXPECT_FALSE(file_.open(folder.programPath("arrays")));
  }
  std::uint32_t add(const std::vector<unsigned int>& values) {
    std::optional<OutputFailure> failure;
    const auto bytes = std::as_bytes(std::span(values));
    const auto chunk = store_.store({format::kIndexArrayChunk, 4, bytes, checksum(bytes)}, &failure);
    EXPECT_FALSE(failure) << failure->text();
    return chunk;
  }

 private:
  OutputFile file_;
  std::deque<format::ChunkEntry> chunks_;
  ArrayStore store_;
};

TEST(SharedArrays, OfOneHashAreToldApartByTheirBytes) {
  const ScratchFolder folder;
  Store store(folder, sameForAll);
  EXPECT_EQ(store.add({1, 2, 3}), 0U);
  EXPECT_EQ(store.add({1, 2, 4}), 1U);
  EXPECT_EQ(store.add({1, 2}), 2U);
  EXPECT_EQ(store.add({1, 2, 4}), 1U);
  EXPECT_EQ(store.add({1, 2, 3}), 0U);
  // Of several pieces that are read back, in the file, with the last value another one.
  auto big = numbers(300000, 1);
  EXPECT_EQ(store.add(big), 3U);
  big.back() ^= 1;
  EXPECT_EQ(store.add(big), 4U);
  EXPECT_EQ(store.add(big), 4U);
  big.back() ^= 1;
  EXPECT_EQ(store.add(big), 3U);
}

// Counts how often the file is read back.
class CountReads : public WayHook {
 public:
  CountReads() : WayHook(Way::Unnamed) {}
  int before(FileOperation operation, std::size_t size_bytes) override {
    if (operation == FileOperation::Read) {
      ++reads;
      largest = std::max(largest, size_bytes);
    }
    return WayHook::before(operation, size_bytes);
  }
  int reads = 0;
  std::size_t largest = 0;
};

TEST(SharedArrays, AreReadBackInSmallPiecesAndOnlyWhereTheHashIsEqual) {
  const ScratchFolder folder;
  Store store(folder);
  CountReads hook;
  const auto big = numbers(1000000, 1);
  store.add(big);
  store.add(numbers(1000000, 2));
  EXPECT_EQ(hook.reads, 0);
  EXPECT_EQ(store.add(big), 0U);
  EXPECT_GT(hook.reads, 10);
  EXPECT_LE(hook.largest, 65536U);
}

TEST(SharedArrays, ManyOfOneHashCostABoundedNumberOfComparisons) {
  const ScratchFolder folder;
  Store store(folder, sameForAll);
  CountReads hook;
  constexpr unsigned int kCount = 200;
  constexpr std::size_t kValues = 70000;  // each straight to the file
  for (unsigned int i = 0; i < kCount; ++i) EXPECT_EQ(store.add(numbers(kValues, i)), i);
  EXPECT_LE(hook.reads, 64 * static_cast<int>(kCount));
  EXPECT_EQ(store.add(numbers(kValues, 0)), 0U);
  EXPECT_EQ(store.add(numbers(kValues, kCount - 1)), kCount) << "stored once more instead of searched for";
}

// --- a file that cannot be read back ----------------------------------------------------------------------

class FailReads : public WayHook {
 public:
  explicit FailReads(Way way) : WayHook(way) {}
  int before(FileOperation operation, std::size_t size_bytes) override {
    return operation == FileOperation::Read ? EIO : WayHook::before(operation, size_bytes);
  }
};

TEST(SharedArrays, ThatCannotBeReadBackFailTheClose) {
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const ScratchFolder folder;
    const FailReads hook(way);
    ArrayScene scene(folder);
    const auto big = numbers(400000, 7);
    scene.addIndices(big);
    scene.addIndices(big);
    scene.addIndices(big);
    const std::string message = scene.close();
    EXPECT_THAT(message, HasSubstr("read failed")) << nameOf(way);
    EXPECT_THAT(message, HasSubstr(folder.hostPath("scene.zix")));
    EXPECT_THAT(folder.names(), IsEmpty()) << nameOf(way);
  }
}

// --- what is found in them ---------------------------------------------------------------------------------

std::vector<std::string> codesOf(const std::string& path) {
  std::vector<std::string> codes;
  for (const auto& message : validateFile(path).messages) codes.push_back(message.code);
  return codes;
}

TEST(SharedArrays, AreCheckedOnceAndTheirFaultsAreToldOfEachMesh) {
  const ScratchFolder folder;
  const std::string path = folder.programPath("scene.zix");
  loftbay::testing_support::writeScene(path, [](Scene_V1& scene, const ObjectId& root) {
    for (const char* name : {"first", "second"}) {
      loftbay::testing_support::addShape(
          scene, root, name, {MeshType::Triangles, {0, 0, 0, 1, 0, 0, 0, std::nanf("1"), 0}, {0, 1, 3}, {3}});
    }
  });
  EXPECT_THAT(codesOf(path),
              testing::UnorderedElementsAre("INDEX_RANGE", "INDEX_RANGE", "NOT_FINITE", "NOT_FINITE"));

  std::string damaged = folder.read("scene.zix");
  damaged[64 + 2] ^= 1;  // in the array that stands first
  folder.write("scene.zix", damaged);
  const auto codes = codesOf(path);
  EXPECT_EQ(std::count(codes.begin(), codes.end(), "CHUNK_CHECKSUM"), 1);
}

TEST(SharedArrays, AFileIsAFunctionOfTheCalls) {
  std::string first;
  for (const Way way : {Way::Unnamed, Way::Named}) {
    const ScratchFolder folder;
    const WayHook hook(way);
    Scene_V1 scene("Model");
    const std::string path = folder.programPath("scene.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    fillBigScene(scene);
    EXPECT_EQ(closeMessage(scene, path), "");
    const std::string bytes = folder.read("scene.zix");
    if (first.empty()) first = bytes;
    EXPECT_EQ(bytes, first);
  }
}

}  // namespace
}  // namespace Orb::Zix
