// Drives a desktop program from outside, as a user does: starts it as a process of its own, finds its
// windows, reads what they show, types, clicks, and waits for conditions, each with a deadline.
//
//   Program program({.exe = desktopProgram()});
//   const HWND window = program.mainWindow();
//   click(item(window, 1));
//   EXPECT_EQ(program.closeMessageBox().text, L"Please specify the input file.");
//
// What does not come about before its deadline throws std::runtime_error with what was waited for: the test
// that waits fails there.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/windows/waiting.h"

namespace loftbay::gui {

using Path = std::filesystem::path;

// The programs under test and the folder for pictures; all lie in the build folder.
Path desktopProgram();
Path noImporterProgram();  // the same dialog; its conversions fail

// What a message box showed.
struct MessageBox {
  enum class Icon { None, Information, Warning, Error };
  std::wstring caption;
  std::wstring text;
  Icon icon = Icon::None;
  int buttons = 0;
};

class Program {
 public:
  struct Options {
    Path exe;
    std::wstring arguments = {};
    // Changes to the environment: a text, or empty to take the variable away.
    std::map<std::wstring, std::optional<std::wstring>> environment = {};
    Path directory = {};  // where it starts; empty: here
    bool wait = true;     // for the main window
  };

  explicit Program(const Options& options);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();  // ends a program that still runs

  // The window with the edit box for the input.
  HWND mainWindow();
  // A visible top-level window of the program other than the main one, when it is there.
  HWND waitForSecondWindow(const std::string& what);
  // Waits for a message box, reads it, keeps a picture when `picture` names one, and presses OK.
  MessageBox closeMessageBox(const char* picture = nullptr);
  // The dialogs and message boxes that the user sees now.
  [[nodiscard]] std::vector<HWND> windows() const;
  // Waits until only the main window is left and takes input.
  void waitForMainWindowOnly();
  // Waits for the end of the process; its exit code.
  DWORD waitForExit();
  [[nodiscard]] bool running() const;
  [[nodiscard]] HANDLE process() const { return process_; }
  [[nodiscard]] DWORD id() const { return id_; }

 private:
  HANDLE process_ = nullptr;
  DWORD id_ = 0;
};

// A control of a dialog by its number; throws when there is none.
HWND item(HWND dialog, int id);
std::wstring text(HWND window);
std::wstring className(HWND window);
bool isChecked(HWND button);
RECT rectangleIn(HWND dialog, HWND child);  // in the dialog's client coordinates

void click(HWND button);
// Puts a text into an edit box as keystrokes would.
void type(HWND edit, const std::wstring& text);
// Presses and releases a key, for whichever window has the keyboard.
void press(WORD key, WORD modifier = 0);
// Makes the window the one that has the keyboard.
void activate(HWND window);
// The control of `window`'s program that has the keyboard.
HWND focusOf(HWND window);

// Dialog units of a dialog in 8 point "MS Shell Dlg", in pixels.
RECT pixels(int left, int top, int width, int height);

// The whole file; empty when it cannot be read.
std::string contents(const Path& file);
void write(const Path& file, const std::string& bytes);

}  // namespace loftbay::gui
