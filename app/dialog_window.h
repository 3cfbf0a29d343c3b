// What the dialogs of the program ask of the window system. app/win32 answers with real windows; tests
// answer with a recording, so that the order of the steps is checked on every host.
//
// Texts are UTF-8, paths are in program form, controls are named by their numbers (resource_ids.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace loftbay::app {

class Dialog;

// Handles of the window system: opaque, owned by the system, copied by value.
using IconHandle = void*;
using CursorHandle = void*;

enum class SystemCursor { Wait, Arrow };

// Option bits of the common file dialogs.
inline constexpr std::uint32_t kOverwritePrompt = 0x2;
inline constexpr std::uint32_t kPathMustExist = 0x800;

// A common file dialog in the system's current style. No owner is named: the window system takes the
// program's main window, as it does for message boxes.
struct FileDialogRequest {
  bool open = true;               // false: a save dialog
  std::string filter;             // "label|pattern|label|pattern|", a closing "|" may be doubled
  std::string default_extension;  // without the dot; empty: none
  std::uint32_t flags = 0;        // option bits
};

// The window of one dialog, from the moment it exists until it is closed.
class DialogWindow {
 public:
  DialogWindow() = default;
  DialogWindow(const DialogWindow&) = delete;
  DialogWindow& operator=(const DialogWindow&) = delete;
  virtual ~DialogWindow() = default;

  virtual std::string itemText(int control) = 0;
  virtual void setItemText(int control, std::string_view text) = 0;
  virtual bool itemChecked(int control) = 0;
  virtual void setItemChecked(int control, bool checked) = 0;

  virtual void setCaption(std::string_view text) = 0;
  virtual void setIcon(IconHandle icon, bool large) = 0;
  virtual bool hasSystemMenu() = 0;
  // Appends a separator to the system menu, and behind it an entry.
  virtual void appendSystemMenuEntry(unsigned command, std::string_view text) = 0;
  // Makes files dropped on the window arrive at the dialog.
  virtual void acceptFiles() = 0;

  virtual bool isMinimised() = 0;
  // Erases the background of a minimised window and draws the icon in its centre.
  virtual void paintCentredIcon(IconHandle icon) = 0;

  virtual CursorHandle loadCursor(SystemCursor cursor) = 0;
  virtual void setCursor(CursorHandle cursor) = 0;

  // A text of the program's string resources; empty when there is none.
  virtual std::string loadString(int id) = 0;

  // The chosen full path; empty optional when the user cancelled.
  virtual std::optional<std::string> runFileDialog(const FileDialogRequest& request) = 0;
  // Runs another dialog modally over this one and returns its result.
  virtual int runModal(Dialog& dialog) = 0;
  // Closes this dialog with a result.
  virtual void endDialog(int result) = 0;
};

// The left or top edge at which something of size `item` is centred in `available`.
constexpr int centredOffset(int available, int item) { return (available - item + 1) / 2; }

}  // namespace loftbay::app
