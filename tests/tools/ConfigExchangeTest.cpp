#include <gtest/gtest.h>
#include <httplib.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "analytics/config/exchange/TallixBeaconSchemas.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"
#include "tools/tallix-collector/TallixAvro.h"
#include "tools/tallix-collector/TallixAvroFromJson.h"
#include "tools/tallix-collector/TallixClock.h"
#include "tools/tallix-collector/TallixConfigRequestCheck.h"

namespace tallix {
namespace {

TallixJson parsed(const std::string& text) {
  return TallixJson(json_loadb(text.data(), text.size(), 0, nullptr));
}

std::string avroBinary(std::string_view schemaText, const char* json) {
  const TallixAvroType type(schemaText);
  TallixAvroValue value = type.newValue();
  const TallixJson schema = parsed(std::string(schemaText));
  TallixAvroFromJson::fill(*value.get(), schema.get(), parsed(json).get(), "");
  std::size_t size = 0;
  avro_value_sizeof(value.get(), &size);
  std::string bytes(size, '\0');
  avro_writer_t writer = avro_writer_memory(bytes.data(), static_cast<std::int64_t>(size));
  EXPECT_EQ(avro_value_write(writer, value.get()), 0);
  avro_writer_free(writer);
  return bytes;
}

// A request as the agent writes it: "geo" is union index 0, then the Geolocation record.
std::string agentRequest(char geoIndex = 0) {
  std::string body = avroBinary(TallixBeaconSchemas::kConfigRequest, R"({
    "project_key": "ORVANE-KEY", "bundle_id": "org.orvane.app", "app_version": "1.4",
    "sdk_version": 155, "platform": 2, "platform_version": "6.1",
    "device_tags": {"hw_machine": "x86_64"}, "device_ids": [{"type": 7, "id": "device-1"}],
    "geo": null})");
  body.back() = geoIndex;
  const double latitude = 48.5, longitude = 9.25;
  const float accuracy = 10;
  body.append(reinterpret_cast<const char*>(&latitude), 8);
  body.append(reinterpret_cast<const char*>(&longitude), 8);
  body.append(reinterpret_cast<const char*>(&accuracy), 4);
  return body;
}

httplib::Headers agentHeaders(const std::string& body) {
  return {{"content-type", TallixConfigRequestCheck::kContentType},
          {"accept", TallixConfigRequestCheck::kAccept},
          {"fm-checksum", TallixConfigRequestCheck::checksum(body)}};
}

// The answer as avro-c renders it, decoded with the agent's schema.
TallixJson decodedAnswer(const std::string& body) {
  const TallixAvroType type(TallixBeaconSchemas::kConfigResponse);
  TallixAvroValue value = type.newValue();
  avro_reader_t reader = avro_reader_memory(body.data(), static_cast<std::int64_t>(body.size()));
  EXPECT_EQ(avro_value_read(reader, value.get()), 0) << avro_strerror();
  avro_reader_free(reader);
  char* text = nullptr;
  EXPECT_EQ(avro_value_to_json(value.get(), 1, &text), 0);
  TallixJson json = parsed(text ? text : "");
  std::free(text);
  return json;
}

class ConfigExchangeTest : public ::testing::Test {
 protected:
  httplib::Result ask(const std::string& body, const httplib::Headers& headers) {
    // The content type is among the headers, exactly as the test sets it.
    return collector_.client().Post("/sdk/v1/config", headers, body, "");
  }
  httplib::Result ask() { return ask(agentRequest(), agentHeaders(agentRequest())); }

  RunningCollector collector_;
};

TEST_F(ConfigExchangeTest, AnswerDecodesToTheGivenDocumentAndTheRequestIsListed) {
  const char* document = R"({"issued_at": 1700000000000, "refresh_ttl": 60,
    "expiration_ttl": 120, "global_settings": {"log_level": "DEBUG", "analytics_enabled": true},
    "callbacks": {"max_callbacks": 2, "templates": [{"partner": "demo",
      "events": ["tallix.session_end"], "method": "PUT", "uri_template": "http://p/cb",
      "body_template": "b", "max_redirects": 1, "connect_timeout": 2, "request_timeout": 3}]}})";
  collector_.control(std::string(R"({"config":)") + document + "}");
  const auto answer = ask();
  ASSERT_TRUE(answer);
  ASSERT_EQ(answer->status, 200);
  const TallixJson expected = parsed(document);
  json_object_set_new(jsonAt(expected.get(), "callbacks/templates/0"), "body_template",
                      json_pack("{s:s}", "string", "b"));
  EXPECT_TRUE(json_equal(decodedAnswer(answer->body).get(), expected.get()));

  const TallixJson listed = parsed(collector_.client().Get("/config-requests")->body);
  EXPECT_EQ(jsonText(listed.get(), "0/request/project_key"), "ORVANE-KEY");
  EXPECT_EQ(jsonText(listed.get(), "0/request/device_ids/0/id"), "device-1");
  EXPECT_EQ(json_real_value(jsonAt(listed.get(), "0/request/geo/longitude")), 9.25);
  collector_.stop();
  EXPECT_EQ(collector_.console(),
            "config request 1: project key \"ORVANE-KEY\", bundle \"org.orvane.app\", sdk 155, "
            "answered 200\n");
}

TEST_F(ConfigExchangeTest, ControlSetsTheConfigurationAndAbsentMembersTakeTheDefaults) {
  EXPECT_EQ(ask()->status, 404);
  const auto refused = collector_.client().Post(
      "/control", R"({"config": {"global_settings": {"log_level": "LOUD"}}})", "application/json");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 400);
  EXPECT_NE(jsonText(parsed(refused->body).get(), "error").find("global_settings/log_level"),
            std::string::npos);

  collector_.control(R"({"config": {"callbacks": {"templates": [
    {"partner": "p", "events": [], "uri_template": "u"}]}}})");
  const auto answer = ask();
  ASSERT_TRUE(answer);
  ASSERT_EQ(answer->status, 200);
  const TallixJson decoded = decodedAnswer(answer->body);
  EXPECT_NEAR(static_cast<double>(jsonInteger(decoded.get(), "issued_at")),
              static_cast<double>(tallixNowMs()), 60000);
  json_object_del(decoded.get(), "issued_at");
  EXPECT_TRUE(json_equal(decoded.get(), parsed(R"({"refresh_ttl": 86400,
    "expiration_ttl": 604800, "global_settings": {"log_level": "OFF", "analytics_enabled": false},
    "callbacks": {"max_callbacks": 3, "templates": [{"partner": "p", "events": [],
      "method": "GET", "uri_template": "u", "body_template": null, "max_redirects": 5,
      "connect_timeout": 20, "request_timeout": 20}]}})")
                                            .get()));
}

TEST_F(ConfigExchangeTest, EachFaultOfTheRequestIsRefusedWithItsReason) {
  collector_.control(R"({"config": {}})");
  const std::string body = agentRequest();
  const auto withHeader = [&body](const char* name, const char* value) {
    httplib::Headers headers = agentHeaders(body);
    headers.erase(name);
    headers.emplace(name, value);
    return headers;
  };
  const std::string geoBranchOne = agentRequest(2);  // zigzag 2 is index 1
  const std::string truncated = body.substr(0, body.size() - 1);
  const struct {
    std::string body;
    httplib::Headers headers;
    const char* reason;
  } faults[] = {
      {body, withHeader("content-type", "application/vnd.tallix.sdk-avrobin; version=1"),
       "content-type \"application/vnd.tallix.sdk-avrobin; version=1\", not"},
      {body, withHeader("accept", "application/vnd.tallix.sdk-avrobin;version=1"),
       "accept \"application/vnd.tallix.sdk-avrobin;version=1\", not"},
      {body, withHeader("fm-checksum", "12345"), "fm-checksum \"12345\", not"},
      {geoBranchOne, agentHeaders(geoBranchOne), "geo must be union index 0"},
      {truncated, agentHeaders(truncated), "geo does not read"},
  };
  for (const auto& fault : faults) {
    const auto answer = ask(fault.body, fault.headers);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 400) << fault.reason;
    EXPECT_EQ(jsonText(parsed(answer->body).get(), "error").rfind(fault.reason, 0), 0u)
        << answer->body;
  }
  EXPECT_EQ(json_array_size(parsed(collector_.client().Get("/config-requests")->body).get()), 0u);
}

TEST(CallbackTest, AnyOtherPathIsRecordedAndAnsweredWithTheSetStatus) {
  RunningCollector collector;
  collector.control(R"({"callbackStatus": 500})");
  const auto failed = collector.client().Put("/partner/end?d=1234&start=7", "x=1", "text/plain");
  collector.control(R"({"callbackStatus": 200})");
  const auto delivered = collector.client().Get("/partner/end?d=1234&start=7");
  ASSERT_TRUE(failed && delivered);
  EXPECT_EQ(failed->status, 500);
  EXPECT_EQ(delivered->status, 200);

  const TallixJson listed = parsed(collector.client().Get("/callbacks")->body);
  ASSERT_EQ(json_array_size(listed.get()), 2u);
  EXPECT_EQ(jsonText(listed.get(), "0/method"), "PUT");
  EXPECT_EQ(jsonText(listed.get(), "0/path"), "/partner/end");
  EXPECT_EQ(jsonText(listed.get(), "0/query/d"), "1234");
  EXPECT_EQ(jsonText(listed.get(), "0/contentType"), "text/plain");
  EXPECT_EQ(jsonText(listed.get(), "0/body"), "x=1");
  EXPECT_EQ(jsonText(listed.get(), "1/method"), "GET");
  collector.stop();
  EXPECT_EQ(collector.console(),
            "callback 1: PUT /partner/end?d=1234&start=7, answered 500\n"
            "callback 2: GET /partner/end?d=1234&start=7, answered 200\n");
}

}  // namespace
}  // namespace tallix
