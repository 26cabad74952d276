#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "analytics/crash/format/TallixCrashReportValues.h"

namespace tallix {

// A stored crash report read back: the header checked, the message decoded with protobuf-c and
// copied into plain values. Reports come from disk after a crash, so every failure is an
// ordinary result with a reason a person can act on, never an exception or a crash.
class TallixCrashReport {
 public:
  // The whole file: header, then the packed tlxcrsh.CrashReport.
  static std::optional<TallixCrashReport> parse(std::span<const std::uint8_t> bytes,
                                                std::string& error);
  // Reads the file first; files over kMaxFileSize are refused unread.
  static std::optional<TallixCrashReport> load(const std::filesystem::path& path,
                                               std::string& error);

  // Far above any real report, low enough that a hostile file cannot take the memory.
  static constexpr std::uintmax_t kMaxFileSize = 16u << 20;

  explicit TallixCrashReport(TallixCrashReportContents contents);

  const TallixCrashReportSystem& system() const { return contents_.system; }
  const std::optional<TallixCrashReportMachine>& machine() const { return contents_.machine; }
  const TallixCrashReportApplication& application() const { return contents_.application; }
  const std::optional<TallixCrashReportProcess>& process() const { return contents_.process; }
  const std::vector<TallixCrashReportThread>& threads() const { return contents_.threads; }
  const std::vector<TallixCrashReportImage>& images() const { return contents_.images; }
  const std::optional<TallixCrashReportSignal>& signal() const { return contents_.signal; }
  const std::optional<TallixCrashReportException>& exception() const { return contents_.exception; }
  const TallixCrashReportInfo& info() const { return contents_.info; }

  bool isLive() const { return contents_.info.userRequested; }
  // The first thread marked crashed; null in a live report.
  const TallixCrashReportThread* crashedThread() const;
  // The image whose range holds the address; null when none does. Loaded modules never
  // overlap, so only the image with the highest base at or below the address is asked: a
  // lookup per frame stays cheap however many images a report lists.
  const TallixCrashReportImage* imageContaining(std::uint64_t address) const;

 private:
  TallixCrashReportContents contents_;
  // Indices into contents_.images, so that copies of the report stay right.
  std::vector<std::size_t> imagesByBase_;
};

}  // namespace tallix
