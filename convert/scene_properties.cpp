#include "convert/scene_properties.h"

#include <vector>

#include "host/number_text.h"
#include "zix/zix.h"

namespace loftbay::convert {

void storeUnit(std::string_view name, double metres) {
  if (!Orb::Zix::setSceneProperty("unit", name)) return;
  (void)Orb::Zix::setSceneProperty("unit_metres", host::NumberText(metres).view());
}

std::size_t storeProperties(std::span<const diag::NodeProperty> properties) {
  std::vector<Orb::Zix::Property> texts;
  texts.reserve(properties.size());
  for (const auto& [key, value] : properties) texts.push_back({key, value});
  return Orb::Zix::setPropertiesOfEntered(texts);
}

}  // namespace loftbay::convert
