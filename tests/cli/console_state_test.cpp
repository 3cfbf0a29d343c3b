// Consoles of old and new systems: which modes are switched on, and that all are restored at the end.
#include "cli/console_state.h"

#include <gtest/gtest.h>

namespace {

using loftbay::cli::ConsoleState;

constexpr unsigned kWestern = 850;
constexpr unsigned long kUsualMode = 3;

struct PlayedConsole : loftbay::cli::ConsoleCalls {
  unsigned codePage() noexcept override { return page; }
  void setCodePage(unsigned wanted) noexcept override { page = wanted; }
  std::optional<unsigned long> mode() noexcept override { return shown_mode; }
  bool setMode(unsigned long wanted) noexcept override {
    if (!knows_escapes && (wanted & ConsoleState::kObeysEscapes) != 0) return false;
    shown_mode = wanted;
    return true;
  }

  unsigned page = kWestern;
  std::optional<unsigned long> shown_mode = kUsualMode;
  bool knows_escapes = true;
};

TEST(ConsoleState, ShowsUtf8AndPutsTheCodePageBack) {
  PlayedConsole console;
  ConsoleState state(console);
  state.showUtf8();
  EXPECT_EQ(console.page, ConsoleState::kUtf8);
  state.putBack();
  EXPECT_EQ(console.page, kWestern);
}

TEST(ConsoleState, WithoutAConsoleNothingIsSet) {
  PlayedConsole none;
  none.page = 0;
  none.shown_mode = std::nullopt;
  ConsoleState state(none);
  state.showUtf8();
  EXPECT_FALSE(state.takesEscapes());
  state.putBack();
  EXPECT_EQ(none.page, 0U);
  EXPECT_EQ(none.shown_mode, std::nullopt);
}

TEST(ConsoleState, SwitchesEscapesOnWhereTheyAreKnownAndOffAgain) {
  PlayedConsole console;
  ConsoleState state(console);
  EXPECT_TRUE(state.takesEscapes());
  EXPECT_EQ(console.shown_mode, kUsualMode | ConsoleState::kObeysEscapes);
  EXPECT_TRUE(state.takesEscapes());  // is asked for more than once
  state.putBack();
  EXPECT_EQ(console.shown_mode, kUsualMode);
}

TEST(ConsoleState, LeavesEscapesOnThatWereOnBefore) {
  PlayedConsole console;
  console.shown_mode = kUsualMode | ConsoleState::kObeysEscapes;
  ConsoleState state(console);
  EXPECT_TRUE(state.takesEscapes());
  state.putBack();
  EXPECT_EQ(console.shown_mode, kUsualMode | ConsoleState::kObeysEscapes);
}

TEST(ConsoleState, DoesWithoutEscapesThatTheConsoleDoesNotKnow) {
  PlayedConsole old;
  old.knows_escapes = false;
  ConsoleState state(old);
  state.showUtf8();
  EXPECT_FALSE(state.takesEscapes());
  EXPECT_EQ(old.shown_mode, kUsualMode);
  state.putBack();
  EXPECT_EQ(old.shown_mode, kUsualMode);
  EXPECT_EQ(old.page, kWestern);
}

}  // namespace
