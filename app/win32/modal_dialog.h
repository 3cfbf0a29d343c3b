// A real window for a Dialog: made from its template, run modally, gone when `run` returns.
//
//   CAboutDlg about;
//   ModalDialog().run(about, owner);
//
// The static procedure finds the object in the window's user data; on destruction the pointer is cleared
// first, so that late messages do nothing.
#pragma once

#include <windows.h>
// After windows.h, whose types it uses.
#include <shellapi.h>

#include "app/dialog.h"
#include "app/dialog_window.h"

namespace loftbay::app::win32 {

class ModalDialog : public DialogWindow {
 public:
  ModalDialog() = default;
  ~ModalDialog() override;

  // Shows the dialog and returns its result; -1 when the window could not be made.
  int run(Dialog& dialog, HWND owner);

  std::string itemText(int control) override;
  void setItemText(int control, std::string_view text) override;
  bool itemChecked(int control) override;
  void setItemChecked(int control, bool checked) override;
  void setCaption(std::string_view text) override;
  void setIcon(IconHandle icon, bool large) override;
  bool hasSystemMenu() override;
  void appendSystemMenuEntry(unsigned command, std::string_view text) override;
  void acceptFiles() override;
  bool isMinimised() override;
  void paintCentredIcon(IconHandle icon) override;
  CursorHandle loadCursor(SystemCursor cursor) override;
  void setCursor(CursorHandle cursor) override;
  std::string loadString(int id) override;
  std::optional<std::string> runFileDialog(const FileDialogRequest& request) override;
  int runModal(Dialog& dialog) override;
  void endDialog(int result) override;

 private:
  static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  INT_PTR handle(UINT message, WPARAM wparam, LPARAM lparam);
  INT_PTR clicked(WPARAM wparam);
  void dropped(HDROP files);
  void limitEditTexts();

  HWND window_ = nullptr;
  Dialog* dialog_ = nullptr;
  IconHandle small_icon_ = nullptr;  // as given; the system's
  IconHandle large_icon_ = nullptr;
  HICON sized_icons_[2] = {nullptr, nullptr};  // small and large; owned
};

// The icon resource `id` in the size of large icons. Shared: never destroyed.
IconHandle loadIcon(int id);

}  // namespace loftbay::app::win32
