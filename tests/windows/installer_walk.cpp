// Walks through the installer as a user does: presses the button on the right on every page, and OK in every
// message box. Prints the label of each button and the text of each box, line ends as blanks, and keeps their
// pictures.
//
//   loftbay_installer_walk SETUP.exe [OPTIONS OF THE INSTALLER...]
#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "tests/windows/gui_driver.h"
#include "tests/windows/pictures.h"

namespace loftbay::gui {
namespace {

constexpr int kNext = 1;  // also "I Agree", "Install" and "Finish"
constexpr int kBack = 3;

void print(const char* what, std::wstring text) {
  std::replace_if(
      text.begin(), text.end(), [](wchar_t c) { return c == L'\r' || c == L'\n'; }, L' ');
  const auto utf8 = Path(text).u8string();
  std::printf("%s: %.*s\n", what, static_cast<int>(utf8.size()), reinterpret_cast<const char*>(utf8.data()));
  std::fflush(stdout);
}

// The installer's window; null while there is none.
HWND wizardOf(const Program& program) {
  for (const HWND window : program.windows()) {
    if (GetDlgItem(window, kBack) != nullptr) return window;
  }
  return nullptr;
}

// Something to press: an enabled button in an enabled wizard, or a message box over it.
bool waitsForTheUser(const Program& program) {
  const HWND wizard = wizardOf(program);
  if (wizard == nullptr) return false;
  return program.windows().size() > 1 ||
         (IsWindowEnabled(wizard) != 0 && IsWindowEnabled(item(wizard, kNext)) != 0 &&
          IsWindowVisible(item(wizard, kNext)) != 0);
}

int walk(const Path& setup, const std::wstring& arguments) {
  Program program({.exe = setup, .arguments = arguments, .wait = false});
  for (int page = 1; page < 20; ++page) {
    waitFor("a page or the installer's end", [&] { return !program.running() || waitsForTheUser(program); });
    if (!program.running()) return static_cast<int>(program.waitForExit());
    const HWND wizard = wizardOf(program);
    if (program.windows().size() > 1) {
      const MessageBox box = program.closeMessageBox("installer-box");
      print(box.icon == MessageBox::Icon::Warning ? "warning" : "box", box.text);
      continue;
    }
    const std::wstring label = text(item(wizard, kNext));
    print("button", label);
    keepPicture(wizard, "installer-" + std::to_string(page));
    click(item(wizard, kNext));
    waitFor("the next page", [&] {
      return !program.running() || wizardOf(program) == nullptr || program.windows().size() > 1 ||
             IsWindowEnabled(item(wizard, kNext)) == 0 || text(item(wizard, kNext)) != label;
    });
  }
  throw std::runtime_error("the installer has no end");
}

}  // namespace
}  // namespace loftbay::gui

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::fputs("usage: loftbay_installer_walk SETUP.exe [OPTION...]\n", stderr);
    return 2;
  }
  std::wstring arguments;
  for (int i = 2; i < argc; ++i) arguments += std::wstring(i > 2 ? L" " : L"") + argv[i];
  try {
    return loftbay::gui::walk(argv[1], arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "installer_walk: %s\n", error.what());
    return 1;
  }
}
