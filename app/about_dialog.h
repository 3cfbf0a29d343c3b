// The about box: product name, version and build number.
#pragma once

#include <string>

#include "app/dialog.h"

namespace loftbay::app {

// The text of the about box.
std::string aboutText();

class CAboutDlg : public Dialog {
 public:
  CAboutDlg();
  bool OnInitDialog() override;
};

}  // namespace loftbay::app
