#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace tallix::crash {

// Memory for building one report while the process may be crashing: mapped once when the
// reporter is enabled, handed out by bumping an offset, taken back whole before the next
// report. Never calls malloc, so a corrupt heap or a held allocator lock cannot stop a report.
class TallixCrashArena {
 public:
  explicit TallixCrashArena(std::size_t capacity);
  ~TallixCrashArena();
  TallixCrashArena(const TallixCrashArena&) = delete;
  TallixCrashArena& operator=(const TallixCrashArena&) = delete;

  bool valid() const { return base_ != nullptr; }
  void reset() { used_ = 0; }

  // `count` value-initialised objects, or nullptr when the arena is full.
  template <typename T>
  T* make(std::size_t count = 1) {
    void* memory = allocate(sizeof(T) * count, alignof(T));
    if (!memory)
      return nullptr;
    T* objects = static_cast<T*>(memory);
    for (std::size_t i = 0; i < count; ++i)
      new (&objects[i]) T();
    return objects;
  }

  // A NUL-terminated copy of at most `maximum` bytes of `text`, or nullptr when full.
  char* copy(const char* text, std::size_t maximum);

 private:
  void* allocate(std::size_t size, std::size_t alignment);

  std::uint8_t* base_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
};

}  // namespace tallix::crash
