// Small meshes whose symbols can be followed on paper.
#include "jttk/codec/v9/topology.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "samples/maker/pieces/shapes.h"
#include "tests/jttk/support/from_maker.h"

namespace {

using jttk::ByteReader;
using jttk::Topology;
using jttk::TopologySymbols;
using jttk::from_maker::formOf;
using jttk::from_maker::symbolsOf;
using loftbay::maker::pieces::bowTieSymbols;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::cubeSymbols;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::polygonSymbols;
using loftbay::maker::pieces::tetrahedronSymbols;
using loftbay::maker::pieces::topologyBytes;
using loftbay::maker::pieces::triangleSymbols;
using ::testing::HasSubstr;
using Polygon = std::vector<std::uint32_t>;

jttk::Result<Topology> decode(const TopologySymbols& symbols) {
  return jttk::decodeTopology(symbols, formOf(PacketForm::V9), 0);
}

std::string errorOf(const TopologySymbols& symbols) {
  const auto mesh = decode(symbols);
  return mesh ? "decoded" : mesh.error().what;
}

// The polygons, each beginning with its smallest vertex.
std::vector<Polygon> polygonsOf(const Topology& mesh) {
  std::vector<Polygon> polygons;
  for (std::size_t i = 0; i + 1 < mesh.polygon_starts.size(); ++i) {
    Polygon polygon(mesh.corner_vertices.begin() + mesh.polygon_starts[i],
                    mesh.corner_vertices.begin() + mesh.polygon_starts[i + 1]);
    std::rotate(polygon.begin(), std::min_element(polygon.begin(), polygon.end()), polygon.end());
    polygons.push_back(polygon);
  }
  return polygons;
}

// A closed surface goes along every edge once in each direction.
void expectClosed(const Topology& mesh) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
  for (const Polygon& polygon : polygonsOf(mesh)) {
    for (std::size_t i = 0; i < polygon.size(); ++i) ++edges[{polygon[i], polygon[(i + 1) % polygon.size()]}];
  }
  for (const auto& [edge, times] : edges) {
    EXPECT_EQ(times, 1);
    EXPECT_TRUE(edges.contains({edge.second, edge.first}));
  }
}

TEST(Topology, Tetrahedron) {
  const auto mesh = decode(symbolsOf(tetrahedronSymbols(1)));
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->vertices, 4U);
  EXPECT_EQ(mesh->components, 1U);
  EXPECT_EQ(mesh->covers, 0U);
  // The first triangle makes 0, 1, 2; vertex 2 is finished first: the triangle across its edge to 1 makes 3.
  EXPECT_THAT(polygonsOf(*mesh),
              ::testing::ElementsAre(Polygon{0, 1, 2}, Polygon{1, 3, 2}, Polygon{0, 2, 3}, Polygon{0, 3, 1}));
  expectClosed(*mesh);
}

TEST(Topology, Cube) {
  const auto mesh = decode(symbolsOf(cubeSymbols(7)));
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->vertices, 8U);
  EXPECT_EQ(polygonsOf(*mesh).size(), 6U);
  for (const Polygon& polygon : polygonsOf(*mesh)) EXPECT_EQ(polygon.size(), 4U);
  expectClosed(*mesh);
}

TEST(Topology, CoversAreDropped) {
  const auto mesh = decode(symbolsOf(triangleSymbols()));
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->covers, 1U);
  EXPECT_THAT(polygonsOf(*mesh), ::testing::ElementsAre(Polygon{0, 1, 2}));
}

TEST(Topology, ASplitGoesBackToAnOpenVertex) {
  const auto mesh = decode(symbolsOf(bowTieSymbols()));
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->vertices, 5U);
  // The cover goes 0, 1, 2, back to 0, 3, 4; the triangles run along its edges in the other direction.
  EXPECT_THAT(polygonsOf(*mesh), ::testing::UnorderedElementsAre(Polygon{0, 2, 1}, Polygon{0, 4, 3}));
}

TEST(Topology, TwoComponents) {
  TopologySymbols symbols = symbolsOf(triangleSymbols());
  const auto twice = [](auto& values) { values.insert(values.end(), values.begin(), values.end()); };
  // Reserved first: inserting a vector into itself must not move it.
  for (auto* values : {&symbols.degrees[0], &symbols.degrees[1], &symbols.valences, &symbols.groups,
                       &symbols.flags, &symbols.masks[0]}) {
    values->reserve(values->size() * 2);
    twice(*values);
  }
  const auto mesh = decode(symbols);
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->components, 2U);
  EXPECT_THAT(polygonsOf(*mesh), ::testing::ElementsAre(Polygon{0, 1, 2}, Polygon{3, 4, 5}));
}

TEST(Topology, EveryMaskBitBeginsARecord) {
  // One record per corner: all different.
  const auto corners = decode(symbolsOf(tetrahedronSymbols(7)));
  EXPECT_EQ(corners->records, 12U);
  EXPECT_EQ(std::set<std::uint32_t>(corners->corner_records.begin(), corners->corner_records.end()).size(),
            12U);
  // One record per vertex: the vertex's number.
  const auto vertices = decode(symbolsOf(tetrahedronSymbols(1)));
  EXPECT_EQ(vertices->records, 4U);
  EXPECT_EQ(vertices->corner_records, vertices->corner_vertices);
}

TEST(Topology, SlotsBeforeTheFirstBitBelongToTheLastRecord) {
  // Bits 1 and 2 of three slots: slot 0 wraps round to the record that begins at slot 2.
  const auto mesh = decode(symbolsOf(tetrahedronSymbols(6)));
  ASSERT_TRUE(mesh.has_value());
  EXPECT_EQ(mesh->records, 8U);
  // The first polygon sits in slot 0 of its three vertices, whose records are 0-1, 2-3, 4-5.
  EXPECT_EQ(mesh->corner_records[0], 1U);
  EXPECT_EQ(mesh->corner_records[1], 3U);
  EXPECT_EQ(mesh->corner_records[2], 5U);
}

TEST(Topology, WithoutMaskBitsThereAreNoRecords) {
  const auto mesh = decode(symbolsOf(tetrahedronSymbols(0)));
  ASSERT_TRUE(mesh.has_value());
  EXPECT_EQ(mesh->records, 0U);
  for (const std::uint32_t record : mesh->corner_records) EXPECT_EQ(record, jttk::kNoTopologyRecord);
}

// A cone: the base is a cover of `rim` corners, read first, so its vertices ask context 7; the first triangle
// sees two rim vertices of degree 3, which is less than regular, and asks context 0 for the tip.
TopologySymbols coneSymbols(std::int32_t rim) {
  const auto count = static_cast<std::size_t>(rim);
  TopologySymbols symbols;
  symbols.degrees[7].assign(count, 3);
  symbols.degrees[0] = {rim};
  symbols.valences.assign(count + 1, 3);
  symbols.valences[0] = rim;
  symbols.groups.assign(count + 1, 0);
  symbols.flags.assign(count + 1, 0);
  symbols.flags[0] = 1;
  symbols.masks[1].assign(count, 1);
  return symbols;
}

TEST(Topology, ADegreeAbove64TakesItsMaskFromTheWideWords) {
  TopologySymbols symbols = coneSymbols(70);
  // Bits 0 and 69 of the tip.
  symbols.wide_mask_words = {1, 0, 0x20};
  const auto mesh = decode(symbols);
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(polygonsOf(*mesh).size(), 70U);
  EXPECT_EQ(mesh->records, 70U + 2U);
  // The tip is the last vertex: 69 of its corners have its first record, one its second.
  EXPECT_EQ(std::count(mesh->corner_records.begin(), mesh->corner_records.end(), 70U), 69);
  EXPECT_EQ(std::count(mesh->corner_records.begin(), mesh->corner_records.end(), 71U), 1);
  symbols.wide_mask_words.pop_back();
  const auto short_of_masks = decode(symbols);
  ASSERT_TRUE(short_of_masks.has_value()) << short_of_masks.error().text();
  EXPECT_FALSE(short_of_masks->records_fit);
  EXPECT_EQ(short_of_masks->corner_vertices, mesh->corner_vertices);
}

TEST(Topology, MasksOfDegreesAbove8AreJoinedFromTheirParts) {
  // JT 9: 30 + 30 + 4 bits. Bits 0, 30 and 60 of a tip of degree 61.
  TopologySymbols symbols = coneSymbols(61);
  symbols.masks[7] = {1};
  symbols.upper_masks = {1};
  symbols.top_masks = {1};
  const auto nine = jttk::decodeTopology(symbols, formOf(PacketForm::V9), 0);
  ASSERT_TRUE(nine.has_value()) << nine.error().text();
  EXPECT_EQ(nine->records, 61U + 3U);
  EXPECT_EQ(std::count(nine->corner_records.begin(), nine->corner_records.end(), 61U), 30);
  EXPECT_EQ(std::count(nine->corner_records.begin(), nine->corner_records.end(), 63U), 1);
  // JT 10: 32 + 32 bits. Bits 0 and 32.
  symbols.top_masks.clear();
  const auto ten = jttk::decodeTopology(symbols, formOf(PacketForm::V10), 0);
  ASSERT_TRUE(ten.has_value()) << ten.error().text();
  EXPECT_EQ(std::count(ten->corner_records.begin(), ten->corner_records.end(), 61U), 32);
  // Left out, the upper bits are 0.
  symbols.upper_masks.clear();
  const auto short_mask = jttk::decodeTopology(symbols, formOf(PacketForm::V10), 0);
  ASSERT_TRUE(short_mask.has_value()) << short_mask.error().text();
  EXPECT_TRUE(short_mask->records_fit);
  EXPECT_EQ(short_mask->records, 61U + 1U);
}

// Masks say which attributes a corner has. The mesh does not need them.
TEST(Topology, MasksThatDoNotFitCostTheRecordsOnly) {
  const auto whole = decode(symbolsOf(tetrahedronSymbols(1)));
  for (const bool too_many : {false, true}) {
    TopologySymbols symbols = symbolsOf(tetrahedronSymbols(1));
    too_many ? symbols.masks[1].push_back(1) : symbols.masks[1].pop_back();
    const auto mesh = decode(symbols);
    ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
    EXPECT_FALSE(mesh->records_fit);
    EXPECT_EQ(mesh->corner_vertices, whole->corner_vertices);
  }
}

TEST(Topology, WithoutFlagsNoPolygonIsACover) {
  TopologySymbols symbols = symbolsOf(tetrahedronSymbols(1));
  symbols.flags.clear();
  const auto mesh = decode(symbols);
  ASSERT_TRUE(mesh.has_value()) << mesh.error().text();
  EXPECT_EQ(mesh->covers, 0U);
  EXPECT_EQ(polygonsOf(*mesh).size(), 4U);
}

TEST(Topology, RefusesArraysThatDoNotFit) {
  const auto with = [](auto change) {
    TopologySymbols symbols = symbolsOf(tetrahedronSymbols(1));
    change(symbols);
    return errorOf(symbols);
  };
  EXPECT_THAT(with([](auto& s) { s.valences[1] = 0; }), HasSubstr("without corners"));
  EXPECT_THAT(with([](auto& s) { s.valences[1] = -3; }), HasSubstr("without corners"));
  EXPECT_THAT(with([](auto& s) { s.degrees[0][1] = -3; }), HasSubstr("negative degree"));
  EXPECT_THAT(with([](auto& s) { s.degrees[0][1] = 4; }), HasSubstr("do not add up"));
  EXPECT_THAT(with([](auto& s) { s.flags.pop_back(); }), HasSubstr("one flag per polygon"));
  EXPECT_THAT(with([](auto& s) { s.split_offsets.push_back(1); }), HasSubstr("one position per split"));
  EXPECT_THAT(with([](auto& s) {
                s.split_offsets.push_back(1);
                s.split_positions.push_back(1);
              }),
              HasSubstr("splits are left over"));
  EXPECT_THAT(with([](auto& s) { s.degrees[0] = {2, 3, 4}; }), ::testing::Not(HasSubstr("decoded")));
  EXPECT_THAT(with([](auto& s) { std::swap(s.degrees[0], s.degrees[2]); }), HasSubstr("too few degrees"));
}

TEST(Topology, RefusesSplitsToNowhere) {
  const auto with = [](std::int32_t offset, std::int32_t position) {
    TopologySymbols symbols = symbolsOf(bowTieSymbols());
    symbols.split_offsets = {offset};
    symbols.split_positions = {position};
    return errorOf(symbols);
  };
  EXPECT_THAT(with(0, 2), HasSubstr("not open"));
  EXPECT_THAT(with(4, 2), HasSubstr("not open"));
  EXPECT_THAT(with(-1, 2), HasSubstr("not open"));
  EXPECT_THAT(with(3, 4), HasSubstr("slot that the vertex does not have"));
  EXPECT_THAT(with(3, -1), HasSubstr("slot that the vertex does not have"));
  EXPECT_THAT(with(3, 0), HasSubstr("taken"));
}

TEST(Topology, MoreCornersThanAShapeMayHaveAreRefusedBeforeAllocating) {
  TopologySymbols symbols;
  symbols.valences.assign(100, 0x7fffffff);
  symbols.flags.assign(100, 0);
  symbols.degrees[0].assign(100, 0x7fffffff);
  EXPECT_THAT(errorOf(symbols), HasSubstr("more corners"));
}

TEST(TopologySymbols, AreReadInFileOrderAndCheckedAgainstTheirHash) {
  for (const PacketForm form : {PacketForm::V9, PacketForm::V10}) {
    Bytes bytes = topologyBytes(bowTieSymbols(), form);
    ByteReader reader(bytes);
    jttk::PacketReader packets(formOf(form));
    const auto symbols = jttk::readTopologySymbols(reader, packets);
    ASSERT_TRUE(symbols.has_value()) << symbols.error().text();
    EXPECT_EQ(reader.remaining(), 0U);
    EXPECT_EQ(symbols->degrees[7], bowTieSymbols().degrees[7]);
    EXPECT_EQ(symbols->masks[2], bowTieSymbols().masks[2]);
    EXPECT_EQ(symbols->split_positions, bowTieSymbols().split_positions);

    bytes.back() ^= std::byte{1};
    ByteReader damaged(bytes);
    EXPECT_TRUE(symbols->hash_agrees);
    const auto doubtful = jttk::readTopologySymbols(damaged, packets);
    ASSERT_TRUE(doubtful.has_value()) << doubtful.error().text();
    EXPECT_FALSE(doubtful->hash_agrees);
    EXPECT_EQ(doubtful->hash_offset, bytes.size() - 4);
  }
}

TEST(Topology, WithoutFlagsTheGroupsTellTheCovers) {
  TopologySymbols symbols = symbolsOf(bowTieSymbols());
  symbols.groups.assign(symbols.valences.size(), 3);
  for (std::size_t i = 0; i < symbols.flags.size(); ++i) {
    if (symbols.flags[i] != 0) symbols.groups[i] = -1;
  }
  const auto flagged = decode(symbols);
  symbols.flags.clear();
  const auto grouped = decode(symbols);
  ASSERT_TRUE(flagged.has_value() && grouped.has_value());
  EXPECT_EQ(flagged->covers, 1U);
  EXPECT_EQ(grouped->covers, 1U);
  EXPECT_EQ(grouped->corner_vertices, flagged->corner_vertices);
  // With flags, these decide.
  symbols.flags.assign(symbols.valences.size(), 0);
  EXPECT_EQ(decode(symbols)->covers, 0U);
}

TEST(Topology, MemoryIsTakenFromTheBudgetBeforeAllocating) {
  const TopologySymbols symbols = symbolsOf(polygonSymbols(1000));
  jttk::MemoryBudget enough(1 << 20);
  EXPECT_TRUE(jttk::decodeTopology(symbols, formOf(PacketForm::V9), 0, {5000, &enough}).has_value());
  EXPECT_GE(enough.taken(), 2000 * 16U);
  jttk::MemoryBudget little(20'000);
  const auto refused = jttk::decodeTopology(symbols, formOf(PacketForm::V9), 0, {5000, &little});
  ASSERT_FALSE(refused.has_value());
  EXPECT_THAT(refused.error().what, HasSubstr("more memory is asked for than the limit of 20000 bytes"));
  EXPECT_FALSE(jttk::decodeTopology(symbols, formOf(PacketForm::V9), 0, {1999, &enough}).has_value());
}

}  // namespace
