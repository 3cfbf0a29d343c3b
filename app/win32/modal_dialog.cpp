#include "app/win32/modal_dialog.h"

#include <utility>

#include "app/win32/dpi.h"
#include "app/win32/file_dialog.h"
#include "app/win32/message_box.h"
#include "host/wide_text.h"

namespace loftbay::app::win32 {

namespace {

// Windows' own limit of a path, in UTF-16 units.
constexpr WPARAM kLongestPath = 32767;

HINSTANCE program() { return GetModuleHandleW(nullptr); }

// What resource functions take where a name would stand.
const wchar_t* resourceName(int id) {
  return reinterpret_cast<const wchar_t*>(static_cast<ULONG_PTR>(static_cast<WORD>(id)));
}

std::wstring windowText(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

IconHandle loadIcon(int id) {
  return LoadImageW(program(), resourceName(id), IMAGE_ICON, 0, 0, LR_DEFAULTSIZE | LR_SHARED);
}

ModalDialog::~ModalDialog() {
  for (const HICON icon : sized_icons_) {
    if (icon != nullptr) DestroyIcon(icon);
  }
}

int ModalDialog::run(Dialog& dialog, HWND owner) {
  dialog_ = &dialog;
  const HWND owner_of_boxes = setMessageBoxOwner(owner);
  const INT_PTR result = DialogBoxParamW(program(), resourceName(dialog.templateId()), owner, &procedure,
                                         reinterpret_cast<LPARAM>(this));
  setMessageBoxOwner(owner_of_boxes);
  dialog_->attach(nullptr);
  return static_cast<int>(result);
}

INT_PTR CALLBACK ModalDialog::procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_INITDIALOG) {
    auto* const created = reinterpret_cast<ModalDialog*>(lparam);
    SetWindowLongPtrW(window, DWLP_USER, lparam);
    created->window_ = window;
    setMessageBoxOwner(window);
    created->dialog_->attach(created);
    created->limitEditTexts();
    return created->dialog_->OnInitDialog() ? TRUE : FALSE;
  }
  auto* const object = reinterpret_cast<ModalDialog*>(GetWindowLongPtrW(window, DWLP_USER));
  if (object == nullptr) return FALSE;
  if (message == WM_NCDESTROY) {
    SetWindowLongPtrW(window, DWLP_USER, 0);
    object->window_ = nullptr;
    return FALSE;
  }
  return object->handle(message, wparam, lparam);
}

INT_PTR ModalDialog::handle(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_COMMAND:
      return lparam == 0 || HIWORD(wparam) == BN_CLICKED ? clicked(wparam) : FALSE;
    case WM_SYSCOMMAND:
      return dialog_->OnSysCommand(static_cast<unsigned>(wparam)) ? TRUE : FALSE;
    case WM_PAINT:
      return dialog_->OnPaint() ? TRUE : FALSE;
    case WM_QUERYDRAGICON:  // one of the messages whose result is the procedure's own
      return reinterpret_cast<INT_PTR>(dialog_->OnQueryDragIcon());
    case WM_DPICHANGED:  // the system scales dialogs by itself, but not their icons
      if (large_icon_ != nullptr) setIcon(large_icon_, true);
      if (small_icon_ != nullptr) setIcon(small_icon_, false);
      return FALSE;
    case WM_DROPFILES:
      dropped(reinterpret_cast<HDROP>(wparam));
      return TRUE;
    default:
      return FALSE;
  }
}

INT_PTR ModalDialog::clicked(WPARAM wparam) { return dialog_->dispatchClick(LOWORD(wparam)) ? TRUE : FALSE; }

void ModalDialog::dropped(HDROP files) {
  std::wstring path(static_cast<std::size_t>(DragQueryFileW(files, 0, nullptr, 0)) + 1, L'\0');
  const UINT length = DragQueryFileW(files, 0, path.data(), static_cast<UINT>(path.size()));
  DragFinish(files);
  path.resize(length);
  if (!path.empty()) dialog_->OnDropFile(host::utf8(path));
}

// Paths may be longer than what an edit box takes by default.
void ModalDialog::limitEditTexts() {
  for (HWND child = GetWindow(window_, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t name[16];
    if (GetClassNameW(child, name, 16) > 0 && lstrcmpiW(name, L"Edit") == 0)
      SendMessageW(child, EM_SETLIMITTEXT, kLongestPath, 0);
  }
}

std::string ModalDialog::itemText(int control) {
  return host::utf8(windowText(GetDlgItem(window_, control)));
}

void ModalDialog::setItemText(int control, std::string_view text) {
  SetDlgItemTextW(window_, control, host::wide(text).c_str());
}

bool ModalDialog::itemChecked(int control) { return IsDlgButtonChecked(window_, control) == BST_CHECKED; }

void ModalDialog::setItemChecked(int control, bool checked) {
  CheckDlgButton(window_, control, checked ? BST_CHECKED : BST_UNCHECKED);
}

void ModalDialog::setCaption(std::string_view text) { SetWindowTextW(window_, host::wide(text).c_str()); }

// The window takes a copy in its exact size, which for a resource is the picture drawn for that size.
void ModalDialog::setIcon(IconHandle icon, bool large) {
  const SIZE size = iconSize(window_, large);
  auto* const sized = static_cast<HICON>(CopyImage(icon, IMAGE_ICON, size.cx, size.cy, LR_COPYFROMRESOURCE));
  SendMessageW(window_, WM_SETICON, large ? ICON_BIG : ICON_SMALL, reinterpret_cast<LPARAM>(sized));
  (large ? large_icon_ : small_icon_) = icon;
  const HICON replaced = std::exchange(sized_icons_[large ? 1 : 0], sized);
  if (replaced != nullptr) DestroyIcon(replaced);
}

bool ModalDialog::hasSystemMenu() { return GetSystemMenu(window_, FALSE) != nullptr; }

void ModalDialog::appendSystemMenuEntry(unsigned command, std::string_view text) {
  const HMENU menu = GetSystemMenu(window_, FALSE);
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_STRING, command, host::wide(text).c_str());
}

void ModalDialog::acceptFiles() { DragAcceptFiles(window_, TRUE); }

bool ModalDialog::isMinimised() { return IsIconic(window_) != 0; }

void ModalDialog::paintCentredIcon(IconHandle icon) {
  PAINTSTRUCT paint{};
  const HDC context = BeginPaint(window_, &paint);
  SendMessageW(window_, WM_ICONERASEBKGND, reinterpret_cast<WPARAM>(context), 0);
  RECT client{};
  GetClientRect(window_, &client);
  const int x = centredOffset(client.right - client.left, GetSystemMetrics(SM_CXICON));
  const int y = centredOffset(client.bottom - client.top, GetSystemMetrics(SM_CYICON));
  DrawIcon(context, x, y, static_cast<HICON>(icon));
  EndPaint(window_, &paint);
}

CursorHandle ModalDialog::loadCursor(SystemCursor cursor) {
  return LoadCursorW(nullptr, cursor == SystemCursor::Wait ? IDC_WAIT : IDC_ARROW);
}

void ModalDialog::setCursor(CursorHandle cursor) { SetCursor(static_cast<HCURSOR>(cursor)); }

std::string ModalDialog::loadString(int id) {
  const wchar_t* text = nullptr;  // with size 0: a read-only view of the resource
  const int length = LoadStringW(program(), static_cast<UINT>(id), reinterpret_cast<wchar_t*>(&text), 0);
  return length > 0 ? host::utf8({text, static_cast<std::size_t>(length)}) : std::string();
}

std::optional<std::string> ModalDialog::runFileDialog(const FileDialogRequest& request) {
  return win32::runFileDialog(request, window_);
}

int ModalDialog::runModal(Dialog& dialog) { return ModalDialog().run(dialog, window_); }

void ModalDialog::endDialog(int result) { EndDialog(window_, result); }

}  // namespace loftbay::app::win32
