// How long the desktop program takes from its start to a dialog that answers, against the least program that
// shows one. Both start by turns; the medians are compared.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <vector>

#include "tests/windows/gui_driver.h"

namespace loftbay::gui {
namespace {

constexpr int kRounds = 15;

// The process's dialog once it is visible; null before.
HWND dialogOf(DWORD process) {
  struct Search {
    DWORD process;
    HWND found;
  } search{process, nullptr};
  EnumWindows(
      [](HWND window, LPARAM data) {
        auto* const wanted = reinterpret_cast<Search*>(data);
        DWORD id = 0;
        GetWindowThreadProcessId(window, &id);
        if (id != wanted->process || IsWindowVisible(window) == 0 || className(window) != L"#32770")
          return TRUE;
        wanted->found = window;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

double startSeconds(const Path& exe) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  Program program({.exe = exe, .wait = false});
  HWND dialog = nullptr;
  while (dialog == nullptr) {
    if (Clock::now() - start > kDeadline) throw std::runtime_error("no dialog came");
    Sleep(1);
    dialog = dialogOf(program.id());
  }
  SendMessageW(dialog, WM_NULL, 0, 0);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
  program.waitForExit();
  return seconds;
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + kRounds / 2, values.end());
  return values[kRounds / 2];
}

int run() {
  const Path empty = noImporterProgram().parent_path() / L"empty_dialog.exe";
  startSeconds(empty);
  startSeconds(desktopProgram());
  std::vector<double> empty_seconds;
  std::vector<double> program_seconds;
  for (int i = 0; i < kRounds; ++i) {
    empty_seconds.push_back(startSeconds(empty));
    program_seconds.push_back(startSeconds(desktopProgram()));
  }
  const double least = median(empty_seconds);
  const double program = median(program_seconds);
  std::printf("empty dialog %.1f ms, Loftbay %.1f ms, ratio %.2f\n", least * 1000, program * 1000,
              program / least);
  return 0;
}

}  // namespace
}  // namespace loftbay::gui

int main() {
  try {
    return loftbay::gui::run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
