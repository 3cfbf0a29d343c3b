// The behaviour of one modal dialog, apart from its window: initialisation, data exchange between controls
// and members, and a message map from clicked controls to methods.
//
// A window (dialog_window.h) attaches itself, calls OnInitDialog once, then the other methods on events. An
// exception from a click handler ends only that handler: the arrow cursor is restored and the dialog lives
// on.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "app/dialog_window.h"

namespace loftbay::app {

// Moves values between controls and members, in one direction.
class DataExchange {
 public:
  DataExchange(DialogWindow& window, bool save) : window_(window), save_(save) {}

  void text(int control, std::string& member) const;
  void check(int control, int& member) const;

 private:
  DialogWindow& window_;
  bool save_;  // from the controls into the members
};

class Dialog {
 public:
  explicit Dialog(int template_id) : template_id_(template_id) {}
  Dialog(const Dialog&) = delete;
  Dialog& operator=(const Dialog&) = delete;
  virtual ~Dialog() = default;

  [[nodiscard]] int templateId() const { return template_id_; }
  // Set by the window while it exists, null otherwise.
  void attach(DialogWindow* window) { window_ = window; }

  // True: the system puts the focus on the first control.
  virtual bool OnInitDialog();
  virtual void OnOK();
  virtual void OnCancel();
  // True when the command was the dialog's own; otherwise the system's handling follows.
  virtual bool OnSysCommand(unsigned command);
  // True when the dialog painted; otherwise the system paints.
  virtual bool OnPaint();
  // Null: the system's own icon.
  virtual IconHandle OnQueryDragIcon();
  virtual void OnDropFile(const std::string& path);

  // A control was clicked. True when the dialog knows it. Catches everything.
  bool dispatchClick(int control);

 protected:
  // Moves the values: from the controls with `save`, else into them.
  void UpdateData(bool save);
  virtual void DoDataExchange(const DataExchange& exchange);
  // The handler of a control's click; false when the dialog has none.
  virtual bool onClicked(int control);

  [[nodiscard]] DialogWindow& window() const { return *window_; }

 private:
  int template_id_;
  DialogWindow* window_ = nullptr;
};

}  // namespace loftbay::app
