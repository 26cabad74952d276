#include "foundation/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace foundation {
namespace {

constexpr std::size_t kLargestReadableFile = 256 << 20;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

std::error_code writeAll(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(fd, contents.data(), contents.size());
    if (written < 0) {
      if (errno == EINTR)
        continue;
      return lastError();
    }
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

// Makes the rename itself durable; a directory that cannot be opened only loses that.
void syncDirectory(const std::filesystem::path& directory) {
  const int fd = ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd < 0)
    return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

std::error_code AtomicFile::write(const std::filesystem::path& path, std::string_view contents) {
  std::string temporary = path.string() + ".XXXXXX";
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);  // created 0600
  if (fd < 0)
    return lastError();
  std::error_code error = writeAll(fd, contents);
  if (!error && ::fsync(fd) != 0)
    error = lastError();
  if (::close(fd) != 0 && !error)
    error = lastError();
  if (!error && ::rename(temporary.c_str(), path.c_str()) != 0)
    error = lastError();
  if (error) {
    ::unlink(temporary.c_str());
    return error;
  }
  syncDirectory(path.parent_path());
  return {};
}

std::optional<std::string> AtomicFile::read(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return std::nullopt;
  std::optional<std::string> contents;
  struct stat info {};
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
      static_cast<std::size_t>(info.st_size) <= kLargestReadableFile) {
    contents.emplace();
    char buffer[64 * 1024];
    for (;;) {
      const ssize_t got = ::read(fd, buffer, sizeof buffer);
      if (got < 0 && errno == EINTR)
        continue;
      if (got < 0 || contents->size() + static_cast<std::size_t>(got) > kLargestReadableFile) {
        contents.reset();
        break;
      }
      if (got == 0)
        break;
      contents->append(buffer, static_cast<std::size_t>(got));
    }
  }
  ::close(fd);
  return contents;
}

}  // namespace foundation
