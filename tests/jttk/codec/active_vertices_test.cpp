// The choice of the next vertex against the rule written down as it reads.
#include "jttk/codec/v9/active_vertices.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace {

using jttk::ActiveVertices;

// Looks at the whole window each time, and takes finished vertices out of it.
class LiteralList {
 public:
  std::vector<std::uint32_t> vertices;

  std::uint32_t next(const std::vector<std::uint32_t>& empty_slots) {
    std::uint32_t best = ActiveVertices::kNone;
    std::uint32_t fewest = ActiveVertices::kFinished;
    for (std::size_t i = vertices.size(); i > 0 && i + ActiveVertices::kWindow > vertices.size(); --i) {
      const std::uint32_t vertex = vertices[i - 1];
      if (empty_slots[vertex] == ActiveVertices::kFinished) {
        vertices.erase(vertices.begin() + static_cast<std::ptrdiff_t>(i - 1));
      } else if (empty_slots[vertex] < fewest) {
        best = vertex;
        fewest = empty_slots[vertex];
      }
    }
    return best;
  }
};

// One run: while a vertex is finished, new ones come and open ones lose slots.
void expectSameAsLiteral(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
  const std::uint32_t new_at_once = 1 + below(40);
  std::vector<std::uint32_t> empty_slots;
  std::set<std::uint32_t> open;
  ActiveVertices active;
  LiteralList literal;
  const auto add = [&] {
    const auto vertex = static_cast<std::uint32_t>(empty_slots.size());
    empty_slots.push_back(below(8));
    open.insert(vertex);
    active.add(vertex);
    literal.vertices.push_back(vertex);
  };
  for (std::uint32_t i = below(40); i > 0; --i) add();
  for (int step = 0;; ++step) {
    const std::uint32_t vertex = active.next([&](std::uint32_t v) { return empty_slots[v]; });
    ASSERT_EQ(vertex, literal.next(empty_slots)) << step;
    ASSERT_EQ(active.size(), literal.vertices.size()) << step;
    for (std::size_t offset = 1; offset <= active.size(); ++offset)
      ASSERT_EQ(active.back(offset), literal.vertices[literal.vertices.size() - offset]) << step;
    if (vertex == ActiveVertices::kNone) break;
    for (const std::uint32_t other : open) {
      if (empty_slots[other] > 0 && below(4) == 0) --empty_slots[other];
    }
    if (step < 200 && below(3) == 0) {
      for (std::uint32_t i = below(new_at_once); i > 0; --i) add();
    }
    empty_slots[vertex] = ActiveVertices::kFinished;
    open.erase(vertex);
  }
  EXPECT_TRUE(open.empty());
}

TEST(ActiveVertices, AreChosenAndKeptAsTheRuleSays) {
  for (unsigned seed = 0; seed < 300; ++seed) expectSameAsLiteral(seed);
}

TEST(ActiveVertices, OfEqualsTheLatestComesFirst) {
  ActiveVertices active;
  const auto oneSlot = [](std::uint32_t) { return 1U; };
  for (std::uint32_t vertex = 0; vertex < 20; ++vertex) active.add(vertex);
  EXPECT_EQ(active.next(oneSlot), 19U);
  EXPECT_EQ(active.next(oneSlot), 18U);
  EXPECT_EQ(active.size(), 19U);
}

}  // namespace
