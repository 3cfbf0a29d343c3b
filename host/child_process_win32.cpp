// Windows side of child_process.h.
#include <windows.h>

#include <array>
#include <atomic>
#include <memory>
#include <system_error>
#include <type_traits>

#include "host/child_process.h"
#include "host/deadline.h"
#include "host/path.h"

namespace loftbay::host {

namespace {

std::atomic<bool> interrupted{false};

constexpr UINT kTimedOut = 0x54494d45;  // the code of a child that was ended; no program gives it

struct HandleCloser {
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

std::string lastError() { return std::system_category().message(static_cast<int>(GetLastError())); }

// Quoted so that the C runtime's parser gives the argument back: backslashes count only before a quote.
std::wstring quoted(const std::string& utf8) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : toFileSystemPath(utf8).wstring()) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    text.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    text += c;
  }
  text.append(2 * backslashes, L'\\');
  return text + L"\"";
}

// All children are in one job that ends them when this process ends, however that happens.
HANDLE childrenJob() {
  static const Handle job = [] {
    Handle made(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(made.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job.get();
}

// Starts the child with exactly one inheritable handle in addition to the standard ones.
bool start(const std::string& program, std::wstring command_line, HANDLE output,
           PROCESS_INFORMATION& process) {
  SIZE_T size = 0;
  InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
  const std::unique_ptr<std::byte[]> storage(new std::byte[size]);
  auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage.get());
  if (InitializeProcThreadAttributeList(list, 1, 0, &size) == 0) return false;
  std::array<HANDLE, 2> inherited = {output, GetStdHandle(STD_ERROR_HANDLE)};
  SetHandleInformation(inherited[1], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited.data(),
                            inherited.size() * sizeof(HANDLE), nullptr, nullptr);
  STARTUPINFOEXW info{};
  info.StartupInfo.cb = sizeof info;
  info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  info.StartupInfo.hStdInput = nullptr;
  info.StartupInfo.hStdOutput = output;
  info.StartupInfo.hStdError = inherited[1];
  info.lpAttributeList = list;
  const bool started =
      CreateProcessW(toFileSystemPath(program).c_str(), command_line.data(), nullptr, nullptr, TRUE,
                     EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &info.StartupInfo, &process) != 0;
  DeleteProcThreadAttributeList(list);
  return started;
}

std::string readAll(HANDLE pipe) {
  std::string text;
  std::array<char, 65536> buffer{};
  DWORD count = 0;
  while (ReadFile(pipe, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) != 0 &&
         count > 0) {
    text.append(buffer.data(), count);
  }
  return text;
}

}  // namespace

ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     std::optional<std::chrono::milliseconds> time) {
  ChildResult result;
  if (interrupted) {
    result.reason = "interrupted";
    return result;
  }
  std::wstring command_line = quoted(program);
  for (const auto& argument : arguments) command_line += L" " + quoted(argument);
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  HANDLE read_end = nullptr;
  HANDLE write_end = nullptr;
  if (CreatePipe(&read_end, &write_end, &inheritable, 0) == 0) {
    result.reason = lastError();
    return result;
  }
  const Handle reader(read_end);
  Handle writer(write_end);
  SetHandleInformation(read_end, HANDLE_FLAG_INHERIT, 0);
  PROCESS_INFORMATION information{};
  if (!start(program, command_line, write_end, information)) {
    result.reason = lastError();
    return result;
  }
  const Handle process(information.hProcess);
  const Handle thread(information.hThread);
  AssignProcessToJobObject(childrenJob(), information.hProcess);
  writer.reset();
  result.started = true;
  std::atomic<bool> timed_out{false};
  {
    std::optional<Deadline> deadline;
    if (time) {
      deadline.emplace(*time, [&timed_out, process = information.hProcess] {
        timed_out = TerminateProcess(process, kTimedOut) != 0;
      });
    }
    result.output = readAll(read_end);
    WaitForSingleObject(information.hProcess, INFINITE);
  }
  DWORD code = 0;
  GetExitCodeProcess(information.hProcess, &code);
  // Codes from here on are the system's (access violation and its kin).
  constexpr DWORD kFirstSystemCode = 0xC0000000;
  result.timed_out = timed_out && code == kTimedOut;
  result.crashed = result.timed_out || code >= kFirstSystemCode;
  if (result.crashed) {
    result.reason = "ended with system code " + std::to_string(code);
  } else {
    result.exit_code = static_cast<int>(code);
  }
  return result;
}

// The console sends its Ctrl-C to the children itself; this only keeps new ones from being started.
void interruptChildren() noexcept { interrupted = true; }

bool childrenInterrupted() noexcept { return interrupted; }

std::string ownProgram() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  const auto text = std::filesystem::path(path).u8string();
  return {text.begin(), text.end()};
}

}  // namespace loftbay::host
