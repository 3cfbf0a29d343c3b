// Pictures of windows on the screen, and what they show.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace loftbay::gui {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;  // 0x00RRGGBB, top row first

  [[nodiscard]] bool oneColour() const;
};

// The window's rectangle as the screen shows it.
Picture pictureOf(HWND window);

// Whether a control shows a system icon (IDI_… name), and nothing but it on one colour.
bool showsIcon(HWND control, const wchar_t* icon);

void writePng(const Picture& picture, const std::string& file_name);

// Keeps a picture of the window as it is on the screen: <name>.png among the build's pictures.
void keepPicture(HWND window, const std::string& name);

}  // namespace loftbay::gui
