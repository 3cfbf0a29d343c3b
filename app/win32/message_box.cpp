#include "app/win32/message_box.h"

#include <windows.h>

#include "app/application.h"
#include "host/wide_text.h"

namespace loftbay::app::win32 {

namespace {

UINT style(diag::BoxIcon icon) {
  switch (icon) {
    case diag::BoxIcon::Information:
      return MB_ICONINFORMATION;
    case diag::BoxIcon::Error:
      return MB_ICONERROR;
    case diag::BoxIcon::None:
      break;
  }
  return 0;
}

}  // namespace

void showMessageBox(std::string_view text, diag::BoxIcon icon) {
  MessageBoxW(GetActiveWindow(), host::wide(text).c_str(), host::wide(applicationName()).c_str(),
              MB_OK | style(icon));
}

}  // namespace loftbay::app::win32
