// For programs that are interrupted (Ctrl-C) while a file is being written: every OutputFile keeps the path
// of its temporary in static storage here, ready in the system's own form, so that a signal handler can
// remove it without allocating or locking.
#pragma once

#include <string_view>

namespace Orb::Zix {

// Removes the temporary files that are being written now. Async-signal-safe; for a handler after which the
// process ends. On Windows for the console control handler.
void removeInterruptedWrites() noexcept;

// For OutputFile: remembers a temporary until it is forgotten. Returns its slot, or -1 when all slots are
// taken or the path is longer than the system takes; such a file is simply not known to the handler.
int rememberTemporary(std::string_view program_path) noexcept;
void forgetTemporary(int slot) noexcept;

}  // namespace Orb::Zix
