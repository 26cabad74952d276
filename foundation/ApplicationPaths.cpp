#include "foundation/ApplicationPaths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "foundation/Console.h"

namespace foundation {
namespace {

std::filesystem::path homeDirectory() {
  if (const char* home = std::getenv("HOME"); home && home[0] == '/')
    return home;
  if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir)
    return entry->pw_dir;
  return "/tmp";
}

// Like mkdir -p, but every directory it creates is 0700 (umask permitting).
bool makePrivateDirectories(const std::filesystem::path& directory) {
  std::filesystem::path partial;
  for (const auto& component : directory) {
    partial /= component;
    if (::mkdir(partial.c_str(), 0700) != 0 && errno != EEXIST)
      return false;
  }
  struct stat info {};
  return ::stat(directory.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

ApplicationPaths::ApplicationPaths(std::string applicationName)
    : applicationName_(std::move(applicationName)) {}

std::filesystem::path ApplicationPaths::dataDirectory() const {
  return existingDirectory("XDG_DATA_HOME", ".local/share");
}

std::filesystem::path ApplicationPaths::cacheDirectory() const {
  return existingDirectory("XDG_CACHE_HOME", ".cache");
}

std::filesystem::path ApplicationPaths::existingDirectory(const char* variable,
                                                          const char* fallback) const {
  const char* configured = std::getenv(variable);
  // Relative values are invalid by the XDG rules and must be ignored.
  const std::filesystem::path base =
      configured && configured[0] == '/' ? configured : homeDirectory() / fallback;
  const auto directory = base / applicationName_;
  if (!makePrivateDirectories(directory)) {
    const int error = errno;
    Console::line("Could not create directory " + directory.string() + ": " + std::strerror(error));
  }
  return directory;
}

}  // namespace foundation
