// What each window test starts from: an empty folder of its own, with a base directory for logs in it.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/windows/gui_driver.h"

namespace loftbay::gui {

inline constexpr int kTranslate = 1;
inline constexpr int kClose = 2;
inline constexpr int kInput = 1001;
inline constexpr int kBrowseInput = 1002;
inline constexpr int kOutput = 1004;
inline constexpr int kBrowseOutput = 1005;
inline constexpr int kAbout = 1006;
inline constexpr int kOptimize = 1007;
inline constexpr int kAboutText = 1008;
inline constexpr int kIgnoreLines = 1009;
inline constexpr int kIgnorePoints = 1010;

// The whole text matches the (ECMAScript) pattern.
MATCHER_P(LooksLike, pattern, "") { return std::regex_match(arg, std::regex(pattern)); }

class Desk : public testing::Test {
 protected:
  Desk();
  ~Desk() override;

  // How to start a program whose log goes below this test's folder.
  [[nodiscard]] Program::Options options(const Path& exe = desktopProgram()) const;

  // The dated directories below the base directory.
  [[nodiscard]] std::vector<Path> workDirectories() const;
  // Lines of the one log, without time stamps; fails the test where there is not exactly one.
  [[nodiscard]] std::vector<std::string> log() const;
  static std::vector<std::string> logIn(const Path& work_directory);

  // Types both paths and presses "Translate".
  static void translate(Program& program, const Path& input, const Path& output);

  Path folder_;
  Path base_;  // not made: the program does that
};

}  // namespace loftbay::gui
