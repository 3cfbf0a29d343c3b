#include "jttk/model/library.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "diag/program_seams.h"
#include "host/directory.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "jttk/brep/read_xt_brep.h"
#include "jttk/model/unused_geometry.h"

namespace jttk {

namespace host = loftbay::host;
namespace diag = loftbay::diag;

Library::Library(std::unique_ptr<Document> main, bool allow_outside, std::vector<std::string> search_folders)
    : finder_(main->path, allow_outside, std::move(search_folders)), main_(main.get()) {
  Document* document = main.get();
  // Bytes without a file have no canonical path; no other file can have the empty key.
  documents_.emplace(host::canonicalPath(main->path).value_or(std::string()), std::move(main));
  chains_.push_back({document, nullptr});
  reportOpened(*document);
}

const FileChain* Library::follow(NodeRef partition) {
  const Reference reference{&partition.document(), partition.node};
  auto known = references_.find(reference);
  if (known == references_.end()) known = references_.emplace(reference, open(reference)).first;
  Document* document = known->second;
  if (document == nullptr) return nullptr;
  const auto [file, is_new] = known_chains_.try_emplace({document, partition.file}, nullptr);
  if (!is_new) return file->second;
  for (const FileChain* above = partition.file; above != nullptr; above = above->above) {
    if (above->document != document) continue;
    if (reported_cycles_.emplace(reference, true).second) {
      lost(partition.document().nearestLabel(partition.node),
           host::toHostPath(partition.document().path) + ": refers to " + host::toHostPath(document->path) +
               ", which refers to this file; the circle is not followed");
    }
    return nullptr;
  }
  chains_.push_back({document, partition.file});
  file->second = &chains_.back();
  return file->second;
}

namespace {

// As much of a reference as people read.
std::string inQuotes(std::string_view reference) {
  const std::string_view shown = host::startOfText(reference, 500);
  std::string text = "\"";
  text.append(shown).append(shown.size() < reference.size() ? "…\"" : "\"");
  return text;
}

std::string whyNotRead(FileFinder::Refusal refusal) {
  using Refusal = FileFinder::Refusal;
  switch (refusal) {
    case Refusal::Outside:
      return "lies outside the folder of the model and is not read";
    case Refusal::OtherHost:
      return "lies on another machine and is not read";
    case Refusal::DriveRelative:
      return "depends on the current folder of a drive and is not read";
    case Refusal::NoFile:
      return "names no file and is not read";
    case Refusal::None:
      break;
  }
  return "was not found";
}

}  // namespace

Document* Library::open(const Reference& reference) {
  const Document& from = *reference.document;
  const std::string& text = from.graph.text(from.graph.nodes[reference.node].file_name);
  const FileFinder::Found found = finder_.find(from.path, text);
  std::string reason;
  if (!found.path.empty()) {
    if (found.by_tail) noteTail(from, text, found.path);
    const Result<Document*> document = load(found.path, found.canonical);
    if (document) return *document;
    reason = host::toHostPath(found.path) + ": " + document.error().text();
  } else {
    reason = inQuotes(text).append(" ").append(whyNotRead(found.refusal));
  }
  lost(from.nearestLabel(reference.node), host::toHostPath(from.path) + ": " + reason);
  return nullptr;
}

void Library::noteTail(const Document& from, const std::string& reference, const std::string& path) {
  constexpr std::size_t kMostNotes = 20;
  if (noted_tails_.size() > kMostNotes || !noted_tails_.emplace(&from, reference).second) return;
  const std::string file = host::toHostPath(from.path);
  if (noted_tails_.size() > kMostNotes) {
    note(file + ": more files are not where they are stated to be, and were found by the end of their names");
  } else {
    note(file + ": " + inQuotes(reference) + " is not where it is stated to be; " + host::toHostPath(path) +
         " was read");
  }
}

Result<Document*> Library::load(const std::string& path, const std::string& canonical) {
  const auto [entry, is_new] = documents_.try_emplace(canonical);
  if (is_new) {
    auto document = openDocument(path, main_->budget);
    if (document) {
      entry->second = std::move(*document);
      reportOpened(*entry->second);
    } else {
      failures_.emplace(canonical, document.error());
    }
  }
  if (!entry->second) return tl::unexpected<Error>(failures_.at(canonical));
  return entry->second.get();
}

std::vector<const Document*> Library::documents() const {
  std::vector<const Document*> all = {mainFile()->document};
  for (const auto& [canonical, document] : documents_) {
    if (document && document.get() != mainFile()->document) all.push_back(document.get());
  }
  return all;
}

// What is wrong with the file round the scene graph.
void Library::reportContainer(const Document& document) {
  const JtFile& jt = *document.file;
  const std::string where = host::toHostPath(document.path) + ": ";
  for (const std::string& text : jt.contradictions()) note(where + text);
  for (const std::string& text : document.notes) note(where + text);
  for (const std::string& text : document.graph.notes) note(where + "scene graph: " + text);
  constexpr std::size_t kMostListed = 5;
  const std::vector<const TocEntry*> cut = jt.cutOff();
  std::string ids;
  for (std::size_t i = 0; i < std::min(cut.size(), kMostListed); ++i) {
    ids += (i == 0 ? "" : ", ") + cut[i]->id.text() + " (" + segmentTypeName(cut[i]->type) + ")";
  }
  if (!cut.empty()) {
    note(where + "the file is cut off: " + std::to_string(cut.size()) + " of " +
         std::to_string(jt.contents().size()) + " segments lie behind its end or go beyond it: " + ids +
         (cut.size() > kMostListed ? ", …" : ""));
  }
  if (const auto unused = reportUnusedGeometry(document)) lost(document.nearestLabel(kNone), where + *unused);
}

void Library::reportOpened(Document& document) {
  diag::programSeams().observer->opened(host::toHostPath(document.path));
  reportUnit(document);
  reportDamage(document);
  notes_.addFile(document);
}

// The root's unit is the model's; where it states none, what is nearest to the top of the file. Nodes with
// another one are counted for a note.
void Library::reportUnit(const Document& document) {
  const SceneGraph& graph = document.graph;
  std::unordered_map<std::string_view, std::optional<double>> known;  // few, though every node may state one
  const auto metresOf = [&](const Node& node) {
    const auto [unit, is_new] = known.try_emplace(graph.text(node.units));
    if (is_new) unit->second = brep::metresOfUnit(unit->first);
    return unit->second;
  };
  const auto tell = [&](const Node& node) {
    if (unit_metres_) return;
    unit_metres_ = metresOf(node);
    if (unit_metres_) diag::programSeams().observer->unit(graph.text(node.units), *unit_metres_);
  };
  if (graph.root < graph.nodes.size()) tell(graph.nodes[graph.root]);
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) {
    tell(graph.nodes[i]);
    const auto metres = metresOf(graph.nodes[i]);
    if (metres && metres != unit_metres_) notes_.add(ModelNotes::Kind::OtherUnit, document.nearestLabel(i));
  }
}

void Library::reportDamage(Document& document) {
  SceneGraph& graph = document.graph;
  has_materials_ = has_materials_ || graph.has_materials;
  const std::string file = host::toHostPath(document.path);
  const std::string where = file + ": scene graph: ";
  for (const GraphDamage& damage : graph.damage) {
    lost(document.nearestLabel(damage.node), where + damage.error.textInSegment());
  }
  if (graph.unlisted_damage > 0) {
    lost(document.nearestLabel(kNone),
         where + std::to_string(graph.unlisted_damage) + " more faults of this kind");
  }
  const std::size_t named = std::min(graph.hidden_nodes.size(), SceneGraph::kMaxDamage);
  for (std::size_t i = 0; i < named; ++i) {
    note(file + ": \"" + document.nearestLabel(graph.hidden_nodes[i]) +
         "\" is marked as not shown and was left out");
  }
  if (const std::size_t more = graph.hidden_nodes.size() - named; more > 0) {
    note(file + ": " + std::to_string(more) + " more nodes are marked as not shown and were left out");
  }
  reportContainer(document);
}

void Library::noteSegment(Document& document, const Segment& segment) {
  if (segment.note.empty() || !document.noted_segments.insert(segment.id).second) return;
  note(host::toHostPath(document.path) + ": segment " + segment.id.text() + ": " + segment.note);
}

void Library::lost(const std::string& part, const std::string& reason) {
  diag::programSeams().observer->lost(part, reason);
  // A line break in a name would begin a line that looks like a message of its own.
  *diag::programSeams().toolkit_messages << host::shownText(part + ": " + reason) << '\n';
}

bool Library::spend(std::uint64_t units) {
  Allowance& contents = budget().contents();
  contents.spend(units);
  return contents.left() > 0;
}

void Library::reportLimit(Limit limit, const std::string& part, const std::string& reason) {
  if (reported_limits_.insert(limit).second) lost(part, reason);
}

void Library::lostBy(const Error& error, const std::string& part, const Document& document) {
  const std::string where = host::toHostPath(document.path) + ": ";
  if (error.is_over_budget) {
    reportLimit(Limit::Unpacked, part,
                where + error.textWithoutOffset() + "; it is left out, and what is beyond");
  } else {
    lost(part, where + error.text());
  }
}

void Library::reportNotes() {
  for (const std::string& text : notes_.sentences()) note(text);
}

void Library::note(const std::string& text) { diag::programSeams().observer->note(text); }

}  // namespace jttk
