// What exact geometry may still cost. Counted in steps and never in time, so that equal data give equal
// results on every machine.
#pragma once

#include <cstdint>
#include <limits>

namespace jttk::brep {

// The reason of edges and faces that more work would have given.
inline constexpr const char* kTooMuchWork = "too much work";

class WorkCounter {
 public:
  // A step is what a triangulation or a search does once for each of its triangles or points: some
  // comparisons. An evaluation of a curve or surface costs as much as several of them.
  static constexpr std::uint64_t kStepsPerEvaluation = 16;

  void allowEvaluations(std::uint64_t count) noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max() / kStepsPerEvaluation;
    steps_left_ = (count < kMost ? count : kMost) * kStepsPerEvaluation;
  }
  // For work that is done already: takes all that is left where that is less.
  void spendSteps(std::uint64_t count = 1) noexcept {
    steps_left_ -= steps_left_ < count ? steps_left_ : count;
  }
  void spendEvaluations(std::uint64_t count = 1) noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max() / kStepsPerEvaluation;
    spendSteps((count < kMost ? count : kMost) * kStepsPerEvaluation);
  }
  // False once all is used up.
  [[nodiscard]] bool mayWork() const noexcept { return steps_left_ > 0; }
  // Whole evaluations; what is begun counts as used.
  [[nodiscard]] std::uint64_t evaluationsLeft() const noexcept { return steps_left_ / kStepsPerEvaluation; }

 private:
  std::uint64_t steps_left_ = std::numeric_limits<std::uint64_t>::max();
};

}  // namespace jttk::brep
