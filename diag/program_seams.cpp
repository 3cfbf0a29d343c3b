#include "diag/program_seams.h"

#include <iostream>

namespace loftbay::diag {

ProgramSeams& programSeams() {
  static Observer ignores_everything;
  static ProgramSeams seams{[](std::string_view text, BoxIcon) { std::cerr << text << '\n'; }, &std::cerr,
                            &std::cout, &ignores_everything};
  return seams;
}

}  // namespace loftbay::diag
