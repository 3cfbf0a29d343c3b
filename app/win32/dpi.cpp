#include "app/win32/dpi.h"

namespace loftbay::app::win32 {

namespace {

template <typename Function>
Function* userFunction(const char* name) {
  const HMODULE user = GetModuleHandleA("user32.dll");
  if (user == nullptr) return nullptr;
  // Through void*, because the declared type of every export is another one.
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(user, name)));
}

}  // namespace

SIZE iconSize(HWND window, bool large) {
  static auto* const window_dpi = userFunction<UINT WINAPI(HWND)>("GetDpiForWindow");
  static auto* const metrics_for_dpi = userFunction<int WINAPI(int, UINT)>("GetSystemMetricsForDpi");
  const int width = large ? SM_CXICON : SM_CXSMICON;
  const int height = large ? SM_CYICON : SM_CYSMICON;
  if (window_dpi == nullptr || metrics_for_dpi == nullptr)
    return {GetSystemMetrics(width), GetSystemMetrics(height)};
  const UINT dpi = window_dpi(window);
  return {metrics_for_dpi(width, dpi), metrics_for_dpi(height, dpi)};
}

}  // namespace loftbay::app::win32
