#include "cli/arguments.h"

#include <algorithm>
#include <sstream>

#include "cli/closest_match.h"
#include "cli/console.h"
#include "cli/program.h"

namespace loftbay::cli {

namespace {

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

std::vector<std::string> givenOptions(const CLI::App& app, const std::vector<std::string_view>& except) {
  std::vector<std::string> words;
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() == 0 || option->get_lnames().empty() || option->get_group().empty()) continue;
    const std::string name = "--" + option->get_lnames().front();
    if (std::find(except.begin(), except.end(), name) != except.end()) continue;
    if (option->get_items_expected_max() == 0) {
      words.push_back(name);
    } else {
      for (const std::string& value : option->results()) words.push_back(name + "=" + value);
    }
  }
  return words;
}

int wrongUsage(const std::string& program, const std::string& message) {
  sayLines(program + ": " + message + "\nTry '" + program + " --help'.\n");
  return kWrongUsage;
}

std::optional<int> parseArguments(CLI::App& app, const std::vector<std::string>& arguments) {
  if (const auto name = unknownOption(app, arguments)) {
    const auto match = closestMatch(*name, optionNames(app));
    return wrongUsage(app.get_name(),
                      "unknown option " + *name + (match ? "; did you mean " + *match + "?" : ""));
  }
  // A word that begins with `/` is a path, on Windows too.
  app.allow_windows_style_options(false);
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
  } catch (const CLI::Success& help_or_version) {
    std::ostringstream output;
    app.exit(help_or_version, output, output);
    print(output.str());
    return finishOutput(app.get_name()) ? kDone : kFailed;
  } catch (const CLI::ParseError& error) {
    return wrongUsage(app.get_name(), error.what());
  }
  return std::nullopt;
}

}  // namespace loftbay::cli
