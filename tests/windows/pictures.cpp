#include "tests/windows/pictures.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/windows/waiting.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace loftbay::gui {

namespace {

constexpr int kStillPictures = 10;

// A blinking caret does not count as a change.
constexpr std::size_t kCaretPixels = 120;

// Sum of the three colour differences per pixel that two drawings of one icon may have on average.
constexpr std::uint64_t kSameIcon = 12;

// A bitmap in memory that can be drawn on and read.
class Canvas {
 public:
  Canvas(int width, int height) : width_(width), height_(height), context_(CreateCompatibleDC(nullptr)) {
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = width;
    format.bmiHeader.biHeight = -height;  // top row first
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    bitmap_ = CreateDIBSection(context_, &format, DIB_RGB_COLORS, &bits_, nullptr, 0);
    replaced_ = SelectObject(context_, bitmap_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  ~Canvas() {
    SelectObject(context_, replaced_);
    DeleteObject(bitmap_);
    DeleteDC(context_);
  }

  [[nodiscard]] HDC context() const { return context_; }
  [[nodiscard]] Picture picture() const {
    GdiFlush();
    const auto* const first = static_cast<const std::uint32_t*>(bits_);
    Picture result{width_, height_, {first, first + static_cast<std::ptrdiff_t>(width_) * height_}};
    for (auto& pixel : result.pixels) pixel &= 0xFFFFFF;
    return result;
  }

 private:
  int width_;
  int height_;
  HDC context_;
  HBITMAP bitmap_ = nullptr;
  HGDIOBJ replaced_ = nullptr;
  void* bits_ = nullptr;
};

Picture drawnIcon(const wchar_t* name, int width, int height, std::uint32_t background) {
  const Canvas canvas(width, height);
  const RECT all{0, 0, width, height};
  const HBRUSH brush =
      CreateSolidBrush(RGB((background >> 16) & 0xFF, (background >> 8) & 0xFF, background & 0xFF));
  FillRect(canvas.context(), &all, brush);
  DeleteObject(brush);
  DrawIconEx(canvas.context(), 0, 0, LoadIconW(nullptr, name), width, height, 0, nullptr, DI_NORMAL);
  return canvas.picture();
}

std::size_t differingPixels(const Picture& a, const Picture& b) {
  if (a.pixels.size() != b.pixels.size()) return a.pixels.size();
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) count += a.pixels[i] != b.pixels[i] ? 1U : 0U;
  return count;
}

std::uint64_t difference(const Picture& a, const Picture& b) {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    for (const int shift : {0, 8, 16}) {
      const int one = static_cast<int>((a.pixels[i] >> shift) & 0xFF);
      const int other = static_cast<int>((b.pixels[i] >> shift) & 0xFF);
      sum += static_cast<std::uint64_t>(std::abs(one - other));
    }
  }
  return sum;
}

}  // namespace

bool Picture::oneColour() const {
  return std::all_of(pixels.begin(), pixels.end(), [&](std::uint32_t p) { return p == pixels.front(); });
}

Picture pictureOf(HWND window) {
  RECT rectangle{};
  GetWindowRect(window, &rectangle);
  const int width = rectangle.right - rectangle.left;
  const int height = rectangle.bottom - rectangle.top;
  const Canvas canvas(width, height);
  const HDC screen = GetDC(nullptr);
  BitBlt(canvas.context(), 0, 0, width, height, screen, rectangle.left, rectangle.top, SRCCOPY);
  ReleaseDC(nullptr, screen);
  return canvas.picture();
}

bool showsIcon(HWND control, const wchar_t* icon) {
  const Picture seen = pictureOf(control);
  const Picture wanted = drawnIcon(icon, seen.width, seen.height, seen.pixels.front());
  return difference(seen, wanted) <= kSameIcon * seen.pixels.size();
}

void writePng(const Picture& picture, const std::string& file_name) {
  std::string bytes;
  std::vector<unsigned char> rgb;
  for (const auto pixel : picture.pixels) {
    for (const int shift : {16, 8, 0}) rgb.push_back(static_cast<unsigned char>((pixel >> shift) & 0xFF));
  }
  stbi_write_png_to_func(
      [](void* target, void* data, int size) {
        static_cast<std::string*>(target)->append(static_cast<const char*>(data),
                                                  static_cast<std::size_t>(size));
      },
      &bytes, picture.width, picture.height, 3, rgb.data(), picture.width * 3);
  std::ofstream stream(std::filesystem::path(file_name), std::ios::binary);
  stream << bytes;
  if (!stream.flush()) throw std::runtime_error("cannot write " + file_name);
}

void keepPicture(HWND window, const std::string& name) {
  const char* const folder = std::getenv("LOFTBAY_GUI_PICTURES");
  if (folder == nullptr) return;
  // Drawn, and no longer changing.
  Picture last = pictureOf(window);
  int same = 0;
  waitFor("the window to be drawn", [&] {
    Picture now = pictureOf(window);
    same = differingPixels(now, last) <= kCaretPixels ? same + 1 : 0;
    last = std::move(now);
    return same == kStillPictures && !last.oneColour();
  });
  writePng(last, std::string(folder) + "/" + name + ".png");
}

}  // namespace loftbay::gui
