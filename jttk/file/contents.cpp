#include "jttk/file/contents.h"

#include <algorithm>
#include <map>
#include <set>

namespace jttk {
namespace {

// How well an entry is confirmed by the segment's header, worst first.
enum class Trust : std::uint8_t { OutsideOfFile, TableOnly, HeaderOnly, Both };

struct Candidate {
  TocEntry entry;
  Trust trust = Trust::OutsideOfFile;
};

class Reconciler {
 public:
  Reconciler(const ByteSource& file, ByteOrder order) : file_(file), order_(order) {}

  Contents run(const std::vector<TocEntry>& table) {
    for (const TocEntry& entry : table) listed_.insert(entry.id);
    for (const TocEntry& entry : table) add(entry);
    for (const Candidate& candidate : candidates_) contents_.entries.push_back(candidate.entry);
    if (untold_ > 0) {
      contents_.contradictions.push_back(std::to_string(untold_) +
                                         " more entries of the table of contents contradict their segments");
    }
    return std::move(contents_);
  }

 private:
  void add(const TocEntry& listed) {
    const Candidate candidate = judge(listed);
    const auto [known, is_new] = by_id_.emplace(candidate.entry.id, candidates_.size());
    if (is_new) {
      candidates_.push_back(candidate);
      return;
    }
    Candidate& first = candidates_[known->second];
    const bool is_better = candidate.trust > first.trust;
    // An entry whose id was corrected has been reported already, by judge().
    if (listed.id == candidate.entry.id) {
      ++contents_.duplicates;
      const TocEntry& holds = is_better ? candidate.entry : first.entry;
      if (first.entry.offset != candidate.entry.offset) {
        tell("the table of contents lists segment " + listed.id.text() + " more than once, at byte " +
             std::to_string(first.entry.offset) + " and at byte " + std::to_string(candidate.entry.offset) +
             "; the one at byte " + std::to_string(holds.offset) + " is used");
      }
    }
    if (is_better) first = candidate;
  }

  Candidate judge(TocEntry entry) {
    const auto header = readSegmentHeader(file_, order_, entry.offset);
    if (!header) return {entry, Trust::OutsideOfFile};
    if (entry.type == SegmentType{}) entry.type = header->type;
    if (header->id == entry.id) return {entry, Trust::Both};
    const bool is_listed = listed_.contains(header->id);
    tell("the table of contents lists segment " + entry.id.text() + " at byte " +
         std::to_string(entry.offset) + ", whose header says " + header->id.text() +
         (is_listed ? ": the header counts" : ", which is not listed: the table counts"));
    if (!is_listed) return {entry, Trust::TableOnly};
    return {{header->id, entry.offset, header->length_bytes, header->type}, Trust::HeaderOnly};
  }

  void tell(std::string text) {
    if (contents_.contradictions.size() < Contents::kMaxContradictions) {
      contents_.contradictions.push_back(std::move(text));
    } else {
      ++untold_;
    }
  }

  const ByteSource& file_;
  ByteOrder order_;
  std::set<Guid> listed_;
  std::vector<Candidate> candidates_;
  std::map<Guid, std::size_t> by_id_;  // index into candidates_
  std::size_t untold_ = 0;
  Contents contents_;
};

// The table's entry count and entries, as far as the file goes.
Result<ByteSource::Bytes> readTable(const ByteSource& file, ByteOrder order, std::uint64_t offset,
                                    std::size_t entry_size) {
  const std::uint64_t rest = file.size() - offset;
  auto start = file.read(offset, std::min<std::uint64_t>(rest, sizeof(std::uint32_t)));
  if (!start || start->bytes.size() < sizeof(std::uint32_t)) return start;
  const std::uint64_t entries = ByteReader(start->bytes, order, offset).u32("table of contents");
  return file.read(offset, std::min(rest, sizeof(std::uint32_t) + entries * entry_size));
}

}  // namespace

Result<SegmentHeader> readSegmentHeader(const ByteSource& file, ByteOrder order, std::uint64_t offset) {
  if (!file.holds(offset, kSegmentHeaderBytes)) return fail("lies outside of the file", offset);
  const auto read = file.read(offset, kSegmentHeaderBytes);
  if (!read) return passOn(read);
  ByteReader reader(read->bytes, order, offset);
  SegmentHeader header;
  header.id = reader.guid("segment header");
  header.type = static_cast<SegmentType>(reader.u32("segment header"));
  header.length_bytes = reader.u32("segment header");
  return header;
}

Result<Contents> readContents(const ByteSource& file, ByteOrder order, std::uint64_t offset, bool wide) {
  const std::size_t entry_size = wide ? 32 : 28;
  const auto read = readTable(file, order, offset, entry_size);
  if (!read) return passOn(read);
  ByteReader toc(read->bytes, order, offset);
  const std::uint32_t entries = toc.count("table of contents", entry_size);
  std::vector<TocEntry> table;
  table.reserve(entries);
  for (std::uint32_t i = 0; i < entries; ++i) {
    TocEntry entry;
    entry.id = toc.guid("contents entry");
    entry.offset = wide ? toc.u64("contents entry") : toc.u32("contents entry");
    entry.length_bytes = toc.u32("contents entry");
    entry.type = static_cast<SegmentType>(toc.u32("contents entry") >> 24);
    table.push_back(entry);
  }
  if (!toc.ok()) return toc.unexpected();
  return Reconciler(file, order).run(table);
}

}  // namespace jttk
