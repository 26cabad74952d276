#include "analytics/config/exchange/TallixBeaconResponse.h"

#include <limits>

#include "analytics/config/exchange/TallixAvro.h"
#include "analytics/config/exchange/TallixAvroEncodingCheck.h"
#include "analytics/config/exchange/TallixBeaconSchemas.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/support/TallixTimeInterval.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

// The separate GlobalSettings, AppTemplate and Callbacks texts are parsed as well: they are
// part of the contract with the service, and a text that no longer parses must stop the
// exchange. The answer itself is read with ConfigResponse alone.
struct TallixBeaconResponse::Schemas {
  avro::Schema response, globalSettings, appTemplate, callbacks;
  avro::ValueClass responseClass;
};

namespace {

constexpr std::string_view kLogLevelKey = "logLevel";
constexpr std::string_view kAnalyticsEnabledKey = "analyticsEnabled";

// Reads the fields of one record in order with getters of avro-c. The first field that is
// missing or of another type is logged as not present, and nothing after it is read.
class RecordReader {
 public:
  explicit RecordReader(const avro_value_t& record) : record_(record) {}

  template <typename Result, typename Get>
  Result read(const char* name, Get get) {
    Result result{};
    if (!complete_)
      return result;
    avro_value_t field;
    complete_ = avro_value_get_by_name(&record_, name, &field, nullptr) == 0 && get(field, result);
    if (!complete_)
      TallixLog::debug("%s is not present", name);
    return result;
  }
  bool complete() const { return complete_; }

 private:
  const avro_value_t& record_;
  bool complete_ = true;
};

bool getRecord(avro_value_t& field, avro_value_t& record) {
  record = field;
  return avro_value_get_type(&field) == AVRO_RECORD;
}

bool getLong(avro_value_t& field, std::int64_t& number) {
  return avro_value_get_long(&field, &number) == 0;
}

bool getInt(avro_value_t& field, std::int32_t& number) {
  return avro_value_get_int(&field, &number) == 0;
}

bool getBoolean(avro_value_t& field, bool& flag) {
  int stored = 0;
  const bool read = avro_value_get_boolean(&field, &stored) == 0;
  flag = stored != 0;
  return read;
}

bool getString(avro_value_t& field, std::string& text) {
  const char* stored = nullptr;
  std::size_t size = 0;  // counts avro-c's terminating NUL
  if (avro_value_get_string(&field, &stored, &size) != 0)
    return false;
  text.assign(stored, size > 0 ? size - 1 : 0);
  return true;
}

bool getEnumSymbol(avro_value_t& field, std::string& symbol) {
  int index = 0;
  if (avro_value_get_enum(&field, &index) != 0)
    return false;
  const char* name = avro_schema_enum_get(avro_value_get_schema(&field), index);
  symbol = name ? name : "";
  return name != nullptr;
}

bool getStrings(avro_value_t& field, Value::Array& strings) {
  std::size_t count = 0;
  if (avro_value_get_size(&field, &count) != 0)
    return false;
  for (std::size_t i = 0; i < count; ++i) {
    avro_value_t element;
    std::string text;
    if (avro_value_get_by_index(&field, i, &element, nullptr) != 0 || !getString(element, text))
      return false;
    strings.emplace_back(std::move(text));
  }
  return true;
}

// The string branch of ["null", "string"]; null and empty both mean none.
bool getOptionalString(avro_value_t& field, std::optional<std::string>& text) {
  int index = 0;
  avro_value_t branch;
  if (avro_value_get_discriminant(&field, &index) != 0)
    return false;
  if (index == 0)
    return true;
  std::string stored;
  if (avro_value_get_current_branch(&field, &branch) != 0 || !getString(branch, stored))
    return false;
  if (!stored.empty())
    text = std::move(stored);
  return true;
}

std::optional<std::string> nonEmpty(std::string text) {
  return text.empty() ? std::nullopt : std::optional<std::string>(std::move(text));
}

// Receipt plus a TTL, in milliseconds since 1970; held to the 64-bit range, as a TTL comes
// from outside.
std::int64_t millisecondsAfter(Date receivedAt, std::int64_t seconds) {
  const std::int64_t received = timeIntervalFrom(Date(), receivedAt);
  std::int64_t ttl = 0;
  std::int64_t sum = 0;
  if (__builtin_mul_overflow(seconds, 1000, &ttl) || __builtin_add_overflow(received, ttl, &sum))
    return seconds < 0 ? std::numeric_limits<std::int64_t>::min()
                       : std::numeric_limits<std::int64_t>::max();
  return sum;
}

bool getArray(avro_value_t& field, avro_value_t& array) {
  array = field;
  return avro_value_get_type(&field) == AVRO_ARRAY;
}

// Each value goes into the globals as soon as it is read, and stays there if a later field
// is missing.
bool readGlobalSettings(RecordReader& response, TallixPersistentMap& globals) {
  const auto record = response.read<avro_value_t>("global_settings", getRecord);
  if (!response.complete())
    return false;
  RecordReader settings(record);
  const auto logLevel = settings.read<std::string>("log_level", getEnumSymbol);
  if (!settings.complete())
    return false;
  globals.setValue(kLogLevelKey, logLevel);
  const auto analyticsEnabled = settings.read<bool>("analytics_enabled", getBoolean);
  if (!settings.complete())
    return false;
  globals.setValue(kAnalyticsEnabledKey, analyticsEnabled);
  return true;
}

std::shared_ptr<TallixBeaconAppTemplate> readTemplate(const avro_value_t& record) {
  RecordReader fields(record);
  auto partner = fields.read<std::string>("partner", getString);
  auto events = fields.read<Value::Array>("events", getStrings);
  const auto method = fields.read<std::string>("method", getEnumSymbol);
  auto uri = fields.read<std::string>("uri_template", getString);
  auto body = fields.read<std::optional<std::string>>("body_template", getOptionalString);
  const auto maxRedirects = fields.read<std::int32_t>("max_redirects", getInt);
  const auto connectTimeout = fields.read<std::int32_t>("connect_timeout", getInt);
  const auto requestTimeout = fields.read<std::int32_t>("request_timeout", getInt);
  if (!fields.complete())
    return nullptr;
  auto beaconTemplate = std::make_shared<TallixBeaconAppTemplate>();
  beaconTemplate->setPartner(std::move(partner));
  beaconTemplate->setEvents(std::move(events));
  beaconTemplate->setMethod(TallixBeaconAppTemplate::beaconMethodStringToEnum(method));
  beaconTemplate->setUriTemplate(nonEmpty(std::move(uri)));
  beaconTemplate->setBodyTemplate(std::move(body));
  beaconTemplate->setMaxRedirects(maxRedirects);
  beaconTemplate->setConnectTimeout(connectTimeout);
  beaconTemplate->setRequestTimeout(requestTimeout);
  return beaconTemplate;
}

std::optional<TallixBeaconSettings::Callbacks> readCallbacks(RecordReader& response) {
  const auto record = response.read<avro_value_t>("callbacks", getRecord);
  if (!response.complete())
    return std::nullopt;
  RecordReader callbacks(record);
  callbacks.read<std::int32_t>("max_callbacks", getInt);  // checked, but nothing keeps it
  auto templates = callbacks.read<avro_value_t>("templates", getArray);
  std::size_t count = 0;
  if (!callbacks.complete() || avro_value_get_size(&templates, &count) != 0)
    return std::nullopt;
  TallixBeaconSettings::Callbacks result;
  for (std::size_t i = 0; i < count; ++i) {
    avro_value_t element;
    if (avro_value_get_by_index(&templates, i, &element, nullptr) != 0)
      return std::nullopt;
    auto beaconTemplate = readTemplate(element);
    if (!beaconTemplate)
      return std::nullopt;
    result.push_back(std::move(beaconTemplate));
  }
  return result;
}

std::shared_ptr<TallixBeaconSettings> settingsFrom(const avro_value_t& record,
                                                   TallixPersistentMap& globals, Date receivedAt) {
  RecordReader response(record);
  const auto issuedAt = response.read<std::int64_t>("issued_at", getLong);
  const auto refreshTTL = response.read<std::int64_t>("refresh_ttl", getLong);
  const auto expirationTTL = response.read<std::int64_t>("expiration_ttl", getLong);
  if (!response.complete() || !readGlobalSettings(response, globals))
    return nullptr;
  auto callbacks = readCallbacks(response);
  if (!callbacks)
    return nullptr;
  auto settings = std::make_shared<TallixBeaconSettings>();
  settings->setLastResponseTime(issuedAt);
  settings->setNextRefreshTTL(millisecondsAfter(receivedAt, refreshTTL));
  settings->setExpirationTTL(millisecondsAfter(receivedAt, expirationTTL));
  settings->setCallbacks(std::move(*callbacks));
  return settings;
}

}  // namespace

TallixBeaconResponse::TallixBeaconResponse() = default;
TallixBeaconResponse::~TallixBeaconResponse() = default;

bool TallixBeaconResponse::parseSchemasOnce() {
  if (schemas_)
    return true;
  auto schemas = std::make_unique<Schemas>();
  if (!avro::parseInOrder({
          {schemas->response, TallixBeaconSchemas::kConfigResponse,
           "Unable to parse beacon response schema"},
          {schemas->globalSettings, TallixBeaconSchemas::kGlobalSettings,
           "Unable to parse beacon global settings schema"},
          {schemas->appTemplate, TallixBeaconSchemas::kAppTemplate,
           "Unable to parse beacon app templates schema"},
          {schemas->callbacks, TallixBeaconSchemas::kCallbacks,
           "Unable to parse beacon callbacks schema"},
      }))
    return false;
  schemas->responseClass = avro::genericClassOf(schemas->response.get());
  if (!schemas->responseClass) {
    TallixLog::debug("Unable to parse beacon response schema");
    return false;
  }
  TallixLog::debug("Successfully parsed abeacon response schema");
  schemas_ = std::move(schemas);
  return true;
}

std::shared_ptr<TallixBeaconSettings> TallixBeaconResponse::parseBeaconResponse(
    const Value::Bytes& body, TallixPersistentMap& globals, Date receivedAt) {
  if (!parseSchemasOnce())
    return nullptr;
  // avro-c reads only what the check has walked whole: see TallixAvroEncodingCheck.
  if (const auto problem =
          avro::TallixAvroEncodingCheck::problemIn(schemas_->response.get(), body)) {
    TallixLog::debug("Unable to read beacon response: %s", problem->c_str());
    return nullptr;
  }
  auto response = avro::GenericValue::create(schemas_->responseClass.get());
  const avro::Reader reader = avro::memoryReader(body);
  if (!response || !reader || avro_value_read(reader.get(), response->get()) != 0) {
    TallixLog::debug("Unable to read beacon response: %s", avro::lastError());
    return nullptr;
  }
  return settingsFrom(*response->get(), globals, receivedAt);
}

}  // namespace tallix
