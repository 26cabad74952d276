#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

// The values an application ships with (its information dictionary): a text file of
// "key = value" lines, where blank lines and lines starting with "#" are skipped and spaces
// around key and value do not count. Orvane's is share/orvane/Orvane.info (see Bundle).
class InfoDictionary {
 public:
  // A line that is not "key = value", or a key given twice; the message names the line.
  class Malformed : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  InfoDictionary() = default;
  // `origin` names the text in messages, e.g. the file's path. Throws Malformed.
  static InfoDictionary parse(std::string_view text, const std::string& origin);
  // A missing file has no values; one that cannot be read or parsed throws Malformed.
  static InfoDictionary load(const std::filesystem::path& file);

  std::optional<std::string> value(const std::string& key) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace platform
