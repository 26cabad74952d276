#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace tallix {

// The dynamic value the agent takes for names, messages, parameters and launch options, so an
// application needs none of the agent's own types. Every constructor is implicit, so a call
// reads like its data: Tallix::logEvent("Talk", {{"effect", "monster"}}). Arrays and
// dictionaries are immutable once wrapped, so copies are cheap.
class TallixValue {
 public:
  using Array = std::vector<TallixValue>;
  using Dictionary = std::map<std::string, TallixValue, std::less<>>;
  enum class Type { Null, Bool, Integer, Double, String, Array, Dictionary };

  TallixValue() = default;
  TallixValue(std::nullptr_t) {}
  TallixValue(bool flag) : storage_(flag) {}
  template <typename Integer>
  requires(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>)
      TallixValue(Integer number)
      : storage_(static_cast<std::int64_t>(number)) {}
  TallixValue(double number) : storage_(number) {}
  TallixValue(const char* text) : storage_(std::string(text)) {}
  TallixValue(std::string_view text) : storage_(std::string(text)) {}
  TallixValue(std::string text) : storage_(std::move(text)) {}
  TallixValue(Array items) : storage_(std::make_shared<const Array>(std::move(items))) {}
  TallixValue(Dictionary entries)
      : storage_(std::make_shared<const Dictionary>(std::move(entries))) {}
  // A braced list of key-value pairs is a dictionary, so one can be written in place.
  TallixValue(std::initializer_list<Dictionary::value_type> entries)
      : TallixValue(Dictionary(entries)) {}

  Type type() const { return static_cast<Type>(storage_.index()); }
  // Each accessor answers only for its own type, and null for any other.
  const bool* boolean() const { return std::get_if<bool>(&storage_); }
  const std::int64_t* integer() const { return std::get_if<std::int64_t>(&storage_); }
  const double* number() const { return std::get_if<double>(&storage_); }
  const std::string* string() const { return std::get_if<std::string>(&storage_); }
  const Array* array() const { return contained<Array>(); }
  const Dictionary* dictionary() const { return contained<Dictionary>(); }

 private:
  template <typename Container>
  const Container* contained() const {
    const auto* shared = std::get_if<std::shared_ptr<const Container>>(&storage_);
    return shared ? shared->get() : nullptr;
  }

  std::variant<std::monostate, bool, std::int64_t, double, std::string,
               std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>>
      storage_;
};

}  // namespace tallix
