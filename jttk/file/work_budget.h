// What a whole conversion may cost: occurrences of nodes, unpacked bytes, work on exact geometry, memory. A
// few hostile bytes can demand more of each than any machine has, hence the limits. Limits count work and
// never time, and grow with the size of the files that were opened: equal input gives equal results
// everywhere, and a large model may cost more than a small file.
//
// One for all files of a model. One thread at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

namespace jttk {

// A limit: the user's number, else base + per_byte * size of all opened files, at most `most`.
struct WorkLimit {
  std::uint64_t base;
  std::uint64_t per_byte;
  std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  std::optional<std::uint64_t> given;

  [[nodiscard]] std::uint64_t of(std::uint64_t input_bytes) const noexcept {
    if (given) return *given;
    const std::uint64_t room = std::numeric_limits<std::uint64_t>::max() - base;
    if (per_byte != 0 && input_bytes > room / per_byte) return most;
    return std::min(most, base + per_byte * input_bytes);
  }
};

// What is left of one kind of work.
class Allowance {
 public:
  explicit Allowance(const WorkLimit& limit) noexcept : rule_(limit) { addInput(0); }

  void addInput(std::uint64_t bytes) noexcept {
    input_bytes_ += bytes;
    limit_ = rule_.of(input_bytes_);
  }
  // False, and nothing is taken, where there is not so much left.
  bool take(std::uint64_t amount) noexcept {
    if (amount > left()) return false;
    taken_ += amount;
    return true;
  }
  // For work already done: takes `amount`, or all that is left.
  void spend(std::uint64_t amount) noexcept { taken_ += std::min(amount, left()); }

  [[nodiscard]] std::uint64_t left() const noexcept { return limit_ > taken_ ? limit_ - taken_ : 0; }
  [[nodiscard]] std::uint64_t taken() const noexcept { return taken_; }
  [[nodiscard]] std::uint64_t limit() const noexcept { return limit_; }

 private:
  WorkLimit rule_;
  std::uint64_t input_bytes_ = 0;
  std::uint64_t limit_ = 0;
  std::uint64_t taken_ = 0;
};

struct WorkLimits {
  WorkLimit places;    // occurrences of nodes and shapes
  WorkLimit unpacked;  // bytes
  WorkLimit exact;     // evaluations of curves and surfaces, and what costs as much
  WorkLimit memory;    // bytes
};

class WorkBudget {
 public:
  // A place is one occurrence of a node. Small costs are counted in 64ths of it.
  static constexpr std::uint64_t kUnitsPerPlace = 64;

  explicit WorkBudget(const WorkLimits& limits) noexcept
      : places_(inUnits(limits.places)),
        contents_(inUnits(limits.places)),
        unpacked_(limits.unpacked),
        failed_(limits.unpacked),
        read_({limits.unpacked.base, limits.unpacked.per_byte, limits.unpacked.most, std::nullopt}),
        exact_(limits.exact),
        memory_(limits.memory) {}

  // A file was opened.
  void addInput(std::uint64_t bytes) noexcept {
    for (Allowance* allowance : {&places_, &contents_, &unpacked_, &failed_, &read_, &exact_, &memory_})
      allowance->addInput(bytes);
  }

  // Two allowances with the same limit, in units: nodes of the product tree, and contents (shapes with their
  // corners, and all names). They are separate so that many nodes cannot use up what the shapes of earlier
  // nodes need.
  [[nodiscard]] Allowance& places() noexcept { return places_; }
  [[nodiscard]] Allowance& contents() noexcept { return contents_; }
  [[nodiscard]] std::uint64_t placeLimit() const noexcept { return places_.limit() / kUnitsPerPlace; }
  [[nodiscard]] Allowance& exact() noexcept { return exact_; }
  // Only the limit: decoders count what they hold in a MemoryBudget.
  [[nodiscard]] std::uint64_t memoryLimit() const noexcept { return memory_.limit(); }

  // How much one stream may unpack to. Bytes from streams that fail are counted separately, so that a bad
  // stream does not use up the good ones' allowance.
  [[nodiscard]] std::uint64_t mayUnpack() const noexcept {
    return std::min(unpacked_.left(), failed_.left());
  }
  void unpacked(std::uint64_t bytes, bool failed) noexcept { (failed ? failed_ : unpacked_).spend(bytes); }
  // Bytes that segments are read from: a table of contents can list the same bytes again and again. By the
  // limit that holds without an option.
  bool read(std::uint64_t bytes) noexcept { return read_.take(bytes); }
  [[nodiscard]] std::uint64_t readLimit() const noexcept { return read_.limit(); }
  [[nodiscard]] std::uint64_t unpackedLimit() const noexcept { return unpacked_.limit(); }
  [[nodiscard]] std::uint64_t unpackedBytes() const noexcept { return unpacked_.taken() + failed_.taken(); }

 private:
  static WorkLimit inUnits(WorkLimit limit) noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max() / kUnitsPerPlace;
    limit.base *= kUnitsPerPlace;
    limit.per_byte *= kUnitsPerPlace;
    if (limit.given) limit.given = std::min(*limit.given, kMost) * kUnitsPerPlace;
    return limit;
  }

  Allowance places_;
  Allowance contents_;
  Allowance unpacked_;
  Allowance failed_;
  Allowance read_;
  Allowance exact_;
  Allowance memory_;
};

}  // namespace jttk
