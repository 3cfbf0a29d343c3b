// The properties that programs hand to the scene writer (setSceneProperty, setObjectProperty in zix.h), until
// the next scene that closes takes them.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zix/zix.h"

namespace Orb::Zix {

struct PendingProperty {
  ObjectId object;  // {0, 0}: the scene
  std::string key;
  std::string value;
};

// One for the process, safe to be called from several threads.
class PendingProperties {
 public:
  static PendingProperties& instance();

  // Replaces the value of a key that the owner has already.
  void set(const ObjectId& object, std::string_view key, std::string_view value);
  // All of them, the scene's first, then by object, each owner's in the order in which they were first set.
  // None are left.
  std::vector<PendingProperty> take();
  void clear() noexcept;

  // See setPropertiesOfEntered.
  void enter(std::span<const Property> properties);
  // A scene has created this object.
  void created(const ObjectId& object, ObjectType type);

 private:
  void setLocked(const ObjectId& object, std::string_view key, std::string_view value);

  std::mutex mutex_;
  std::vector<std::pair<std::string, std::string>> entered_;  // that no Node has got
  std::deque<PendingProperty> properties_;
  std::map<std::pair<std::uint64_t, std::string>, std::size_t> place_;  // by owner and key
};

}  // namespace Orb::Zix
