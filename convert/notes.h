// Collects what the converter's rules and the user's options leave out of a scene, and tells the observer
// once at the end of the job: one note per kind, with counts and the first few names.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::convert {

enum class Dropped {
  LineShape,                 // left out by the option
  PointShape,                // left out by the option
  SameNamePart,              // a part that got the geometry of an earlier part of its name
  SubAssemblyTransform,      // inside an instanced assembly
  SubAssemblyTransformKept,  // the same, but behind an inner instance, where it is used again
  InstancedPartTransform,    // a part's own transform where an instance refers to it
  InstanceWithoutShapes,     // an instanced part without shapes in the first level of detail
  PartWithoutShapes,         // a part without shapes in the first level of detail
  TessellationResult,        // results after the first one
  Shear,                     // of a transform
  kCount,
};

class Notes {
 public:
  // One more of a kind, in the part or node `name`. `amount` is a figure that the kind's text shows
  // (polylines or point groups of a shape); names are kept for the first few only.
  void add(Dropped kind, std::string_view name, std::int64_t amount = 1);

  void meshWritten() { ++meshes_; }
  void nothingWasRead() { nothing_read_ = true; }

  // Tells the process's observer.
  void report() const;

 private:
  struct Kind {
    std::uint64_t count = 0;
    std::int64_t amount = 0;
    std::vector<std::string> names;
  };
  std::array<Kind, static_cast<std::size_t>(Dropped::kCount)> kinds_;
  std::uint64_t meshes_ = 0;
  bool nothing_read_ = false;
};

}  // namespace loftbay::convert
