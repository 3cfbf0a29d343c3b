#include "samples/maker/hash.h"

#include <cstddef>

namespace loftbay::maker {
namespace {

struct State {
  std::uint32_t a = 0x9e3779b9;
  std::uint32_t b = 0x9e3779b9;
  std::uint32_t c = 0;

  void mix() {
    a = (a - b - c) ^ (c >> 13);
    b = (b - c - a) ^ (a << 8);
    c = (c - a - b) ^ (b >> 13);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 16);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 3);
    b = (b - c - a) ^ (a << 10);
    c = (c - a - b) ^ (b >> 15);
  }
};

template <typename Word>
std::uint32_t hashAny(std::span<const Word> words, std::uint32_t seed) {
  const auto word = [&](std::size_t i) { return static_cast<std::uint32_t>(words[i]); };
  State s;
  s.c = seed;
  std::size_t i = 0;
  for (; i + 3 <= words.size(); i += 3) {
    s.a += word(i);
    s.b += word(i + 1);
    s.c += word(i + 2);
    s.mix();
  }
  s.c += static_cast<std::uint32_t>(words.size());
  if (i < words.size()) s.a += word(i);
  if (i + 1 < words.size()) s.b += word(i + 1);
  s.mix();
  return s.c;
}

}  // namespace

std::uint32_t hashWords(std::span<const std::uint32_t> words, std::uint32_t seed) {
  return hashAny(words, seed);
}
std::uint32_t hashWords(std::span<const std::int32_t> words, std::uint32_t seed) {
  return hashAny(words, seed);
}

std::uint32_t hashHalves(std::span<const std::int32_t> values, std::uint32_t seed) {
  const auto half = [&](std::size_t i) {
    return i < values.size() ? static_cast<std::uint32_t>(values[i]) & 0xffffU : 0U;
  };
  State s;
  s.c = seed;
  std::size_t i = 0;
  for (; i + 6 <= values.size(); i += 6) {
    s.a += half(i) + (half(i + 1) << 16);
    s.b += half(i + 2) + (half(i + 3) << 16);
    s.c += half(i + 4) + (half(i + 5) << 16);
    s.mix();
  }
  // The lowest half of c holds the number of items, so a fifth item goes to its upper half.
  s.c += static_cast<std::uint32_t>(values.size());
  s.a += half(i) + (half(i + 1) << 16);
  s.b += half(i + 2) + (half(i + 3) << 16);
  s.c += half(i + 4) << 16;
  s.mix();
  return s.c;
}

}  // namespace loftbay::maker
