// wmain() of the console programs on Windows: wide arguments become UTF-8, the console shows UTF-8, and
// standard output keeps its bytes.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "cli/program.h"

namespace {

std::string utf8(const wchar_t* text) {
  const int needed = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (needed <= 1) return {};
  std::string result(static_cast<std::size_t>(needed - 1), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), needed, nullptr, nullptr);
  return result;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  SetConsoleOutputCP(CP_UTF8);
  _setmode(_fileno(stdout), _O_BINARY);
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(utf8(argv[i]));
  return loftbay::cli::runProgramCaught(LOFTBAY_PROGRAM, arguments);
}
