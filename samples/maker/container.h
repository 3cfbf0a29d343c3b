// The file around the segments: header, segments one after the other, table of contents at the end. Segments
// go to the sink as they come, so the file is never in memory as a whole unless the sink keeps it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"

namespace loftbay::maker {

// Where a file's bytes go.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;
  virtual void append(std::span<const std::uint8_t> bytes) = 0;
  // Overwrites bytes that were appended before.
  virtual void overwrite(std::uint64_t at, std::span<const std::uint8_t> bytes) = 0;
};

class MemorySink : public Sink {
 public:
  void append(std::span<const std::uint8_t> bytes) override {
    data.insert(data.end(), bytes.begin(), bytes.end());
  }
  void overwrite(std::uint64_t at, std::span<const std::uint8_t> bytes) override;
  Bytes data;
};

enum class SegmentKind : std::uint32_t { SceneGraph = 1, Shape = 6, ShapeLod0 = 7, XtBrep = 17 };

class Container {
 public:
  // `seed` makes the segment ids; the same seed gives the same ids.
  Container(Sink& sink, const Options& options, std::uint32_t seed);

  // The id of the next segment.
  [[nodiscard]] GuidValue nextId() const;
  // Appends a segment under nextId(). Scene graphs and exact geometry are compressed, shapes are not.
  GuidValue add(std::uint32_t type, const Bytes& data);
  // Appends the table of contents and completes the header.
  void finish(const GuidValue& scene_graph);

 private:
  struct Entry {
    GuidValue id;
    std::uint64_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t type = 0;
  };

  void put(std::span<const std::uint8_t> bytes);
  [[nodiscard]] Bytes header(std::uint64_t contents_at, const GuidValue& scene_graph) const;
  [[nodiscard]] Bytes compressed(const Bytes& data) const;

  Sink& sink_;
  Options options_;
  std::uint32_t seed_;
  std::uint64_t size_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace loftbay::maker
