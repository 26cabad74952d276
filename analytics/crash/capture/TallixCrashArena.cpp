#include "analytics/crash/capture/TallixCrashArena.h"

#include <sys/mman.h>

#include <cstring>

namespace tallix::crash {

TallixCrashArena::TallixCrashArena(std::size_t capacity) {
  void* memory =
      mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    return;
  base_ = static_cast<std::uint8_t*>(memory);
  capacity_ = capacity;
}

TallixCrashArena::~TallixCrashArena() {
  if (base_)
    munmap(base_, capacity_);
}

void* TallixCrashArena::allocate(std::size_t size, std::size_t alignment) {
  const std::size_t start = (used_ + alignment - 1) & ~(alignment - 1);
  if (!base_ || start > capacity_ || size > capacity_ - start)
    return nullptr;
  used_ = start + size;
  return base_ + start;
}

char* TallixCrashArena::copy(const char* text, std::size_t maximum) {
  const std::size_t length = text ? strnlen(text, maximum) : 0;
  char* out = static_cast<char*>(allocate(length + 1, 1));
  if (!out)
    return nullptr;
  if (length)
    std::memcpy(out, text, length);
  out[length] = '\0';
  return out;
}

}  // namespace tallix::crash
