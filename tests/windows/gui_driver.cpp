#include "tests/windows/gui_driver.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/windows/pictures.h"

namespace loftbay::gui {

namespace {

constexpr int kInputControl = 1001;
constexpr int kMessageTextControl = 0xFFFF;

Path folderOfThisProgram() {
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
  return Path(name).parent_path();
}

// Case does not matter in the names of environment variables.
struct NameOrder {
  bool operator()(const std::wstring& a, const std::wstring& b) const {
    return lstrcmpiW(a.c_str(), b.c_str()) < 0;
  }
};

std::wstring environmentBlock(const std::map<std::wstring, std::optional<std::wstring>>& changes) {
  std::map<std::wstring, std::wstring, NameOrder> variables;
  wchar_t* const own = GetEnvironmentStringsW();
  for (const wchar_t* entry = own; *entry != L'\0'; entry += std::wcslen(entry) + 1) {
    const std::wstring text = entry;
    const auto equals = text.find(L'=', 1);
    if (equals != std::wstring::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  FreeEnvironmentStringsW(own);
  for (const auto& [name, value] : changes) {
    if (value) {
      variables[name] = *value;
    } else {
      variables.erase(name);
    }
  }
  std::wstring block;
  for (const auto& [name, value] : variables) {
    block += name + L"=" + value;
    block += L'\0';
  }
  return block + L'\0';
}

MessageBox::Icon iconOf(HWND box) {
  for (HWND child = GetWindow(box, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    if (className(child) != L"Static" || (GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON)
      continue;
    auto icon = MessageBox::Icon::None;
    // Wine leaves space for the icon in a box that has none.
    if (SendMessageW(child, STM_GETICON, 0, 0) == 0) return icon;
    waitFor("the icon to be drawn", [&] {
      if (showsIcon(child, IDI_ERROR)) icon = MessageBox::Icon::Error;
      if (showsIcon(child, IDI_INFORMATION)) icon = MessageBox::Icon::Information;
      if (showsIcon(child, IDI_WARNING)) icon = MessageBox::Icon::Warning;
      return icon != MessageBox::Icon::None;
    });
    return icon;
  }
  return MessageBox::Icon::None;
}

}  // namespace

Path desktopProgram() { return folderOfThisProgram().parent_path() / L"bin-desktop" / L"Loftbay.exe"; }

Path noImporterProgram() { return folderOfThisProgram() / L"loftbay_no_importer.exe"; }

Program::Program(const Options& options) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION information{};
  std::wstring command = L"\"" + options.exe.wstring() + L"\" " + options.arguments;
  std::wstring block = environmentBlock(options.environment);
  if (CreateProcessW(options.exe.c_str(), command.data(), nullptr, nullptr, FALSE, CREATE_UNICODE_ENVIRONMENT,
                     block.data(), options.directory.empty() ? nullptr : options.directory.c_str(), &startup,
                     &information) == 0)
    throw std::runtime_error("cannot start " + options.exe.string());
  CloseHandle(information.hThread);
  process_ = information.hProcess;
  id_ = information.dwProcessId;
  if (options.wait) mainWindow();
}

Program::~Program() {
  if (running()) {
    TerminateProcess(process_, 99);
    WaitForSingleObject(process_, INFINITE);
  }
  CloseHandle(process_);
}

bool Program::running() const { return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT; }

std::vector<HWND> Program::windows() const {
  struct Search {
    DWORD id;
    std::vector<HWND> found;
  } search{id_, {}};
  EnumWindows(
      [](HWND window, LPARAM data) {
        auto* const wanted = reinterpret_cast<Search*>(data);
        DWORD id = 0;
        GetWindowThreadProcessId(window, &id);
        if (id == wanted->id && IsWindowVisible(window) != 0 && className(window) == L"#32770")
          wanted->found.push_back(window);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

HWND Program::mainWindow() {
  HWND main = nullptr;
  waitFor("the main window", [&] {
    for (const HWND window : windows()) {
      if (GetDlgItem(window, kInputControl) != nullptr) main = window;
    }
    return main != nullptr;
  });
  // Answered only when the initialisation is through.
  SendMessageW(main, WM_NULL, 0, 0);
  return main;
}

HWND Program::waitForSecondWindow(const std::string& what) {
  HWND second = nullptr;
  waitFor(what, [&] {
    for (const HWND window : windows()) {
      if (GetDlgItem(window, kInputControl) == nullptr && IsWindowEnabled(window) != 0) second = window;
    }
    return second != nullptr;
  });
  return second;
}

MessageBox Program::closeMessageBox(const char* picture) {
  HWND box = nullptr;
  waitFor("a message box", [&] {
    for (const HWND window : windows()) {
      if (GetDlgItem(window, kMessageTextControl) != nullptr && GetDlgItem(window, kInputControl) == nullptr)
        box = window;
    }
    return box != nullptr;
  });
  UpdateWindow(box);
  MessageBox result{text(box), text(GetDlgItem(box, kMessageTextControl)), MessageBox::Icon::None, 0};
  for (HWND child = GetWindow(box, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT))
    result.buttons += className(child) == L"Button" && IsWindowVisible(child) != 0 ? 1 : 0;
  result.icon = iconOf(box);
  if (picture != nullptr) keepPicture(box, picture);
  HWND ok = GetDlgItem(box, IDOK);
  if (ok == nullptr) ok = GetDlgItem(box, IDCANCEL);  // the single button of some systems
  click(ok);
  waitFor("the message box to close", [&] { return IsWindow(box) == 0; });
  waitForMainWindowOnly();
  return result;
}

void Program::waitForMainWindowOnly() {
  waitFor("the main window to take input",
          [&] { return windows().size() == 1 && IsWindowEnabled(windows().front()) != 0; });
}

DWORD Program::waitForExit() {
  waitFor("the end of the program", [&] { return !running(); });
  DWORD code = 0;
  GetExitCodeProcess(process_, &code);
  return code;
}

HWND item(HWND dialog, int id) {
  const HWND found = GetDlgItem(dialog, id);
  if (found == nullptr) throw std::runtime_error("no control " + std::to_string(id));
  return found;
}

std::wstring text(HWND window) {
  std::wstring result(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
  const auto length =
      SendMessageW(window, WM_GETTEXT, result.size(), reinterpret_cast<LPARAM>(result.data()));
  result.resize(static_cast<std::size_t>(length));
  return result;
}

std::wstring className(HWND window) {
  std::array<wchar_t, 64> name{};
  GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return name.data();
}

bool isChecked(HWND button) { return SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED; }

RECT rectangleIn(HWND dialog, HWND child) {
  RECT rectangle{};
  GetWindowRect(child, &rectangle);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rectangle), 2);
  return rectangle;
}

void click(HWND button) { PostMessageW(button, BM_CLICK, 0, 0); }

void type(HWND edit, const std::wstring& characters) {
  SendMessageW(edit, EM_SETSEL, 0, -1);
  SendMessageW(edit, WM_CLEAR, 0, 0);
  for (const wchar_t unit : characters) PostMessageW(edit, WM_CHAR, unit, 1);
  waitFor("the typed text", [&] { return text(edit) == characters; });
}

void press(WORD key, WORD modifier) {
  std::vector<INPUT> inputs;
  const auto add = [&](WORD code, DWORD flags) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = code;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(code, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flags;
    inputs.push_back(input);
  };
  if (modifier != 0) add(modifier, 0);
  add(key, 0);
  add(key, KEYEVENTF_KEYUP);
  if (modifier != 0) add(modifier, KEYEVENTF_KEYUP);
  SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

void activate(HWND window) {
  waitFor("the window to come to the front", [&] {
    SetForegroundWindow(window);
    return GetForegroundWindow() == window;
  });
}

HWND focusOf(HWND window) {
  GUITHREADINFO information{};
  information.cbSize = sizeof information;
  GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &information);
  return information.hwndFocus;
}

RECT pixels(int left, int top, int width, int height) {
  // A dialog of this process in the same font answers for the other one.
  struct Template {
    DLGTEMPLATE head{DS_SETFONT | WS_POPUP, 0, 0, 0, 0, 100, 100};
    WORD menu = 0;
    WORD window_class = 0;
    WORD caption = 0;
    WORD point_size = 8;
    wchar_t face[13] = L"MS Shell Dlg";
  };
  static const Template shape;
  static const HWND dialog = CreateDialogIndirectParamW(
      GetModuleHandleW(nullptr), &shape.head, nullptr,
      [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
  RECT rectangle{left, top, left + width, top + height};
  if (MapDialogRect(dialog, &rectangle) == 0) throw std::runtime_error("no dialog units");
  return rectangle;
}

std::string contents(const Path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const Path& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  if (!stream.flush()) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace loftbay::gui
