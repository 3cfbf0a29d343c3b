#include "convert/scene_properties.h"

#include <array>
#include <charconv>
#include <vector>

#include "zix/zix.h"

namespace loftbay::convert {

void storeUnit(std::string_view name, double metres) {
  if (!Orb::Zix::setSceneProperty("unit", name)) return;
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), metres).ptr;
  (void)Orb::Zix::setSceneProperty("unit_metres", {text.data(), static_cast<std::size_t>(end - text.data())});
}

std::size_t storeProperties(std::span<const diag::NodeProperty> properties) {
  std::vector<Orb::Zix::Property> texts;
  texts.reserve(properties.size());
  for (const auto& [key, value] : properties) texts.push_back({key, value});
  return Orb::Zix::setPropertiesOfEntered(texts);
}

}  // namespace loftbay::convert
