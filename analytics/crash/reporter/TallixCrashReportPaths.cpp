#include "analytics/crash/reporter/TallixCrashReportPaths.h"

#include <algorithm>
#include <system_error>

#include "foundation/ApplicationPaths.h"

namespace tallix::crash {

namespace {

// The identifier becomes one folder name, whatever it holds.
std::string folderName(std::string identifier) {
  std::replace(identifier.begin(), identifier.end(), '/', '_');
  return identifier == "." || identifier == ".." ? "_" : identifier;
}

}  // namespace

TallixCrashReportPaths::TallixCrashReportPaths(const std::string& applicationIdentifier)
    : directory_(foundation::ApplicationPaths(kReporterFolder).cacheDirectory() /
                 folderName(applicationIdentifier)) {}

bool TallixCrashReportPaths::create() const {
  std::error_code error;
  for (const auto& folder : {directory_, queue()}) {
    std::filesystem::create_directories(folder, error);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::replace, error);
  }
  return std::filesystem::is_directory(queue());
}

}  // namespace tallix::crash
