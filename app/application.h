// The application object of the desktop program: opens the log, writes the identification lines, reads the
// tolerance setting and runs the main dialog; all work happens inside that dialog.
#pragma once

#include <string>
#include <string_view>

#include "app/dialog.h"

namespace loftbay::app {

// What the application object asks of the window system; app/win32 answers with the real one.
class ApplicationFrame {
 public:
  ApplicationFrame() = default;
  ApplicationFrame(const ApplicationFrame&) = delete;
  ApplicationFrame& operator=(const ApplicationFrame&) = delete;
  virtual ~ApplicationFrame() = default;

  virtual void defaultInitInstance() = 0;
  virtual void enableControlContainer() = 0;
  // The key under which the frame may keep settings. The program itself stores none.
  virtual void setRegistryKey(std::string_view key) = 0;
  virtual IconHandle loadIcon(int id) = 0;
  // Runs the dialog as the application's main window and returns its result.
  virtual int runMainDialog(Dialog& dialog) = 0;
  // The process's exit code.
  virtual int defaultExitInstance() = 0;
};

class CJt2ZixApp {
 public:
  explicit CJt2ZixApp(ApplicationFrame& frame) : frame_(frame) {}

  // Start-up, the dialog and all. False: the program ends now.
  bool InitInstance();
  // Shut-down; the result is the process's exit code.
  int ExitInstance();

 private:
  ApplicationFrame& frame_;
};

}  // namespace loftbay::app
