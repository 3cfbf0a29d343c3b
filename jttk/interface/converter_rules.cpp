#include "jttk/interface/converter_rules.h"

namespace jttk {

MaterialValues builtInGrey() {
  MaterialValues grey;
  grey.diffuse = {0.698F, 0.698F, 0.698F, 1.0F};
  grey.ambient = grey.diffuse;
  grey.emission = {0, 0, 0, 1.0F};
  grey.specular = grey.emission;
  grey.shininess = 128.0F;
  return grey;
}

}  // namespace jttk
