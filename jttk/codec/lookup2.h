// The public-domain hash "lookup2" over arrays of words, as JT 9 and 10 use it to protect their arrays.
// Hashes are chained: the hash of one array is the seed of the next. An empty array changes the hash too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace jttk {

namespace detail {

struct Lookup2State {
  std::uint32_t a = 0x9e3779b9U;
  std::uint32_t b = 0x9e3779b9U;
  std::uint32_t c = 0;

  void mix() noexcept {
    a -= b, a -= c, a ^= c >> 13;
    b -= c, b -= a, b ^= a << 8;
    c -= a, c -= b, c ^= b >> 13;
    a -= b, a -= c, a ^= c >> 12;
    b -= c, b -= a, b ^= a << 16;
    c -= a, c -= b, c ^= b >> 5;
    a -= b, a -= c, a ^= c >> 3;
    b -= c, b -= a, b ^= a << 10;
    c -= a, c -= b, c ^= b >> 15;
  }
};

}  // namespace detail

// Each item is one 32-bit word. Word is std::uint32_t or std::int32_t.
template <typename Word>
std::uint32_t hash32(std::span<const Word> items, std::uint32_t seed) noexcept {
  static_assert(sizeof(Word) == 4);
  const auto item = [&](std::size_t i) { return static_cast<std::uint32_t>(items[i]); };
  detail::Lookup2State state;
  state.c = seed;
  std::size_t i = 0;
  for (; items.size() - i >= 3; i += 3) {
    state.a += item(i);
    state.b += item(i + 1);
    state.c += item(i + 2);
    state.mix();
  }
  state.c += static_cast<std::uint32_t>(items.size());
  if (items.size() - i > 1) state.b += item(i + 1);
  if (items.size() - i > 0) state.a += item(i);
  state.mix();
  return state.c;
}

inline std::uint32_t hash32(const std::vector<std::int32_t>& items, std::uint32_t seed) noexcept {
  return hash32(std::span<const std::int32_t>(items), seed);
}

// The lower halves of the items, packed two to a word, low half first.
inline std::uint32_t hash16(std::span<const std::int32_t> items, std::uint32_t seed) noexcept {
  const auto item = [&](std::size_t i) { return static_cast<std::uint32_t>(items[i]) & 0xffffU; };
  detail::Lookup2State state;
  state.c = seed;
  std::size_t i = 0;
  for (; items.size() - i >= 6; i += 6) {
    state.a += item(i) + (item(i + 1) << 16);
    state.b += item(i + 2) + (item(i + 3) << 16);
    state.c += item(i + 4) + (item(i + 5) << 16);
    state.mix();
  }
  state.c += static_cast<std::uint32_t>(items.size());
  const std::size_t rest = items.size() - i;
  // The lowest half of c holds the count, so a fifth item goes into its upper half.
  if (rest > 4) state.c += item(i + 4) << 16;
  if (rest > 3) state.b += item(i + 3) << 16;
  if (rest > 2) state.b += item(i + 2);
  if (rest > 1) state.a += item(i + 1) << 16;
  if (rest > 0) state.a += item(i);
  state.mix();
  return state.c;
}

}  // namespace jttk
