#include "analytics/crash/format/TallixCrashReport.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <system_error>
#include <vector>

#include "analytics/crash/format/TallixCrashReportConverter.h"
#include "analytics/crash/format/TallixCrashReportHeader.h"

namespace tallix {

namespace {

struct MessageRelease {
  void operator()(Tlxcrsh__CrashReport* message) const {
    tlxcrsh__crash_report__free_unpacked(message, nullptr);
  }
};
using UnpackedMessage = std::unique_ptr<Tlxcrsh__CrashReport, MessageRelease>;

std::optional<std::vector<std::uint8_t>> readFile(const std::filesystem::path& path,
                                                  std::string& error) {
  std::error_code code;
  const std::uintmax_t size = std::filesystem::file_size(path, code);
  if (code) {
    error = code.message();
    return std::nullopt;
  }
  if (size > TallixCrashReport::kMaxFileSize) {
    error = "too large for a crash report: " + std::to_string(size) + " bytes";
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
    error = "could not be read";
    return std::nullopt;
  }
  return bytes;
}

}  // namespace

std::optional<TallixCrashReport> TallixCrashReport::parse(std::span<const std::uint8_t> bytes,
                                                          std::string& error) {
  const auto body = TallixCrashReportHeader::body(bytes, error);
  if (!body)
    return std::nullopt;
  const UnpackedMessage message(tlxcrsh__crash_report__unpack(nullptr, body->size(), body->data()));
  if (!message) {
    error = "the message after the header does not decode as tlxcrsh.CrashReport (" +
            std::to_string(body->size()) + " bytes; truncated or damaged)";
    return std::nullopt;
  }
  return TallixCrashReport(TallixCrashReportConverter::contents(*message));
}

std::optional<TallixCrashReport> TallixCrashReport::load(const std::filesystem::path& path,
                                                         std::string& error) {
  const auto bytes = readFile(path, error);
  return bytes ? parse(*bytes, error) : std::nullopt;
}

const TallixCrashReportThread* TallixCrashReport::crashedThread() const {
  const auto& threads = contents_.threads;
  const auto found = std::find_if(threads.begin(), threads.end(),
                                  [](const TallixCrashReportThread& t) { return t.crashed; });
  return found == threads.end() ? nullptr : &*found;
}

TallixCrashReport::TallixCrashReport(TallixCrashReportContents contents)
    : contents_(std::move(contents)), imagesByBase_(contents_.images.size()) {
  std::iota(imagesByBase_.begin(), imagesByBase_.end(), 0);
  const auto& images = contents_.images;
  std::stable_sort(imagesByBase_.begin(), imagesByBase_.end(),
                   [&images](std::size_t left, std::size_t right) {
                     return images[left].base < images[right].base;
                   });
}

const TallixCrashReportImage* TallixCrashReport::imageContaining(std::uint64_t address) const {
  const auto& images = contents_.images;
  const auto above = std::upper_bound(
      imagesByBase_.begin(), imagesByBase_.end(), address,
      [&images](std::uint64_t value, std::size_t index) { return value < images[index].base; });
  if (above == imagesByBase_.begin())
    return nullptr;
  const TallixCrashReportImage& candidate = images[*std::prev(above)];
  return candidate.contains(address) ? &candidate : nullptr;
}

}  // namespace tallix
