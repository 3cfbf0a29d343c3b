#include "app/win32/file_dialog.h"

#include <objbase.h>
// After objbase.h, whose types they use.
#include <shobjidl.h>

#include "host/wide_text.h"

namespace loftbay::app::win32 {

namespace {

static_assert(kOverwritePrompt == FOS_OVERWRITEPROMPT && kPathMustExist == FOS_PATHMUSTEXIST);

// Under this name Windows remembers the folder of the program's file dialogs.
constexpr GUID kDialogGuid = {0x6b0d9d9e, 0x52c4, 0x4f0b, {0x9a, 0x11, 0x3e, 0x7c, 0x20, 0x5d, 0x8f, 0x43}};

template <typename Interface>
class ComPointer {
 public:
  ComPointer() = default;
  ComPointer(const ComPointer&) = delete;
  ComPointer& operator=(const ComPointer&) = delete;
  ~ComPointer() {
    if (pointer_ != nullptr) pointer_->Release();
  }

  Interface** receive() { return &pointer_; }
  void** receiveVoid() { return reinterpret_cast<void**>(&pointer_); }
  Interface* operator->() const { return pointer_; }
  [[nodiscard]] Interface* get() const { return pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

std::wstring& lastFolder() {
  static std::wstring folder;
  return folder;
}

void startInLastFolder(IFileDialog& dialog) {
  if (lastFolder().empty()) return;
  ComPointer<IShellItem> folder;
  if (SUCCEEDED(
          SHCreateItemFromParsingName(lastFolder().c_str(), nullptr, IID_IShellItem, folder.receiveVoid())))
    dialog.SetFolder(folder.get());
}

void setUp(IFileDialog& dialog, const FileDialogRequest& request) {
  dialog.SetClientGuid(kDialogGuid);
  // Only what has a path can be converted; the rest is as requested, the dialog's own defaults included.
  dialog.SetOptions(request.flags | FOS_FORCEFILESYSTEM);
  const auto pairs = filterPairs(request.filter);
  std::vector<COMDLG_FILTERSPEC> filters;
  filters.reserve(pairs.size());
  for (const auto& [label, pattern] : pairs) filters.push_back({label.c_str(), pattern.c_str()});
  dialog.SetFileTypes(static_cast<UINT>(filters.size()), filters.data());
  if (!request.default_extension.empty())
    dialog.SetDefaultExtension(host::wide(request.default_extension).c_str());
  startInLastFolder(dialog);
}

std::optional<std::string> chosenPath(IFileDialog& dialog) {
  ComPointer<IShellItem> item;
  wchar_t* name = nullptr;
  if (FAILED(dialog.GetResult(item.receive())) || FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, &name)))
    return std::nullopt;
  const std::wstring path = name;
  CoTaskMemFree(name);
  lastFolder() = path.substr(0, path.find_last_of(L'\\') + 1);
  return host::utf8(path);
}

}  // namespace

std::vector<std::pair<std::wstring, std::wstring>> filterPairs(std::string_view filter) {
  std::vector<std::pair<std::wstring, std::wstring>> pairs;
  while (true) {
    const std::size_t bar = filter.find('|');
    const std::size_t end = bar == std::string_view::npos ? bar : filter.find('|', bar + 1);
    if (end == std::string_view::npos) return pairs;
    pairs.emplace_back(host::wide(filter.substr(0, bar)), host::wide(filter.substr(bar + 1, end - bar - 1)));
    filter.remove_prefix(end + 1);
  }
}

std::optional<std::string> runFileDialog(const FileDialogRequest& request, HWND owner) {
  ComPointer<IFileDialog> dialog;
  if (FAILED(CoCreateInstance(request.open ? CLSID_FileOpenDialog : CLSID_FileSaveDialog, nullptr,
                              CLSCTX_INPROC_SERVER, IID_IFileDialog, dialog.receiveVoid())))
    return std::nullopt;
  setUp(*dialog.get(), request);
  if (FAILED(dialog->Show(owner))) return std::nullopt;
  return chosenPath(*dialog.get());
}

}  // namespace loftbay::app::win32
