// The counts, losses and notes that a whole conversion reports to its observer.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "diag/program_seams.h"

struct RecordedMessages : loftbay::diag::Observer {
  std::map<loftbay::diag::Counted, std::uint64_t> counts;
  std::vector<std::string> losses;
  std::vector<std::string> notes;
  void counted(loftbay::diag::Counted kind, std::uint64_t amount) override { counts[kind] += amount; }
  void lost(std::string_view part, std::string_view reason) override {
    losses.push_back(std::string(part) + ": " + std::string(reason));
  }
  void note(std::string_view text) override { notes.emplace_back(text); }
};
