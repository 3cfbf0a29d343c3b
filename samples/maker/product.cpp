#include "samples/maker/product.h"

namespace loftbay::maker {

void Shape::addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  for (const auto& triangle : {std::array{a, b, c}, std::array{a, c, d}}) {
    corner_positions.insert(corner_positions.end(), triangle.begin(), triangle.end());
    primitive_starts.push_back(static_cast<std::uint32_t>(corner_positions.size()));
  }
}

}  // namespace loftbay::maker
