#include "app/win32/application_frame.h"

#include <windows.h>
// After windows.h, whose types they use.
#include <commctrl.h>
#include <ole2.h>

#include "app/win32/modal_dialog.h"

namespace loftbay::app::win32 {

WindowsFrame::~WindowsFrame() {
  if (ole_started_) OleUninitialize();
}

void WindowsFrame::defaultInitInstance() {
  const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&classes);
}

// Hosted controls and the file dialogs live in OLE.
void WindowsFrame::enableControlContainer() { ole_started_ = SUCCEEDED(OleInitialize(nullptr)); }

void WindowsFrame::setRegistryKey(std::string_view key) { registry_key_ = key; }

IconHandle WindowsFrame::loadIcon(int id) { return win32::loadIcon(id); }

int WindowsFrame::runMainDialog(Dialog& dialog) { return ModalDialog().run(dialog, nullptr); }

int WindowsFrame::defaultExitInstance() { return 0; }

}  // namespace loftbay::app::win32
