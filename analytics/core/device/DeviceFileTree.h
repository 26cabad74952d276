#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tallix {

// The system's files as seen from a root directory: "/" in use, a fake tree in tests. Paths
// are given as on the system ("/proc/meminfo" or "proc/meminfo"). Nothing here throws: a
// missing or unreadable file is none, a missing directory has no entries.
class DeviceFileTree {
 public:
  explicit DeviceFileTree(std::filesystem::path root);

  std::optional<std::string> read(const std::filesystem::path& file) const;
  // The first line without surrounding blanks; none when that leaves nothing.
  std::optional<std::string> firstLine(const std::filesystem::path& file) const;
  // Where a symbolic link points, as written in the link (it may be relative or dangling).
  std::optional<std::filesystem::path> linkTarget(const std::filesystem::path& link) const;
  // Sorted, so that a choice among several entries is the same on every call.
  std::vector<std::string> entries(const std::filesystem::path& directory) const;

 private:
  std::filesystem::path underRoot(const std::filesystem::path& path) const;

  std::filesystem::path root_;
};

}  // namespace tallix
