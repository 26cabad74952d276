#include "analytics/core/device/DeviceFileTree.h"

#include <algorithm>
#include <system_error>

#include "analytics/core/device/TextFields.h"
#include "foundation/AtomicFile.h"

namespace tallix {

namespace fs = std::filesystem;

DeviceFileTree::DeviceFileTree(fs::path root) : root_(std::move(root)) {}

std::optional<std::string> DeviceFileTree::read(const fs::path& file) const {
  return foundation::AtomicFile::read(underRoot(file));
}

std::optional<std::string> DeviceFileTree::firstLine(const fs::path& file) const {
  const auto text = read(file);
  if (!text)
    return std::nullopt;
  const auto line = trimmed(std::string_view(*text).substr(0, text->find('\n')));
  if (line.empty())
    return std::nullopt;
  return std::string(line);
}

std::optional<fs::path> DeviceFileTree::linkTarget(const fs::path& link) const {
  std::error_code error;
  auto target = fs::read_symlink(underRoot(link), error);
  if (error)
    return std::nullopt;
  return target;
}

std::vector<std::string> DeviceFileTree::entries(const fs::path& directory) const {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(underRoot(directory), error), end; !error && entry != end;
       entry.increment(error))
    names.push_back(entry->path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

fs::path DeviceFileTree::underRoot(const fs::path& path) const {
  return root_ / path.relative_path();
}

}  // namespace tallix
