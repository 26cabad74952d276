#include "analytics/crash/capture/TallixCrashImageList.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>

#include "analytics/crash/capture/TallixCrashArena.h"
#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/TallixCrashProcessSnapshot.h"

namespace tallix::crash {

namespace {

constexpr std::size_t kMaxProgramHeaders = 64;
constexpr std::size_t kMaxDynamicEntries = 512;
constexpr std::size_t kMaxNameLength = 4096;
constexpr std::size_t kMaxNotesSize = 4096;

// A loaded string copied into the arena a chunk at a time, so a bad pointer ends it early.
const char* copyLoadedString(const TallixCrashMemory& memory, std::uintptr_t address,
                             TallixCrashArena& arena) {
  char buffer[kMaxNameLength] = {};
  std::size_t length = 0;
  while (length < kMaxNameLength - 1 && memory.read(address + length, buffer[length]) &&
         buffer[length] != '\0')
    ++length;
  buffer[length] = '\0';
  const char* copy = arena.copy(buffer, length);
  return copy ? copy : "";
}

class ImageReader {
 public:
  ImageReader(const TallixCrashMemory& memory, TallixCrashImage& image)
      : memory_(memory), image_(image) {}

  bool readProgramHeaders(std::uintptr_t headers, std::size_t count) {
    count = std::min(count, kMaxProgramHeaders);
    bool loaded = false;
    for (std::size_t i = 0; i < count; ++i) {
      ElfW(Phdr) header{};
      if (!memory_.read(headers + i * sizeof header, header))
        return loaded;
      const std::uintptr_t address = image_.bias + header.p_vaddr;
      if (header.p_type == PT_LOAD) {
        image_.start = loaded ? std::min(image_.start, address) : address;
        image_.end = std::max(image_.end, address + header.p_memsz);
        loaded = true;
      } else if (header.p_type == PT_GNU_EH_FRAME) {
        image_.ehFrameHdr = address;
      } else if (header.p_type == PT_NOTE) {
        readBuildId(address, std::min<std::size_t>(header.p_memsz, kMaxNotesSize));
      }
    }
    return loaded;
  }

  void readDynamicSection() {
    std::uintptr_t hash = 0, gnuHash = 0;
    for (std::size_t i = 0; i < kMaxDynamicEntries; ++i) {
      ElfW(Dyn) entry{};
      if (!memory_.read(image_.dynamicSection + i * sizeof entry, entry) || entry.d_tag == DT_NULL)
        break;
      const std::uintptr_t value = entry.d_un.d_ptr;
      switch (entry.d_tag) {
        case DT_SYMTAB:
          image_.dynamicSymbols = absolute(value);
          break;
        case DT_STRTAB:
          image_.dynamicStrings = absolute(value);
          break;
        case DT_STRSZ:
          image_.dynamicStringsSize = value;
          break;
        case DT_HASH:
          hash = absolute(value);
          break;
        case DT_GNU_HASH:
          gnuHash = absolute(value);
          break;
        default:
          break;
      }
    }
    image_.dynamicSymbolCount = gnuHash ? gnuHashSymbolCount(gnuHash) : hashSymbolCount(hash);
    // The symbolizer reads both tables directly, so they must be readable from end to end.
    char last = 1;
    ElfW(Sym) symbol{};
    if (!image_.dynamicStringsSize ||
        !memory_.read(image_.dynamicStrings + image_.dynamicStringsSize - 1, last) || last != 0 ||
        !image_.dynamicSymbolCount || !memory_.read(image_.dynamicSymbols, symbol) ||
        !memory_.read(image_.dynamicSymbols + (image_.dynamicSymbolCount - 1) * sizeof symbol,
                      symbol))
      image_.dynamicSymbolCount = 0;
  }

 private:
  // The loader rewrites most dynamic entries to loaded addresses; the vDSO's stay relative.
  std::uintptr_t absolute(std::uintptr_t value) const {
    return image_.contains(value) ? value : value + image_.bias;
  }

  std::size_t hashSymbolCount(std::uintptr_t table) const {
    std::uint32_t header[2] = {};
    return table && memory_.read(table, header) ? header[1] : 0;
  }

  // The GNU hash table does not store its symbol count: it is one past the last symbol of the
  // longest chain reached from the buckets.
  std::size_t gnuHashSymbolCount(std::uintptr_t table) const {
    std::uint32_t header[4] = {};
    if (!memory_.read(table, header))
      return 0;
    const auto [bucketCount, symbolOffset, bloomWords, bloomShift] = header;
    (void)bloomShift;
    const std::uintptr_t buckets = table + sizeof header + bloomWords * sizeof(ElfW(Addr));
    std::uint32_t last = 0;
    for (std::uint32_t i = 0; i < bucketCount && i < (1u << 20); ++i) {
      std::uint32_t bucket = 0;
      if (!memory_.read(buckets + i * 4, bucket))
        return 0;
      last = std::max(last, bucket);
    }
    if (last < symbolOffset)
      return symbolOffset;
    const std::uintptr_t chains = buckets + bucketCount * 4;
    for (std::uint32_t steps = 0; steps < (1u << 24); ++steps, ++last) {
      std::uint32_t hash = 0;
      if (!memory_.read(chains + (last - symbolOffset) * 4, hash))
        return 0;
      if (hash & 1)
        return last + 1;
    }
    return 0;
  }

  void readBuildId(std::uintptr_t notes, std::size_t size) {
    for (std::size_t offset = 0; offset + sizeof(ElfW(Nhdr)) <= size;) {
      ElfW(Nhdr) note{};
      if (!memory_.read(notes + offset, note))
        return;
      const std::size_t nameSize = (note.n_namesz + 3) & ~3u;
      const std::size_t descriptorSize = (note.n_descsz + 3) & ~3u;
      const std::uintptr_t name = notes + offset + sizeof note;
      char owner[4] = {};
      if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && memory_.read(name, owner) &&
          owner[0] == 'G' && owner[1] == 'N' && owner[2] == 'U' &&
          note.n_descsz <= sizeof image_.buildId &&
          memory_.read(name + nameSize, image_.buildId, note.n_descsz)) {
        image_.buildIdSize = note.n_descsz;
        return;
      }
      offset += sizeof note + nameSize + descriptorSize;
    }
  }

  const TallixCrashMemory& memory_;
  TallixCrashImage& image_;
};

bool describe(const TallixCrashMemory& memory, const TallixCrashProcessSnapshot& process,
              const link_map& entry, bool isExecutable, TallixCrashImage& image) {
  ImageReader reader(memory, image);
  image.bias = entry.l_addr;
  image.dynamicSection = reinterpret_cast<std::uintptr_t>(entry.l_ld);
  std::uintptr_t headers = process.mainProgramHeaders;
  std::size_t headerCount = process.mainProgramHeaderCount;
  if (!isExecutable) {
    // Shared objects map their ELF header at the start of their first segment.
    ElfW(Ehdr) elf{};
    if (!memory.read(entry.l_addr, elf) || std::memcmp(elf.e_ident, ELFMAG, SELFMAG) != 0)
      return false;
    headers = entry.l_addr + elf.e_phoff;
    headerCount = elf.e_phnum;
  }
  if (!reader.readProgramHeaders(headers, headerCount))
    return false;
  reader.readDynamicSection();
  return true;
}

}  // namespace

void TallixCrashImageList::scan(const TallixCrashMemory& memory,
                                const TallixCrashProcessSnapshot& process,
                                TallixCrashArena& arena) {
  count_ = 0;
  images_ = arena.make<TallixCrashImage>(kMaxImages);
  if (!images_)
    return;
  std::uintptr_t next = 0;
  memory.read(reinterpret_cast<std::uintptr_t>(&_r_debug.r_map), next);
  for (std::size_t visited = 0; next && visited < kMaxImages * 4 && count_ < kMaxImages;
       ++visited) {
    link_map entry{};
    if (!memory.read(next, entry))
      break;
    next = reinterpret_cast<std::uintptr_t>(entry.l_next);
    const bool isExecutable = visited == 0;
    TallixCrashImage& image = images_[count_];
    image = TallixCrashImage();
    if (!describe(memory, process, entry, isExecutable, image))
      continue;
    image.name = isExecutable ? process.processPath
                              : copyLoadedString(
                                    memory, reinterpret_cast<std::uintptr_t>(entry.l_name), arena);
    ++count_;
  }
}

const TallixCrashImage* TallixCrashImageList::find(std::uintptr_t address) const {
  for (const TallixCrashImage& image : *this)
    if (image.contains(address))
      return &image;
  return nullptr;
}

}  // namespace tallix::crash
