// The scene goes through three stages, piece by piece: deflate, base64, the file. Base64 has no character
// that could end an element of the page, whatever the scene or the report hold.
#include "zix/export_html.h"

#include <zlib.h>

#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <vector>

#include "host/file.h"
#include "host/path.h"
#include "zix/output_file.h"

namespace Orb::Zix {

namespace {

namespace host = loftbay::host;

// Where the viewer's page takes data.
constexpr std::string_view kMark = "<!--zix-data-->";
// Of the viewer; anything larger is something else.
constexpr std::uint64_t kMostViewerBytes = std::uint64_t{16} << 20;

class Base64Writer {
 public:
  Base64Writer(OutputFile& file, std::optional<OutputFailure>& failure) : file_(file), failure_(failure) {}

  void add(std::span<const std::byte> bytes) {
    for (const std::byte byte : bytes) {
      held_ = held_ << 8 | std::to_integer<std::uint32_t>(byte);
      if (++count_ == 3) put(4);
    }
    if (text_.size() >= kFull) flush();
  }
  void finish() {
    const int rest = count_;
    if (rest != 0) {
      held_ <<= 8 * (3 - rest);
      put(rest + 1);
      text_.append(static_cast<std::size_t>(3 - rest), '=');
    }
    flush();
  }

 private:
  static constexpr std::size_t kFull = std::size_t{1} << 16;

  void put(int characters) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int i = 0; i < characters; ++i) text_ += kDigits[held_ >> (18 - 6 * i) & 63U];
    held_ = 0;
    count_ = 0;
  }
  void flush() {
    if (!failure_) failure_ = file_.append(text_);
    text_.clear();
  }

  OutputFile& file_;
  std::optional<OutputFailure>& failure_;
  std::string text_;
  std::uint32_t held_ = 0;
  int count_ = 0;
};

// A zlib stream.
class Deflater {
 public:
  explicit Deflater(Base64Writer& out) : out_(out) {
    if (deflateInit(&stream_, Z_DEFAULT_COMPRESSION) != Z_OK) throw std::bad_alloc();
  }
  ~Deflater() { deflateEnd(&stream_); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  // At most 4 GiB at a time.
  void add(std::span<const std::byte> bytes) {
    // zlib does not change its input, but its type says that it might.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
    stream_.avail_in = static_cast<uInt>(bytes.size());
    while (stream_.avail_in != 0) run(Z_NO_FLUSH);
  }
  void finish() {
    while (run(Z_FINISH) != Z_STREAM_END) {
    }
  }

 private:
  int run(int flush) {
    stream_.next_out = reinterpret_cast<Bytef*>(buffer_.data());
    stream_.avail_out = static_cast<uInt>(buffer_.size());
    const int result = deflate(&stream_, flush);
    if (result == Z_STREAM_ERROR) throw std::logic_error("zlib was used in a wrong way");
    out_.add(std::span(buffer_).first(buffer_.size() - stream_.avail_out));
    return result;
  }

  Base64Writer& out_;
  z_stream stream_{};
  std::vector<std::byte> buffer_ = std::vector<std::byte>(std::size_t{1} << 16);
};

class PageWriter {
 public:
  explicit PageWriter(std::string_view program_path) : failure_(file_.open(program_path)) {}

  void text(std::string_view text) {
    if (!failure_) failure_ = file_.append(text);
  }
  // A block that browsers keep and do not run.
  template <typename Fill>
  void block(std::string_view id, std::string_view attributes, Fill fill) {
    text("<script type=\"application/octet-stream\" id=\"");
    text(id);
    text(attributes);
    text(">");
    Base64Writer out(file_, failure_);
    fill(out);
    out.finish();
    text("</script>\n");
  }
  void smallBlock(std::string_view id, std::string_view content) {
    block(id, "\"", [&](Base64Writer& out) { out.add(std::as_bytes(std::span(content))); });
  }
  // Of the scene's file, all bytes.
  void sceneBlock(const SceneFile& scene) {
    block("zix-scene", "\" data-packed=\"deflate\"", [&](Base64Writer& out) {
      Deflater deflater(out);
      PieceReader pieces(scene, 0, scene.size());
      for (auto piece = pieces.next(); !piece.empty() && !failure_; piece = pieces.next())
        deflater.add(piece);
      deflater.finish();
    });
  }
  std::optional<std::string> commit() {
    if (!failure_) failure_ = file_.commit();
    return failure_ ? std::optional(failure_->text()) : std::nullopt;
  }

 private:
  OutputFile file_;
  std::optional<OutputFailure> failure_;
};

// The viewer, or the reason why there is none.
tl::expected<std::string, std::string> readViewer(const std::string& program_path) {
  const std::string shown = host::toHostPath(program_path);
  std::string reason;
  const auto file = host::ReadOnlyFile::open(program_path, &reason);
  if (!file) return tl::unexpected(shown + ": " + reason);
  if (file->size() > kMostViewerBytes) return tl::unexpected(shown + ": this is not the viewer");
  std::string text(static_cast<std::size_t>(file->size()), '\0');
  if (!file->readAt(0, std::as_writable_bytes(std::span(text)), &reason))
    return tl::unexpected(shown + ": " + reason);
  const auto mark = text.find(kMark);
  if (mark == std::string::npos || text.find(kMark, mark + 1) != std::string::npos)
    return tl::unexpected(shown + ": this is not the viewer");
  return text;
}

}  // namespace

std::optional<std::string> exportHtml(const SceneFile& scene, const HtmlPage& page,
                                      std::string_view program_path) {
  const auto viewer = readViewer(page.viewer_path);
  if (!viewer) return viewer.error();
  const auto mark = viewer->find(kMark);
  PageWriter out(program_path);
  out.text(std::string_view(*viewer).substr(0, mark));
  out.smallBlock("zix-name", page.name);
  if (page.report) out.smallBlock("zix-report", *page.report);
  if (page.is_damaged) out.smallBlock("zix-damaged", "");
  out.sceneBlock(scene);
  out.text(std::string_view(*viewer).substr(mark + kMark.size()));
  return out.commit();
}

}  // namespace Orb::Zix
