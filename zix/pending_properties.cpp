#include "zix/pending_properties.h"

#include <algorithm>
#include <iterator>

#include "zix/format.h"

namespace Orb::Zix {

PendingProperties& PendingProperties::instance() {
  static PendingProperties pending;
  return pending;
}

void PendingProperties::set(const ObjectId& object, std::string_view key, std::string_view value) {
  const std::lock_guard lock(mutex_);
  setLocked(object, key, value);
}

void PendingProperties::enter(std::span<const Property> properties) {
  const std::lock_guard lock(mutex_);
  entered_.clear();
  for (const auto& [key, value] : properties) entered_.emplace_back(key, value);
}

void PendingProperties::created(const ObjectId& object, ObjectType type) {
  if (type != ObjectType::Node && type != ObjectType::Shape) return;
  const std::lock_guard lock(mutex_);
  for (const auto& [key, value] : entered_) setLocked(object, key, value);
  if (type == ObjectType::Node) entered_.clear();
}

void PendingProperties::setLocked(const ObjectId& object, std::string_view key, std::string_view value) {
  const auto [entry, is_new] = place_.try_emplace({object.first, std::string(key)}, properties_.size());
  if (!is_new) {
    properties_[entry->second].value = value;
    return;
  }
  try {
    properties_.push_back({object, std::string(key), std::string(value)});
  } catch (...) {
    place_.erase(entry);
    throw;
  }
}

std::vector<PendingProperty> PendingProperties::take() {
  const std::lock_guard lock(mutex_);
  std::vector<PendingProperty> taken(std::make_move_iterator(properties_.begin()),
                                     std::make_move_iterator(properties_.end()));
  properties_.clear();
  place_.clear();
  entered_.clear();
  std::stable_sort(taken.begin(), taken.end(), [](const PendingProperty& a, const PendingProperty& b) {
    return a.object.first < b.object.first;
  });
  return taken;
}

void PendingProperties::clear() noexcept {
  const std::lock_guard lock(mutex_);
  properties_.clear();
  place_.clear();
  entered_.clear();
}

namespace {

bool isKey(std::string_view key) { return !key.empty() && key.size() <= format::kLongestPropertyKey; }

}  // namespace

bool setSceneProperty(std::string_view key, std::string_view value) {
  if (!isKey(key)) return false;
  PendingProperties::instance().set({}, key, value);
  return true;
}

bool setObjectProperty(const ObjectId& object, std::string_view key, std::string_view value) {
  if (object == ObjectId{}) throw SceneError("setObjectProperty: no object has the id (0, 0)");
  if (!isKey(key)) return false;
  PendingProperties::instance().set(object, key, value);
  return true;
}

std::size_t setPropertiesOfEntered(std::span<const Property> properties) {
  std::vector<Property> sound(properties.begin(), properties.end());
  const std::size_t left_out = std::erase_if(sound, [](const Property& each) { return !isKey(each.key); });
  PendingProperties::instance().enter(sound);
  return left_out;
}

void dropPendingProperties() noexcept { PendingProperties::instance().clear(); }

}  // namespace Orb::Zix
