// Every mesh gets a Material object of its own, all of them named "Material".
#include "geometry/material.h"

#include <algorithm>
#include <array>
#include <string>

#include "diag/program_seams.h"
#include "diag/trace_log.h"

namespace loftbay::geometry {

using diag::text;
using diag::WriteTraceLog;
using Orb::Zix::ColorType;

namespace {

using Color = std::array<float, 4>;  // red, green, blue, alpha

constexpr Color kDefaultGrey = {0.698F, 0.698F, 0.698F, 1.0F};
constexpr Color kBlack = {0.0F, 0.0F, 0.0F, 1.0F};

// What a shape without any material looks like.
struct Colors {
  Color diffuse = kDefaultGrey;
  Color ambient = kDefaultGrey;
  Color emission = kBlack;
  float shininess = 128.0F;
  Color specular = kBlack;
};

using ColorGetter = void (JtkMaterial::*)(float*&);

void read(JtkMaterial& material, ColorGetter getter, Color& color) {
  float* rgba = nullptr;
  (material.*getter)(rgba);
  if (rgba != nullptr) std::copy_n(rgba, color.size(), color.begin());
}

Colors colorsOf(JtkMaterial* material) {
  Colors colors;
  if (material == nullptr) return colors;
  read(*material, &JtkMaterial::getDiffuseColor, colors.diffuse);
  read(*material, &JtkMaterial::getAmbientColor, colors.ambient);
  read(*material, &JtkMaterial::getEmissionColor, colors.emission);
  material->getShininess(colors.shininess);
  read(*material, &JtkMaterial::getSpecularColor, colors.specular);
  return colors;
}

std::string rgbText(const Color& color) { return text(color[0], " ", color[1], " ", color[2]); }

}  // namespace

void writeMaterial(Orb::Zix::Scene_V1& scene, JtkMaterial* material, const Orb::Zix::ObjectId& mesh) {
  WriteTraceLog("obJt2Zix::WriteMaterial():Start");
  const Colors colors = colorsOf(material);
  // 0 is opaque. It goes where other colours have their alpha.
  const float transparency = 1.0F - colors.diffuse[3];
  constexpr float kFull = 1.0F;

  WriteTraceLog(text("obJt2Zix::WriteMaterial():diffuseColor : ", rgbText(colors.diffuse)));
  WriteTraceLog(text("obJt2Zix::WriteMaterial():ambientColor : ", rgbText(colors.ambient)));
  WriteTraceLog(text("obJt2Zix::WriteMaterial():emissionColor: ", rgbText(colors.emission)));
  WriteTraceLog(text("obJt2Zix::WriteMaterial():specularColor: ", rgbText(colors.specular)));
  WriteTraceLog(text("obJt2Zix::WriteMaterial():shinniness   : ", colors.shininess));
  WriteTraceLog(text("obJt2Zix::WriteMaterial():Transparency : ", transparency));

  const Orb::Zix::ObjectId object = scene.createObject(Orb::Zix::ObjectType::Material);
  diag::programSeams().observer->counted(diag::Counted::Materials, 1);
  scene.setName(object, "Material");
  scene.setMaterial(mesh, object);
  const auto set = [&](ColorType type, const Color& color, const float& alpha) {
    scene.setColor(object, type, color[0], color[1], color[2], alpha);
  };
  set(ColorType::Diffuse, colors.diffuse, transparency);
  set(ColorType::Ambient, colors.ambient, kFull);
  set(ColorType::Emission, colors.emission, kFull);
  set(ColorType::Specular, colors.specular, kFull);
  scene.setAmbientIntensity(object, colors.shininess);
  WriteTraceLog("obJt2Zix::WriteMaterial():End");
}

}  // namespace loftbay::geometry
