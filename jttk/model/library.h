// The files of one model, each opened once, when something of it is asked for. All losses and notes are
// reported from here.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "jttk/model/document.h"
#include "jttk/model/file_finder.h"
#include "jttk/model/model_notes.h"
#include "jttk/model/node_ref.h"

namespace jttk {

class Library {
 public:
  // `main`: the file that the user named. Tells what is wrong with it.
  Library(std::unique_ptr<Document> main, bool allow_outside, std::vector<std::string> search_folders);

  [[nodiscard]] const FileChain* mainFile() const { return &chains_.front(); }
  // The chain extended by the file that a partition refers to. Null when it is missing, refused, unreadable
  // or closes a cycle, which is reported once for each partition.
  const FileChain* follow(NodeRef partition);

  // Something of the model is lost: to the observer and to the toolkit's message stream.
  void lost(const std::string& part, const std::string& reason);
  // The same because of something in a file. Of losses for want of budget only the first is reported.
  void lostBy(const Error& error, const std::string& part, const Document& document);
  void note(const std::string& text);
  // The note of a segment that was read, if it has one and it is the first time.
  void noteSegment(Document& document, const Segment& segment);

  // The budget that is left. A limit that was hit is reported once for each kind, with its consequence.
  enum class Limit : std::uint8_t { Places, Unpacked, ExactGeometry };
  [[nodiscard]] WorkBudget& budget() { return *main_->budget; }
  void reportLimit(Limit limit, const std::string& part, const std::string& reason);
  // Charges `units` for inspecting list entries that give no occurrence. False when the allowance is used up.
  bool spend(std::uint64_t units);

  // Notes that are reported at the end of the model.
  [[nodiscard]] ModelNotes& notes() { return notes_; }
  void reportNotes();

  // True when any file that was opened so far has a material on a node.
  [[nodiscard]] bool hasMaterials() const { return has_materials_; }
  // Whether inherited names have been worked out (see names.h).
  [[nodiscard]] bool namesGiven() const { return names_given_; }
  void setNamesGiven() { names_given_ = true; }
  // All files that were opened so far, the main one first.
  [[nodiscard]] std::vector<const Document*> documents() const;

 private:
  struct Reference {
    Document* document;
    std::uint32_t node;
    bool operator<(const Reference& other) const {
      return std::tie(document, node) < std::tie(other.document, other.node);
    }
  };

  Document* open(const Reference& reference);
  Result<Document*> load(const std::string& path, const std::string& canonical);
  void noteTail(const Document& from, const std::string& reference, const std::string& path);
  // Tells the observer that a file was opened, and what is wrong with it.
  void reportOpened(Document& document);
  void reportUnit(const Document& document);
  void reportDamage(Document& document);
  void reportContainer(const Document& document);

  FileFinder finder_;
  const Document* main_;
  std::map<std::string, std::unique_ptr<Document>> documents_;  // by canonical path; null: cannot be read
  std::map<std::string, Error> failures_;                       // by canonical path
  std::map<Reference, Document*> references_;
  std::map<Reference, bool> reported_cycles_;
  std::deque<FileChain> chains_;
  std::map<std::pair<Document*, const FileChain*>, const FileChain*> known_chains_;
  std::set<std::pair<const Document*, std::string>> noted_tails_;
  ModelNotes notes_;
  std::set<Limit> reported_limits_;
  bool has_materials_ = false;
  std::optional<double> unit_metres_;  // of the unit that was told
  bool names_given_ = false;
};

}  // namespace jttk
