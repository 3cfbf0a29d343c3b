// The container: an 80-byte text with the version, byte order, offset of the table of contents, then
// segments anywhere in the file. 8.x and 9.x use 32-bit file offsets, 10.x 64-bit ones.
#include "jttk/file/jt_file.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "jttk/file/packed_data.h"

namespace jttk {
namespace {

constexpr std::size_t kHeaderTextBytes = 80;
// Text, byte order, a reserved field, the offset of the table, the id of the scene graph.
constexpr std::size_t kMostHeaderBytes = kHeaderTextBytes + 1 + 4 + 8 + 16;
constexpr std::string_view kHeaderMark = "Version";
constexpr Version kFirstVersion{8, 0};
constexpr int kLastMajor = 10;

Result<Version> parseVersion(std::string_view text) {
  if (text.substr(0, kHeaderMark.size()) != kHeaderMark) {
    return fail("not a JT file: the header does not begin with \"Version\"");
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
bool mayHavePrefix(SegmentType type) { return !isShapeSegment(type); }

// Types whose prefix has been seen or is published. Segments of other types may lack it: if their first bytes
// are no valid prefix, there is none.
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

// Whether data begin with an element (I32 length first), as they do where a segment has no prefix.
bool beginsWithElement(ByteReader reader) {
  constexpr std::int32_t kSmallestElement = 16;
  const std::int32_t length = reader.i32("element length");
  return reader.ok() && length >= kSmallestElement && static_cast<std::size_t>(length) <= reader.remaining();
}

// Data that are not compressed are a sequence of elements.
class Elements {
 public:
  // `stated_bytes`: at most as many as `reach` has.
  Elements(std::span<const std::byte> reach, std::size_t stated_bytes, ByteOrder order) : reach_(reach) {
    constexpr std::int32_t kSmallest = 16;
    ByteReader reader(reach, order);
    while (reader.offset() < stated_bytes) {
      const std::uint64_t start = reader.offset();
      const std::int32_t length = reader.i32("element length");
      if (!reader.ok() || length < kSmallest) return;  // the end, or something else
      if (static_cast<std::size_t>(length) > reader.remaining()) {
        is_cut_off_ = !isEndMark(reader);
        return;
      }
      reader.skip(static_cast<std::size_t>(length), "element");
      if (start < stated_bytes) end_ = static_cast<std::size_t>(reader.offset());
    }
  }

  // `stated_bytes`, or more where they would cut an element off.
  [[nodiscard]] std::span<const std::byte> data(std::size_t stated_bytes) const {
    return reach_.first(std::max(stated_bytes, end_));
  }
  // Whether an element goes beyond `reach`.
  [[nodiscard]] bool isCutOff() const { return is_cut_off_; }

 private:
  // The end-of-elements mark, which may be cut off without loss.
  static bool isEndMark(ByteReader reader) {
    const auto rest = reader.take(reader.remaining(), "element");
    return std::all_of(rest.begin(), rest.end(), [](std::byte b) { return b == std::byte{0xff}; });
  }

  std::span<const std::byte> reach_;
  std::size_t end_ = 0;  // of the last whole element
  bool is_cut_off_ = false;
};

}  // namespace

Result<Version> JtFile::readVersion(std::string_view program_path) {
  const auto file = loftbay::host::openFile(program_path, "rb");
  if (!file) return fail("cannot be opened");
  char text[kHeaderTextBytes];
  const std::size_t size = std::fread(text, 1, sizeof text, file.get());
  return parseVersion({text, size});
}

Result<std::unique_ptr<JtFile>> JtFile::open(std::string_view program_path) {
  auto source = ByteSource::open(program_path);
  if (!source) return passOn(source);
  return over(std::move(*source));
}

Result<std::unique_ptr<JtFile>> JtFile::fromBytes(std::span<const std::byte> bytes) {
  return over(ByteSource(bytes));
}

Result<std::unique_ptr<JtFile>> JtFile::over(ByteSource source) {
  std::unique_ptr<JtFile> file(new JtFile);
  file->source_ = std::move(source);
  const auto contents_offset = file->readHeader();
  if (!contents_offset) return passOn(contents_offset);
  auto contents = readContents(file->source_, file->order_, *contents_offset, file->hasWideOffsets());
  if (!contents) return passOn(contents);
  file->contents_ = std::move(*contents);
  file->starts_.push_back(*contents_offset);
  const auto& entries = file->contents_.entries;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    file->by_id_.emplace(entries[i].id, i);
    file->starts_.push_back(entries[i].offset);
  }
  std::sort(file->starts_.begin(), file->starts_.end());
  return file;
}

Result<std::uint64_t> JtFile::readHeader() {
  const auto read = source_.read(0, std::min<std::uint64_t>(source_.size(), kMostHeaderBytes));
  if (!read) return passOn(read);
  const std::span<const std::byte> bytes = read->bytes;
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                              std::min(bytes.size(), kHeaderTextBytes));
  const auto version = parseVersion(text);
  if (!version) return passOn(version);
  version_ = *version;
  if (version_ < kFirstVersion || version_.major > kLastMajor) {
    return fail("JT " + std::to_string(version_.major) + "." + std::to_string(version_.minor) +
                " is not supported; 8.0 to 10.x are");
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

  if (contents_offset >= source_.size()) {
    return fail("the table of contents lies at byte " + std::to_string(contents_offset) +
                    ", outside of the file (" + std::to_string(source_.size()) + " bytes); is it cut off?",
                contents_offset);
  }
  return contents_offset;
}

const TocEntry* JtFile::sceneGraph() const {
  if (const TocEntry* named = find(scene_graph_id_)) return named;
  const auto is_graph = [](const TocEntry& entry) { return entry.type == SegmentType::SceneGraph; };
  const auto found = std::find_if(contents_.entries.begin(), contents_.entries.end(), is_graph);
  return found == contents_.entries.end() ? nullptr : &*found;
}

const TocEntry* JtFile::find(const Guid& id) const {
  const auto found = by_id_.find(id);
  return found == by_id_.end() ? nullptr : &contents_.entries[found->second];
}

// The segment's length is in the table and in its own header. Where they differ the longer one is used, cut
// to the end of the file. The decoder of the data notices if something is missing.
Result<JtFile::Extent> JtFile::extentOf(const TocEntry& entry) const {
  if (!source_.holds(entry.offset, kSegmentHeaderBytes)) {
    return fail(std::to_string(entry.length_bytes) + " bytes at byte " + std::to_string(entry.offset) +
                    " lie outside of the file (" + std::to_string(source_.size()) + " bytes)",
                entry.offset);
  }
  const auto header = readSegmentHeader(source_, order_, entry.offset);
  if (!header) return passOn(header);
  const bool same_id = header->id == entry.id;
  if (!same_id && header->type != entry.type) {
    return fail("its header names another segment, " + header->id.text(), entry.offset);
  }
  const auto rest = static_cast<std::size_t>(source_.size() - entry.offset);
  std::size_t until_next = rest;
  const auto next = std::upper_bound(starts_.begin(), starts_.end(), entry.offset);
  if (next != starts_.end() && *next < source_.size()) {
    until_next = std::max(kSegmentHeaderBytes, static_cast<std::size_t>(*next - entry.offset));
  }
  Extent extent;
  const std::size_t stated = std::max(entry.length_bytes, same_id ? header->length_bytes : 0U);
  // A length without room for the header says nothing.
  extent.stated_bytes = stated < kSegmentHeaderBytes ? until_next : std::min(stated, rest);
  extent.reach_bytes = std::min(std::max(until_next, extent.stated_bytes), rest);
  return extent;
}

void JtFile::setBudget(std::shared_ptr<WorkBudget> budget) {
  budget_ = std::move(budget);
  budget_->addInput(source_.size());
}

Result<Segment> JtFile::segment(const TocEntry& entry) const {
  {
    const std::lock_guard held(failures_mutex_);
    if (const auto known = failures_.find(entry.id); known != failures_.end()) {
      return tl::unexpected<Error>(known->second);
    }
  }
  Result<Segment> segment = readSegment(entry);
  if (!segment) {
    try {
      const std::lock_guard held(failures_mutex_);
      failures_.emplace(entry.id, segment.error());
    } catch (const std::bad_alloc&) {
      // Without memory for it, it is tried again.
    }
  }
  return segment;
}

Result<Segment> JtFile::readSegment(const TocEntry& entry) const {
  auto segment = readUnnamed(entry);
  if (segment) return segment;
  // What fails so far is told by its place in the file.
  return tl::unexpected<Error>(segment.error().ofSegment({entry.id, entry.type}, OffsetIn::File));
}

Result<Segment> JtFile::readUnnamed(const TocEntry& entry) const {
  const auto extent = extentOf(entry);
  if (!extent) return passOn(extent);
  Segment segment;
  segment.id = entry.id;
  segment.type = entry.type;
  segment.base_offset = entry.offset + kSegmentHeaderBytes;
  const std::size_t reach_bytes = extent->reach_bytes - kSegmentHeaderBytes;
  if (budget_ != nullptr && !budget_->read(reach_bytes)) {
    const std::string limit = std::to_string(budget_->readLimit());
    return tl::unexpected<Error>(
        overBudget("more than " + limit + " bytes are read from the file (no option raises this limit)",
                   segment.base_offset));
  }
  auto read = source_.read(segment.base_offset, reach_bytes);
  if (!read) return passOn(read);
  segment.reach = read->bytes;
  segment.stored = std::move(read->memory);
  const std::size_t stated = extent->stated_bytes - kSegmentHeaderBytes;
  segment.data = Elements(segment.reach, stated, order_).data(stated);
  if (!mayHavePrefix(entry.type)) return segment;

  const auto prefix = readPrefix(ByteReader(segment.reach, order_, segment.base_offset), stated);
  const bool packed = prefix && prefix->compression != Compression::Stored;
  if (!prefix || (!packed && prefix->exceeds_segment)) {
    const ByteReader data(segment.reach, order_, segment.base_offset);
    if (!mustHavePrefix(entry.type) || beginsWithElement(data)) return segment;
    if (!prefix) return passOn(prefix);
  }
  if (!packed) {
    // A type that may lack the prefix is handed out whole: what looks like a prefix may be data.
    if (!mustHavePrefix(entry.type)) return segment;
    segment.compression = Compression::Stored;
    segment.reach = prefix->reach;
    segment.data = Elements(prefix->reach, prefix->stated_bytes, order_).data(prefix->stated_bytes);
    segment.base_offset = prefix->offset;
    return segment;
  }
  auto unpacked = unpack(*prefix, budget_.get());
  if (!unpacked) {
    if (prefix->missing_bytes > 0 && !unpacked.error().is_over_budget) {
      return tl::unexpected<Error>(tooShort(*prefix));
    }
    return passOn(unpacked);
  }
  segment.compression = prefix->compression;
  if (unpacked->lacks_checksum) {
    segment.note = "the checksum of its compressed data is cut off; the data are all there, but not checked";
  }
  segment.stored.reset();
  segment.unpacked = std::move(unpacked->bytes);
  segment.data = segment.unpacked;
  segment.reach = segment.data;
  segment.base_offset = 0;
  return segment;
}

Error Segment::named(const Error& error) const {
  const bool is_inflated = compression == Compression::Zlib || compression == Compression::Lzma;
  return error.ofSegment({id, type}, is_inflated ? OffsetIn::Inflated : OffsetIn::File);
}

bool JtFile::goesBeyondEnd(const TocEntry& entry) const {
  const auto header = readSegmentHeader(source_, order_, entry.offset);
  if (!header) return true;
  std::uint64_t length = entry.length_bytes;
  if (header->id == entry.id) length = std::min<std::uint64_t>(length, header->length_bytes);
  return entry.offset + length > source_.size();
}

std::vector<const TocEntry*> JtFile::cutOff() const {
  // The end of the file leaves one segment in part, so a few look-ups suffice.
  std::size_t lookups = 4;
  const auto is_whole = [&](const TocEntry& entry) {
    if (!readSegmentHeader(source_, order_, entry.offset) || lookups == 0) return false;
    --lookups;
    const auto read = segment(entry);
    if (!read) return false;
    // The scene graph's reader reports its own losses.
    if (!read->unpacked.empty() || entry.type == SegmentType::SceneGraph) return true;
    return !Elements(read->reach, read->reach.size(), order_).isCutOff();
  };
  std::vector<const TocEntry*> cut;
  for (const TocEntry& entry : contents_.entries) {
    if (goesBeyondEnd(entry) && !is_whole(entry)) cut.push_back(&entry);
  }
  return cut;
}

}  // namespace jttk
