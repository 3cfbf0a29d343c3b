// The exact geometry of one part, and the triangle strips that are made of it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jttk/brep/bodies.h"
#include "jttk/model/holder.h"
#include "jttk/model/model.h"
#include "jttk/model/tess_values.h"

namespace jttk {

class ExactGeometry final : public Holder {
 public:
  // `chain`: the nodes that are the part, which hold the segments; it outlives this object.
  ExactGeometry(Model& model, const std::vector<NodeRef>& chain);

  // Whether the part has segments of exact geometry, of whatever kind.
  [[nodiscard]] bool exists() const { return !segments_.empty(); }

  // Whether both are of the same segments.
  [[nodiscard]] bool isOf(const ExactGeometry& other) const;
  // Whether the segments are of a kind that can be read; whether reading them succeeds is known only when
  // they are asked for.
  [[nodiscard]] bool isOfAReadableKind() const;

  // The part as strips, the first triangle of each counter-clockwise seen from outside, each with an odd
  // number of corners: read backwards, such a strip turns over. Null when nothing can be made. `box` is the
  // part's box in the file (min x y z, max x y z) or null. Losses are reported once. With `quietly` (the part
  // has facets to fall back to) they are notes if no triangles could be made at all.
  std::shared_ptr<const ShapeArrays> arrays(const TessValues& values, const std::string& part_name,
                                            const float* box, bool quietly);
  // Frees the strips.
  void release() override { arrays_.reset(); }

 private:
  struct Found {
    NodeRef node;
    Guid id;
    std::int32_t type;
  };
  struct Losses;

  std::shared_ptr<const ShapeArrays> make(const TessValues& values, const float* box, Losses& losses);
  ShapeGeometry triangles(const Found& found, const brep::Bodies& bodies, const TessValues& values,
                          const float* box, Losses& losses) const;
  Result<std::vector<brep::Bodies>> read(const Found& found);
  [[nodiscard]] ShapeCache::Key keyOf(const TessValues& values, const float* box) const;
  void reportNoWork(const Found& found, const std::string& part_name) const;
  // Of the nodes that are the part; empty when none states any.
  [[nodiscard]] std::string statedUnits() const;
  [[nodiscard]] double unitsPerMetre(const Found& found, const brep::Bodies& bodies, const float* box) const;

  Model& model_;
  const std::vector<NodeRef>& chain_;
  std::vector<Found> segments_;
  std::shared_ptr<const ShapeArrays> arrays_;
  TessValues values_;
  bool hopeless_ = false;
};

}  // namespace jttk
