// A dialog's window without a real window: it keeps texts and check states, and records every call in order.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "app/dialog.h"
#include "app/dialog_window.h"

namespace loftbay::tests {

class RecordedWindow : public app::DialogWindow {
 public:
  // Plays a window that opens for the dialog.
  explicit RecordedWindow(app::Dialog& dialog) : dialog_(dialog) { dialog_.attach(this); }
  ~RecordedWindow() override { dialog_.attach(nullptr); }

  std::string itemText(int control) override { return texts[control]; }
  void setItemText(int control, std::string_view text) override {
    calls.push_back("text " + std::to_string(control) + " '" + std::string(text) + "'");
    texts[control] = text;
  }
  bool itemChecked(int control) override { return checks[control]; }
  void setItemChecked(int control, bool checked) override {
    calls.push_back("check " + std::to_string(control) + (checked ? " on" : " off"));
    checks[control] = checked;
  }
  void setCaption(std::string_view text) override { calls.push_back("caption " + std::string(text)); }
  void setIcon(app::IconHandle icon, bool large) override {
    calls.push_back(std::string(large ? "large" : "small") + " icon " + name(icon));
  }
  bool hasSystemMenu() override { return system_menu; }
  void appendSystemMenuEntry(unsigned command, std::string_view text) override {
    calls.push_back("menu " + std::to_string(command) + " " + std::string(text));
  }
  void acceptFiles() override { calls.emplace_back("accept files"); }
  bool isMinimised() override { return minimised; }
  void paintCentredIcon(app::IconHandle icon) override { calls.push_back("paint " + name(icon)); }
  app::CursorHandle loadCursor(app::SystemCursor cursor) override {
    calls.emplace_back(cursor == app::SystemCursor::Wait ? "load wait" : "load arrow");
    return cursor == app::SystemCursor::Wait ? &wait : &arrow;
  }
  void setCursor(app::CursorHandle cursor) override { calls.push_back("cursor " + name(cursor)); }
  std::string loadString(int id) override { return strings[id]; }
  std::optional<std::string> runFileDialog(const app::FileDialogRequest& request) override {
    calls.push_back(std::string(request.open ? "open" : "save") + " [" + request.filter + "] [" +
                    request.default_extension + "] " + std::to_string(request.flags));
    return chosen;
  }
  int runModal(app::Dialog& dialog) override {
    calls.push_back("modal " + std::to_string(dialog.templateId()));
    return 1;
  }
  void endDialog(int result) override { calls.push_back("end " + std::to_string(result)); }

  std::vector<std::string> taken() { return std::exchange(calls, {}); }

  std::vector<std::string> calls;
  std::map<int, std::string> texts;
  std::map<int, bool> checks;
  std::map<int, std::string> strings{{101, "&About Jt2Zix..."}};
  std::optional<std::string> chosen;
  bool system_menu = true;
  bool minimised = false;
  int wait = 0;  // their addresses serve as handles
  int arrow = 0;
  static inline int icon_handle = 0;

 private:
  std::string name(const void* handle) const {
    if (handle == &wait) return "wait";
    if (handle == &arrow) return "arrow";
    return handle == &icon_handle ? "application" : "unknown";
  }

  app::Dialog& dialog_;
};

}  // namespace loftbay::tests
