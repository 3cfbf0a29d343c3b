// What the toolkit tells of a model beside its geometry, on its way into the scene: the model's unit and the
// properties of its nodes. The scene writer stores them beside the job's own calls.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "diag/program_seams.h"

namespace loftbay::convert {

// The scene's properties `unit`, as the file writes it, and `unit_metres`, the length of one.
void storeUnit(std::string_view name, double metres);

// For the node that the walk enters: they go to the Node object that is made for it, else to each of its
// Shapes. The answer is how many were left out because their keys are empty or too long.
std::size_t storeProperties(std::span<const diag::NodeProperty> properties);

// For a program that wants no more of a conversion than a scene with its unit.
class UnitObserver : public diag::Observer {
 public:
  void unit(std::string_view name, double metres) override { storeUnit(name, metres); }
};

}  // namespace loftbay::convert
