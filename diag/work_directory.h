// The run's work directory: a new directory under a base directory of the user's, named after the program
// and the start time. The trace log lies in it. Paths are in program form.
#pragma once

#include <optional>
#include <string>

namespace loftbay::diag {

// Chooses and makes the work directory and names the log in it; called once per process, before the first
// log line. The base directory is the one that MERIDAN_TEMP_PATH names (made when it does not exist),
// otherwise that of TEMP, TMP or USERPROFILE, whichever is set first; POSIX hosts then take TMPDIR and /tmp.
// A variable that is set to an empty text names no directory. Failures show only in missing log lines.
//   logFileName    the log's file name
//   base_override  acts as if MERIDAN_TEMP_PATH named it
// Always true.
bool SelectWorkDirectory(std::string logFileName, const std::optional<std::string>& base_override = {});

// The same with a directory that no other process has: where the dated name is taken, "-2", "-3", … is put
// behind it. For programs of which several may start in one second. False when the directory could not be
// made.
bool selectOwnWorkDirectory(std::string logFileName, const std::optional<std::string>& base_override = {});

// Whether a work directory could be made in `base`, which is made itself where it does not exist. Leaves
// nothing else behind.
bool canHoldWorkDirectory(const std::string& base);

// Tries to make `base` + "\Loftbay-<year>-<month>-<day>-<hour>-<minute>-<second>" and returns that path,
// whether it could be made or not.
std::string MakeDatedDirectory(std::string baseDirectory);

// Only the choice of the base directory, as SelectWorkDirectory does it: makes the one that MERIDAN_TEMP_PATH
// names where it does not exist. Changes neither the work directory nor the log. Returns the base directory.
std::string findBaseDirectory(const std::optional<std::string>& base_override = {});

// The work directory; empty until it is chosen.
const std::string& workDirectory();

}  // namespace loftbay::diag
