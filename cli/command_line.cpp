#include "cli/command_line.h"

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

// Goes through all words; the first that is wrong gives the reason.
class CommandLineReader {
 public:
  CommandLineReader(const Program& program, const Command& command)
      : program_(program), command_(command), line_(program, command) {}

  tl::expected<CommandLine, int> read(std::span<const std::string> words) {
    words_ = words;
    while (next_ < words_.size()) takeWord();
    if (const auto answer = information()) {
      print(*answer);
      return tl::unexpected<int>(kDone);
    }
    if (reason_.empty()) checkOperands();
    if (!reason_.empty()) return tl::unexpected(program_.refuse(command_, reason_));
    return std::move(line_);
  }

 private:
  void takeWord() {
    const std::string& word = words_[next_++];
    if (word == "--") {
      for (; next_ < words_.size(); ++next_) line_.operands_.push_back(words_[next_]);
    } else if (word.size() < 2 || word[0] != '-') {
      line_.operands_.push_back(word);
    } else {
      takeOption(word);
    }
  }

  void takeOption(const std::string& word) {
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const Option* const option = find(name);
    if (option == nullptr) return refuse("unknown option " + quoted(name) + suggestion(name));
    std::string value;
    if (option->kind == OptionKind::Flag) {
      if (equals != std::string::npos) return refuse("option " + quoted(name) + " takes no value");
    } else if (equals != std::string::npos) {
      value = word.substr(equals + 1);
    } else if (next_ < words_.size()) {
      value = words_[next_++];
    } else {
      return refuse(joined({"option ", quoted(name), " needs a value: ", option->argument}));
    }
    add(*option, std::move(value));
  }

  void add(const Option& option, std::string value) {
    if (option.accepts != nullptr && !option.accepts(value))
      return refuse(joined({option.name, ": '", value, "' is not ", option.valid}));
    if (!option.repeated && option.kind != OptionKind::Flag && line_.has(option.name))
      return refuse("option " + quoted(option.name) + " is given twice");
    line_.given_.push_back({&option, std::move(value)});
  }

  const Option* find(std::string_view name) const {
    for (const Option& option : program_.options) {
      if (takes(command_, option) && (option.name == name || option.short_name == name)) return &option;
    }
    return nullptr;
  }

  std::string suggestion(const std::string& name) const {
    std::vector<std::string> names;
    for (const Option& option : program_.options) {
      if (takes(command_, option) && !option.hidden) names.emplace_back(option.name);
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
    if (const auto form = line_.value("--describe")) return description(program_, *form);
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
  CommandLine line_;
  std::span<const std::string> words_;
  std::size_t next_ = 0;
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
