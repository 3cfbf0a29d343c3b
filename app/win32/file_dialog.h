// The common open and save dialogs in their current style.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/dialog_window.h"

namespace loftbay::app::win32 {

// The pairs (label, pattern) of a filter text "label|pattern|…|"; a label without a pattern is left out.
std::vector<std::pair<std::wstring, std::wstring>> filterPairs(std::string_view filter);

// Runs the dialog modally over `owner`. The chosen full path; empty optional when the user cancelled or the
// system has no such dialog. Starts in the folder where the user chose a file last: Windows keeps it for the
// program, this process for its own next dialogs.
std::optional<std::string> runFileDialog(const FileDialogRequest& request, HWND owner);

}  // namespace loftbay::app::win32
