// Counts the bytes that decoders ask for, so that what a file may cost is bounded by a number that the user
// can set and not by the machine: equal input gives equal results everywhere. Take the bytes of an array
// before making it; give them back when it is freed.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "jttk/file/error.h"

namespace jttk {

class MemoryBudget {
 public:
  static constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

  explicit MemoryBudget(std::uint64_t limit_bytes = kUnlimited) noexcept : limit_(limit_bytes) {}

  // Takes what `count` things of `size` bytes each need. Fails, and takes nothing, where that is more than is
  // left; `offset` goes into the message.
  Result<void> take(std::uint64_t count, std::uint64_t size, std::uint64_t offset,
                    CheckPlace check = CheckPlace::current()) {
    if (takeIfLeft(count, size)) return {};
    return fail(tooMuch(), offset, check);
  }
  // The same for memory that no byte of the file asks for.
  Result<void> take(std::uint64_t count, std::uint64_t size, CheckPlace check = CheckPlace::current()) {
    if (takeIfLeft(count, size)) return {};
    return fail(tooMuch(), check);
  }
  // Gives back what was taken since `earlier` (a value of taken()), except for `kept` bytes.
  void giveBackTo(std::uint64_t earlier, std::uint64_t kept = 0) noexcept {
    const std::uint64_t since = taken_ > earlier ? taken_ - earlier : 0;
    taken_ -= since > kept ? since - kept : 0;
  }
  void giveBack(std::uint64_t bytes) noexcept { taken_ -= bytes < taken_ ? bytes : taken_; }

  [[nodiscard]] std::uint64_t taken() const noexcept { return taken_; }
  // All that was ever taken: a measure of the work that was done with it.
  [[nodiscard]] std::uint64_t asked() const noexcept { return asked_; }
  [[nodiscard]] std::uint64_t limit() const noexcept { return limit_; }
  void setLimit(std::uint64_t limit_bytes) noexcept { limit_ = limit_bytes; }

 private:
  bool takeIfLeft(std::uint64_t count, std::uint64_t size) noexcept {
    const std::uint64_t left = limit_ > taken_ ? limit_ - taken_ : 0;
    if (size != 0 && count > left / size) return false;
    taken_ += count * size;
    asked_ += count * size;
    return true;
  }
  [[nodiscard]] std::string tooMuch() const {
    return "more memory is asked for than the limit of " + std::to_string(limit_) +
           " bytes leaves (--max-memory)";
  }

  std::uint64_t limit_;
  std::uint64_t taken_ = 0;
  std::uint64_t asked_ = 0;
};

// On destruction gives back all that was taken since construction, except for the capacity of `kept`.
template <typename Values>
class TemporaryMemory {
 public:
  TemporaryMemory(MemoryBudget& budget, const Values& kept) noexcept
      : budget_(budget), kept_(kept), before_(budget.taken()) {}
  ~TemporaryMemory() {
    budget_.giveBackTo(before_, std::uint64_t{kept_.capacity()} * sizeof(typename Values::value_type));
  }
  TemporaryMemory(const TemporaryMemory&) = delete;
  TemporaryMemory& operator=(const TemporaryMemory&) = delete;

 private:
  MemoryBudget& budget_;
  const Values& kept_;
  std::uint64_t before_;
};

}  // namespace jttk
