// Ctrl-C and its kin: the unfinished scene is removed and the program ends with code 130.
#pragma once

namespace loftbay::cli {

void installInterruptHandler();

}  // namespace loftbay::cli
