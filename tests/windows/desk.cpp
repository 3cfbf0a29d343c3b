#include "tests/windows/desk.h"

#include <regex>
#include <sstream>

namespace loftbay::gui {

namespace fs = std::filesystem;

namespace {

// Paths of any length, which the standard library's function does not manage here. `folder` begins with the
// prefix for them.
void removeAll(const std::wstring& folder) {
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const std::wstring name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    const std::wstring path = folder + L"\\" + name;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      removeAll(path);
    } else {
      DeleteFileW(path.c_str());
    }
  } while (FindNextFileW(search, &entry) != 0);
  FindClose(search);
  RemoveDirectoryW(folder.c_str());
}

}  // namespace

Desk::Desk() {
  static int number = 0;
  folder_ = fs::temp_directory_path() /
            (L"loftbay-gui-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
  removeAll(L"\\\\?\\" + folder_.wstring());  // of a test program that was stopped
  fs::create_directories(folder_);
  base_ = folder_ / L"base";
}

Desk::~Desk() { removeAll(L"\\\\?\\" + folder_.wstring()); }

Program::Options Desk::options(const Path& exe) const {
  return {.exe = exe, .environment = {{L"MERIDAN_TEMP_PATH", base_.wstring()}}};
}

std::vector<Path> Desk::workDirectories() const {
  std::vector<Path> found;
  if (!fs::exists(base_)) return found;
  for (const auto& entry : fs::directory_iterator(base_)) found.push_back(entry.path());
  return found;
}

std::vector<std::string> Desk::logIn(const Path& work_directory) {
  static const std::regex stamp(R"(\[\d{1,2}:\d{1,2}:\d{1,2}, \d{1,2}-\d{1,2}-\d{4}\] )");
  std::istringstream stream(contents(work_directory / L"Loftbay_Log.txt"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    std::smatch match;
    if (!std::regex_search(line, match, stamp, std::regex_constants::match_continuous)) {
      ADD_FAILURE() << "no time stamp: " << line;
      continue;
    }
    lines.push_back(match.suffix());
  }
  return lines;
}

std::vector<std::string> Desk::log() const {
  const auto directories = workDirectories();
  EXPECT_EQ(directories.size(), 1U);
  return directories.empty() ? std::vector<std::string>() : logIn(directories.front());
}

void Desk::translate(Program& program, const Path& input, const Path& output) {
  const HWND window = program.mainWindow();
  type(item(window, kInput), input.wstring());
  type(item(window, kOutput), output.wstring());
  click(item(window, kTranslate));
}

}  // namespace loftbay::gui
