#include "jttk/settings.h"

namespace jttk {

Settings& settings() {
  static Settings values;
  return values;
}

}  // namespace jttk
