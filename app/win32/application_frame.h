// The application object's window system: common controls, OLE, icons, and the main dialog as the program's
// main window.
#pragma once

#include "app/application.h"

namespace loftbay::app::win32 {

class WindowsFrame : public ApplicationFrame {
 public:
  WindowsFrame() = default;
  ~WindowsFrame() override;

  void defaultInitInstance() override;
  void enableControlContainer() override;
  void setRegistryKey(std::string_view key) override;
  IconHandle loadIcon(int id) override;
  int runMainDialog(Dialog& dialog) override;
  int defaultExitInstance() override;

 private:
  std::string registry_key_;  // nothing is stored under it
  bool ole_started_ = false;
};

}  // namespace loftbay::app::win32
