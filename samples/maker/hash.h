// The check hash of mesh data: Bob Jenkins' public domain "lookup2" over 32-bit or 16-bit items, chained
// from array to array through the seed.
#pragma once

#include <cstdint>
#include <span>

namespace loftbay::maker {

std::uint32_t hashWords(std::span<const std::uint32_t> words, std::uint32_t seed);
std::uint32_t hashWords(std::span<const std::int32_t> words, std::uint32_t seed);
// Each value as a 16-bit item.
std::uint32_t hashHalves(std::span<const std::int32_t> values, std::uint32_t seed);

}  // namespace loftbay::maker
