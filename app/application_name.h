// The product's display name: in captions, in the about box and in the name of the work directory.
#pragma once

#include <string>

namespace loftbay::app {

// Empty before start-up.
const std::string& applicationName();
void setApplicationName(std::string name);

}  // namespace loftbay::app
