#include "jttk/model/tess_values.h"

namespace jttk {

TessValues& currentTessValues() {
  static TessValues values;
  return values;
}

}  // namespace jttk
