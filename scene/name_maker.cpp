#include "scene/name_maker.h"

#include <string_view>

#include "diag/trace_log.h"

namespace loftbay::scene {

std::string NameMaker::unique(const char* name) {
  const std::string_view wanted = name == nullptr ? std::string_view() : std::string_view(name);
  const bool blank = wanted.find_first_not_of(' ') == std::string_view::npos;
  std::string base(blank ? std::string_view("Default") : wanted);

  followRegistry();
  const auto [entry, is_new] = index_.try_emplace(base, used_names_.size());
  if (!is_new) return diag::text(base, "_orb_", next_numbers_[entry->second]++);
  used_names_.push_back(base);
  next_numbers_.push_back(2);
  indexed_ = used_names_.size();
  return base;
}

void NameMaker::followRegistry() {
  if (indexed_ > used_names_.size()) {
    index_.clear();
    indexed_ = 0;
  }
  for (; indexed_ < used_names_.size(); ++indexed_) index_.try_emplace(used_names_[indexed_], indexed_);
}

}  // namespace loftbay::scene
