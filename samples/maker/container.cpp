#include "samples/maker/container.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "samples/maker/compress.h"
#include "samples/maker/hash.h"

namespace loftbay::maker {
namespace {

constexpr std::size_t kSegmentHeaderSize = 24;

}  // namespace

void MemorySink::overwrite(std::uint64_t at, std::span<const std::uint8_t> bytes) {
  std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(at));
}

Container::Container(Sink& sink, const Options& options, std::uint32_t seed)
    : sink_(sink), options_(options), seed_(seed) {
  put(header(0, {}));
}

void Container::put(std::span<const std::uint8_t> bytes) {
  sink_.append(bytes);
  size_ += bytes.size();
}

Bytes Container::header(std::uint64_t contents_at, const GuidValue& scene_graph) const {
  std::string text = std::string("Version ") + options_.versionText() + " JT  Loftbay sample";
  text.resize(75, ' ');
  text += " \n\r\n ";
  ByteWriter out(options_.big_endian);
  for (const char c : text) out.u8(static_cast<std::uint8_t>(c));
  out.u8(options_.big_endian ? 1 : 0);
  out.i32(0);
  if (options_.major() == 10) {
    out.u64(contents_at);
  } else {
    if (contents_at > 0xffffffffU) throw std::runtime_error("the file is too large for this version");
    out.u32(static_cast<std::uint32_t>(contents_at));
  }
  out.guid(scene_graph);
  return out.take();
}

GuidValue Container::nextId() const {
  const std::uint32_t number[] = {static_cast<std::uint32_t>(entries_.size()), 0x4a54, 0};
  GuidValue id;
  id.a = hashWords(std::span(number), seed_);
  const std::uint32_t second = hashWords(std::span(number), id.a);
  id.b = static_cast<std::uint16_t>(second);
  id.c = static_cast<std::uint16_t>(second >> 16);
  const std::uint32_t third = hashWords(std::span(number), second);
  for (unsigned i = 0; i < 4; ++i) id.d[i] = static_cast<std::uint8_t>(third >> (8 * i));
  // The last four bytes are the number itself, so that no two ids of a file are equal.
  for (unsigned i = 0; i < 4; ++i) id.d[4 + i] = static_cast<std::uint8_t>(number[0] >> (24 - 8 * i));
  return id;
}

Bytes Container::compressed(const Bytes& data) const {
  const bool xz = options_.major() == 10;
  const Bytes packed = options_.stored_segments ? data : xz ? xzCompressed(data) : zlibCompressed(data);
  ByteWriter out(options_.big_endian);
  out.i32(xz ? 3 : 2);
  out.i32(static_cast<std::int64_t>(packed.size()) + 1);  // the algorithm byte counts
  out.u8(options_.stored_segments ? 1 : xz ? 3 : 2);
  out.append(packed);
  return out.take();
}

GuidValue Container::add(std::uint32_t type, const Bytes& data) {
  const bool compress = type == static_cast<std::uint32_t>(SegmentKind::SceneGraph) ||
                        type == static_cast<std::uint32_t>(SegmentKind::XtBrep);
  const Bytes packed = compress ? compressed(data) : Bytes();
  const Bytes& stored = compress ? packed : data;
  if (stored.size() > 0x7fffff00U) throw std::runtime_error("a segment is too large");
  const Entry entry{nextId(), size_, static_cast<std::uint32_t>(stored.size() + kSegmentHeaderSize), type};
  ByteWriter head(options_.big_endian);
  head.guid(entry.id);
  head.u32(type);
  head.u32(entry.length);
  put(head.bytes());
  put(stored);
  entries_.push_back(entry);
  return entry.id;
}

void Container::finish(const GuidValue& scene_graph) {
  const std::uint64_t contents_at = size_;
  ByteWriter out(options_.big_endian);
  out.i32(static_cast<std::int64_t>(entries_.size()));
  for (const auto& entry : entries_) {
    out.guid(entry.id);
    if (options_.major() == 10) {
      out.u64(entry.offset);
    } else {
      out.u32(static_cast<std::uint32_t>(entry.offset));
    }
    out.u32(entry.length);
    out.u32(entry.type << 24);
  }
  put(out.bytes());
  sink_.overwrite(0, header(contents_at, scene_graph));
}

}  // namespace loftbay::maker
