// Collects what the converter's rules and the user's options leave out of a scene, and reports it to the
// observer once at the end of the job: one note per kind, with counts and the first few names. Notes use only
// what the job asks the toolkit for anyway.
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
  SubAssemblyTransform,      // inside an instanced assembly
  SubAssemblyTransformKept,  // the same, but behind an inner instance, where it is used again
  InstanceWithoutShapes,     // an instanced part without shapes in the first level of detail
  PartWithoutShapes,         // a part without shapes in the first level of detail
  Shear,                     // of a transform
  FlattenedTriangles,        // by the merging of vertices, in one shape
  kCount,
};

class Notes {
 public:
  // One more of a kind, in the part or node `name`. `amount` is a number that the kind's text shows
  // (polylines, point groups or triangles of a shape); names are kept for the first few only.
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
