// Names for the scene's objects, unique within one scene.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace loftbay::scene {

// The registry of names is two lists of equal length that belong to somebody else: the base names that were
// handed out, in the order of their first use, and for each the number that its next repeat gets. Others may
// add to the lists or clear them between two calls. They live as long as the name maker.
class NameMaker {
 public:
  NameMaker(std::vector<std::string>& used_names, std::vector<std::uint32_t>& next_numbers)
      : used_names_(used_names), next_numbers_(next_numbers) {}

  // "Default" for a name that is null, empty or made of blanks; "_orb_" and a number from 2 on behind a name
  // that was used before. The registry holds base names only: a name with a number behind it is not
  // registered, so an object that asks for "Bolt_orb_2" itself gets it once more.
  std::string unique(const char* name);

 private:
  void followRegistry();

  std::vector<std::string>& used_names_;
  std::vector<std::uint32_t>& next_numbers_;
  std::unordered_map<std::string, std::size_t> index_;  // where each base name stands first
  std::size_t indexed_ = 0;                             // how many names of the registry `index_` knows
};

}  // namespace loftbay::scene
