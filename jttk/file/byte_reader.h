// Reads typed values out of a bounded view of bytes. A read past the end sets a sticky failure that keeps
// the offset and the name of what was being read, and gives zeros from then on; callers read a group of
// fields and ask ok() once, before they act on any of them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "jttk/file/error.h"
#include "jttk/file/guid.h"

namespace jttk {

enum class ByteOrder : std::uint8_t { Little = 0, Big = 1 };

// The name of a field in messages, a string literal; in debug builds also where it is read.
struct FieldName {
  // NOLINTNEXTLINE(google-explicit-constructor): so that readers of fields just name them
  constexpr FieldName(const char* name, CheckPlace read_at = CheckPlace::current()) noexcept
      : text(name), check(read_at) {}
  const char* text;
  [[no_unique_address]] CheckPlace check;
};

class ByteReader {
 public:
  // `base_offset` is where the view starts in its file or unpacked segment; offsets in errors count from it.
  explicit ByteReader(std::span<const std::byte> bytes, ByteOrder order = ByteOrder::Little,
                      std::uint64_t base_offset = 0)
      : bytes_(bytes), order_(order), base_offset_(base_offset) {}

  std::uint8_t u8(FieldName what) { return read<std::uint8_t>(what); }
  std::uint16_t u16(FieldName what) { return read<std::uint16_t>(what); }
  std::uint32_t u32(FieldName what) { return read<std::uint32_t>(what); }
  std::uint64_t u64(FieldName what) { return read<std::uint64_t>(what); }
  std::int16_t i16(FieldName what) { return static_cast<std::int16_t>(u16(what)); }
  std::int32_t i32(FieldName what) { return static_cast<std::int32_t>(u32(what)); }
  float f32(FieldName what) { return std::bit_cast<float>(u32(what)); }
  double f64(FieldName what) { return std::bit_cast<double>(u64(what)); }
  Guid guid(FieldName what);
  // I32 count, then that many UTF-16 units; trailing NULs removed, converted to UTF-8 (an unpaired surrogate
  // becomes U+FFFD).
  std::string mbString(FieldName what);

  // A count of things that take at least `minimum_size` bytes each. Negative counts and counts that do not
  // fit into what is left are failures and give 0.
  std::uint32_t count(FieldName what, std::size_t minimum_size);
  // A count of things that may take no bytes of their own. Only negative ones are failures: before anything
  // is allocated for them, the caller checks the number against a limit.
  std::uint32_t count(FieldName what) { return count(what, 0); }

  // The next `size` bytes as a view; empty on failure.
  std::span<const std::byte> take(std::size_t size, FieldName what);
  void skip(std::size_t size, FieldName what) { (void)take(size, what); }
  // A reader over the next `size` bytes; this reader skips them.
  ByteReader sub(std::size_t size, FieldName what);

  [[nodiscard]] std::size_t remaining() const noexcept { return bytes_.size() - position_; }
  [[nodiscard]] std::uint64_t offset() const noexcept { return base_offset_ + position_; }
  [[nodiscard]] ByteOrder order() const noexcept { return order_; }
  [[nodiscard]] bool ok() const noexcept { return failed_what_ == nullptr; }
  // The first failure. Only when !ok().
  [[nodiscard]] Error error() const;
  [[nodiscard]] tl::unexpected<Error> unexpected() const { return tl::unexpected<Error>(error()); }
  // Lets the caller fail the reader because a value is not legal. `reason` is a string literal too.
  void setFailed(FieldName what, const char* reason) noexcept;

 private:
  template <typename T>
  T read(FieldName what) {
    if (sizeof(T) > remaining() || !ok()) {
      setFailed(what, "ends too early");
      return T{};
    }
    T value;
    std::memcpy(&value, bytes_.data() + position_, sizeof(T));
    position_ += sizeof(T);
    if (order_ == ByteOrder::Big) value = swapped(value);
    return value;
  }
  static std::uint8_t swapped(std::uint8_t v) { return v; }
  static std::uint16_t swapped(std::uint16_t v) { return static_cast<std::uint16_t>((v >> 8) | (v << 8)); }
  static std::uint32_t swapped(std::uint32_t v) {
    return (std::uint32_t{swapped(static_cast<std::uint16_t>(v))} << 16) |
           swapped(static_cast<std::uint16_t>(v >> 16));
  }
  static std::uint64_t swapped(std::uint64_t v) {
    return (std::uint64_t{swapped(static_cast<std::uint32_t>(v))} << 32) |
           swapped(static_cast<std::uint32_t>(v >> 32));
  }
  static_assert(std::endian::native == std::endian::little, "hosts are little-endian");

  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
  ByteOrder order_;
  std::uint64_t base_offset_;
  const char* failed_what_ = nullptr;
  const char* failed_reason_ = nullptr;
  std::uint64_t failed_offset_ = 0;
  [[no_unique_address]] CheckPlace failed_check_;
};

}  // namespace jttk
