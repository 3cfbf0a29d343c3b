#include "samples/maker/verify.h"

#include <lzma.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <set>
#include <stdexcept>

namespace loftbay::maker {
namespace {

using Id = std::array<std::uint8_t, 16>;

class Cursor {
 public:
  Cursor(std::span<const std::uint8_t> bytes, bool big) : bytes_(bytes), big_(big) {}
  std::uint64_t number(std::size_t size) {
    if (size > bytes_.size() - at_) throw std::runtime_error("fields end behind their container");
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      value |= std::uint64_t{bytes_[at_ + i]} << (8 * (big_ ? size - 1 - i : i));
    }
    at_ += size;
    return value;
  }
  std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  Id id() {
    Id out{};
    const auto raw = take(16);
    std::copy(raw.begin(), raw.end(), out.begin());
    return out;
  }
  std::span<const std::uint8_t> take(std::size_t size) {
    if (size > bytes_.size() - at_) throw std::runtime_error("fields end behind their container");
    at_ += size;
    return bytes_.subspan(at_ - size, size);
  }
  [[nodiscard]] std::size_t left() const { return bytes_.size() - at_; }

 private:
  std::span<const std::uint8_t> bytes_;
  bool big_;
  std::size_t at_ = 0;
};

std::vector<std::uint8_t> unpack(std::span<const std::uint8_t> packed, unsigned algorithm) {
  std::vector<std::uint8_t> out(64 + packed.size() * 40);
  if (algorithm == 1) return {packed.begin(), packed.end()};
  if (algorithm == 2) {
    auto size = static_cast<uLongf>(out.size());
    if (uncompress(out.data(), &size, packed.data(), static_cast<uLong>(packed.size())) != Z_OK) {
      throw std::runtime_error("the scene graph does not inflate");
    }
    out.resize(size);
    return out;
  }
  std::uint64_t memory = UINT64_MAX;
  std::size_t in = 0;
  std::size_t size = 0;
  if (lzma_stream_buffer_decode(&memory, 0, nullptr, packed.data(), &in, packed.size(), out.data(), &size,
                                out.size()) != LZMA_OK) {
    throw std::runtime_error("the scene graph does not unpack");
  }
  out.resize(size);
  return out;
}

class Verifier {
 public:
  explicit Verifier(std::span<const std::uint8_t> file) : file_(file) {}

  FileSummary run() {
    try {
      checkContainer();
      checkGraph();
    } catch (const std::exception& e) {
      out_.problems.emplace_back(e.what());
    }
    return std::move(out_);
  }

 private:
  struct Entry {
    Id id{};
    std::uint64_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t type = 0;
  };

  [[nodiscard]] std::span<const std::uint8_t> piece(std::uint64_t offset, std::uint64_t length) const {
    if (offset > file_.size() || length > file_.size() - offset) {
      throw std::runtime_error("something lies outside the file");
    }
    return file_.subspan(offset, length);
  }
  void problem(const std::string& text) { out_.problems.push_back(text); }

  void checkContainer() {
    Cursor head(file_, false);
    const auto text = head.take(80);
    out_.version = std::string(text.begin() + 8, text.begin() + 12);
    out_.version.resize(out_.version.find_last_not_of(' ') + 1);
    wide_ = out_.version.starts_with("10");
    v8_ = out_.version.starts_with("8");
    big_ = head.u8() == 1;
    Cursor rest(piece(81, file_.size() - 81), big_);
    if (rest.u32() != 0) problem("the reserved field of the header is not 0");
    const std::uint64_t contents = rest.number(wide_ ? 8 : 4);
    graph_ = rest.id();
    const std::uint64_t header_size = 81 + 4 + (wide_ ? 8U : 4U) + 16;
    if (contents > file_.size()) throw std::runtime_error("the table of contents lies outside the file");
    Cursor table(file_.subspan(contents), big_);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> spans = {{0, header_size}};
    const std::uint32_t count = table.u32();
    for (std::uint32_t i = 0; i < count; ++i) {
      Entry e;
      e.id = table.id();
      e.offset = table.number(wide_ ? 8 : 4);
      e.length = table.u32();
      e.type = table.u32() >> 24;
      spans.emplace_back(e.offset, e.offset + e.length);
      Cursor segment(piece(e.offset, e.length), big_);
      if (segment.id() != e.id || segment.u32() != e.type || segment.u32() != e.length) {
        problem("a segment's header differs from its entry");
      }
      if (!ids_.insert(e.id).second) problem("two segments have one id");
      ++out_.segments[e.type];
      if (e.type >= 6 && e.type <= 16) checkShape(segment);
      entries_.push_back(e);
    }
    spans.emplace_back(contents, contents + (file_.size() - contents));
    if (table.left() != 0) problem("bytes behind the table of contents");
    std::sort(spans.begin(), spans.end());
    for (std::size_t i = 1; i < spans.size(); ++i) {
      if (spans[i].first != spans[i - 1].second) problem("a gap between segments, or an overlap");
    }
  }

  void checkShape(Cursor segment) {
    const std::uint32_t length = segment.u32();
    (void)segment.take(length);
    const bool end_mark = !v8_ || out_.version == "8.2";
    if (segment.left() != (v8_ ? 0U : 6U) + (end_mark ? 20U : 0U))
      problem("a shape's end is not where it should be");
  }

  // Elements up to the end mark.
  template <typename Visit>
  void elements(Cursor& in, Visit visit) {
    for (;;) {
      const std::uint32_t length = in.u32();
      Cursor element(in.take(length), big_);
      Cursor type_bytes = element;
      const std::uint32_t type = type_bytes.u32();
      const Id id = element.id();
      if (id == Id{255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}) {
        if (length != 16) problem("an end mark with data");
        return;
      }
      char name[9];
      std::snprintf(name, sizeof name, "%08x", type);
      ++out_.elements[name];
      const unsigned base = element.u8();
      visit(name, base, element.u32(), element);
    }
  }

  void skipVersion(Cursor& in) {
    if (!v8_) (void)in.take(wide_ ? 1 : 2);
  }

  void checkGraph() {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.id == graph_; });
    if (found == entries_.end() || found->type != 1) throw std::runtime_error("no scene graph segment");
    Cursor packed(piece(found->offset + 24, found->length - 24), big_);
    if (packed.u32() != (wide_ ? 3 : 2)) problem("wrong compression flag");
    if (const std::uint32_t size = packed.u32(); size != packed.left()) problem("wrong compressed length");
    const unsigned algorithm = packed.u8();
    const auto data = unpack(packed.take(packed.left()), algorithm);
    Cursor in(data, big_);
    std::set<std::uint32_t> nodes;
    std::set<std::uint32_t> attributes;
    std::set<std::uint32_t> named;
    elements(in, [&](const char*, unsigned base, std::uint32_t id, Cursor body) {
      if (nodes.empty() && id != 0) problem("the first node is not node 0");
      if (!(base == 3 ? attributes : nodes).insert(id).second) problem("two nodes have one id");
      if (base == 3) return;
      skipVersion(body);
      if (body.u32() != 0) problem("a node is flagged");
      for (std::uint32_t n = body.u32(); n > 0; --n) used_attributes_.insert(body.u32());
      if (base == 1) {
        skipVersion(body);
        for (std::uint32_t n = body.u32(); n > 0; --n) named.insert(body.u32());
      } else if (base == 0) {
        skipVersion(body);
        named.insert(body.u32());
        if (body.left() != 0) problem("an instance with more than a child");
      }
    });
    named.insert(0);
    if (named != nodes) problem("children and nodes are not the same set");
    if (used_attributes_ != attributes)
      problem("attributes named and attributes present are not the same set");
    checkProperties(in, nodes);
  }

  void checkProperties(Cursor& in, const std::set<std::uint32_t>& nodes) {
    std::set<std::uint32_t> atoms;
    elements(in, [&](const char*, unsigned base, std::uint32_t id, Cursor body) {
      if (!atoms.insert(id).second) problem("two atoms have one id");
      if (base != 8) return;
      skipVersion(body);
      (void)body.u32();
      skipVersion(body);
      if (ids_.contains(body.id())) ++out_.late_loaded;
    });
    if (in.number(2) != 1) problem("wrong version of the property table");
    for (std::uint32_t n = in.u32(); n > 0; --n) {
      if (!nodes.contains(in.u32())) problem("properties of a node that does not exist");
      for (std::uint32_t key = in.u32(); key != 0; key = in.u32()) {
        if (!atoms.contains(key) || !atoms.contains(in.u32()))
          problem("a property names an atom that does not exist");
        ++out_.properties;
      }
    }
    if (in.left() != 0) problem("bytes behind the property table");
  }

  std::span<const std::uint8_t> file_;
  FileSummary out_;
  bool wide_ = false;
  bool v8_ = false;
  bool big_ = false;
  Id graph_{};
  std::vector<Entry> entries_;
  std::set<Id> ids_;
  std::set<std::uint32_t> used_attributes_;
};

}  // namespace

FileSummary verifyFile(std::span<const std::uint8_t> file) { return Verifier(file).run(); }

}  // namespace loftbay::maker
