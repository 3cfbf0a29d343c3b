// Shows a file to the user in the program that the system has for it.
#pragma once

#include <string>

namespace loftbay::host {

// Opens a page (host form, absolute) in the user's browser and does not wait for it. On POSIX hosts $BROWSER
// beats the desktop's choice: commands with a `:` between them, of which the first that can be started is
// taken; `%s` in one stands for the file. On failure the result is false and `*reason` says why.
bool openInBrowser(const std::string& path, std::string* reason);

}  // namespace loftbay::host
