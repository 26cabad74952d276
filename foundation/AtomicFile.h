#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace foundation {

// Whole-file reads and writes. A write goes to a temporary file in the same directory, is
// flushed to disk and renamed over the target, so a kill at any moment leaves the old or the
// new content, never a mixture. Files are private to the user (0600).
class AtomicFile {
 public:
  static std::error_code write(const std::filesystem::path& path, std::string_view contents);
  // Nothing for a missing or unreadable file, or one too large to be ours.
  static std::optional<std::string> read(const std::filesystem::path& path);
};

}  // namespace foundation
