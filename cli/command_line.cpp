#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "cli/closest_match.h"
#include "cli/console.h"
#include "cli/describe.h"
#include "cli/help.h"
#include "cli/program.h"

namespace loftbay::cli {

namespace {

std::string joined(std::initializer_list<std::string_view> pieces) {
  std::string text;
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace

std::optional<std::string> CommandLine::value(std::string_view name) const {
  const auto all = values(name);
  return all.empty() ? std::nullopt : std::optional(all.back());
}

std::vector<std::string> CommandLine::values(std::string_view name) const {
  bool known = false;
  for (const Option& option : program_->options)
    known = known || (option.name == name && takes(*command_, option));
  if (!known) throw std::logic_error(joined({"no such option: ", name}));
  std::vector<std::string> values;
  for (const Given& given : given_) {
    if (given.option->name == name) values.push_back(given.value);
  }
  return values;
}

std::vector<std::string> CommandLine::words(bool Option::*mark) const {
  std::vector<std::string> words;
  for (const Option& option : program_->options) {
    if (!(option.*mark)) continue;
    const bool is_flag = option.kind == OptionKind::Flag;
    for (const Given& given : given_) {
      if (given.option != &option) continue;
      words.push_back(is_flag ? std::string(option.name) : joined({option.name, "=", given.value}));
      if (is_flag) break;
    }
  }
  return words;
}

// Has CLI11 read the words, by what the table says of the command. The first reason why they are wrong
// counts; reading goes on all the same, since help is given whatever else is wrong.
class CommandLineReader {
 public:
  CommandLineReader(const Program& program, const Command& command)
      : program_(program), command_(command), line_(program, command) {
    app_.set_help_flag();                     // the table has its own
    app_.allow_windows_style_options(false);  // a word that begins with `/` is a path, on Windows too
    app_.allow_extras();                      // files; as a list of its own CLI11 would take "[a,b]" apart
    for (const Option& option : program.options) {
      if (takes(command, option)) added_.push_back({&option, add(option)});
    }
  }

  tl::expected<CommandLine, int> read(std::span<const std::string> words) {
    parse(wordsForParser(words));
    keepResults();
    if (const auto answer = information()) {
      print(*answer);
      return tl::unexpected<int>(kDone);
    }
    if (reason_.empty()) checkOperands();
    if (!reason_.empty()) return tl::unexpected(program_.refuse(command_, reason_));
    return std::move(line_);
  }

 private:
  struct Added {
    const Option* option;
    CLI::Option* parsed;
  };

  CLI::Option* add(const Option& option) {
    std::string names(option.name);
    if (!option.short_name.empty()) names = joined({option.short_name, ",", option.name});
    if (option.kind == OptionKind::Flag) return app_.add_flag(names);
    CLI::Option* const added = app_.add_option(names);
    if (option.repeated) added->take_all();
    added->check(
        [&](const std::string& value) { return isValid(option, value) ? "" : whyNotValid(option, value); });
    return added;
  }

  std::string whyNotValid(const Option& option, const std::string& value) const {
    const std::vector<std::string> choices(option.choices.begin(), option.choices.end());
    return joined({"'", value, "' is not ", validValues(option), didYouMean(value, choices, program_.quote)});
  }

  // CLI11 would take the next word for the value of "--name=", and let a flag have some values: name and
  // value become two words here. What is wrong is left out.
  std::vector<std::string> wordsForParser(std::span<const std::string> words) {
    std::vector<std::string> passed;
    while (!words.empty() && words.front() != "--") {
      const std::string& word = words.front();
      words = words.subspan(1);
      if (word.size() < 2 || word[0] != '-') {
        passed.push_back(word);
        continue;
      }
      const auto equals = word.find('=');
      const std::string name = word.substr(0, equals);
      const Option* const option = find(name);
      if (option == nullptr) {
        refuse("unknown option " + quoted(name) + suggestion(name));
      } else if (option->kind == OptionKind::Flag && equals != std::string::npos) {
        refuse("option " + quoted(name) + " takes no value");
      } else {
        passed.push_back(name);
        if (equals != std::string::npos) passed.push_back(word.substr(equals + 1));
        if (equals == std::string::npos && option->kind != OptionKind::Flag && !words.empty()) {
          passed.push_back(words.front());
          words = words.subspan(1);
        }
      }
    }
    passed.insert(passed.end(), words.begin(), words.end());
    return passed;
  }

  void parse(std::vector<std::string> words) {
    std::ranges::reverse(words);  // CLI11 takes them from the end
    const std::string last = words.empty() ? "" : words.front();
    try {
      app_.parse(words);
    } catch (const CLI::ArgumentMismatch&) {
      refuse(mismatch(last));
    } catch (const CLI::ParseError& error) {
      refuse(error.what());
    }
  }

  // Too many values, or none behind the last word.
  std::string mismatch(const std::string& last_word) const {
    for (const Added& added : added_) {
      const bool is_single = added.option->kind != OptionKind::Flag && !added.option->repeated;
      if (is_single && added.parsed->count() > 1)
        return "option " + quoted(added.option->name) + " is given twice";
    }
    const Option* const option = find(last_word);
    return joined({"option ", quoted(last_word), " needs a value: ", option ? option->argument : "VALUE"});
  }

  void keepResults() {
    for (const Added& added : added_) {
      const bool is_flag = added.option->kind == OptionKind::Flag;
      for (const std::string& value : added.parsed->results())
        line_.given_.push_back({added.option, is_flag ? "" : value});
    }
    line_.operands_ = app_.remaining();
    // CLI11 leaves the word that ends the options among them; those behind it may be called the same.
    const auto end = std::ranges::find(line_.operands_, "--");
    if (end != line_.operands_.end()) line_.operands_.erase(end);
  }

  const Option* find(const std::string& name) const {
    const CLI::Option* const parsed = app_.get_option_no_throw(name);
    const auto found = std::ranges::find(added_, parsed, &Added::parsed);
    return found == added_.end() ? nullptr : found->option;
  }

  std::string suggestion(const std::string& name) const {
    std::vector<std::string> names;
    for (const Added& added : added_) {
      if (!added.option->unlisted) names.emplace_back(added.option->name);
    }
    return didYouMean(name, names, program_.quote);
  }

  std::string quoted(std::string_view name) const { return joined({program_.quote, name, program_.quote}); }

  void refuse(std::string reason) {
    if (reason_.empty()) reason_ = std::move(reason);
  }

  // The text that was asked for in place of the command.
  std::optional<std::string> information() const {
    if (line_.has("--help")) return helpText(program_, command_);
    if (line_.has("--version")) return joined({program_.version, "\n"});
    const auto form = line_.value("--describe");
    if (form && reason_.empty()) return description(program_, *form);
    return std::nullopt;
  }

  void checkOperands() {
    const std::size_t count = line_.operands_.size();
    if (count >= command_.least_operands && count <= command_.most_operands) return;
    reason_ =
        joined({count < command_.least_operands ? "a file name is missing" : "there are too many file names",
                ": ", usagesOf(program_, command_).front()});
  }

  const Program& program_;
  const Command& command_;
  CLI::App app_;
  std::vector<Added> added_;  // what the command takes, in the table's order
  CommandLine line_;
  std::string reason_;  // why the usage is wrong; empty so far
};

tl::expected<CommandLine, int> readCommandLine(const Program& program, const Command& command,
                                               std::span<const std::string> words) {
  return CommandLineReader(program, command).read(words);
}

std::string didYouMean(std::string_view text, std::span<const std::string> names, std::string_view quote) {
  const auto match = closestMatch(text, names);
  return match ? joined({"; did you mean ", quote, *match, quote, "?"}) : "";
}

}  // namespace loftbay::cli
