// One loaded model: its files, the materials and placements that come down to its nodes, and its decoded
// shapes.
#pragma once

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "jttk/file/memory_budget.h"
#include "jttk/mesh/matrix.h"
#include "jttk/model/holder.h"
#include "jttk/model/library.h"
#include "jttk/model/material_states.h"
#include "jttk/model/product.h"
#include "jttk/model/shape_cache.h"

namespace jttk {

// What comes down to a node from above.
struct Inherited {
  MaterialStates::State material = MaterialStates::kEmpty;
  bool transform_is_final = false;    // transforms from here on have no effect
  const Matrix* transform = nullptr;  // of grouping nodes: it belongs to what is below them
  std::uint32_t instance_depth = 0;   // instances above
};

class Model {
 public:
  // Instances inside instances: each is one recursion of the converter's walk.
  static constexpr std::uint32_t kMaxInstanceDepth = 500;

  explicit Model(std::unique_ptr<Document> main);
  ~Model();
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  [[nodiscard]] Library& library() { return library_; }
  [[nodiscard]] MaterialStates& materials() { return materials_; }

  // Counts an occurrence of a node. False (and reported once) when there are more than the budget allows, or
  // when the node's own name would cost more than is left.
  bool countOccurrence(NodeRef node);
  // Counts a name that is handed out: each goes into the log and the scene.
  void countName(std::size_t bytes);
  // Counts a shape that is asked for, and its corners. False (and reported once) when the budget has no room
  // for them.
  bool countShape();
  bool countCorners(std::size_t corners);
  // Whether the budget has room for any more names and shapes. False is reported once.
  bool hasRoom();

  // Adds the node's own attributes to what comes from above; its transforms are applied before `matrix`.
  // False when it has no transform that counts.
  bool applyAttributes(NodeRef ref, Inherited& inherited, Matrix& matrix);
  const Matrix* keep(const Matrix& matrix);

  // True when any node of the model has a material. Opens files until one is found.
  bool hasMaterials();

  // The decoded arrays of a shape node; null when it is damaged, which is reported once. The latest arrays
  // stay until the next releaseShapes whatever their size, so that choosing a level and fetching its shape
  // decode only once.
  std::shared_ptr<const ShapeArrays> shapeArrays(NodeRef shape, const std::string& part_name);
  // An instance whose part has a transform of its own. Counted, and reported at the end: the converter places
  // instanced parts by the instance alone.
  void noteOwnTransform(const std::string& instance);
  // Whether a shape node has no shape segment but one of a kind that is not read.
  [[nodiscard]] static bool isPlaceholder(NodeRef shape);
  // Geometry is held until the next releaseShapes.
  void holds(Holder& holder) { holders_.push_back(&holder); }
  // What the triangles of exact geometry depend on in addition to the parameters.
  struct ExactKey {
    const Document* document;
    std::vector<Guid> segments;
    std::string units;                 // of the nodes that are the part
    std::array<std::uint32_t, 6> box;  // its bits
    bool has_box = false;
    bool operator<(const ExactKey& other) const {
      return std::tie(document, segments, units, box, has_box) <
             std::tie(other.document, other.segments, other.units, other.box, other.has_box);
    }
  };
  // The first node with this exact geometry. What is known of it serves all others.
  NodeRef sameGeometry(ExactKey key, NodeRef node) {
    return exact_nodes_.emplace(std::move(key), node).first->second;
  }
  // Exact geometry that is known to give no triangles.
  [[nodiscard]] bool isHopeless(const ShapeCache::Key& key) const { return hopeless_.contains(key); }
  void setHopeless(const ShapeCache::Key& key) { hopeless_.insert(key); }
  [[nodiscard]] ShapeCache& cache() { return cache_; }
  void releaseShapes();

 private:
  // Reports, once for each, an unusable transform, and coordinates that are not finite.
  void checkTransform(NodeRef ref, std::uint32_t attribute);
  void checkCoordinates(NodeRef shape, const std::string& part_name, const ShapeGeometry& geometry);
  void reportOwnTransforms() const;
  void reportOfMissingNotes() const noexcept;
  // Always false.
  bool reportPlaces();
  // Reports the doubts and faults in `facts`, once for each shape.
  void reportFacts(NodeRef shape, const std::string& part_name, const ShapeFacts& facts);
  // A note, once per shape: `told` holds the nodes of the shape's file that have had theirs.
  void noteShape(NodeRef shape, const std::string& part_name, std::unordered_set<std::uint32_t>& reported,
                 const std::string& text, const char* of_more);
  // `arrays` with their memory, which is given back when nothing holds them any more. `before`: what was
  // taken before they were decoded.
  std::shared_ptr<const ShapeArrays> countMemory(ShapeArrays arrays, std::uint64_t before);

  Library library_;
  MaterialStates materials_;
  // Shared with the arrays that may outlive the model.
  std::shared_ptr<MemoryBudget> memory_;
  ShapeCache cache_;
  std::deque<Matrix> matrices_;
  const Document* latest_document_ = nullptr;
  std::uint32_t latest_node_ = kNone;
  std::shared_ptr<const ShapeArrays> latest_;
  std::vector<Holder*> holders_;
  // Exact geometry by what decides about it: the first node that has it (see sameGeometry), and the values of
  // those of which nothing comes.
  std::map<ExactKey, NodeRef> exact_nodes_;
  std::set<ShapeCache::Key> hopeless_;
  std::size_t own_transforms_ = 0;
  std::vector<std::string> own_transform_names_;  // the first few
};

}  // namespace jttk
