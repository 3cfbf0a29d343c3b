#include "app/about_dialog.h"

#include "app/application_name.h"
#include "app/resource_ids.h"
#include "diag/build_info.h"

namespace loftbay::app {

namespace {

constexpr const char* kClosingNotice = "Converts JT product models into Zix scenes.";

}  // namespace

std::string aboutText() {
  const std::string version = diag::CBuildInfo().GetVersion();
  return applicationName() + " " + version + " \n\nBuild # " + diag::kBuildNumber + " (64-Bit)\n\n" +
         kClosingNotice;
}

CAboutDlg::CAboutDlg() : Dialog(LOFTBAY_DIALOG_ABOUT) {}

bool CAboutDlg::OnInitDialog() {
  Dialog::OnInitDialog();
  window().setItemText(LOFTBAY_CONTROL_ABOUT_TEXT, aboutText());
  window().setCaption(applicationName());
  UpdateData(false);
  return true;
}

}  // namespace loftbay::app
