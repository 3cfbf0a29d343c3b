// For programs that are interrupted (Ctrl-C) while a file is being written: every OutputFile keeps the path
// of its temporary in static storage here, ready in the system's own form, so that a signal handler can
// remove it without allocating or locking.
#pragma once

#include "zix/output_file_system.h"

namespace Orb::Zix {

// Removes the temporary files that are being written now. Async-signal-safe; for a handler after which the
// process ends. On Windows for the console control handler.
void removeInterruptedWrites() noexcept;

// For OutputFile: remembers a temporary until it is forgotten. Returns its slot, or -1 when all slots are
// taken or the path is longer than the system takes; such a file is simply not known to the handler.
int rememberTemporary(const system::NativePath& path) noexcept;
void forgetTemporary(int slot) noexcept;
// Whether removeInterruptedWrites has been called for it. Such a file must not be put in place: where a file
// that is open keeps its name, it could still be renamed.
bool isInterrupted(int slot) noexcept;

}  // namespace Orb::Zix
