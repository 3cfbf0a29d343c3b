// Reads a command line by a program's table of options.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "cli/option.h"

namespace loftbay::cli {

// What a command line holds. The names that are asked for must be in the table of the command; another one is
// a mistake of the program (std::logic_error).
class CommandLine {
 public:
  [[nodiscard]] bool has(std::string_view name) const { return !values(name).empty(); }
  // None: the option is not given. Of a flag the value is empty.
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const;
  // In the order in which they were given.
  [[nodiscard]] std::vector<std::string> values(std::string_view name) const;
  [[nodiscard]] const std::vector<std::string>& operands() const { return operands_; }

  // The given options that are marked so in the table, each as one word ("--name" or "--name=value"), in the
  // table's order.
  [[nodiscard]] std::vector<std::string> words(bool Option::*mark) const;

 private:
  friend class CommandLineReader;
  struct Given {
    const Option* option;  // in the program's table
    std::string value;
  };
  CommandLine(const Program& program, const Command& command) : program_(&program), command_(&command) {}

  const Program* program_;
  const Command* command_;
  std::vector<Given> given_;
  std::vector<std::string> operands_;
};

// The words behind the command's name. Asked for help or the like, the answer is printed, whatever else is
// wrong; wrong usage is complained about. An error is the exit code then, 0 of help. `program` must outlive
// the result.
tl::expected<CommandLine, int> readCommandLine(const Program& program, const Command& command,
                                               std::span<const std::string> words);

// "; did you mean X?", or nothing when none of the names is near. `quote` is put on both sides of X.
std::string didYouMean(std::string_view text, std::span<const std::string> names, std::string_view quote);

}  // namespace loftbay::cli
