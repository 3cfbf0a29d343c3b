#include "cli/json_text.h"

#include <cmath>
#include <cstdio>

namespace loftbay::cli {

nlohmann::ordered_json jsonNumber(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  return value;
}

void printJson(const nlohmann::ordered_json& document) {
  const std::string text =
      document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

}  // namespace loftbay::cli
