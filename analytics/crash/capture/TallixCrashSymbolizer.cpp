#include "analytics/crash/capture/TallixCrashSymbolizer.h"

#include <elf.h>
#include <link.h>

#include "analytics/crash/capture/TallixCrashImageList.h"
#include "analytics/crash/capture/TallixCrashSymbolTables.h"

namespace tallix::crash {

namespace {

struct Candidate {
  TallixCrashSymbol symbol;
  bool holdsAddress = false;

  bool betterThan(const Candidate& other) const {
    if (!symbol.name)
      return false;
    if (!other.symbol.name)
      return true;
    if (holdsAddress != other.holdsAddress)
      return holdsAddress;
    return symbol.start > other.symbol.start;
  }
};

bool isFunction(const ElfW(Sym) & entry) {
  const unsigned type = ELF64_ST_TYPE(entry.st_info);
  return (type == STT_FUNC || type == STT_GNU_IFUNC) && entry.st_shndx != SHN_UNDEF &&
         entry.st_value != 0;
}

Candidate scan(const ElfW(Sym) * symbols, std::size_t count, const char* strings,
               std::size_t stringsSize, const TallixCrashImage& image, std::uintptr_t address) {
  Candidate best;
  for (std::size_t i = 0; i < count; ++i) {
    const ElfW(Sym)& entry = symbols[i];
    if (!isFunction(entry) || entry.st_name >= stringsSize)
      continue;
    const std::uintptr_t start = image.bias + entry.st_value;
    if (start > address || !image.contains(start))
      continue;
    const bool holdsAddress = address < start + entry.st_size;
    // A sized function that ends below the address is not the one the address is in.
    if (!holdsAddress && entry.st_size != 0)
      continue;
    const Candidate candidate{{strings + entry.st_name, start, start + entry.st_size},
                              holdsAddress};
    if (candidate.betterThan(best))
      best = candidate;
  }
  return best;
}

}  // namespace

bool TallixCrashSymbolizer::lookup(const TallixCrashImage& image, std::uintptr_t address,
                                   TallixCrashSymbol& symbol) const {
  Candidate best;
  if (sources_ & kSymbolTableFromFile) {
    if (const TallixCrashFileSymbols* file = files_.find(image.name))
      best = scan(static_cast<const ElfW(Sym)*>(file->symbols), file->count, file->strings,
                  file->stringsSize, image, address);
  }
  if ((sources_ & kSymbolTableInMemory) && image.dynamicSymbolCount && !best.holdsAddress) {
    const Candidate loaded =
        scan(reinterpret_cast<const ElfW(Sym)*>(image.dynamicSymbols), image.dynamicSymbolCount,
             reinterpret_cast<const char*>(image.dynamicStrings), image.dynamicStringsSize, image,
             address);
    if (loaded.betterThan(best))
      best = loaded;
  }
  if (!best.symbol.name)
    return false;
  symbol = best.symbol;
  return true;
}

}  // namespace tallix::crash
