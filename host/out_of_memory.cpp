#include "host/out_of_memory.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace loftbay::host {

namespace {

const char* last_message = nullptr;
int last_code = EXIT_FAILURE;
void (*last_clean_up)() noexcept = nullptr;
// Set on failure, because without memory there may be no exception object.
std::atomic<bool> allocation_failed{false};

void noteFailure() {
  allocation_failed = true;
  throw std::bad_alloc();
}

bool isForWantOfMemory() noexcept {
  const std::exception_ptr error = std::current_exception();
  if (!error) return allocation_failed;
  try {
    std::rethrow_exception(error);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
    return false;
  }
}

[[noreturn]] void end() {
  if (!isForWantOfMemory()) std::abort();
  last_clean_up();
  std::fputs(last_message, stderr);
  std::_Exit(last_code);
}

}  // namespace

const char* failureText(const std::exception& error) noexcept {
  return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "out of memory" : error.what();
}

void endWhenMemoryRunsOut(const char* message, int exit_code, void (*clean_up)() noexcept) noexcept {
  last_message = message;
  last_code = exit_code;
  last_clean_up = clean_up;
  std::set_new_handler(noteFailure);
  std::set_terminate(end);
}

}  // namespace loftbay::host
