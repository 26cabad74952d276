#include <gtest/gtest.h>

#include <limits>

#include "analytics/config/exchange/TallixAvro.h"
#include "analytics/config/exchange/TallixBeaconResponse.h"
#include "analytics/config/exchange/TallixBeaconSchemas.h"

namespace tallix {
namespace {

using foundation::Date;
using foundation::Value;
using Bytes = Value::Bytes;

struct TemplateFields {
  std::string partner;
  std::vector<std::string> events;
  int method = 0;
  std::string uri;
  std::optional<std::string> body;
  std::int32_t maxRedirects = 5, connectTimeout = 20, requestTimeout = 20;
};

struct ResponseFields {
  std::int64_t issuedAt = 1, refreshTTL = 2, expirationTTL = 3;
  int logLevel = 5;  // OFF
  bool analyticsEnabled = true;
  std::vector<TemplateFields> templates;
};

// avro-c's setters take the address of a field.
struct Field {
  avro_value_t value{};
  avro_value_t* get() { return &value; }
};

Field fieldOf(avro_value_t& record, const char* name) {
  Field field;
  EXPECT_EQ(avro_value_get_by_name(&record, name, &field.value, nullptr), 0) << name;
  return field;
}

void setString(avro_value_t* field, const std::string& text) {
  avro_value_set_string_len(field, text.c_str(), text.size() + 1);
}

void writeTemplate(avro_value_t& record, const TemplateFields& fields) {
  setString(fieldOf(record, "partner").get(), fields.partner);
  avro_value_t events = fieldOf(record, "events").value;
  for (const std::string& event : fields.events) {
    avro_value_t element;
    avro_value_append(&events, &element, nullptr);
    setString(&element, event);
  }
  avro_value_set_enum(fieldOf(record, "method").get(), fields.method);
  setString(fieldOf(record, "uri_template").get(), fields.uri);
  avro_value_t body;
  avro_value_set_branch(fieldOf(record, "body_template").get(), fields.body ? 1 : 0, &body);
  if (fields.body)
    setString(&body, *fields.body);
  else
    avro_value_set_null(&body);
  avro_value_set_int(fieldOf(record, "max_redirects").get(), fields.maxRedirects);
  avro_value_set_int(fieldOf(record, "connect_timeout").get(), fields.connectTimeout);
  avro_value_set_int(fieldOf(record, "request_timeout").get(), fields.requestTimeout);
}

// The answer as the service writes it: avro-c's own encoding of a ConfigResponse.
Bytes encodedResponse(const ResponseFields& fields) {
  const avro::Schema schema = avro::parseSchema(TallixBeaconSchemas::kConfigResponse);
  const avro::ValueClass valueClass = avro::genericClassOf(schema.get());
  auto value = avro::GenericValue::create(valueClass.get());
  avro_value_t& response = *value->get();
  avro_value_set_long(fieldOf(response, "issued_at").get(), fields.issuedAt);
  avro_value_set_long(fieldOf(response, "refresh_ttl").get(), fields.refreshTTL);
  avro_value_set_long(fieldOf(response, "expiration_ttl").get(), fields.expirationTTL);
  avro_value_t globals = fieldOf(response, "global_settings").value;
  avro_value_set_enum(fieldOf(globals, "log_level").get(), fields.logLevel);
  avro_value_set_boolean(fieldOf(globals, "analytics_enabled").get(), fields.analyticsEnabled);
  avro_value_t callbacks = fieldOf(response, "callbacks").value;
  avro_value_set_int(fieldOf(callbacks, "max_callbacks").get(), 3);
  avro_value_t templates = fieldOf(callbacks, "templates").value;
  for (const TemplateFields& templateFields : fields.templates) {
    avro_value_t element;
    avro_value_append(&templates, &element, nullptr);
    writeTemplate(element, templateFields);
  }
  Bytes body(4096);
  const avro::Writer writer = avro::memoryWriter(body);
  EXPECT_EQ(avro_value_write(writer.get(), &response), 0) << avro::lastError();
  body.resize(static_cast<std::size_t>(avro_writer_tell(writer.get())));
  return body;
}

constexpr Date kReceivedAt = Date::fromTimeIntervalSince1970(1700000000.123);

TEST(TallixBeaconResponseTest, ReadsEveryFieldOfTheAnswerInOrder) {
  ResponseFields fields;
  fields.issuedAt = 1699999999000;
  fields.refreshTTL = 86400;
  fields.expirationTTL = 0;
  fields.logLevel = 7;  // WARN
  fields.templates = {
      {"first",
       {"tallix.session_start", "tallix.session_end"},
       2,
       "https://p/{id}",
       "{}",
       4,
       9,
       30},
      {"second", {}, 1, "", std::nullopt, 0, 1, 2},
      {"third", {"e"}, 0, "u", "", 1, 1, 1},
  };
  TallixPersistentMap globals("persistentGlobalsMap");
  TallixBeaconResponse response;
  const auto settings = response.parseBeaconResponse(encodedResponse(fields), globals, kReceivedAt);
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->lastResponseTime(), 1699999999000);
  EXPECT_EQ(settings->nextRefreshTTL(), 1700086400123);
  EXPECT_EQ(settings->expirationTTL(), 1700000000123);
  EXPECT_EQ(globals.entries(),
            (Value::Dictionary{{"logLevel", "WARN"}, {"analyticsEnabled", true}}));

  ASSERT_EQ(settings->callbacks().size(), 3u);
  const auto& first = *settings->callbacks()[0];
  EXPECT_EQ(first.partner(), "first");
  EXPECT_EQ(first.events(), (Value::Array{"tallix.session_start", "tallix.session_end"}));
  EXPECT_EQ(first.method(), TallixBeaconAppTemplate::kPost);
  EXPECT_EQ(first.uriTemplate(), "https://p/{id}");
  EXPECT_EQ(first.bodyTemplate(), "{}");
  EXPECT_EQ(first.maxRedirects(), 4);
  EXPECT_EQ(first.connectTimeout(), 9);
  EXPECT_EQ(first.requestTimeout(), 30);
  const auto& second = *settings->callbacks()[1];
  EXPECT_EQ(second.partner(), "second");
  EXPECT_TRUE(second.events().empty());
  EXPECT_EQ(second.method(), TallixBeaconAppTemplate::kPut);
  EXPECT_EQ(second.uriTemplate(), std::nullopt);  // empty means none
  EXPECT_EQ(second.bodyTemplate(), std::nullopt);
  EXPECT_EQ(second.requestTimeout(), 2);
  EXPECT_EQ(settings->callbacks()[2]->bodyTemplate(), std::nullopt);  // empty string branch
  EXPECT_EQ(settings->callbacks()[2]->method(), TallixBeaconAppTemplate::kGet);
}

TEST(TallixBeaconResponseTest, TakesZeroTemplatesAndHoldsAbsurdTTLsToTheRange) {
  ResponseFields fields;
  fields.refreshTTL = std::numeric_limits<std::int64_t>::max();
  fields.expirationTTL = -1;
  fields.analyticsEnabled = false;
  TallixPersistentMap globals("persistentGlobalsMap");
  const auto settings =
      TallixBeaconResponse().parseBeaconResponse(encodedResponse(fields), globals, kReceivedAt);
  ASSERT_TRUE(settings);
  EXPECT_TRUE(settings->callbacks().empty());
  EXPECT_EQ(settings->nextRefreshTTL(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(settings->expirationTTL(), 1699999999123);
  EXPECT_EQ(globals.entries(),
            (Value::Dictionary{{"logLevel", "OFF"}, {"analyticsEnabled", false}}));
}

// One template, every number one byte: issued_at at 0, the log level at 3, the flag at 4,
// the template count at 6, the partner's length at 7, the body template's branch at 12.
Bytes oneTemplateAnswer() {
  ResponseFields fields;
  fields.templates = {{"p", {}, 0, "", std::nullopt}};
  return encodedResponse(fields);
}

Bytes with(Bytes body, std::size_t at, std::size_t erased, const Bytes& inserted) {
  body.erase(body.begin() + at, body.begin() + at + erased);
  body.insert(body.begin() + at, inserted.begin(), inserted.end());
  return body;
}

TEST(TallixBeaconResponseTest, RefusesAnAnswerThatIsNotExactlyOneResponseAndWritesNoGlobals) {
  const Bytes answer = oneTemplateAnswer();
  ASSERT_EQ(answer[12], 0);
  const Bytes hugeLength = {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F};
  const std::pair<const char*, Bytes> refused[] = {
      {"empty", {}},
      {"truncated", Bytes(answer.begin(), answer.end() - 1)},
      {"trailing byte", with(answer, answer.size(), 0, {0})},
      {"unknown log level", with(answer, 3, 1, {16})},
      {"boolean byte 2", with(answer, 4, 1, {2})},
      {"negative template count", with(answer, 6, 1, {1})},
      {"absurd template count", with(answer, 6, 1, {0xFE, 0xFF, 0xFF, 0xFF, 0x0F})},
      {"absurd partner length", with(answer, 7, 1, hugeLength)},
      {"body template branch 2", with(answer, 12, 1, {4})},
      {"varint of eleven bytes", with(answer, 0, 1, Bytes(10, 0x80))},
  };
  TallixBeaconResponse response;
  TallixPersistentMap globals("persistentGlobalsMap");
  ASSERT_TRUE(response.parseBeaconResponse(answer, globals, kReceivedAt));
  for (const auto& [name, body] : refused) {
    TallixPersistentMap untouched("persistentGlobalsMap");
    EXPECT_FALSE(response.parseBeaconResponse(body, untouched, kReceivedAt)) << name;
    EXPECT_TRUE(untouched.entries().empty()) << name;
  }
}

}  // namespace
}  // namespace tallix
