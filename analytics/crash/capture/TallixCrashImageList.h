#pragma once

#include <cstddef>
#include <cstdint>

namespace tallix::crash {

class TallixCrashArena;
class TallixCrashMemory;
struct TallixCrashProcessSnapshot;

// One loaded module as a report describes it and as frames are looked up in it.
struct TallixCrashImage {
  const char* name = "";
  std::uintptr_t start = 0;
  std::uintptr_t end = 0;
  std::uintptr_t bias = 0;
  std::uintptr_t ehFrameHdr = 0;
  std::uintptr_t dynamicSection = 0;
  std::uint8_t buildId[32] = {};
  std::size_t buildIdSize = 0;
  // The symbols the dynamic linker itself uses; always in memory.
  std::uintptr_t dynamicSymbols = 0;
  std::size_t dynamicSymbolCount = 0;
  std::uintptr_t dynamicStrings = 0;
  std::size_t dynamicStringsSize = 0;

  bool contains(std::uintptr_t address) const { return address >= start && address < end; }
};

// The modules of the process, read from the dynamic linker's own list (r_debug) at the moment
// of the crash: modules opened after the reporter was enabled are there too, and no loader
// lock is taken, so a crash inside dlopen still gets its report. Every read goes through the
// fault-proof reader, as a crash in the middle of dlopen can leave the list half linked.
class TallixCrashImageList {
 public:
  static constexpr std::size_t kMaxImages = 1024;

  // Reads the list into memory taken from `arena`.
  void scan(const TallixCrashMemory& memory, const TallixCrashProcessSnapshot& process,
            TallixCrashArena& arena);

  const TallixCrashImage* find(std::uintptr_t address) const;
  const TallixCrashImage* begin() const { return images_; }
  const TallixCrashImage* end() const { return images_ + count_; }
  std::size_t size() const { return count_; }

 private:
  TallixCrashImage* images_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace tallix::crash
