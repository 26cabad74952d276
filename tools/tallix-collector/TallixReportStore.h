#pragma once

#include <jansson.h>

#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// Numbered JSON files in one directory, "report-000001.json" on. Numbering goes on from the
// files already there, so a collector restarted on the same directory keeps them all.
class TallixReportStore {
 public:
  // Creates the directory when needed; throws std::filesystem::filesystem_error.
  explicit TallixReportStore(std::filesystem::path directory);

  // Numbers the report (its "number" member) and writes it atomically.
  std::error_code save(json_t* report);
  // Every stored report in number order; files that are not ours are left out.
  TallixJson list() const;

 private:
  static std::optional<int> numberOf(const std::filesystem::path& file);
  std::filesystem::path pathOf(int number) const;

  const std::filesystem::path directory_;
  std::mutex mutex_;  // numbers and files go out in the same order
  int lastNumber_ = 0;
};

}  // namespace tallix
