#include "platform/InfoDictionary.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace platform {
namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

InfoDictionary InfoDictionary::parse(std::string_view text, const std::string& origin) {
  InfoDictionary dictionary;
  int number = 0;
  while (!text.empty()) {
    const auto end = text.find('\n');
    const std::string_view line = trimmed(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    ++number;
    if (line.empty() || line.front() == '#')
      continue;
    const auto where = origin + " line " + std::to_string(number) + ": ";
    const auto equals = line.find('=');
    const std::string_view key = trimmed(line.substr(0, equals));
    if (equals == std::string_view::npos || key.empty())
      throw Malformed(where + "expected \"key = value\", found \"" + std::string(line) + "\"");
    if (!dictionary.values_.emplace(key, trimmed(line.substr(equals + 1))).second)
      throw Malformed(where + "\"" + std::string(key) + "\" is given a second time");
  }
  return dictionary;
}

InfoDictionary InfoDictionary::load(const std::filesystem::path& file) {
  std::error_code error;
  if (file.empty() || !std::filesystem::exists(file, error))
    return {};
  std::ifstream stream(file, std::ios::binary);
  if (!stream)
    throw Malformed(file.string() + ": cannot be read");
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  return parse(text, file.string());
}

std::optional<std::string> InfoDictionary::value(const std::string& key) const {
  const auto found = values_.find(key);
  if (found == values_.end())
    return std::nullopt;
  return found->second;
}

}  // namespace platform
