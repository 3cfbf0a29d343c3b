// A material that the interface hands out.
#pragma once

#include "jttk/graph/scene_graph.h"
#include "jttk/interface/typed.h"

namespace jttk {

class MaterialObject final : public Typed<JtkMaterial, JtkEntity::JtkMATERIAL> {
 public:
  explicit MaterialObject(const MaterialValues& values) : values_(values) { ref(); }
  void getDiffuseColor(float*& rgba) override { rgba = values_.diffuse.data(); }
  void getAmbientColor(float*& rgba) override { rgba = values_.ambient.data(); }
  void getEmissionColor(float*& rgba) override { rgba = values_.emission.data(); }
  void getShininess(float& shininess) override { shininess = values_.shininess; }
  void getSpecularColor(float*& rgba) override { rgba = values_.specular.data(); }

 private:
  MaterialValues values_;
};

}  // namespace jttk
