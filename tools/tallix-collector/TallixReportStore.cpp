#include "tools/tallix-collector/TallixReportStore.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>

#include "foundation/AtomicFile.h"

namespace tallix {

namespace {

constexpr std::string_view kPrefix = "report-";
constexpr std::string_view kSuffix = ".json";
constexpr int kDigits = 6;

}  // namespace

TallixReportStore::TallixReportStore(std::filesystem::path directory)
    : directory_(std::move(directory)) {
  std::filesystem::create_directories(directory_);
  for (const auto& entry : std::filesystem::directory_iterator(directory_))
    lastNumber_ = std::max(lastNumber_, numberOf(entry.path()).value_or(0));
}

std::error_code TallixReportStore::save(json_t* report) {
  const std::scoped_lock lock(mutex_);
  const int number = ++lastNumber_;
  json_object_set_new(report, "number", json_integer(number));
  const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(report, JSON_INDENT(2)),
                                                         &std::free);
  if (!text)
    return std::make_error_code(std::errc::invalid_argument);
  return foundation::AtomicFile::write(pathOf(number), text.get());
}

TallixJson TallixReportStore::list() const {
  std::map<int, std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory_)) {
    if (const auto number = numberOf(entry.path()))
      files.emplace(*number, entry.path());
  }
  TallixJson reports(json_array());
  for (const auto& [number, file] : files) {
    const auto text = foundation::AtomicFile::read(file);
    if (json_t* report = text ? json_loadb(text->data(), text->size(), 0, nullptr) : nullptr)
      json_array_append_new(reports.get(), report);
  }
  return reports;
}

std::optional<int> TallixReportStore::numberOf(const std::filesystem::path& file) {
  const std::string name = file.filename().string();
  const std::string_view view = name;
  if (view.size() != kPrefix.size() + kDigits + kSuffix.size() || !view.starts_with(kPrefix) ||
      !view.ends_with(kSuffix))
    return std::nullopt;
  const std::string_view digits = view.substr(kPrefix.size(), kDigits);
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size())
    return std::nullopt;
  return number;
}

std::filesystem::path TallixReportStore::pathOf(int number) const {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%0*d", kDigits, number);
  return directory_ / (std::string(kPrefix) + digits + std::string(kSuffix));
}

}  // namespace tallix
