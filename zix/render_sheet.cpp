// The default views side by side.
#include <algorithm>

#include "zix/render.h"

namespace Orb::Zix {

namespace {

// Five columns of seven dots, the top one in the lowest bit.
struct Letter {
  char name;
  std::array<std::uint8_t, 5> columns;
};

// Those that the names of the default views need.
constexpr Letter kLetters[] = {{'a', {0x20, 0x54, 0x54, 0x54, 0x78}}, {'b', {0x7F, 0x48, 0x44, 0x44, 0x38}},
                               {'c', {0x38, 0x44, 0x44, 0x44, 0x28}}, {'e', {0x38, 0x54, 0x54, 0x54, 0x18}},
                               {'f', {0x00, 0x08, 0x7E, 0x09, 0x02}}, {'g', {0x08, 0x54, 0x54, 0x54, 0x3C}},
                               {'h', {0x7F, 0x08, 0x04, 0x04, 0x78}}, {'i', {0x00, 0x44, 0x7D, 0x40, 0x00}},
                               {'k', {0x00, 0x7F, 0x10, 0x28, 0x44}}, {'l', {0x00, 0x41, 0x7F, 0x40, 0x00}},
                               {'m', {0x7C, 0x04, 0x78, 0x04, 0x78}}, {'n', {0x7C, 0x08, 0x04, 0x04, 0x78}},
                               {'o', {0x38, 0x44, 0x44, 0x44, 0x38}}, {'p', {0x7C, 0x14, 0x14, 0x14, 0x08}},
                               {'r', {0x7C, 0x08, 0x04, 0x04, 0x08}}, {'s', {0x48, 0x54, 0x54, 0x54, 0x24}},
                               {'t', {0x04, 0x3F, 0x44, 0x40, 0x20}}};

void setPixel(Picture& picture, std::uint32_t x, std::uint32_t y, std::uint8_t grey) {
  if (x >= picture.width || y >= picture.height) return;
  const std::size_t at = std::size_t{y} * picture.width + x;
  std::fill_n(&picture.rgb[3 * at], 3, grey);
  if (!picture.alpha.empty()) picture.alpha[at] = 0xFF;
}

void writeName(Picture& picture, std::string_view name, std::uint8_t grey) {
  const std::uint32_t dot = std::max(1U, std::min(picture.width, picture.height) / 160);
  std::uint32_t left = 3 * dot;
  for (const char c : name) {
    const auto* const letter = std::find_if(std::begin(kLetters), std::end(kLetters),
                                            [&](const Letter& one) { return one.name == c; });
    for (std::uint32_t column = 0; letter != std::end(kLetters) && column < 5; ++column) {
      for (std::uint32_t row = 0; row < 7; ++row) {
        if ((letter->columns[column] >> row & 1U) == 0) continue;
        for (std::uint32_t k = 0; k < dot * dot; ++k)
          setPixel(picture, left + column * dot + k % dot, (3 + row) * dot + k / dot, grey);
      }
    }
    left += 6 * dot;
  }
}

void copyInto(Picture& sheet, const Picture& part, std::uint32_t left, std::uint32_t top) {
  for (std::uint32_t y = 0; y < part.height; ++y) {
    const std::size_t from = std::size_t{y} * part.width;
    const std::size_t to = std::size_t{top + y} * sheet.width + left;
    std::copy_n(&part.rgb[3 * from], std::size_t{3} * part.width, &sheet.rgb[3 * to]);
    if (!part.alpha.empty()) std::copy_n(&part.alpha[from], part.width, &sheet.alpha[to]);
  }
}

}  // namespace

Picture renderSheet(const SceneFile& scene, std::uint32_t width, std::uint32_t height,
                    const RenderStyle& style, std::optional<UpAxis> up) {
  const std::uint32_t columns = width >= height ? 4 : 2;
  const std::uint32_t rows = 8 / columns;
  // The part that has no view is background, and so is what is left of a size that cannot be divided.
  const Color4 plain = style.background.value_or(style.outline ? Color4{0xFF, 0xFF, 0xFF, 0xFF}
                                                               : Color4{0xF4, 0xF4, 0xFA, 0xFF});
  Picture sheet{width, height, std::vector<std::uint8_t>(std::size_t{3} * width * height), {}};
  for (std::size_t i = 0; i < sheet.rgb.size(); ++i) sheet.rgb[i] = plain[i % 3];
  if (plain[3] != 0xFF) sheet.alpha.assign(std::size_t{width} * height, plain[3]);
  const bool is_dark = plain[3] > 127 && 2 * plain[0] + 5 * plain[1] + plain[2] < 8 * 100;
  const std::uint32_t part_width = width / columns;
  const std::uint32_t part_height = height / rows;
  if (part_width == 0 || part_height == 0) return sheet;
  for (std::uint32_t i = 0; i < kDefaultViewNames.size(); ++i) {
    const std::string_view name = kDefaultViewNames[i];
    const auto camera = up ? defaultCamera(name, *up) : findCamera(scene, name);
    Picture part =
        render(scene, fitted(scene, *camera, part_width, part_height), part_width, part_height, style);
    writeName(part, name, is_dark ? 0xE0 : 0x20);
    copyInto(sheet, part, i % columns * part_width, i / columns * part_height);
  }
  return sheet;
}

}  // namespace Orb::Zix
