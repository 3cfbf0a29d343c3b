#include "zix/interrupted_write.h"

#include <array>
#include <atomic>
#include <cstddef>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>

#include <cerrno>
#endif

namespace Orb::Zix {

namespace {

#ifdef _WIN32
using PathUnit = wchar_t;
constexpr std::size_t kLongestPath = 32768;
#else
using PathUnit = char;
constexpr std::size_t kLongestPath = 4096;
#endif

enum SlotState : int { kFree, kBeingFilled, kFilled, kInterrupted };

struct Slot {
  std::atomic<int> state{kFree};
  std::array<PathUnit, kLongestPath> path;
};

static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

std::array<Slot, 4> slots;

}  // namespace

void removeInterruptedWrites() noexcept {
#ifndef _WIN32
  const int kept_errno = errno;
#endif
  for (Slot& slot : slots) {
    int expected = kFilled;
    if (!slot.state.compare_exchange_strong(expected, kInterrupted)) continue;
#ifdef _WIN32
    // The file is still open, but opened so that it can be deleted: its name goes with its last handle.
    DeleteFileW(slot.path.data());
#else
    unlink(slot.path.data());
#endif
  }
#ifndef _WIN32
  errno = kept_errno;
#endif
}

int rememberTemporary(const system::NativePath& path) noexcept {
  if (path.size() >= kLongestPath) return -1;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    int expected = kFree;
    if (!slots[i].state.compare_exchange_strong(expected, kBeingFilled)) continue;
    path.copy(slots[i].path.data(), path.size());
    slots[i].path[path.size()] = PathUnit{};
    slots[i].state.store(kFilled, std::memory_order_release);
    return static_cast<int>(i);
  }
  return -1;
}

bool isInterrupted(int slot) noexcept {
  return slot >= 0 && slots[static_cast<std::size_t>(slot)].state.load() == kInterrupted;
}

void forgetTemporary(int slot) noexcept {
  if (slot >= 0) slots[static_cast<std::size_t>(slot)].state.store(kFree, std::memory_order_release);
}

}  // namespace Orb::Zix
