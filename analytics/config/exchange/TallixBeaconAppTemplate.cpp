#include "analytics/config/exchange/TallixBeaconAppTemplate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

namespace {

constexpr std::array<std::string_view, 3> kMethodNames = {"GET", "PUT", "POST"};

constexpr std::string_view kPartnerKey = "partner";
constexpr std::string_view kEventsKey = "events";
constexpr std::string_view kMethodKey = "method";
constexpr std::string_view kUriTemplateKey = "uriTemplate";
constexpr std::string_view kBodyTemplateKey = "bodyTemplate";
constexpr std::string_view kMaxRedirectsKey = "maxRedirects";
constexpr std::string_view kConnectTimeoutWrittenKey = "connectionTimeout";
constexpr std::string_view kConnectTimeoutReadKey = "connectTimeout";
constexpr std::string_view kRequestTimeoutKey = "requestTimeout";

constexpr auto kInt32Min = std::numeric_limits<std::int32_t>::min();
constexpr auto kInt32Max = std::numeric_limits<std::int32_t>::max();

// Any stored number, truncated toward zero and held to 32 bits; 0 for anything else.
std::int32_t convertedInt32(const Value* stored) {
  const auto number = stored ? stored->number() : std::nullopt;
  if (!number || std::isnan(*number))
    return 0;
  return static_cast<std::int32_t>(
      std::clamp(std::trunc(*number), double{kInt32Min}, double{kInt32Max}));
}

// Only an integer as stored, never a converted fraction.
std::int32_t storedInt32(const Value* stored) {
  if (!stored || stored->type() != Value::Type::Integer)
    return 0;
  const std::int64_t number = *stored->integer();
  return number >= kInt32Min && number <= kInt32Max ? static_cast<std::int32_t>(number) : 0;
}

std::optional<std::string> storedString(const Value* stored) {
  const std::string* text = stored ? stored->string() : nullptr;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace

std::int32_t TallixBeaconAppTemplate::beaconMethodStringToEnum(std::string_view name) {
  const auto found = std::find(kMethodNames.begin(), kMethodNames.end(), name);
  return found == kMethodNames.end() ? kGet
                                     : static_cast<std::int32_t>(found - kMethodNames.begin());
}

std::string TallixBeaconAppTemplate::beaconMethodEnumToString(std::int32_t method) {
  const bool known = method >= 0 && static_cast<std::size_t>(method) < kMethodNames.size();
  return std::string(kMethodNames[known ? method : kGet]);
}

void TallixBeaconAppTemplate::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  coder.encodeString(kPartnerKey, partner_);
  coder.encodeValue(kEventsKey, Value(events_));
  coder.encodeInt32(kMethodKey, method_);
  if (uriTemplate_)
    coder.encodeString(kUriTemplateKey, *uriTemplate_);
  if (bodyTemplate_)
    coder.encodeString(kBodyTemplateKey, *bodyTemplate_);
  coder.encodeInt32(kMaxRedirectsKey, maxRedirects_);
  coder.encodeInt32(kConnectTimeoutWrittenKey, connectTimeout_);
  coder.encodeInt32(kRequestTimeoutKey, requestTimeout_);
}

std::shared_ptr<TallixBeaconAppTemplate> TallixBeaconAppTemplate::initWithCoder(
    foundation::KeyedUnarchiver& coder) {
  auto beaconTemplate = std::make_shared<TallixBeaconAppTemplate>();
  beaconTemplate->partner_ = coder.decodeString(kPartnerKey).value_or("");
  if (const auto events = coder.decodeValue(kEventsKey)) {
    if (!events->array()) {
      coder.fail();
      return nullptr;
    }
    beaconTemplate->events_ = *events->array();
  }
  beaconTemplate->method_ = coder.decodeInt32(kMethodKey).value_or(kGet);
  beaconTemplate->uriTemplate_ = coder.decodeString(kUriTemplateKey);
  beaconTemplate->bodyTemplate_ = coder.decodeString(kBodyTemplateKey);
  beaconTemplate->maxRedirects_ = coder.decodeInt32(kMaxRedirectsKey).value_or(0);
  beaconTemplate->connectTimeout_ = coder.decodeInt32(kConnectTimeoutReadKey).value_or(0);
  beaconTemplate->requestTimeout_ = coder.decodeInt32(kRequestTimeoutKey).value_or(0);
  return beaconTemplate;
}

Value TallixBeaconAppTemplate::dataDictionary() const {
  Value::Dictionary entries{
      {std::string(kPartnerKey), Value(partner_)},
      {std::string(kEventsKey), Value(events_)},
      {std::string(kMethodKey), Value(method_)},
      {std::string(kMaxRedirectsKey), Value(maxRedirects_)},
      {std::string(kConnectTimeoutWrittenKey), Value(connectTimeout_)},
      {std::string(kRequestTimeoutKey), Value(requestTimeout_)},
  };
  if (uriTemplate_)
    entries.emplace(kUriTemplateKey, Value(*uriTemplate_));
  if (bodyTemplate_)
    entries.emplace(kBodyTemplateKey, Value(*bodyTemplate_));
  return Value(std::move(entries));
}

std::shared_ptr<TallixBeaconAppTemplate> TallixBeaconAppTemplate::initWithDictionary(
    const Value& dictionary) {
  if (!dictionary.dictionary())
    return nullptr;
  auto beaconTemplate = std::make_shared<TallixBeaconAppTemplate>();
  beaconTemplate->partner_ = storedString(dictionary.find(kPartnerKey)).value_or("");
  if (const Value* events = dictionary.find(kEventsKey))
    beaconTemplate->events_ = {*events};
  beaconTemplate->method_ = convertedInt32(dictionary.find(kMethodKey));
  beaconTemplate->uriTemplate_ = storedString(dictionary.find(kUriTemplateKey));
  beaconTemplate->bodyTemplate_ = storedString(dictionary.find(kBodyTemplateKey));
  beaconTemplate->maxRedirects_ = storedInt32(dictionary.find(kMaxRedirectsKey));
  beaconTemplate->connectTimeout_ = convertedInt32(dictionary.find(kConnectTimeoutReadKey));
  beaconTemplate->requestTimeout_ = convertedInt32(dictionary.find(kRequestTimeoutKey));
  return beaconTemplate;
}

}  // namespace tallix
