#include "app/application_name.h"

#include <utility>

namespace loftbay::app {

namespace {

std::string& storedApplicationName() {
  static std::string name;
  return name;
}

}  // namespace

const std::string& applicationName() { return storedApplicationName(); }

void setApplicationName(std::string name) { storedApplicationName() = std::move(name); }

}  // namespace loftbay::app
