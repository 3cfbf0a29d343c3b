#include "cli/arguments.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

#include "cli/program.h"

namespace loftbay::cli {

namespace {

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

std::vector<std::string> optionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const auto& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// The first option on the command line that the app does not have. Words that are an option's value are
// passed over.
std::optional<std::string> unknownOption(const CLI::App& app, const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    if (word == "--") return std::nullopt;
    if (word.size() < 2 || word[0] != '-') continue;
    const std::string name = word.substr(0, word.find('='));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr) return name;
    if (option->get_items_expected_max() > 0 && name.size() == word.size()) ++i;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> closestMatch(std::string_view word, const std::vector<std::string>& candidates) {
  std::optional<std::string> best;
  std::size_t best_distance = word.size() / 2 + 1;
  for (const auto& candidate : candidates) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance < best_distance) {
      best_distance = distance;
      best = candidate;
    }
  }
  return best;
}

int wrongUsage(const std::string& program, const std::string& message) {
  std::fprintf(stderr, "%s: %s\nTry '%s --help'.\n", program.c_str(), message.c_str(), program.c_str());
  return kWrongUsage;
}

std::optional<int> parseArguments(CLI::App& app, const std::vector<std::string>& arguments) {
  if (const auto name = unknownOption(app, arguments)) {
    const auto match = closestMatch(*name, optionNames(app));
    return wrongUsage(app.get_name(),
                      "unknown option " + *name + (match ? "; did you mean " + *match + "?" : ""));
  }
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
  } catch (const CLI::Success& help_or_version) {
    app.exit(help_or_version);  // prints on standard output
    return kDone;
  } catch (const CLI::ParseError& error) {
    return wrongUsage(app.get_name(), error.what());
  }
  return std::nullopt;
}

}  // namespace loftbay::cli
