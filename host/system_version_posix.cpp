// POSIX side of system_version.h: there is no such record.
#include "host/system_version.h"

namespace loftbay::host {

std::optional<SystemVersion> systemVersion() { return std::nullopt; }

}  // namespace loftbay::host
