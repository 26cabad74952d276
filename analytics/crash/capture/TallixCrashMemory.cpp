#include "analytics/crash/capture/TallixCrashMemory.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>

namespace tallix::crash {

namespace {

// Copies byte by byte, outside the sanitizers' view: a crash reporter legitimately reads stack
// memory the address sanitizer has poisoned, and other threads' stacks while they are parked,
// which the thread sanitizer cannot know are still; a plain memcpy would be intercepted.
__attribute__((no_sanitize_address, no_sanitize_thread)) void copyUnchecked(std::uintptr_t from,
                                                                            unsigned char* to,
                                                                            std::size_t size) {
  const volatile unsigned char* source = reinterpret_cast<const volatile unsigned char*>(from);
  for (std::size_t i = 0; i < size; ++i) {
    to[i] = source[i];
  }
}

}  // namespace

bool TallixCrashMemory::read(std::uintptr_t address, void* out, std::size_t size) const {
  if (address + size < address) {
    return false;
  }
  auto* destination = static_cast<unsigned char*>(out);
  while (size > 0) {
    const std::size_t chunk = std::min<std::size_t>(size, kPageSize - address % kPageSize);
    if (!readWithinPage(address, destination, chunk)) {
      return false;
    }
    address += chunk;
    destination += chunk;
    size -= chunk;
  }
  return true;
}

bool TallixCrashMemory::readWithinPage(std::uintptr_t address, unsigned char* out,
                                       std::size_t size) const {
  const std::uintptr_t page = address - address % kPageSize;
  if (isKnownReadable(page)) {
    copyUnchecked(address, out, size);
    return true;
  }
  const iovec local{out, size};
  const iovec remote{reinterpret_cast<void*>(address), size};
  if (process_vm_readv(getpid(), &local, 1, &remote, 1, 0) != static_cast<ssize_t>(size)) {
    return false;
  }
  rememberReadable(page);
  return true;
}

bool TallixCrashMemory::isKnownReadable(std::uintptr_t page) const {
  return page != 0 &&
         std::find(readablePages_.begin(), readablePages_.end(), page) != readablePages_.end();
}

void TallixCrashMemory::rememberReadable(std::uintptr_t page) const {
  readablePages_[nextSlot_] = page;
  nextSlot_ = (nextSlot_ + 1) % kCachedPages;
}

}  // namespace tallix::crash
