// A program that shows an empty dialog and ends when it is closed.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE /*previous*/, wchar_t* /*command_line*/, int /*show*/) {
  struct Template {
    DLGTEMPLATE head{WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU, WS_EX_APPWINDOW, 0, 0, 0, 221, 141};
    WORD menu = 0;
    WORD window_class = 0;
    wchar_t caption[6] = L"Empty";
  };
  static const Template shape;
  DialogBoxIndirectParamW(
      instance, &shape.head, nullptr,
      [](HWND dialog, UINT message, WPARAM wparam, LPARAM) -> INT_PTR {
        if (message == WM_COMMAND && LOWORD(wparam) == IDCANCEL) EndDialog(dialog, 0);
        return message == WM_INITDIALOG ? TRUE : FALSE;
      },
      0);
  return 0;
}
