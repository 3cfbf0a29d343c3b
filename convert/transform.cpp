// Gives the Transform object on top of the parent stack the three parts of a JT matrix.
#include <cmath>
#include <cstddef>

#include "convert/decomposition.h"
#include "convert/job.h"
#include "diag/trace_log.h"

namespace loftbay::convert {

using diag::text;
using diag::WriteTraceLog;

namespace {
// Shear below this is rounding, not shape.
constexpr float kVisibleShear = 1e-4F;
}  // namespace

void obJt2Zix::SetZixTransformation(JtkTransform* transform) {
  float* m = nullptr;
  transform->getMatrixElements(m);
  if (m == nullptr) return;

  WriteTraceLog("obJt2Zix::SetZixTransformation(): Transformation Matrix");
  for (std::size_t row = 0; row < 4; ++row) {
    WriteTraceLog(text("obJt2Zix::SetZixTransformation(): ", m[row], "\t", m[4 + row], "\t", m[8 + row], "\t",
                       m[12 + row]));
  }
  const auto [rotation, scale, shear] =
      decompose({{{m[0], m[4], m[8]}, {m[1], m[5], m[9]}, {m[2], m[6], m[10]}}});
  const auto [axis, angle_rad] = axisAngle(rotation);
  WriteTraceLog("obJt2Zix::SetZixTransformation():General Transformation case");
  WriteTraceLog(text("obJt2Zix::SetZixTransformation():Translation: ", m[12], " ", m[13], " ", m[14]));
  WriteTraceLog(text("obJt2Zix::SetZixTransformation():Rotation: ", axis[0], " ", axis[1], " ", axis[2], " ",
                     angle_rad));
  WriteTraceLog(text("obJt2Zix::SetZixTransformation():Scale: ", scale[0], " ", scale[1], " ", scale[2]));
  const Orb::Zix::ObjectId object = topParent();
  scene.setTranslation(object, m[12], m[13], m[14]);
  scene.setRotation(object, axis[0], axis[1], axis[2], angle_rad);
  scene.setScale(object, scale[0], scale[1], scale[2]);

  for (const float part : shear) {
    if (std::abs(part) > kVisibleShear) {
      notes_.add(Dropped::Shear, {});
      break;
    }
  }
}

}  // namespace loftbay::convert
