// The contents of a part: levels of detail, and the shapes of each.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jttk/model/exact_geometry.h"
#include "jttk/model/model.h"
#include "jttk/model/part_shapes.h"

namespace jttk {

class Part {
 public:
  // `product` outlives this object. `inherited`: with the part's own attributes.
  Part(Model& model, const Product& product, Reached reached, const Inherited& inherited)
      : model_(model),
        product_(product),
        reached_(reached),
        inherited_(inherited),
        exact_(model, product.chain) {}

  // The name that messages call it by, instead of that which the file gives.
  void setName(std::string name) { given_name_ = std::move(name); }
  [[nodiscard]] std::string name() const;
  // Exact geometry that is to be used becomes level 0. Called before anything is asked for.
  void offerExactAsLevel() { offers_exact_as_level_ = true; }

  // The levels that are handed out, the first that yields geometry first.
  [[nodiscard]] const std::vector<Level>& levels();
  // The levels as the file states them, without a look at what they yield; made anew at each call.
  [[nodiscard]] std::vector<Level> statedLevels();
  // The material that all its shapes share or that comes from above.
  [[nodiscard]] MaterialStates::State materialInForce();

  // Whether exact geometry that can be read belongs to the part.
  [[nodiscard]] bool hasExactGeometry() const { return exact_.exists(); }
  // Whether exact geometry is to be used: level 0 is empty (and not hidden), or the setting asks for it.
  [[nodiscard]] bool wantsExactGeometry();
  // Whether level 0 is the exact geometry.
  [[nodiscard]] bool offersExactGeometry();
  // Strips of the exact geometry; null when there are none.
  std::shared_ptr<const ShapeArrays> exactArrays(const TessValues& values);
  // A note that exact geometry has one colour where the facets that it replaces have several.
  void noteOneColor();

  // Whether both have the same shapes and material, apart from where they are.
  [[nodiscard]] bool looksLike(const Part& other) const;

 private:
  struct Tried;
  [[nodiscard]] bool levelZeroIsEmpty() const;
  [[nodiscard]] bool hidesItsShapes() const;
  // Decides which level is handed out first (part_levels.cpp), by decoding as much as that takes.
  void chooseFirstLevel();
  bool yields(std::size_t level, Tried& tried);
  void dropLevelsBefore(std::size_t level);
  void reportOtherLevel(std::size_t wanted, std::size_t chosen, const Tried& tried);
  void reportUnreadGeometry();
  void noteWireframe();
  [[nodiscard]] const float* box();
  void offerExactGeometry();

  Model& model_;
  const Product& product_;
  Reached reached_;
  Inherited inherited_;
  std::optional<std::string> given_name_;
  std::optional<std::vector<Level>> levels_;
  ExactGeometry exact_;
  bool offers_exact_as_level_ = false;
  bool offers_exact_ = false;
  // Whether level 0 gives any geometry, where that had to be found out.
  std::optional<bool> level_zero_yields_;
  std::optional<std::array<float, 6>> box_;
};

// The level that the settings ask for, as an index of these levels; 0 where there are none.
[[nodiscard]] std::size_t wantedLevel(const std::vector<Level>& levels);

}  // namespace jttk
