// What the command line of a program may hold, as a table: each program has one. Parsing, help, complaints
// about wrong usage, what a batch passes on to its processes, the manual page and shell completion all come
// from it.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::cli {

enum class OptionKind {
  Flag,    // takes no value
  Number,  // also with a unit behind it
  Text,
  Path,    // of a file or folder
  Choice,  // one of `choices`; any other text only where `other_values` says so
};

struct Option {
  std::string_view name;             // with its dashes
  std::string_view short_name = {};  // "-h"; empty: none
  std::string_view help = {};
  OptionKind kind = OptionKind::Flag;
  std::string_view argument = {};  // name of the value in the help; empty for a flag
  std::vector<std::string_view> choices = {};
  bool other_values = false;            // a Choice takes other texts too: those that `accepts` takes
  std::string_view default_value = {};  // as the help states it; empty: none is stated
  // What a value has to be: "'X' is not VALID" is said of one that is refused. Of a Choice that takes its
  // choices only, the reader of the command line checks that and names them; `valid` and `accepts` stay
  // empty. Of all others `accepts` decides; without it every text will do.
  std::string_view valid = {};
  bool (*accepts)(std::string_view value) = nullptr;
  std::string_view group = "Options";           // its heading in the help
  std::vector<std::string_view> commands = {};  // that take it; empty: all
  bool repeated = false;                        // may be given several times; any other is refused then
  bool passed_on = false;                       // a batch gives it to the process of each file
  bool reported = false;                        // decides what comes out: the report of a conversion lists it
  bool unlisted = false;                        // for programs, not for people: help does not show it
};

struct Operand {
  std::string_view name;
  std::string_view help = {};  // empty: the name says it
};

struct Command {
  std::string_view name;    // the first word of the command line
  std::string_view called;  // the program and the command, as complaints and hints name them
  std::string_view about;
  std::vector<Operand> operands;
  std::size_t least_operands = 0;
  std::size_t most_operands = std::numeric_limits<std::size_t>::max();
  std::vector<std::string_view> usages = {};  // forms of use; empty: made of the operands and options
  std::string_view footer = {};               // the last lines of the help
};

struct Program {
  std::string_view name;
  std::string_view about;
  std::string_view version;  // the answer to --version
  std::string_view quote;    // before and behind an option's name in complaints
  std::vector<Option> options;
  std::vector<Command> commands;
  // Says on standard error why the usage is wrong, and where help is. Gives the exit code.
  int (*refuse)(const Command& command, const std::string& reason);
};

[[nodiscard]] bool takes(const Command& command, const Option& option);
// Whether help lists the option with the command: it takes it, and it is for people.
[[nodiscard]] bool lists(const Command& command, const Option& option);

// What a value of the option has to be, as a noun: `valid`, or the choices ("a, b or c"). Empty: any text.
[[nodiscard]] std::string validValues(const Option& option);
[[nodiscard]] bool isValid(const Option& option, std::string_view value);

// The options that every program has: --help, --version, and the unlisted --describe.
std::vector<Option> commonOptions();

// An `accepts` out of a function that reads a value.
template <auto read>
bool canBeRead(std::string_view value) {
  return read(value).has_value();
}

}  // namespace loftbay::cli
