#include "samples/maker/write_jt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "samples/maker/bench_models.h"
#include "samples/maker/flange_joint.h"
#include "samples/maker/sample_files.h"
#include "samples/maker/solids.h"
#include "samples/maker/verify.h"
#include "tests/samples/test_shapes.h"

namespace loftbay::maker::test {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

Bytes fileBytes(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

Product everything() {
  Product product;
  product.name = "everything";
  std::mt19937 random(1);
  Shape lines = openGrid(3, 3);
  lines.kind = ShapeKind::Polylines;
  Shape points = openGrid(2, 2);
  points.kind = ShapeKind::Points;
  Shape colored = torus(6, 5);
  scatterRecords(colored, random, true, true);
  colored.material = Material{};
  product.parts.push_back({"shapes", "Millimeters", Material{}, {{colored, lines}, {prism(5), points}}, {}});
  product.parts.push_back({"", "", std::nullopt, {}, {{"Note::", "a part without shapes"}}});
  product.assemblies.push_back({"inner",
                                "Unknown",
                                std::nullopt,
                                {{partRef(0), "first", translation(1, 2, 3), Material{}, false},
                                 {partRef(0), "second", std::nullopt, std::nullopt, false}}});
  product.assemblies.push_back({"outer",
                                "Inches",
                                Material{},
                                {{assemblyRef(0), "", rotationZ(30), std::nullopt, true},
                                 {partRef(1), "", std::nullopt, std::nullopt, true}}});
  product.root = assemblyRef(1);
  return product;
}

TEST(Writer, EveryVersionHoldsTogether) {
  for (const auto version : kJtVersions) {
    for (const bool big : {false, true}) {
      for (const bool stored : {false, true}) {
        SCOPED_TRACE(Options{.version = version}.versionText());
        const Bytes bytes =
            writeJtBytes(everything(), {.version = version, .big_endian = big, .stored_segments = stored});
        const FileSummary summary = verifyFile(bytes);
        EXPECT_THAT(summary.problems, IsEmpty());
        EXPECT_EQ(summary.version, Options{.version = version}.versionText());
        EXPECT_EQ(summary.segments.at(1), 1U);
        EXPECT_EQ(summary.segments.at(7), 2U);
        EXPECT_EQ(summary.segments.at(8), 2U);
        EXPECT_EQ(summary.late_loaded, 4U);
        EXPECT_EQ(summary.elements.at("10dd102a"), 2U);  // instances
        EXPECT_EQ(summary.elements.at("ce357244"), 2U);  // parts
        EXPECT_EQ(summary.elements.at("ce357245"), 2U);  // assemblies
      }
    }
  }
}

TEST(Verifier, SeesDamage) {
  const Bytes good = writeJtBytes(everything(), {.stored_segments = true});
  ASSERT_THAT(verifyFile(good).problems, IsEmpty());
  std::size_t seen = 0;
  for (const std::size_t at : {std::size_t{81}, std::size_t{85}, std::size_t{89}, std::size_t{105},
                               good.size() - 1, good.size() - 5, good.size() - 9}) {
    Bytes bad = good;
    bad[at] ^= 1;
    if (!verifyFile(bad).problems.empty()) ++seen;
  }
  EXPECT_EQ(seen, 7U);
  Bytes longer = good;
  longer.push_back(0);
  EXPECT_FALSE(verifyFile(longer).problems.empty());
  EXPECT_FALSE(verifyFile(std::span(good).first(60)).problems.empty());
}

TEST(Writer, EqualInputGivesEqualBytes) {
  for (const auto version : kJtVersions) {
    EXPECT_EQ(writeJtBytes(everything(), {.version = version}),
              writeJtBytes(everything(), {.version = version}));
  }
}

TEST(Writer, FilesWrittenInPiecesEqualThoseInMemory) {
  const fs::path folder = fs::path(testing::TempDir()) / "loftbay_maker";
  fs::remove_all(folder);
  const Product product = manyParts(60, 50);
  for (const auto version : {JtVersion::V8_1, JtVersion::V10_0}) {
    const Options options{.version = version};
    writeJtFile(product, options, folder / "many_parts.jt");
    EXPECT_EQ(fileBytes(folder / "many_parts.jt"), writeJtBytes(product, options));
  }
  fs::remove_all(folder);
}

TEST(Writer, ExactGeometryHasASegmentPerPart) {
  for (const auto version : kJtVersions) {
    for (const bool big : {false, true}) {
      SCOPED_TRACE(Options{.version = version}.versionText());
      const FileSummary summary =
          verifyFile(writeJtBytes(flangeJoint(), {.version = version, .big_endian = big}));
      EXPECT_THAT(summary.problems, IsEmpty());
      EXPECT_EQ(summary.segments.at(17), 2U);
      EXPECT_EQ(summary.late_loaded, 2U);
      EXPECT_FALSE(summary.segments.contains(7));
    }
  }
}

TEST(Writer, ExternalPartsAreFilesInAFolderNamedLikeTheProduct) {
  const auto files = writeJt(everything(), {.external_parts = true});
  ASSERT_EQ(files.size(), 3U);
  EXPECT_EQ(files[0].name, "everything.jt");
  EXPECT_EQ(files[1].name, "everything/shapes.jt");
  EXPECT_EQ(files[2].name, "everything/part.jt");
  for (const auto& file : files) EXPECT_THAT(verifyFile(file.bytes).problems, IsEmpty()) << file.name;
  const FileSummary main = verifyFile(files[0].bytes);
  EXPECT_EQ(main.late_loaded, 0U);
  EXPECT_EQ(main.elements.at("10dd103e"), 3U);  // the root and two references
}

TEST(Writer, ExternalNamesDifferWithoutRegardToCase) {
  Product product;
  product.name = "twins";
  product.parts = {{"Bolt", "", std::nullopt, {}, {}}, {"bolt", "", std::nullopt, {}, {}}};
  product.assemblies.push_back({"twins",
                                "",
                                std::nullopt,
                                {{partRef(0), "", std::nullopt, std::nullopt, true},
                                 {partRef(1), "", std::nullopt, std::nullopt, true}}});
  product.root = assemblyRef(0);
  const auto files = writeJt(product, {.external_parts = true});
  EXPECT_EQ(files[1].name, "twins/Bolt.jt");
  EXPECT_EQ(files[2].name, "twins/bolt_2.jt");
}

TEST(Samples, CommittedFilesAreWhatTheMakerWrites) {
  const char* source = std::getenv("LOFTBAY_SOURCE_DIR");
  if (source == nullptr) GTEST_SKIP() << "LOFTBAY_SOURCE_DIR is not set";
  for (const auto& sample : sampleFiles()) {
    SCOPED_TRACE(sample.name);
    const Bytes committed = fileBytes(fs::path(source) / "samples" / sample.name);
    EXPECT_LT(committed.size(), 300'000U);
    EXPECT_TRUE(committed == writeJtBytes(sample.product, sample.options, sample.name)) << "run make_samples";
    EXPECT_THAT(verifyFile(committed).problems, IsEmpty());
  }
}

}  // namespace
}  // namespace loftbay::maker::test
