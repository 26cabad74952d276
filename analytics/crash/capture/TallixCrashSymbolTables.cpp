#include "analytics/crash/capture/TallixCrashSymbolTables.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace tallix::crash {

namespace {

struct Mapped {
  const std::uint8_t* bytes = nullptr;
  std::size_t size = 0;
};

class ElfFile {
 public:
  explicit ElfFile(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
  ~ElfFile() {
    if (descriptor_ >= 0)
      close(descriptor_);
  }

  // The symbol table and its strings, or nothing when the file has none (a stripped library).
  bool findSymbolTable(ElfW(Shdr) & symbols, ElfW(Shdr) & strings) const {
    ElfW(Ehdr) header{};
    if (!readAt(0, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_shentsize != sizeof(ElfW(Shdr)) || header.e_shnum == 0)
      return false;
    std::vector<ElfW(Shdr)> sections(header.e_shnum);
    if (!readAt(header.e_shoff, sections.data(), sections.size() * sizeof(ElfW(Shdr))))
      return false;
    for (const ElfW(Shdr) & section : sections) {
      if (section.sh_type != SHT_SYMTAB || section.sh_link >= sections.size() ||
          section.sh_entsize != sizeof(ElfW(Sym)))
        continue;
      symbols = section;
      strings = sections[section.sh_link];
      return strings.sh_type == SHT_STRTAB && strings.sh_size > 0;
    }
    return false;
  }

  // The file's first `size` bytes, read only.
  Mapped map(std::size_t size) const {
    void* bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor_, 0);
    return bytes == MAP_FAILED ? Mapped{} : Mapped{static_cast<const std::uint8_t*>(bytes), size};
  }

  std::size_t size() const {
    struct stat status {};
    return fstat(descriptor_, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
  }

 private:
  bool readAt(std::size_t offset, void* out, std::size_t size) const {
    return descriptor_ >= 0 &&
           pread(descriptor_, out, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
  }

  int descriptor_;
};

std::vector<std::string> loadedModulePaths() {
  std::vector<std::string> paths;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* out) {
        auto& list = *static_cast<std::vector<std::string>*>(out);
        // The first entry is the executable, named by the kernel rather than the loader.
        list.push_back(list.empty() ? "/proc/self/exe" : (info->dlpi_name ? info->dlpi_name : ""));
        return 0;
      },
      &paths);
  return paths;
}

}  // namespace

TallixCrashSymbolTables::TallixCrashSymbolTables()
    : tables_(std::make_unique<TallixCrashFileSymbols[]>(kMaxTables)) {}

TallixCrashSymbolTables::~TallixCrashSymbolTables() = default;

void TallixCrashSymbolTables::prepare() {
  for (const std::string& path : loadedModulePaths()) {
    if (path.empty() || path[0] != '/' || known(path.c_str()))
      continue;
    prepareFile(path.c_str());
  }
}

void TallixCrashSymbolTables::prepareFile(const char* path) {
  const std::size_t index = count_.load(std::memory_order_relaxed);
  if (index >= kMaxTables)
    return;
  TallixCrashFileSymbols& table = tables_[index];
  table = TallixCrashFileSymbols();
  char resolved[PATH_MAX] = {};
  const bool isExecutable = std::strcmp(path, "/proc/self/exe") == 0;
  if (isExecutable && realpath(path, resolved) == nullptr)
    return;
  table.path = strdup(isExecutable ? resolved : path);
  ElfFile file(path);
  ElfW(Shdr) symbols{}, strings{};
  if (file.findSymbolTable(symbols, strings) &&
      symbols.sh_offset + symbols.sh_size <= file.size() &&
      strings.sh_offset + strings.sh_size <= file.size()) {
    // One mapping from the file's start keeps both tables at their file offsets. Only the
    // pages a lookup touches are ever read in.
    const std::size_t end =
        std::max(symbols.sh_offset + symbols.sh_size, strings.sh_offset + strings.sh_size);
    const Mapped mapped = file.map(end);
    if (mapped.bytes && mapped.bytes[strings.sh_offset + strings.sh_size - 1] == '\0') {
      table.symbols = mapped.bytes + symbols.sh_offset;
      table.count = symbols.sh_size / sizeof(ElfW(Sym));
      table.strings = reinterpret_cast<const char*>(mapped.bytes + strings.sh_offset);
      table.stringsSize = strings.sh_size;
    }
  }
  // Published with or without symbols, so a stripped module is not opened again.
  count_.store(index + 1, std::memory_order_release);
}

bool TallixCrashSymbolTables::known(const char* path) const {
  char resolved[PATH_MAX] = {};
  if (std::strcmp(path, "/proc/self/exe") == 0 && realpath(path, resolved))
    path = resolved;
  return find(path) != nullptr;
}

const TallixCrashFileSymbols* TallixCrashSymbolTables::find(const char* path) const {
  const std::size_t count = count_.load(std::memory_order_acquire);
  for (std::size_t i = 0; i < count; ++i)
    if (tables_[i].path && std::strcmp(tables_[i].path, path) == 0)
      return &tables_[i];
  return nullptr;
}

}  // namespace tallix::crash
