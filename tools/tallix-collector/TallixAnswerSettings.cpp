#include "tools/tallix-collector/TallixAnswerSettings.h"

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace tallix {

namespace {

constexpr json_int_t kLongestDelayMs = 10 * 60 * 1000;
// Lengths and the count go out as 16-bit values in the cookie chunk.
constexpr std::size_t kLargestCookieField = std::numeric_limits<std::uint16_t>::max();

std::optional<std::string> integerMember(const json_t* control, const char* key,
                                         json_int_t& value) {
  const json_t* member = json_object_get(control, key);
  if (!member)
    return std::nullopt;
  if (!json_is_integer(member))
    return std::string(key) + " must be an integer";
  value = json_integer_value(member);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> TallixAnswerSettings::apply(const json_t* control) {
  if (!json_is_object(control))
    return "the control body must be a JSON object";
  TallixAnswerSettings changed = *this;
  if (auto error = changed.applyNumbers(control))
    return error;
  if (auto error = changed.applyCookies(control))
    return error;
  if (auto error = changed.applyConfig(control))
    return error;
  *this = std::move(changed);
  return std::nullopt;
}

std::optional<std::string> TallixAnswerSettings::applyNumbers(const json_t* control) {
  json_int_t newStatus = status;
  json_int_t newDelay = delayMs;
  json_int_t newCallbackStatus = callbackStatus;
  json_int_t newConfigDelay = configDelayMs;
  if (auto error = integerMember(control, "configDelayMs", newConfigDelay))
    return error;
  if (auto error = invalidDelay(newConfigDelay))
    return "configDelayMs: " + *error;
  if (auto error = integerMember(control, "status", newStatus))
    return error;
  if (auto error = integerMember(control, "delayMs", newDelay))
    return error;
  if (auto error = integerMember(control, "callbackStatus", newCallbackStatus))
    return error;
  if (auto error = invalidStatus(newStatus))
    return error;
  if (auto error = invalidDelay(newDelay))
    return error;
  if (auto error = invalidStatus(newCallbackStatus))
    return "callbackStatus: " + *error;
  status = static_cast<int>(newStatus);
  delayMs = static_cast<int>(newDelay);
  callbackStatus = static_cast<int>(newCallbackStatus);
  configDelayMs = static_cast<int>(newConfigDelay);
  return std::nullopt;
}

std::optional<std::string> TallixAnswerSettings::applyCookies(const json_t* control) {
  const json_t* member = json_object_get(control, "cookies");
  if (!member)
    return std::nullopt;
  auto parsed = cookiesFromJson(member);
  if (!parsed)
    return "cookies must be an object of strings";
  if (auto error = invalidCookies(*parsed))
    return error;
  cookies = std::move(*parsed);
  return std::nullopt;
}

// null takes the configuration away, so that requests are answered 404 again.
std::optional<std::string> TallixAnswerSettings::applyConfig(const json_t* control) {
  const json_t* member = json_object_get(control, "config");
  if (!member)
    return std::nullopt;
  if (json_is_null(member)) {
    config.reset();
    return std::nullopt;
  }
  try {
    config = std::make_shared<const TallixConfigAnswer>(member);
  } catch (const std::invalid_argument& fault) {
    return std::string("config: ") + fault.what();
  }
  return std::nullopt;
}

TallixJson TallixAnswerSettings::toJson() const {
  TallixJson json(json_object());
  json_object_set_new(json.get(), "status", json_integer(status));
  json_object_set_new(json.get(), "delayMs", json_integer(delayMs));
  json_t* cookieObject = json_object();
  for (const auto& [key, value] : cookies)
    json_object_set_new(cookieObject, key.c_str(), json_stringn(value.data(), value.size()));
  json_object_set_new(json.get(), "cookies", cookieObject);
  json_object_set_new(json.get(), "callbackStatus", json_integer(callbackStatus));
  json_object_set_new(json.get(), "configDelayMs", json_integer(configDelayMs));
  json_object_set_new(json.get(), "config",
                      config ? json_deep_copy(config->document()) : json_null());
  return json;
}

std::optional<TallixAnswerSettings::Cookies> TallixAnswerSettings::parseCookieList(
    std::string_view text) {
  Cookies parsed;
  while (!text.empty()) {
    const std::size_t comma = text.find(',');
    const std::string_view entry = text.substr(0, comma);
    const std::size_t equals = entry.find('=');
    if (equals == std::string_view::npos || equals == 0)
      return std::nullopt;
    parsed.emplace_back(entry.substr(0, equals), entry.substr(equals + 1));
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  }
  return parsed;
}

std::optional<std::string> TallixAnswerSettings::invalidStatus(json_int_t status) {
  if (status < 100 || status > 599)
    return "status must be from 100 to 599";
  return std::nullopt;
}

std::optional<std::string> TallixAnswerSettings::invalidDelay(json_int_t delayMs) {
  if (delayMs < 0 || delayMs > kLongestDelayMs)
    return "delayMs must be from 0 to " + std::to_string(kLongestDelayMs);
  return std::nullopt;
}

std::optional<std::string> TallixAnswerSettings::invalidCookies(const Cookies& cookies) {
  if (cookies.size() > kLargestCookieField)
    return "too many cookies";
  for (const auto& [key, value] : cookies) {
    if (key.size() > kLargestCookieField || value.size() > kLargestCookieField)
      return "cookie " + key.substr(0, 32) + " is too long";
  }
  return std::nullopt;
}

std::optional<TallixAnswerSettings::Cookies> TallixAnswerSettings::cookiesFromJson(
    const json_t* object) {
  if (!json_is_object(object))
    return std::nullopt;
  Cookies parsed;
  const char* key;
  const json_t* value;
  json_object_foreach(const_cast<json_t*>(object), key, value) {
    if (!json_is_string(value))
      return std::nullopt;
    parsed.emplace_back(key, std::string(json_string_value(value), json_string_length(value)));
  }
  return parsed;
}

}  // namespace tallix
