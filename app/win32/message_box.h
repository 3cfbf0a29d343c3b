// Message boxes of the program: modal over its dialog, captioned with the application's name.
#pragma once

#include <windows.h>

#include <string_view>

#include "diag/program_seams.h"

namespace loftbay::app::win32 {

// The window that owns the boxes from now on, and is disabled while one is open; null: none. Returns the one
// before. Kept here because the system forgets which window is active while another program is in front.
HWND setMessageBoxOwner(HWND owner);

// Returns when the user has closed the box.
void showMessageBox(std::string_view text, diag::BoxIcon icon);

}  // namespace loftbay::app::win32
