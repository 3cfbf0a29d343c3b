// Loftbay.exe: fills the program's seams with windows and runs the application object.
#include <windows.h>

#include "app/application.h"
#include "app/win32/application_frame.h"
#include "app/win32/message_box.h"
#include "convert/scene_properties.h"
#include "diag/program_seams.h"

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, wchar_t* /*command_line*/, int /*show*/) {
  using namespace loftbay;
  diag::programSeams().showMessageBox = app::win32::showMessageBox;
  convert::UnitObserver observer;
  diag::programSeams().observer = &observer;

  app::win32::WindowsFrame frame;
  app::CJt2ZixApp application(frame);
  application.InitInstance();
  return application.ExitInstance();
}
