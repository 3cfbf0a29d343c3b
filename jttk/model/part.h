// Parts: levels of detail, and the shapes of each.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jttk/model/exact_geometry.h"
#include "jttk/model/hierarchy.h"
#include "jttk/model/shape_object.h"

namespace jttk {

class PartObject final : public HierarchyObject<JtkPart, JtkEntity::JtkPART> {
 public:
  PartObject(Model& model, Product product, Met met, const Inherited& inherited)
      : HierarchyObject(model, std::move(product), met, inherited), exact_(model, product_.chain) {}
  // A part without levels.
  PartObject(Model& model, NodeRef near, std::string name);
  ~PartObject() override;

  void wasLeft() override;
  void getMaterial(JtkMaterial*& material) override;
  // Whether getMaterial answers one that the file gives, and not the grey one.
  [[nodiscard]] bool hasMaterialInForce() const { return below_.material != MaterialStates::kEmpty; }
  [[nodiscard]] int numShapeLODs() override;
  [[nodiscard]] int numShapes(int level) override;
  void getShape(JtkShape*& shape, int level, int index) override;
  [[nodiscard]] int requiresTessellation() override;
  int tessellate(JtkTessParams* parameters, JtkEntityList*& results) override;

  // A shape of the part: its node, and what the nodes on the path to it state.
  struct ShapePlace {
    NodeRef ref;
    MaterialStates::State material = MaterialStates::kEmpty;
    bool has_own_material = false;      // a material was found at or below the level of detail
    const Matrix* transform = nullptr;  // into the part's coordinates
    ShapeObject* object = nullptr;
  };
  [[nodiscard]] const std::vector<std::vector<ShapePlace>>& levels();
  // Whether exact geometry that can be read belongs to the part.
  [[nodiscard]] bool hasExactGeometry() const { return exact_.exists(); }
  // Whether both have the same shapes and material, apart from where they are.
  [[nodiscard]] bool looksLike(const PartObject& other) const;
  // The levels as the file states them, without a look at what they yield; made anew at each call.
  [[nodiscard]] std::vector<std::vector<ShapePlace>> statedLevels();
  // Strips of the exact geometry, made with the parameters that were created last; null when there are none.
  std::shared_ptr<const ShapeArrays> exactArrays() { return exactArrays(latestTessValues()); }

 private:
  [[nodiscard]] std::string name() override;
  // Whether exact geometry is to be used: level 0 is empty (and not hidden), or the setting asks for it.
  [[nodiscard]] bool wantsExactGeometry();
  [[nodiscard]] bool levelZeroIsEmpty() const;
  // Decides which level is handed out first (part_levels.cpp), by decoding as much as that takes.
  void chooseFirstLevel();
  struct Tried;
  bool yields(std::size_t level, Tried& tried);
  void tellOtherLevel(std::size_t wanted, std::size_t chosen, const Tried& tried);
  void tellUnreadGeometry();
  void noteOneColor();
  [[nodiscard]] bool hidesItsShapes() const;
  std::shared_ptr<const ShapeArrays> exactArrays(const TessValues& values);
  [[nodiscard]] const float* box();
  void offerExactGeometry();
  void noteWireframe();
  [[nodiscard]] MaterialStates::State materialInForce();

  std::optional<std::string> given_name_;
  std::optional<std::vector<std::vector<ShapePlace>>> levels_;
  ExactGeometry exact_;
  bool offers_exact_ = false;  // level 0 is the exact geometry
  // Whether level 0 gives any geometry, where that had to be found out.
  std::optional<bool> level_zero_yields_;
  std::optional<std::array<float, 6>> box_;
};

// The level that the settings ask for, as an index of these levels; 0 where there are none.
[[nodiscard]] std::size_t wantedLevel(const std::vector<std::vector<PartObject::ShapePlace>>& levels);

}  // namespace jttk
