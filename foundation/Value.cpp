#include "foundation/Value.h"

#include <charconv>
#include <cmath>

namespace foundation {
namespace {

std::string decimal(double number) {
  if (std::isnan(number))
    return "nan";
  if (std::isinf(number))
    return number < 0 ? "-inf" : "inf";
  char text[400];  // the longest fixed-notation double is 309 digits plus sign and point
  const auto result = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed);
  return std::string(text, result.ptr);
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\')
      out += '\\';
    out += c;
  }
  return out + '"';
}

std::string hex(const Value::Bytes& data) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string out = "<";
  for (std::uint8_t byte : data) {
    out += digits[byte >> 4];
    out += digits[byte & 0xF];
  }
  return out + '>';
}

std::string nestedDescription(const Value& value) {
  if (const auto* text = value.string())
    return quoted(*text);
  return value.description();
}

}  // namespace

std::optional<bool> Value::boolean() const {
  if (const auto* flag = std::get_if<bool>(&storage_))
    return *flag;
  return std::nullopt;
}

std::optional<std::int64_t> Value::integer() const {
  if (const auto* number = std::get_if<std::int64_t>(&storage_))
    return *number;
  if (const auto* real = std::get_if<double>(&storage_)) {
    // Only doubles that hold a whole number within range convert without loss.
    if (std::trunc(*real) == *real && *real >= -9.2233720368547758e18 &&
        *real < 9.2233720368547758e18) {
      return static_cast<std::int64_t>(*real);
    }
  }
  return std::nullopt;
}

std::optional<double> Value::number() const {
  if (const auto* real = std::get_if<double>(&storage_))
    return *real;
  if (const auto* number = std::get_if<std::int64_t>(&storage_)) {
    return static_cast<double>(*number);
  }
  return std::nullopt;
}

std::optional<Date> Value::date() const {
  if (const auto* when = std::get_if<Date>(&storage_))
    return *when;
  return std::nullopt;
}

const Value::Array* Value::array() const {
  const auto* items = std::get_if<std::shared_ptr<const Array>>(&storage_);
  return items ? items->get() : nullptr;
}

const Value::Dictionary* Value::dictionary() const {
  const auto* entries = std::get_if<std::shared_ptr<const Dictionary>>(&storage_);
  return entries ? entries->get() : nullptr;
}

const Value* Value::find(std::string_view key) const {
  const auto* entries = dictionary();
  if (!entries)
    return nullptr;
  const auto found = entries->find(key);
  return found == entries->end() ? nullptr : &found->second;
}

std::string Value::description() const {
  switch (type()) {
    case Type::Null:
      return "null";
    case Type::Bool:
      return *boolean() ? "true" : "false";
    case Type::Integer:
      return std::to_string(std::get<std::int64_t>(storage_));
    case Type::Double:
      return decimal(std::get<double>(storage_));
    case Type::String:
      return *string();
    case Type::Bytes:
      return hex(*bytes());
    case Type::Date:
      return date()->description();
    case Type::Array: {
      std::string out = "[";
      for (const auto& item : *array()) {
        if (out.size() > 1)
          out += ", ";
        out += nestedDescription(item);
      }
      return out + ']';
    }
    case Type::Dictionary: {
      std::string out = "{";
      for (const auto& [key, item] : *dictionary()) {
        if (out.size() > 1)
          out += ", ";
        out += quoted(key) + ": " + nestedDescription(item);
      }
      return out + '}';
    }
  }
  return {};
}

bool operator==(const Value& lhs, const Value& rhs) {
  if (lhs.isNumber() && rhs.isNumber()) {
    if (lhs.type() == Value::Type::Integer && rhs.type() == Value::Type::Integer) {
      return *lhs.integer() == *rhs.integer();
    }
    return *lhs.number() == *rhs.number();
  }
  if (lhs.type() != rhs.type())
    return false;
  if (const auto* items = lhs.array())
    return *items == *rhs.array();
  if (const auto* entries = lhs.dictionary())
    return *entries == *rhs.dictionary();
  return lhs.storage_ == rhs.storage_;
}

}  // namespace foundation
