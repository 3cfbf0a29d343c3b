// Names as people see them in a tree.
#pragma once

#include <string>
#include <string_view>

namespace jttk {

// The name without the suffix that CAD systems append: `lever.asm;5;0:` is "lever". Cut is a tail of `.asm`
// or `.part` (any letter case, may be missing), `;revision;instance:`. A name without this tail stays as it
// is.
std::string_view withoutSuffix(std::string_view name);

// The file name without folders and extension.
std::string_view fileStem(std::string_view program_path);

}  // namespace jttk
