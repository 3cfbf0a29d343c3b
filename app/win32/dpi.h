// Sizes that follow the monitor a window is on. The calls that know monitors exist from Windows 10 1607 on
// and are looked up at run time; before, the system's one resolution answers.
#pragma once

#include <windows.h>

namespace loftbay::app::win32 {

// The width and height in pixels of icons for this window: large ones, or those of captions.
SIZE iconSize(HWND window, bool large);

}  // namespace loftbay::app::win32
