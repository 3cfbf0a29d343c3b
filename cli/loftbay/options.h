// The table of loftbay's options, and how the values of those that are no plain texts are read.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "cli/option.h"

namespace loftbay::cli {

const Program& loftbayProgram();
const Command& convertInTable();
const Command& infoInTable();

// A finite number that a float can hold.
std::optional<float> lengthIn(std::string_view text);
// "finest", "coarsest" or a number.
std::optional<std::uint32_t> levelIn(std::string_view text);
// Whole milliseconds out of seconds, at least one, at most some years.
std::optional<std::chrono::milliseconds> timeIn(std::string_view text);
// A whole number from 1, with K, M or G behind it for the first three powers of 1000.
std::optional<std::uint64_t> countIn(std::string_view text);
// The same with the powers of 1024.
std::optional<std::uint64_t> bytesIn(std::string_view text);
// The name itself where its extension is one that is written.
std::optional<std::string_view> pictureNameIn(std::string_view text);
std::optional<std::string_view> exportNameIn(std::string_view text);
// A whole number from 1.
std::optional<std::size_t> jobsIn(std::string_view text);

}  // namespace loftbay::cli
