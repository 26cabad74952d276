#include "analytics/crash/capture/TallixCrashAltStack.h"

#include <signal.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace tallix::crash {

namespace {

constexpr std::size_t kMinimumSize = 64 * 1024;
// Marks the stacks we mapped, so that removal never unmaps a stack another library set.
constexpr std::uint64_t kOwnerMark = 0x74616c6c69787373ULL;

std::size_t pageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

std::size_t TallixCrashAltStack::size() {
  const std::size_t kernelMinimum = getauxval(AT_MINSIGSTKSZ);
  const std::size_t wanted = std::max(kMinimumSize, kernelMinimum * 4);
  const std::size_t page = pageSize();
  return (wanted + page - 1) / page * page;
}

bool TallixCrashAltStack::installOnCurrentThread(stack_t* installed) {
  stack_t current{};
  if (sigaltstack(nullptr, &current) == 0 && !(current.ss_flags & SS_DISABLE)) {
    if (installed)
      *installed = {current.ss_sp, 0, current.ss_size};
    return true;
  }
  const std::size_t page = pageSize();
  const std::size_t usable = size();
  void* mapping = mmap(nullptr, usable + 2 * page, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapping == MAP_FAILED)
    return false;
  auto* bytes = static_cast<std::uint8_t*>(mapping);
  // Layout: the guard page the stack would overflow into, the stack, and a last page holding
  // our mark where a handler never writes.
  mprotect(bytes, page, PROT_NONE);
  *reinterpret_cast<std::uint64_t*>(bytes + page + usable) = kOwnerMark;
  const stack_t stack{bytes + page, 0, usable};
  if (sigaltstack(&stack, nullptr) != 0) {
    munmap(mapping, usable + 2 * page);
    return false;
  }
  if (installed)
    *installed = stack;
  return true;
}

void TallixCrashAltStack::removeFromCurrentThread() {
  stack_t current{};
  if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & (SS_DISABLE | SS_ONSTACK)) ||
      current.ss_size != size())
    return;
  auto* bytes = static_cast<std::uint8_t*>(current.ss_sp);
  if (*reinterpret_cast<const std::uint64_t*>(bytes + current.ss_size) != kOwnerMark)
    return;
  const stack_t off{nullptr, SS_DISABLE, 0};
  if (sigaltstack(&off, nullptr) != 0)
    return;
  const std::size_t page = pageSize();
  munmap(bytes - page, current.ss_size + 2 * page);
}

}  // namespace tallix::crash
