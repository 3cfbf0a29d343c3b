// The container: an 80-byte text with the version, byte order, offset of the table of contents, then
// segments anywhere in the file. 8.x and 9.x use 32-bit file offsets, 10.x 64-bit ones.
#include "jttk/file/jt_file.h"

#include <algorithm>
#include <array>
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

bool looksLikeXz(std::span<const std::byte> packed) {
  constexpr std::array kMagic{std::byte{0xfd}, std::byte{'7'}, std::byte{'z'},
                              std::byte{'X'},  std::byte{'Z'}, std::byte{0}};
  return packed.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), packed.begin());
}

// A zlib header: method 8, and both bytes together are a multiple of 31.
bool looksLikeZlib(std::span<const std::byte> packed) {
  if (packed.size() < 2) return false;
  const auto method = std::to_integer<unsigned>(packed[0]);
  return (method & 15U) == 8 && (method * 256 + std::to_integer<unsigned>(packed[1])) % 31 == 0;
}

// Flag and algorithm are 2 for zlib and 3 for LZMA. Where they do not agree, the data tell by their first
// bytes; what neither tells is stored as it is.
Compression compressionOf(std::uint32_t flag, std::uint32_t algorithm, std::span<const std::byte> packed) {
  constexpr std::uint32_t kZlib = 2;
  constexpr std::uint32_t kLzma = 3;
  const bool packs = flag == kZlib || flag == kLzma || algorithm == kZlib || algorithm == kLzma;
  if (packs && looksLikeXz(packed)) return Compression::Lzma;
  if (flag == kLzma && algorithm == kLzma) return Compression::Lzma;
  if (flag == kZlib && algorithm == kZlib) return Compression::Zlib;
  return packs && looksLikeZlib(packed) ? Compression::Zlib : Compression::Stored;
}

struct Prefix {
  Compression compression = Compression::None;
  std::span<const std::byte> packed;
  std::uint64_t offset = 0;
  std::size_t missing_bytes = 0;  // of what the prefix states
};

// I32 flag, I32 length, U8 algorithm; the length counts the algorithm byte.
Result<Prefix> readPrefix(ByteReader reader) {
  Prefix prefix;
  const std::uint32_t flag = reader.u32("compression flag");
  const std::uint64_t length_offset = reader.offset();
  const std::int32_t length = reader.i32("compressed length");
  const std::uint8_t algorithm = reader.u8("compression algorithm");
  if (!reader.ok()) return reader.unexpected();
  if (length < 1) return fail("compressed length is " + std::to_string(length), length_offset);
  const std::size_t size = static_cast<std::size_t>(length) - 1;
  const std::size_t present = std::min(size, reader.remaining());
  prefix.missing_bytes = size - present;
  prefix.offset = reader.offset();
  prefix.packed = reader.take(present, "compressed data");
  prefix.compression = compressionOf(flag, algorithm, prefix.packed);
  return prefix;
}

// Whether data begin with an element (I32 length first), as they do where a segment has no prefix.
bool beginsWithElement(ByteReader reader) {
  constexpr std::int32_t kSmallestElement = 16;
  const std::int32_t length = reader.i32("element length");
  return reader.ok() && length >= kSmallestElement && static_cast<std::size_t>(length) <= reader.remaining();
}

Error cutOff(const Prefix& prefix) {
  return {"compressed data are " + std::to_string(prefix.packed.size() + prefix.missing_bytes) +
              " bytes, but only " + std::to_string(prefix.packed.size()) + " are left in the segment",
          prefix.offset};
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
  const auto contents_offset = file->readHeader(bytes);
  if (!contents_offset) return tl::unexpected<Error>(contents_offset.error());
  const auto read = file->readContents(*contents_offset);
  if (!read) return tl::unexpected<Error>(read.error());
  return file;
}

Result<std::uint64_t> JtFile::readHeader(std::span<const std::byte> bytes) {
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
  ByteReader header(bytes.subspan(kHeaderTextBytes + 1), order_, kHeaderTextBytes + 1);
  // When this field is not 0, one more id follows that of the scene graph. Nothing here needs it.
  header.skip(4, "reserved field of the header");
  const std::uint64_t contents_offset =
      hasWideOffsets() ? header.u64("offset of the contents") : header.u32("offset of the contents");
  scene_graph_id_ = header.guid("id of the scene graph");
  if (!header.ok()) return header.unexpected();

  if (contents_offset >= bytes.size()) {
    return fail("the table of contents lies at byte " + std::to_string(contents_offset) +
                    ", outside of the file (" + std::to_string(bytes.size()) + " bytes); is it cut off?",
                contents_offset);
  }
  return contents_offset;
}

Result<void> JtFile::readContents(std::uint64_t offset) {
  ByteReader toc(bytes_.subspan(static_cast<std::size_t>(offset)), order_, offset);
  const bool wide_offsets = hasWideOffsets();
  const std::size_t entry_size = wide_offsets ? 32 : 28;
  const std::uint32_t entries = toc.count("table of contents", entry_size);
  contents_.reserve(entries);
  for (std::uint32_t i = 0; i < entries; ++i) {
    TocEntry entry;
    entry.id = toc.guid("contents entry");
    entry.offset = wide_offsets ? toc.u64("contents entry") : toc.u32("contents entry");
    entry.length_bytes = toc.u32("contents entry");
    entry.type = static_cast<SegmentType>(toc.u32("contents entry") >> 24);
    if (entry.type == SegmentType{}) entry.type = storedType(entry);
    // Some writers list a segment twice.
    const auto [known, is_new] = by_id_.emplace(entry.id, contents_.size());
    if (is_new) {
      contents_.push_back(entry);
      continue;
    }
    ++duplicate_entries_;
    TocEntry& first = contents_[known->second];
    if (first.offset >= bytes_.size() && entry.offset < bytes_.size()) first = entry;
  }
  if (!toc.ok()) return toc.unexpected();
  return {};
}

// The type as the segment's own header states it.
SegmentType JtFile::storedType(const TocEntry& entry) const {
  if (entry.offset >= bytes_.size()) return {};
  ByteReader header(bytes_.subspan(static_cast<std::size_t>(entry.offset)), order_, entry.offset);
  header.skip(sizeof(Guid), "segment header");
  return static_cast<SegmentType>(header.u32("segment header"));
}

const TocEntry* JtFile::sceneGraph() const {
  if (const TocEntry* named = find(scene_graph_id_)) return named;
  const auto is_graph = [](const TocEntry& entry) { return entry.type == SegmentType::SceneGraph; };
  const auto found = std::find_if(contents_.begin(), contents_.end(), is_graph);
  return found == contents_.end() ? nullptr : &*found;
}

const TocEntry* JtFile::find(const Guid& id) const {
  const auto found = by_id_.find(id);
  return found == by_id_.end() ? nullptr : &contents_[found->second];
}

// The segment's length stands in the table and in its own header. Where they differ the longer one holds, and
// in a file that is cut off what there is of it: whoever reads the data sees whether something is missing.
Result<std::span<const std::byte>> JtFile::segmentBytes(const TocEntry& entry) const {
  const auto outside = [&] {
    return fail(std::to_string(entry.length_bytes) + " bytes at byte " + std::to_string(entry.offset) +
                    " lie outside of the file (" + std::to_string(bytes_.size()) + " bytes)",
                entry.offset);
  };
  if (entry.offset >= bytes_.size()) return outside();
  const auto rest = bytes_.subspan(static_cast<std::size_t>(entry.offset));
  if (rest.size() < kSegmentHeaderBytes) return outside();
  ByteReader header(rest, order_, entry.offset);
  const Guid stored_id = header.guid("segment header");
  const std::uint32_t stored_type = header.u32("segment header");
  const std::uint32_t stored_length = header.u32("segment header");
  const bool same_shape =
      stored_type == static_cast<std::uint32_t>(entry.type) && stored_length == entry.length_bytes;
  if (stored_id != entry.id && !same_shape) {
    return fail("its header names another segment, " + stored_id.text(), entry.offset);
  }
  const std::size_t length = std::max(entry.length_bytes, stored_id == entry.id ? stored_length : 0U);
  if (length < kSegmentHeaderBytes) return fail("is shorter than a segment header", entry.offset);
  return rest.first(std::min(length, rest.size()));
}

Result<Segment> JtFile::segment(const TocEntry& entry) const {
  const std::string place = "segment " + entry.id.text();
  const auto whole = segmentBytes(entry);
  if (!whole) return tl::unexpected<Error>(whole.error().in(place));
  Segment segment;
  segment.id = entry.id;
  segment.type = entry.type;
  segment.data = whole->subspan(kSegmentHeaderBytes);
  segment.base_offset = entry.offset + kSegmentHeaderBytes;
  if (!mayHavePrefix(entry.type)) return segment;

  const ByteReader data(segment.data, order_, segment.base_offset);
  const auto prefix = readPrefix(data);
  const bool packed = prefix && prefix->compression != Compression::Stored;
  if (!prefix || (!packed && prefix->missing_bytes > 0)) {
    if (!mustHavePrefix(entry.type) || beginsWithElement(data)) return segment;
    if (!prefix) return tl::unexpected<Error>(prefix.error().in(place));
  }
  if (!packed) {
    // An unknown type whose first bytes happen to look like a prefix is handed out whole.
    if (!mustHavePrefix(entry.type)) return segment;
    segment.compression = Compression::Stored;
    segment.data = prefix->packed;
    segment.base_offset = prefix->offset;
    return segment;
  }
  auto unpacked = prefix->compression == Compression::Zlib ? inflateZlib(prefix->packed, prefix->offset)
                                                           : unpackLzma(prefix->packed, prefix->offset);
  if (!unpacked) {
    return tl::unexpected<Error>((prefix->missing_bytes > 0 ? cutOff(*prefix) : unpacked.error()).in(place));
  }
  segment.compression = prefix->compression;
  segment.unpacked = std::move(*unpacked);
  segment.data = segment.unpacked;
  segment.base_offset = 0;
  return segment;
}

}  // namespace jttk
