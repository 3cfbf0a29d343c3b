// Which axis of a model points up, where a program is told.
#pragma once

#include <array>

namespace Orb::Zix {

enum class UpAxis { X, Y, Z };

// A direction given for a model whose z points up, for one whose `up` does: turned about x for y (what was
// front is towards +z then), and about the diagonal for x (towards -z).
constexpr std::array<double, 3> turnedFor(UpAxis up, const std::array<double, 3>& v) {
  switch (up) {
    case UpAxis::X:
      return {v[2], v[0], v[1]};
    case UpAxis::Y:
      return {v[0], v[2], -v[1]};
    case UpAxis::Z:
      break;
  }
  return v;
}

}  // namespace Orb::Zix
