#include "app/dialog.h"

#include "app/resource_ids.h"

namespace loftbay::app {

void DataExchange::text(int control, std::string& member) const {
  if (save_) {
    member = window_.itemText(control);
  } else {
    window_.setItemText(control, member);
  }
}

void DataExchange::check(int control, int& member) const {
  if (save_) {
    member = window_.itemChecked(control) ? 1 : 0;
  } else {
    window_.setItemChecked(control, member != 0);
  }
}

bool Dialog::OnInitDialog() {
  UpdateData(false);
  return true;
}

void Dialog::OnOK() {
  UpdateData(true);
  window().endDialog(LOFTBAY_CONTROL_OK);
}

void Dialog::OnCancel() { window().endDialog(LOFTBAY_CONTROL_CANCEL); }

bool Dialog::OnSysCommand(unsigned /*command*/) { return false; }

bool Dialog::OnPaint() { return false; }

IconHandle Dialog::OnQueryDragIcon() { return nullptr; }

void Dialog::OnDropFile(const std::string& /*path*/) {}

bool Dialog::dispatchClick(int control) {
  try {
    return onClicked(control);
  } catch (...) {
    // The job may have left the wait cursor behind. No box: the log shows how far the work came.
    window().setCursor(window().loadCursor(SystemCursor::Arrow));
    return true;
  }
}

void Dialog::UpdateData(bool save) { DoDataExchange(DataExchange(window(), save)); }

void Dialog::DoDataExchange(const DataExchange& /*exchange*/) {}

bool Dialog::onClicked(int control) {
  switch (control) {
    case LOFTBAY_CONTROL_OK:
      OnOK();
      return true;
    case LOFTBAY_CONTROL_CANCEL:
      OnCancel();
      return true;
    default:
      return false;
  }
}

}  // namespace loftbay::app
