#include "cli/loftbay/segment_view.h"

#include <fmt/core.h>

#include <algorithm>

#include "cli/console.h"
#include "cli/json_value.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "jttk/interface/segments.h"
#include "zix/output_file.h"

namespace loftbay::cli {

namespace {

using host::shownText;

constexpr int kSegmentSchemaVersion = 1;

JsonValue entryJson(const jttk::SegmentEntry& entry) {
  return JsonValue::object({{"id", entry.id},
                            {"type", entry.type},
                            {"offset", entry.offset},
                            {"bytes", std::uint64_t{entry.length_bytes}}});
}

JsonValue contentsJson(const jttk::SegmentContents& contents) {
  JsonValue segment = entryJson(contents.entry);
  segment.set("compression", contents.compression.empty() ? JsonValue() : JsonValue(contents.compression));
  segment.set("unpacked_bytes", std::uint64_t{contents.data.size()});
  JsonValue elements = JsonValue::array();
  for (const auto& element : contents.elements) {
    elements.add(JsonValue::object({{"offset", element.offset},
                                    {"bytes", std::uint64_t{element.length_bytes}},
                                    {"type", element.type}}));
  }
  segment.set("elements", std::move(elements));
  JsonValue facts = JsonValue::object({});
  for (const auto& [what, value] : contents.facts) facts.set(what, value);
  segment.set("shape", std::move(facts));
  segment.set("note", contents.note.empty() ? JsonValue() : JsonValue(contents.note));
  segment.set("failure", contents.failure.empty() ? JsonValue() : JsonValue(contents.failure));
  return segment;
}

void printEntry(const jttk::SegmentEntry& entry) {
  print(fmt::format("{}  {:>10}  {:>10}  {}\n", entry.id, entry.offset, entry.length_bytes, entry.type));
}

void printContents(const jttk::SegmentContents& contents) {
  const auto& entry = contents.entry;
  print(fmt::format("segment {} ({})\n", entry.id, entry.type));
  print(fmt::format("  at byte {} of the file, {} bytes as the table of contents states\n", entry.offset,
                    entry.length_bytes));
  if (!contents.compression.empty()) {
    print(fmt::format("  {}, {} bytes unpacked\n",
                      contents.compression == "none" ? "not compressed" : contents.compression,
                      contents.data.size()));
  }
  for (const auto& element : contents.elements) {
    print(fmt::format("  {:>10}  {:>10}  {}\n", element.offset, element.length_bytes, element.type));
  }
  for (const auto& [what, value] : contents.facts) print(fmt::format("  {}: {}\n", what, shownText(value)));
  if (!contents.note.empty()) print(fmt::format("  note: {}\n", shownText(contents.note)));
}

bool writeRaw(const std::string& path, const std::vector<std::byte>& bytes) {
  Orb::Zix::OutputFile file;
  auto failure = file.open(host::toProgramPath(path));
  if (!failure) failure = file.append(bytes);
  if (!failure) failure = file.commit();
  if (failure) complain("loftbay", failure->text());
  return !failure;
}

bool list(const SegmentRequest& request, const jttk::SegmentSearch& search) {
  if (request.json) {
    JsonValue entries = JsonValue::array();
    for (const auto& entry : search.found) entries.add(entryJson(entry));
    printJson(JsonValue::object({{"schema_version", kSegmentSchemaVersion},
                                 {"input", request.input},
                                 {"segments", std::move(entries)}}));
  } else {
    print(fmt::format("{:<36}  {:>10}  {:>10}  {}\n", "id", "offset", "bytes", "type"));
    for (const auto& entry : search.found) printEntry(entry);
  }
  return true;
}

bool show(const SegmentRequest& request, const jttk::SegmentEntry& entry) {
  const jttk::SegmentContents contents = jttk::readSegment(host::toProgramPath(request.input), entry);
  if (request.json) {
    printJson(JsonValue::object({{"schema_version", kSegmentSchemaVersion},
                                 {"input", request.input},
                                 {"segment", contentsJson(contents)}}));
  } else {
    printContents(contents);
  }
  if (!contents.failure.empty()) complain("loftbay", request.input + ": " + contents.failure);
  const bool unpacked = !contents.compression.empty();
  const bool written = request.raw.empty() || (unpacked && writeRaw(request.raw, contents.data));
  return contents.failure.empty() && written;
}

}  // namespace

bool showSegments(const SegmentRequest& request) {
  const bool all = request.id == "list";
  const jttk::SegmentSearch search =
      jttk::findSegments(host::toProgramPath(request.input), all ? "" : request.id);
  if (!search.failure.empty()) {
    complain("loftbay", request.input + ": " + search.failure);
    return false;
  }
  if (all) return list(request, search);
  if (search.found.size() == 1) return show(request, search.found.front());
  complain("loftbay",
           fmt::format("{}: {} segments have an id that begins with '{}' (see --segment list)", request.input,
                       search.found.empty() ? "no" : std::to_string(search.found.size()), request.id));
  return false;
}

}  // namespace loftbay::cli
