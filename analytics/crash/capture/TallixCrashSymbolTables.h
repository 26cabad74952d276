#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace tallix::crash {

// A module's full symbol table (.symtab), which holds the functions the dynamic table leaves
// out (static and hidden ones, everything of an executable) but is not loaded with the module.
struct TallixCrashFileSymbols {
  const char* path = nullptr;
  const void* symbols = nullptr;
  std::size_t count = 0;
  const char* strings = nullptr;
  std::size_t stringsSize = 0;
};

// The file symbol tables of the loaded modules, mapped from their files ahead of any crash.
// One thread adds tables (`prepare`); any thread may look them up at any time, crashing or not:
// entries are written before the count that publishes them and never change afterwards.
class TallixCrashSymbolTables {
 public:
  static constexpr std::size_t kMaxTables = 1024;

  TallixCrashSymbolTables();
  ~TallixCrashSymbolTables();

  // Maps the tables of modules loaded since the last call. Not signal-safe: run it in a thread
  // of its own, before the crash.
  void prepare();
  const TallixCrashFileSymbols* find(const char* path) const;

 private:
  void prepareFile(const char* path);
  bool known(const char* path) const;

  std::unique_ptr<TallixCrashFileSymbols[]> tables_;
  std::atomic<std::size_t> count_{0};
};

}  // namespace tallix::crash
