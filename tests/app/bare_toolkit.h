// A toolkit that starts, but makes an importer only when a test says what importing is to do; no file ever
// loads. Without an importer every conversion fails.
#pragma once

#include <functional>

namespace loftbay::tests {

// `action` runs inside importFile, which then answers that the file could not be loaded. An empty function
// takes the importer away again.
void setImport(std::function<void()> action);

}  // namespace loftbay::tests
