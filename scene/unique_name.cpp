// The job's name maker. The registry holds base names only: a name with a number behind it is not
// registered, so an object that asks for "Bolt_orb_2" itself gets it once more.
#include <string_view>

#include "convert/job.h"
#include "diag/trace_log.h"

namespace loftbay::convert {

std::string obJt2Zix::MakeUniqueName(const char* name) {
  const std::string_view wanted = name == nullptr ? std::string_view() : std::string_view(name);
  const bool blank = wanted.find_first_not_of(' ') == std::string_view::npos;
  std::string base(blank ? std::string_view("Default") : wanted);

  const auto [entry, is_new] = nameIndex.try_emplace(base, usedNames.size());
  if (is_new) {
    usedNames.push_back(base);
    nameCounts.push_back(2);
    return base;
  }
  return diag::text(base, "_orb_", nameCounts[entry->second]++);
}

}  // namespace loftbay::convert
