// The options that bound what a file may cost, which conversions and `loftbay info` share.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

namespace loftbay::cli {

// As the user wrote them; empty: not given.
struct LimitTexts {
  std::string places;
  std::string unpacked;
  std::string memory;
};

// None: the toolkit's own limit, which grows with the size of the files.
struct Limits {
  std::optional<std::uint64_t> places;
  std::optional<std::uint64_t> unpacked_bytes;
  std::optional<std::uint64_t> memory_bytes;
};

// Declares the options; `texts` must outlive the parsing.
void addLimits(CLI::App& app, LimitTexts& texts);

// Fills `limits` from what was given. Why that makes no sense; empty when it does.
[[nodiscard]] std::string readLimits(const CLI::App& app, const LimitTexts& texts, Limits& limits);

// Hands the limits to the toolkit, for the files that are loaded from here on.
void setLimits(const Limits& limits);

}  // namespace loftbay::cli
