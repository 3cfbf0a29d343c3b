#include "zix/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <vector>

#include "host/path.h"
#include "zix/output_file.h"

namespace Orb::Zix {

namespace {

using Bytes = std::span<const std::uint8_t>;

void putBigEndian(std::uint8_t* to, std::uint32_t value) {
  for (int k = 0; k < 4; ++k) to[k] = static_cast<std::uint8_t>(value >> (24 - 8 * k));
}

// The chunks of a PNG file; the pixels are deflated while they are handed over.
class PngFile {
 public:
  explicit PngFile(OutputFile& file) : file_(file) {
    if (deflateInit(&stream_, 6) != Z_OK) throw std::bad_alloc();
  }
  ~PngFile() { deflateEnd(&stream_); }
  PngFile(const PngFile&) = delete;
  PngFile& operator=(const PngFile&) = delete;

  std::optional<OutputFailure> begin(std::uint32_t width, std::uint32_t height, bool has_alpha) {
    constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (auto failure = file_.append(std::as_bytes(std::span(kSignature)))) return failure;
    std::array<std::uint8_t, 13> header{};
    putBigEndian(header.data(), width);
    putBigEndian(header.data() + 4, height);
    header[8] = 8;                  // bits of each colour
    header[9] = has_alpha ? 6 : 2;  // red, green, blue, with or without opacity
    return chunk("IHDR", header);
  }
  std::optional<OutputFailure> add(Bytes bytes) { return deflated(bytes, Z_NO_FLUSH); }
  std::optional<OutputFailure> end() {
    if (auto failure = deflated({}, Z_FINISH)) return failure;
    return chunk("IEND", {});
  }

 private:
  std::optional<OutputFailure> deflated(Bytes bytes, int flush) {
    stream_.next_in = const_cast<Bytef*>(bytes.data());  // zlib only reads it
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      stream_.next_out = buffer_.data();
      stream_.avail_out = static_cast<uInt>(buffer_.size());
      deflate(&stream_, flush);
      const std::size_t size = buffer_.size() - stream_.avail_out;
      if (size == 0) break;
      if (auto failure = chunk("IDAT", Bytes(buffer_).first(size))) return failure;
    } while (stream_.avail_out == 0);
    return std::nullopt;
  }

  std::optional<OutputFailure> chunk(std::string_view type, Bytes bytes) {
    std::array<std::uint8_t, 8> head{};
    putBigEndian(head.data(), static_cast<std::uint32_t>(bytes.size()));
    for (std::size_t k = 0; k < 4; ++k) head[4 + k] = static_cast<std::uint8_t>(type[k]);
    auto sum = crc32(0, &head[4], 4);
    if (!bytes.empty()) sum = crc32(sum, bytes.data(), static_cast<uInt>(bytes.size()));
    std::array<std::uint8_t, 4> tail{};
    putBigEndian(tail.data(), static_cast<std::uint32_t>(sum));
    if (auto failure = file_.append(std::as_bytes(std::span(head)))) return failure;
    if (auto failure = file_.append(std::as_bytes(bytes))) return failure;
    return file_.append(std::as_bytes(std::span(tail)));
  }

  OutputFile& file_;
  z_stream stream_{};
  std::vector<std::uint8_t> buffer_ = std::vector<std::uint8_t>(std::size_t{1} << 16);
};

// Each byte less the one of the pixel before it, or of the row above: whichever leaves the smaller values.
class RowFilter {
 public:
  RowFilter(std::size_t row_size, std::size_t pixel_size)
      : pixel_size_(pixel_size), above_(row_size), left_out_(row_size + 1), above_out_(row_size + 1) {
    left_out_[0] = 1;
    above_out_[0] = 2;
  }
  // With the filter's number in front.
  Bytes apply(const std::vector<std::uint8_t>& row) {
    std::uint64_t left_sum = 0;
    std::uint64_t above_sum = 0;
    const auto size = [](std::uint8_t value) { return std::min<std::uint32_t>(value, 256U - value); };
    for (std::size_t i = 0; i < row.size(); ++i) {
      left_out_[i + 1] = static_cast<std::uint8_t>(row[i] - (i < pixel_size_ ? 0 : row[i - pixel_size_]));
      above_out_[i + 1] = static_cast<std::uint8_t>(row[i] - above_[i]);
      left_sum += size(left_out_[i + 1]);
      above_sum += size(above_out_[i + 1]);
    }
    above_ = row;
    return left_sum < above_sum ? left_out_ : above_out_;
  }

 private:
  std::size_t pixel_size_;
  std::vector<std::uint8_t> above_;
  std::vector<std::uint8_t> left_out_;
  std::vector<std::uint8_t> above_out_;
};

std::optional<OutputFailure> write(OutputFile& file, std::uint32_t width, std::uint32_t height, Bytes rgb,
                                   Bytes alpha) {
  const std::size_t pixel_size = alpha.empty() ? 3 : 4;
  PngFile png(file);
  if (auto failure = png.begin(width, height, !alpha.empty())) return failure;
  std::vector<std::uint8_t> row(pixel_size * width);
  RowFilter filter(row.size(), pixel_size);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const std::size_t at = y * width + x;
      for (std::size_t k = 0; k < 3; ++k) row[pixel_size * x + k] = rgb[3 * at + k];
      if (!alpha.empty()) row[pixel_size * x + 3] = alpha[at];
    }
    if (auto failure = png.add(filter.apply(row))) return failure;
  }
  if (auto failure = png.end()) return failure;
  return file.commit();
}

}  // namespace

std::optional<std::string> writePng(std::string_view program_path, std::uint32_t width, std::uint32_t height,
                                    Bytes rgb, Bytes alpha) {
  const std::size_t pixels = std::size_t{width} * height;
  if (rgb.size() != 3 * pixels || (!alpha.empty() && alpha.size() != pixels))
    throw std::invalid_argument("pixels do not fill the picture");
  try {
    OutputFile file;
    auto failure = file.open(program_path);
    if (!failure) failure = write(file, width, height, rgb, alpha);
    return failure ? std::optional(failure->text()) : std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::string(loftbay::host::toHostPath(program_path)) +
           ": there is not enough memory for the picture";
  }
}

}  // namespace Orb::Zix
