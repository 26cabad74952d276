#include "analytics/config/exchange/TallixBeaconSettings.h"

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

namespace {

constexpr std::string_view kLastResponseTimeKey = "lastResponseTime";
constexpr std::string_view kNextRefreshTTLKey = "nextRefreshTTL";
constexpr std::string_view kExpirationTTLKey = "expirationTTL";
constexpr std::string_view kCallbacksKey = "callbacks";

std::int64_t storedInt64(const Value& dictionary, std::string_view key) {
  const Value* stored = dictionary.find(key);
  return stored ? stored->integer().value_or(0) : 0;
}

}  // namespace

void TallixBeaconSettings::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  coder.encodeInt64(kLastResponseTimeKey, lastResponseTime_);
  coder.encodeInt64(kNextRefreshTTLKey, nextRefreshTTL_);
  coder.encodeInt64(kExpirationTTLKey, expirationTTL_);
  coder.encodeObjects(kCallbacksKey, callbacks_);
}

std::shared_ptr<TallixBeaconSettings> TallixBeaconSettings::initWithCoder(
    foundation::KeyedUnarchiver& coder) {
  auto settings = std::make_shared<TallixBeaconSettings>();
  settings->lastResponseTime_ = coder.decodeInt64(kLastResponseTimeKey).value_or(0);
  settings->nextRefreshTTL_ = coder.decodeInt64(kNextRefreshTTLKey).value_or(0);
  settings->expirationTTL_ = coder.decodeInt64(kExpirationTTLKey).value_or(0);
  settings->callbacks_ =
      coder.decodeObjects<TallixBeaconAppTemplate>(kCallbacksKey).value_or(Callbacks{});
  return settings;
}

Value TallixBeaconSettings::dataDictionary() const {
  Value::Array callbacks;
  callbacks.reserve(callbacks_.size());
  for (const auto& callback : callbacks_)
    callbacks.push_back(callback->dataDictionary());
  return Value(Value::Dictionary{
      {std::string(kLastResponseTimeKey), Value(lastResponseTime_)},
      {std::string(kNextRefreshTTLKey), Value(nextRefreshTTL_)},
      {std::string(kExpirationTTLKey), Value(expirationTTL_)},
      {std::string(kCallbacksKey), Value(std::move(callbacks))},
  });
}

std::shared_ptr<TallixBeaconSettings> TallixBeaconSettings::initWithDictionary(
    const Value& dictionary) {
  if (!dictionary.dictionary())
    return nullptr;
  auto settings = std::make_shared<TallixBeaconSettings>();
  settings->lastResponseTime_ = storedInt64(dictionary, kLastResponseTimeKey);
  settings->nextRefreshTTL_ = storedInt64(dictionary, kNextRefreshTTLKey);
  settings->expirationTTL_ = storedInt64(dictionary, kExpirationTTLKey);
  const Value* callbacks = dictionary.find(kCallbacksKey);
  if (callbacks && callbacks->array()) {
    for (const Value& element : *callbacks->array()) {
      if (auto callback = TallixBeaconAppTemplate::initWithDictionary(element))
        settings->callbacks_.push_back(std::move(callback));
    }
  }
  return settings;
}

}  // namespace tallix
