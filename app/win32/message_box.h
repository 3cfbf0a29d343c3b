// Message boxes of the program: modal over its active window, captioned with the application's name.
#pragma once

#include <string_view>

#include "diag/program_seams.h"

namespace loftbay::app::win32 {

// Returns when the user has closed the box.
void showMessageBox(std::string_view text, diag::BoxIcon icon);

}  // namespace loftbay::app::win32
