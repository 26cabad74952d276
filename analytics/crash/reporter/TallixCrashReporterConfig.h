#pragma once

#include <string>

namespace tallix::crash {

// How crashes are caught. Only POSIX signal handlers exist on Linux; the kernel-exception
// server of other systems is kept as a value so that asking for it fails clearly.
enum class TallixCrashSignalHandlerType { kBsd = 0, kMach = 1 };

// Where frame names come from; the values combine.
enum TallixCrashSymbolicationStrategy : unsigned {
  kSymbolicationNone = 0,
  // The modules' full symbol tables, read from their files.
  kSymbolicationSymbolTable = 1,
  // What the runtime keeps in memory: the loader's dynamic symbol tables.
  kSymbolicationRuntimeMetadata = 2,
  kSymbolicationAll = 3,
};

class TallixCrashReporterConfig {
 public:
  TallixCrashReporterConfig(TallixCrashSignalHandlerType signalHandlerType,
                            unsigned symbolicationStrategy)
      : signalHandlerType_(signalHandlerType), symbolicationStrategy_(symbolicationStrategy) {}

  TallixCrashSignalHandlerType signalHandlerType() const { return signalHandlerType_; }
  unsigned symbolicationStrategy() const { return symbolicationStrategy_; }

  // The application as reports name it; an empty identifier falls back to the process name.
  TallixCrashReporterConfig& withApplication(std::string identifier, std::string version) {
    applicationIdentifier_ = std::move(identifier);
    applicationVersion_ = std::move(version);
    return *this;
  }
  const std::string& applicationIdentifier() const { return applicationIdentifier_; }
  const std::string& applicationVersion() const { return applicationVersion_; }

 private:
  TallixCrashSignalHandlerType signalHandlerType_;
  unsigned symbolicationStrategy_;
  std::string applicationIdentifier_;
  std::string applicationVersion_;
};

}  // namespace tallix::crash
