// A JT file as a container: header, table of contents, segments. Opening reads header and contents; segments
// are read and unpacked when they are asked for. A file that shrinks meanwhile is an error of a segment.
//
// Thread rules: const calls from any thread; with a budget, one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/byte_source.h"
#include "jttk/file/contents.h"
#include "jttk/file/error.h"
#include "jttk/file/packed_data.h"
#include "jttk/file/work_budget.h"

namespace jttk {

struct Version {
  int major = 0;
  int minor = 0;
  friend auto operator<=>(const Version&, const Version&) = default;  // NOLINT(modernize-use-nullptr)
};

// The data of one segment after its header, unpacked. It owns its bytes, but for those that a caller of
// JtFile::fromBytes keeps.
struct Segment {
  Guid id;
  SegmentType type{};
  Compression compression = Compression::None;
  std::span<const std::byte> data;
  std::uint64_t base_offset = 0;        // offset of `data` in the file when not compressed, else 0
  std::vector<std::byte> unpacked;      // the inflated data; empty when not compressed
  std::unique_ptr<std::byte[]> stored;  // what was read of the file; null when it was packed or the caller's
  // `data` and what follows them up to the next listed segment or the end of the file, when not compressed:
  // for readers that find the end of the data themselves, because stated lengths can be too small.
  std::span<const std::byte> reach;
  std::string note;  // a fault that cost no data, for a note; empty when there is none

  // An error of reading `data`, with this segment in it.
  [[nodiscard]] Error named(const Error& error) const;

  Segment() = default;
  Segment(Segment&&) = default;  // moving keeps the storage, so `data` stays valid
  Segment& operator=(Segment&&) = default;
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
};

class JtFile {
 public:
  // The version of a file from the first bytes of its header.
  static Result<Version> readVersion(std::string_view program_path);

  static Result<std::unique_ptr<JtFile>> open(std::string_view program_path);
  // The same over bytes that the caller keeps alive (tests, fuzzing).
  static Result<std::unique_ptr<JtFile>> fromBytes(std::span<const std::byte> bytes);

  // Unpacking counts against this budget from now on. The file's size raises the budget's limits.
  void setBudget(std::shared_ptr<WorkBudget> budget);

  [[nodiscard]] Version version() const noexcept { return version_; }
  [[nodiscard]] ByteOrder byteOrder() const noexcept { return order_; }
  [[nodiscard]] const std::string& headerText() const noexcept { return header_text_; }
  [[nodiscard]] const Guid& sceneGraphId() const noexcept { return scene_graph_id_; }
  // In file order, repeated entries once.
  [[nodiscard]] std::span<const TocEntry> contents() const noexcept { return contents_.entries; }
  // How many entries of the file's table were repetitions.
  [[nodiscard]] std::size_t duplicateEntries() const noexcept { return contents_.duplicates; }
  // Where the table and the segments' headers contradict each other, and which of them is used.
  [[nodiscard]] std::span<const std::string> contradictions() const noexcept {
    return contents_.contradictions;
  }
  // Segments that the end of the file cuts off: they go beyond it by the table's length and by their
  // header's. Segments whose data are complete all the same are not listed.
  [[nodiscard]] std::vector<const TocEntry*> cutOff() const;
  // The scene graph's entry: the one that the header names or, where the table does not list that, the first
  // of its type. Null when there is none.
  [[nodiscard]] const TocEntry* sceneGraph() const;
  // Null when there is no such segment.
  [[nodiscard]] const TocEntry* find(const Guid& id) const;
  // Reads and unpacks one segment. Lengths are not trusted: packed data end where their stream ends, others
  // behind the last element that begins within the stated length, as far as the file has the bytes. A failure
  // is remembered: asking again costs nothing.
  [[nodiscard]] Result<Segment> segment(const TocEntry& entry) const;

 private:
  JtFile() = default;
  // The result is the offset of the table of contents, which lies in the file.
  Result<std::uint64_t> readHeader();
  static Result<std::unique_ptr<JtFile>> over(ByteSource source);
  [[nodiscard]] bool hasWideOffsets() const noexcept { return version_.major >= 10; }
  // Sizes of a segment with its header: as stated, and up to the next segment or the end of the file.
  struct Extent {
    std::size_t stated_bytes = 0;
    std::size_t reach_bytes = 0;
  };
  [[nodiscard]] Result<Extent> extentOf(const TocEntry& entry) const;
  [[nodiscard]] Result<Segment> readSegment(const TocEntry& entry) const;
  // Errors do not name the segment yet.
  [[nodiscard]] Result<Segment> readUnnamed(const TocEntry& entry) const;
  [[nodiscard]] bool goesBeyondEnd(const TocEntry& entry) const;

  ByteSource source_;
  Version version_;
  ByteOrder order_ = ByteOrder::Little;
  std::string header_text_;
  Guid scene_graph_id_;
  Contents contents_;
  std::map<Guid, std::size_t> by_id_;
  std::shared_ptr<WorkBudget> budget_;  // null: only what holds for every stream
  mutable std::mutex failures_mutex_;
  mutable std::map<Guid, Error> failures_;
  std::vector<std::uint64_t> starts_;  // of segments and of the table of contents, sorted
};

}  // namespace jttk
