#pragma once

#include <cstddef>
#include <cstdint>

namespace tallix::crash {

struct TallixCrashImage;
class TallixCrashSymbolTables;

struct TallixCrashSymbol {
  const char* name = nullptr;
  std::uintptr_t start = 0;
  std::uintptr_t end = 0;
};

// Which tables name a frame's function.
enum TallixCrashSymbolSource : unsigned {
  // The modules' full tables, mapped from their files before the crash.
  kSymbolTableFromFile = 1,
  // The dynamic tables the loader keeps in memory.
  kSymbolTableInMemory = 2,
};

// Names the function around an address from tables that are already in memory: a linear scan,
// no allocation, so it works in a crashing process. A symbol whose range holds the address wins;
// failing that, the nearest function below it in the same module.
class TallixCrashSymbolizer {
 public:
  TallixCrashSymbolizer(const TallixCrashSymbolTables& files, unsigned sources)
      : files_(files), sources_(sources) {}

  bool lookup(const TallixCrashImage& image, std::uintptr_t address,
              TallixCrashSymbol& symbol) const;

 private:
  const TallixCrashSymbolTables& files_;
  unsigned sources_;
};

}  // namespace tallix::crash
