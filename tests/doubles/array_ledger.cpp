// The array forms of new and delete are replaced for the whole test program, so that a delete[] of a noted
// array can be seen.
#include "tests/doubles/array_ledger.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <unordered_set>

namespace loftbay::doubles {

namespace {

ArrayCounts counts;

std::unordered_set<void*>& noted() {
  static auto* const set = new std::unordered_set<void*>;  // outlives all other statics
  return *set;
}

}  // namespace

float* handOut(const std::vector<float>& values) {
  if (values.empty()) return nullptr;
  auto* const array = new float[values.size()];
  std::copy(values.begin(), values.end(), array);
  noted().insert(array);
  ++counts.handed_out;
  return array;
}

ArrayCounts arrayCounts() { return counts; }
void resetArrayCounts() { counts = {}; }

static void released(void* memory) noexcept {
  if (memory != nullptr && noted().erase(memory) != 0) ++counts.released;
  std::free(memory);
}

}  // namespace loftbay::doubles

void* operator new[](std::size_t size) {
  if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete[](void* memory) noexcept { loftbay::doubles::released(memory); }
void operator delete[](void* memory, std::size_t) noexcept { loftbay::doubles::released(memory); }
