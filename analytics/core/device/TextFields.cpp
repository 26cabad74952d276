#include "analytics/core/device/TextFields.h"

namespace tallix {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<std::string_view> fieldValue(std::string_view text, std::string_view key,
                                           char separator) {
  while (!text.empty()) {
    const auto end = text.find('\n');
    const auto line = text.substr(0, end);
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == separator)
      return trimmed(line.substr(key.size() + 1));
    if (end == std::string_view::npos)
      break;
    text.remove_prefix(end + 1);
  }
  return std::nullopt;
}

std::string_view unquoted(std::string_view value) {
  const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                      value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace tallix
