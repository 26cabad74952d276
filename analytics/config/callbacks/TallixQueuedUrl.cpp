#include "analytics/config/callbacks/TallixQueuedUrl.h"

#include <charconv>

namespace tallix {

using foundation::Value;

namespace {

std::string textOf(const Value* value) {
  const std::string* text = value ? value->string() : nullptr;
  return text ? *text : std::string();
}

// The expiration is kept as text and the repeat duration as a number; both are compared as
// numbers, so both are read into one.
std::int64_t numberOf(const Value* value) {
  if (!value)
    return 0;
  if (const auto integer = value->integer())
    return *integer;
  if (const auto number = value->number())
    return static_cast<std::int64_t>(*number);
  std::int64_t parsed = 0;
  if (const std::string* text = value->string())
    std::from_chars(text->data(), text->data() + text->size(), parsed);
  return parsed;
}

}  // namespace

Value TallixQueuedUrl::toValue() const {
  Value::Dictionary entry{{"invokeURL", invokeURL},
                          {"method", method},
                          {"eventString", eventString},
                          {"beingFired", beingFired},
                          {"repeatDuration", repeatDuration}};
  if (expiration)
    entry.emplace("expiration", std::to_string(expiration));
  return entry;
}

std::optional<TallixQueuedUrl> TallixQueuedUrl::fromValue(const Value& value) {
  const std::string* url = value.find("invokeURL") ? value.find("invokeURL")->string() : nullptr;
  if (!url)
    return std::nullopt;
  const Value* fired = value.find("beingFired");
  return TallixQueuedUrl{*url,
                         textOf(value.find("method")),
                         textOf(value.find("eventString")),
                         fired && fired->boolean().value_or(false),
                         numberOf(value.find("repeatDuration")),
                         numberOf(value.find("expiration"))};
}

}  // namespace tallix
