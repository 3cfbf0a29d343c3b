#include "jttk/mesh/winding.h"

#include <utility>

namespace jttk {

namespace {

// Writes the strips of a shape anew, corner by corner.
class StripWriter {
 public:
  explicit StripWriter(const ShapeGeometry& from) : from_(from) { starts_.push_back(0); }

  void add(std::uint32_t corner) {
    positions_.push_back(from_.corner_positions[corner]);
    if (!from_.corner_records.empty()) records_.push_back(from_.corner_records[corner]);
  }
  void addForwards(std::uint32_t first, std::uint32_t end) {
    for (std::uint32_t corner = first; corner < end; ++corner) add(corner);
  }
  void addBackwards(std::uint32_t first, std::uint32_t end) {
    for (std::uint32_t corner = end; corner-- > first;) add(corner);
  }
  void endStrip() { starts_.push_back(static_cast<std::uint32_t>(positions_.size())); }

  void moveTo(ShapeGeometry& shape) {
    shape.primitive_starts = std::move(starts_);
    shape.corner_positions = std::move(positions_);
    shape.corner_records = std::move(records_);
  }

 private:
  const ShapeGeometry& from_;
  std::vector<std::uint32_t> starts_, positions_, records_;
};

}  // namespace

void turnOver(ShapeGeometry& shape) {
  StripWriter turned(shape);
  const auto& starts = shape.primitive_starts;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const std::uint32_t first = starts[i];
    const std::uint32_t end = starts[i + 1];
    if ((end - first) % 2 != 0) {
      turned.addBackwards(first, end);
    } else {
      // The first triangle becomes a strip of its own with two corners swapped; the rest begins one corner
      // later, which turns it over as it stands.
      turned.add(first);
      turned.add(first + 2);
      turned.add(first + 1);
      turned.endStrip();
      turned.addForwards(first + 1, end);
    }
    turned.endStrip();
  }
  turned.moveTo(shape);
}

void makeStripsOdd(ShapeGeometry& shape) {
  StripWriter odd(shape);
  const auto& starts = shape.primitive_starts;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const std::uint32_t first = starts[i];
    const std::uint32_t end = starts[i + 1];
    if ((end - first) % 2 != 0) {
      odd.addForwards(first, end);
    } else {
      // The rest begins one corner later, which turns it over; stored backwards it keeps its winding.
      odd.addForwards(first, first + 3);
      odd.endStrip();
      odd.addBackwards(first + 1, end);
    }
    odd.endStrip();
  }
  odd.moveTo(shape);
}

}  // namespace jttk
