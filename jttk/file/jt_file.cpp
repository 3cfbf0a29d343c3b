// The container: an 80-byte text with the version, byte order, offset of the table of contents, then
// segments anywhere in the file. 8.x and 9.x use 32-bit file offsets, 10.x 64-bit ones.
#include "jttk/file/jt_file.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "jttk/file/inflate.h"
#include "jttk/file/unxz.h"

namespace jttk {
namespace {

constexpr std::size_t kHeaderTextBytes = 80;
constexpr std::string_view kHeaderMark = "Version";
constexpr std::size_t kSegmentHeaderBytes = 24;
constexpr Version kFirstVersion{8, 0};
constexpr int kLastMajor = 10;

Result<Version> parseVersion(std::string_view text) {
  if (text.substr(0, kHeaderMark.size()) != kHeaderMark) {
    return fail("not a JT file: the header does not begin with \"Version\"", 0);
  }
  std::size_t at = kHeaderMark.size();
  while (at < text.size() && text[at] == ' ') ++at;
  Version version;
  const char* const end = text.data() + text.size();
  const auto major = std::from_chars(text.data() + at, end, version.major);
  const bool has_major = major.ec == std::errc() && version.major >= 0;
  if (!has_major || major.ptr == end || *major.ptr != '.') {
    return fail("not a JT file: no number behind \"Version\" in the header", at);
  }
  const auto minor = std::from_chars(major.ptr + 1, end, version.minor);
  if (minor.ec != std::errc() || version.minor < 0) {
    return fail("not a JT file: no number behind \"Version\" in the header", at);
  }
  return version;
}

std::string_view trimmed(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\0'; };
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// Scene graph, B-reps, PMI, meta data and everything newer than shapes begin with a compression prefix;
// shape segments never do.
bool mayHavePrefix(SegmentType type) { return type < SegmentType::Shape || type > SegmentType::ShapeLod9; }

// Types whose prefix has been seen or is published. For others a prefix that makes no sense means that
// there is none.
bool mustHavePrefix(SegmentType type) {
  switch (type) {
    case SegmentType::SceneGraph:
    case SegmentType::JtBrep:
    case SegmentType::Pmi:
    case SegmentType::MetaData:
    case SegmentType::XtBrep:
    case SegmentType::Wireframe:
    case SegmentType::Ulp:
    case SegmentType::Stt:
    case SegmentType::Lwpa:
    case SegmentType::MultiXtBrep:
    case SegmentType::Information:
      return true;
    default:
      return false;
  }
}

struct Prefix {
  Compression compression = Compression::None;
  std::span<const std::byte> packed;
  std::uint64_t offset = 0;
};

// I32 flag, I32 length, U8 algorithm; the length counts the algorithm byte. Flag and algorithm are 2 for
// zlib and 3 for LZMA; any other pair means that the data are stored as they are.
Result<Prefix> readPrefix(ByteReader reader) {
  Prefix prefix;
  const std::uint32_t flag = reader.u32("compression flag");
  const std::uint64_t length_offset = reader.offset();
  const std::int32_t length = reader.i32("compressed length");
  const std::uint8_t algorithm = reader.u8("compression algorithm");
  if (!reader.ok()) return reader.unexpected();
  if (length < 1) return fail("compressed length is " + std::to_string(length), length_offset);
  const std::size_t size = static_cast<std::size_t>(length) - 1;
  if (size > reader.remaining()) {
    return fail("compressed data are " + std::to_string(size) + " bytes, but only " +
                    std::to_string(reader.remaining()) + " are left in the segment",
                length_offset);
  }
  prefix.compression = Compression::Stored;
  if (flag == 2 && algorithm == 2) prefix.compression = Compression::Zlib;
  if (flag == 3 && algorithm == 3) prefix.compression = Compression::Lzma;
  prefix.offset = reader.offset();
  prefix.packed = reader.take(size, "compressed data");
  return prefix;
}

}  // namespace

Result<Version> JtFile::readVersion(std::string_view program_path) {
  const auto file = loftbay::host::openFile(program_path, "rb");
  if (!file) return fail("cannot be opened", 0);
  char text[kHeaderTextBytes];
  const std::size_t size = std::fread(text, 1, sizeof text, file.get());
  return parseVersion({text, size});
}

Result<std::unique_ptr<JtFile>> JtFile::open(std::string_view program_path) {
  std::string reason;
  auto mapping = loftbay::host::MappedFile::open(program_path, &reason);
  if (!mapping) return fail("cannot be opened: " + reason, 0);
  auto file = fromBytes(mapping->bytes());
  if (file) (*file)->mapping_ = std::move(mapping);
  return file;
}

Result<std::unique_ptr<JtFile>> JtFile::fromBytes(std::span<const std::byte> bytes) {
  std::unique_ptr<JtFile> file(new JtFile);
  const auto read = file->readContents(bytes);
  if (!read) return tl::unexpected<Error>(read.error());
  return file;
}

Result<void> JtFile::readContents(std::span<const std::byte> bytes) {
  bytes_ = bytes;
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                              std::min(bytes.size(), kHeaderTextBytes));
  const auto version = parseVersion(text);
  if (!version) return tl::unexpected<Error>(version.error());
  version_ = *version;
  if (version_ < kFirstVersion || version_.major > kLastMajor) {
    return fail("JT " + std::to_string(version_.major) + "." + std::to_string(version_.minor) +
                    " is not supported; 8.0 to 10.x are",
                0);
  }
  if (bytes.size() <= kHeaderTextBytes) return fail("the file is cut off inside its header", bytes.size());
  header_text_ = trimmed(text);

  const auto order_byte = std::to_integer<std::uint8_t>(bytes[kHeaderTextBytes]);
  if (order_byte > 1) {
    return fail("the header's byte order is " + std::to_string(order_byte) + ", not 0 or 1",
                kHeaderTextBytes);
  }
  order_ = order_byte == 0 ? ByteOrder::Little : ByteOrder::Big;
  const bool wide_offsets = version_.major >= 10;
  ByteReader header(bytes.subspan(kHeaderTextBytes + 1), order_, kHeaderTextBytes + 1);
  // When this field is not 0, one more id follows that of the scene graph. Nothing here needs it.
  header.skip(4, "reserved field of the header");
  const std::uint64_t contents_offset =
      wide_offsets ? header.u64("offset of the contents") : header.u32("offset of the contents");
  scene_graph_id_ = header.guid("id of the scene graph");
  if (!header.ok()) return header.unexpected();

  if (contents_offset >= bytes.size()) {
    return fail("the table of contents lies at byte " + std::to_string(contents_offset) +
                    ", outside of the file (" + std::to_string(bytes.size()) + " bytes); is it cut off?",
                contents_offset);
  }
  ByteReader toc(bytes.subspan(static_cast<std::size_t>(contents_offset)), order_, contents_offset);
  const std::size_t entry_size = wide_offsets ? 32 : 28;
  const std::uint32_t entries = toc.count("table of contents", entry_size);
  contents_.reserve(entries);
  for (std::uint32_t i = 0; i < entries; ++i) {
    TocEntry entry;
    entry.id = toc.guid("contents entry");
    entry.offset = wide_offsets ? toc.u64("contents entry") : toc.u32("contents entry");
    entry.length_bytes = toc.u32("contents entry");
    entry.type = static_cast<SegmentType>(toc.u32("contents entry") >> 24);
    // Some writers list a segment twice.
    if (by_id_.emplace(entry.id, contents_.size()).second) {
      contents_.push_back(entry);
    } else {
      ++duplicate_entries_;
    }
  }
  if (!toc.ok()) return toc.unexpected();
  return {};
}

const TocEntry* JtFile::find(const Guid& id) const {
  const auto found = by_id_.find(id);
  return found == by_id_.end() ? nullptr : &contents_[found->second];
}

Result<Segment> JtFile::segment(const TocEntry& entry) const {
  const std::string place = "segment " + entry.id.text();
  if (entry.offset > bytes_.size() || entry.length_bytes > bytes_.size() - entry.offset) {
    return fail(place + ": " + std::to_string(entry.length_bytes) + " bytes at byte " +
                    std::to_string(entry.offset) + " lie outside of the file (" +
                    std::to_string(bytes_.size()) + " bytes)",
                entry.offset);
  }
  if (entry.length_bytes < kSegmentHeaderBytes) {
    return fail(place + ": is shorter than a segment header", entry.offset);
  }
  const auto whole = bytes_.subspan(static_cast<std::size_t>(entry.offset), entry.length_bytes);
  ByteReader header(whole, order_, entry.offset);
  const Guid stored_id = header.guid("segment header");
  if (stored_id != entry.id) {
    return fail(place + ": its header names another segment, " + stored_id.text(), entry.offset);
  }
  Segment segment;
  segment.id = entry.id;
  segment.type = entry.type;
  segment.data = whole.subspan(kSegmentHeaderBytes);
  segment.base_offset = entry.offset + kSegmentHeaderBytes;
  if (!mayHavePrefix(entry.type)) return segment;

  const auto prefix = readPrefix(ByteReader(segment.data, order_, segment.base_offset));
  if (!prefix) {
    if (mustHavePrefix(entry.type)) return tl::unexpected<Error>(prefix.error().in(place));
    return segment;
  }
  if (prefix->compression == Compression::Stored) {
    // An unknown type whose first bytes happen to look like a prefix is handed out whole.
    if (!mustHavePrefix(entry.type)) return segment;
    segment.compression = Compression::Stored;
    segment.data = prefix->packed;
    segment.base_offset = prefix->offset;
    return segment;
  }
  auto unpacked = prefix->compression == Compression::Zlib ? inflateZlib(prefix->packed, prefix->offset)
                                                           : unpackLzma(prefix->packed, prefix->offset);
  if (!unpacked) return tl::unexpected<Error>(unpacked.error().in(place));
  segment.compression = prefix->compression;
  segment.unpacked = std::move(*unpacked);
  segment.data = segment.unpacked;
  segment.base_offset = 0;
  return segment;
}

}  // namespace jttk
