#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tallix::crash {

// Reads of the process's own memory that fail instead of faulting.
//
// A read the reader has not seen before goes through process_vm_readv on the own process, which
// reports an unreadable byte as an error instead of raising a signal. Pages proven readable that
// way are remembered in a small fixed cache, so most reads (the same stack, the same unwind
// table) are a plain copy. The cache keeps page addresses, never contents: every read sees the
// memory as it is now. One instance serves one capture on one thread; it takes no locks and
// never allocates. A page another thread unmaps after this reader proved it readable would
// still fault: make a new reader when the other threads may have run on.
class TallixCrashMemory {
 public:
  // Copies `size` bytes at `address`; false, without faulting, when any byte is unreadable.
  bool read(std::uintptr_t address, void* out, std::size_t size) const;
  template <typename T>
  bool read(std::uintptr_t address, T& out) const {
    return read(address, &out, sizeof out);
  }

 private:
  // The protection granule on x86-64; larger pages are whole multiples of it.
  static constexpr std::uintptr_t kPageSize = 4096;
  static constexpr std::size_t kCachedPages = 16;

  bool readWithinPage(std::uintptr_t address, unsigned char* out, std::size_t size) const;
  bool isKnownReadable(std::uintptr_t page) const;
  void rememberReadable(std::uintptr_t page) const;

  // Page 0 is never mapped, so 0 marks an empty slot.
  mutable std::array<std::uintptr_t, kCachedPages> readablePages_{};
  mutable std::size_t nextSlot_ = 0;
};

}  // namespace tallix::crash
