#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "foundation/Date.h"

namespace foundation {

// The dynamic value of event parameters, launch options and archive contents. Arrays and
// dictionaries are immutable once wrapped, so copying a Value is cheap and safe to hand to
// another queue.
class Value {
 public:
  using Bytes = std::vector<std::uint8_t>;
  using Array = std::vector<Value>;
  using Dictionary = std::map<std::string, Value, std::less<>>;
  enum class Type { Null, Bool, Integer, Double, String, Bytes, Date, Array, Dictionary };

  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool flag) : storage_(flag) {}
  template <typename Integer>
  requires(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>) Value(Integer number)
      : storage_(static_cast<std::int64_t>(number)) {}
  Value(double number) : storage_(number) {}
  Value(const char* text) : storage_(std::string(text)) {}
  Value(std::string_view text) : storage_(std::string(text)) {}
  Value(std::string text) : storage_(std::move(text)) {}
  Value(Bytes data) : storage_(std::move(data)) {}
  Value(Date date) : storage_(date) {}
  Value(Array items) : storage_(std::make_shared<const Array>(std::move(items))) {}
  Value(Dictionary entries) : storage_(std::make_shared<const Dictionary>(std::move(entries))) {}

  Type type() const { return static_cast<Type>(storage_.index()); }
  bool isNull() const { return type() == Type::Null; }
  bool isNumber() const { return type() == Type::Integer || type() == Type::Double; }

  // Each accessor answers only for its own type (numbers also for the other number type),
  // so callers can tell a wrongly typed value from a missing one.
  std::optional<bool> boolean() const;
  std::optional<std::int64_t> integer() const;
  std::optional<double> number() const;
  std::optional<Date> date() const;
  const std::string* string() const { return std::get_if<std::string>(&storage_); }
  const Bytes* bytes() const { return std::get_if<Bytes>(&storage_); }
  const Array* array() const;
  const Dictionary* dictionary() const;

  // The entry for a key of a dictionary; null when absent or when this is no dictionary.
  const Value* find(std::string_view key) const;

  // Numbers in plain decimal (never exponent notation), strings bare at the top level and
  // quoted inside containers, dates in UTC, bytes in hex.
  std::string description() const;

  // Numbers compare by value across integer and double; every other type only with itself.
  friend bool operator==(const Value& lhs, const Value& rhs);

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, Bytes, Date,
               std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>>
      storage_;
};

}  // namespace foundation
