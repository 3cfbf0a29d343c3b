#include "app/win32/message_box.h"

#include <utility>

#include "app/application_name.h"
#include "host/wide_text.h"

namespace loftbay::app::win32 {

namespace {

HWND box_owner = nullptr;

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

HWND setMessageBoxOwner(HWND owner) { return std::exchange(box_owner, owner); }

void showMessageBox(std::string_view text, diag::BoxIcon icon) {
  MessageBoxW(box_owner, host::wide(text).c_str(), host::wide(applicationName()).c_str(),
              MB_OK | style(icon));
}

}  // namespace loftbay::app::win32
