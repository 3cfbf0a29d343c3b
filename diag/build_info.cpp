#include "diag/build_info.h"

namespace loftbay::diag {

// One product is known, so every key gets its name.
const char* CBuildInfo::GetAppName(const char* /*key*/) const { return "Loftbay"; }

const char* CBuildInfo::GetVersion() const { return "2.2"; }

}  // namespace loftbay::diag
