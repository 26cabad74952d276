#pragma once

#include <charconv>
#include <optional>
#include <string_view>

// Small readers for the line-oriented text of /proc, /sys and /etc.
namespace tallix {

std::string_view trimmed(std::string_view text);

// The trimmed value of the first line that reads "key<separator>value". The key must be whole:
// "Active" does not match a line "Active(anon): ...".
std::optional<std::string_view> fieldValue(std::string_view text, std::string_view key,
                                           char separator);

// The value without one pair of surrounding single or double quotes, as os-release allows.
std::string_view unquoted(std::string_view value);

// The number at the start of the text, whatever follows it ("16318916 kB", "0.52 0.58 ...").
template <typename Number>
std::optional<Number> leadingNumber(std::string_view text) {
  Number value{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc{})
    return std::nullopt;
  return value;
}

}  // namespace tallix
