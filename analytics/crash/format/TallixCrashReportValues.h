#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tallix {

// Plain copies of the report's messages, so that nothing past the reader touches protobuf-c.
// Fields the message may leave out are optional here, or empty text for optional names.

struct TallixCrashReportSystem {
  std::string operatingSystem;  // "Linux" or "Other"
  std::string osVersion;
  std::string osBuild;
  std::string kernelName;
  std::int64_t timestamp = 0;  // seconds since 1970
};

struct TallixCrashReportProcessor {
  enum class Encoding { Unknown, ElfMachine };
  Encoding encoding = Encoding::Unknown;
  std::uint64_t type = 0;
  std::uint64_t subtype = 0;
};

struct TallixCrashReportMachine {
  std::string model;
  TallixCrashReportProcessor processor;
  std::uint32_t processorCount = 0;
  std::uint32_t logicalProcessorCount = 0;
};

struct TallixCrashReportApplication {
  std::string identifier;
  std::string version;
};

struct TallixCrashReportProcess {
  std::string name;
  std::uint32_t id = 0;
  std::string path;
  std::string parentName;
  std::uint32_t parentId = 0;
  std::optional<std::int64_t> startTime;  // seconds since 1970
};

struct TallixCrashReportSymbol {
  std::string name;  // as written: usually mangled
  std::uint64_t start = 0;
  std::optional<std::uint64_t> end;
};

struct TallixCrashReportFrame {
  std::uint64_t pc = 0;
  std::optional<TallixCrashReportSymbol> symbol;
};

struct TallixCrashReportRegister {
  std::string name;
  std::uint64_t value = 0;
};

struct TallixCrashReportThread {
  std::uint32_t number = 0;
  std::optional<std::uint32_t> tid;
  std::string name;
  bool crashed = false;
  bool contextCaptured = true;
  bool truncated = false;
  std::vector<TallixCrashReportRegister> registers;
  std::vector<TallixCrashReportFrame> frames;
};

struct TallixCrashReportImage {
  std::uint64_t base = 0;
  std::uint64_t size = 0;
  std::string name;
  std::string buildId;  // lower-case hex, empty when the module has none
  std::optional<std::uint64_t> loadBias;

  // Written so that a base near the top of the address space cannot wrap around.
  bool contains(std::uint64_t address) const { return address >= base && address - base < size; }
};

struct TallixCrashReportSignal {
  std::string name;
  std::string code;
  std::uint64_t address = 0;
  std::optional<std::int32_t> number;
  std::optional<std::int32_t> codeNumber;
};

struct TallixCrashReportException {
  std::string name;
  std::string reason;
};

struct TallixCrashReportInfo {
  bool userRequested = false;  // a live report rather than a crash
  std::string uuid;            // 8-4-4-4-12 hex for 16 bytes, plain hex otherwise
  std::optional<std::int64_t> captureTimeNs;
  std::optional<std::uint64_t> captureDurationNs;
};

// Everything a report holds.
struct TallixCrashReportContents {
  TallixCrashReportSystem system;
  std::optional<TallixCrashReportMachine> machine;
  TallixCrashReportApplication application;
  std::optional<TallixCrashReportProcess> process;
  std::vector<TallixCrashReportThread> threads;
  std::vector<TallixCrashReportImage> images;
  std::optional<TallixCrashReportSignal> signal;
  std::optional<TallixCrashReportException> exception;
  TallixCrashReportInfo info;
};

}  // namespace tallix
