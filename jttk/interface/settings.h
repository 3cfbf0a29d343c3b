// What a program may set before it loads a file: jttk::settings(). The layers below read it where it is
// defined.
#pragma once

#include "jttk/model/settings.h"  // IWYU pragma: export
