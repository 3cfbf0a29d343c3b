// Makes the objects of a model.
#pragma once

#include <memory>

#include "jttk/interface/objects.h"

namespace jttk {

// The root of a model; it owns everything else and is destroyed by its last unref.
JtkHierarchy* createRoot(std::unique_ptr<Document> main);

}  // namespace jttk
