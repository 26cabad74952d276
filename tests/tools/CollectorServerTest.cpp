#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"
#include "tests/tools/TestRequestBody.h"
#include "tests/tools/TestSessionRecord.h"
#include "tools/tallix-collector/TallixCollectorOptions.h"
#include "tools/tallix-collector/TallixCollectorServer.h"
#include "tools/tallix-collector/TallixReportStore.h"

namespace tallix {
namespace {

using Bytes = TestRequestBody::Bytes;
constexpr const char* kBinaryType = "application/octet-stream";

std::string text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

TallixJson parsed(const std::string& text) {
  return TallixJson(json_loadb(text.data(), text.size(), 0, nullptr));
}

std::filesystem::path freshDirectory() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const auto directory = std::filesystem::temp_directory_path() /
                         ("tallix-collector-" + std::to_string(::getpid()) + "-" + test->name());
  std::filesystem::remove_all(directory);
  return directory;
}

// Uploads to a collector that starts with the answer settings a test gives.
class CollectorServerTest : public ::testing::Test {
 protected:
  void start(TallixAnswerSettings settings = {}) {
    collector_ = std::make_unique<RunningCollector>(std::move(settings));
  }
  httplib::Result upload(const Bytes& body, const char* type = kBinaryType) {
    return client().Post("/aas.do", text(body), type);
  }
  httplib::Client& client() { return collector_->client(); }
  TallixJson reports() { return collector_->reports(); }
  void stop() { collector_->stop(); }
  std::string console() const { return collector_->console(); }

  std::unique_ptr<RunningCollector> collector_;
  TestRequestBody body_;
};

TEST_F(CollectorServerTest, AcceptedUploadIsStoredListedAndSummarised) {
  body_.sessions = {sessionRecordWithEvents(2), sessionRecordWithEvents(3)};
  start();
  const auto answer = upload(body_.build());
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 200);
  EXPECT_EQ(answer->body, "");

  const TallixJson listed = reports();
  ASSERT_EQ(json_array_size(listed.get()), 1u);
  EXPECT_EQ(jsonText(listed.get(), "0/status"), "accepted");
  EXPECT_EQ(jsonInteger(listed.get(), "0/number"), 1);
  EXPECT_EQ(jsonText(listed.get(), "0/body/apiKey"), "ORVANE-KEY");
  EXPECT_EQ(jsonInteger(listed.get(), "0/bodySize"), static_cast<json_int_t>(body_.build().size()));
  stop();
  EXPECT_EQ(console(), "report 1: api key \"ORVANE-KEY\", 2 sessions, 5 events\n");
}

TEST_F(CollectorServerTest, RefusedUploadsAreAnsweredAndKeptWithTheirReason) {
  start();
  Bytes damaged = body_.build();
  damaged[20] ^= 0x01;
  const auto badBody = upload(damaged);
  const auto badType = upload(body_.build(), "text/plain");
  ASSERT_TRUE(badBody && badType);
  EXPECT_EQ(badBody->status, 400);
  EXPECT_EQ(badType->status, 415);
  EXPECT_NE(jsonText(parsed(badBody->body).get(), "error").find("CRC-32"), std::string::npos);

  const TallixJson listed = reports();
  ASSERT_EQ(json_array_size(listed.get()), 2u);
  EXPECT_EQ(jsonText(listed.get(), "0/status"), "rejected");
  EXPECT_EQ(jsonText(listed.get(), "1/reason"),
            "content-type \"text/plain\", not application/octet-stream");
  EXPECT_EQ(jsonInteger(listed.get(), "0/rawBody/size"), static_cast<json_int_t>(damaged.size()));
  stop();
  EXPECT_EQ(console().find("report 1 rejected: CRC-32 "), 0u);
}

TEST_F(CollectorServerTest, ControlChangesHowUploadsAreAnswered) {
  start();
  const auto changed =
      client().Post("/control", R"({"status":500,"delayMs":300})", "application/json");
  ASSERT_TRUE(changed);
  EXPECT_EQ(changed->status, 200);
  EXPECT_EQ(jsonInteger(parsed(changed->body).get(), "status"), 500);

  const auto before = std::chrono::steady_clock::now();
  const auto answer = upload(body_.build());
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 500);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));

  // A bad control changes nothing, not even its valid members.
  const auto refused =
      client().Post("/control", R"({"delayMs":0,"status":"ok"})", "application/json");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 400);
  const auto shown = client().Get("/control");
  ASSERT_TRUE(shown);
  EXPECT_EQ(jsonInteger(parsed(shown->body).get(), "delayMs"), 300);
  EXPECT_EQ(json_array_size(reports().get()), 1u);
}

TEST_F(CollectorServerTest, CookieChunkIsLaidOutByteForByte) {
  TallixAnswerSettings settings;
  settings.cookies = *TallixAnswerSettings::parseCookieList("session=abc,k=");
  start(settings);
  const auto answer = upload(body_.build());
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, text({0x01, 0x1E, 0,   0,   0,   0,    0,    0,   0x00, 0x02,  //
                                0x00, 0x07, 's', 'e', 's', 's',  'i',  'o', 'n',         //
                                0x00, 0x03, 'a', 'b', 'c', 0x00, 0x01, 'k', 0x00, 0x00}));

  ASSERT_TRUE(client().Post("/control", R"({"cookies":{}})", "application/json"));
  const auto plain = upload(body_.build());
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->body, "");
}

TEST(TallixReportStoreTest, NumberingGoesOnFromTheFilesAlreadyThere) {
  const auto directory = freshDirectory();
  TallixReportStore(directory).save(TallixJson(json_object()).get());
  std::ofstream(directory / "notes.json") << "{}";
  TallixReportStore reopened(directory);
  const TallixJson report(json_object());
  ASSERT_FALSE(reopened.save(report.get()));

  const TallixJson listed = reopened.list();
  ASSERT_EQ(json_array_size(listed.get()), 2u);
  EXPECT_EQ(jsonInteger(listed.get(), "1/number"), 2);
  EXPECT_TRUE(std::filesystem::exists(directory / "report-000002.json"));
  std::filesystem::remove_all(directory);
}

TEST(TallixCollectorOptionsTest, CommandLineSetsTheAnswerOrSaysWhatIsWrong) {
  const char* full[] = {"tallix-collector",
                        "--store",
                        "out",
                        "--port",
                        "8080",
                        "--status",
                        "204",
                        "--delay-ms",
                        "50",
                        "--cookies",
                        "a=1,b=x=y",
                        "--host",
                        "0.0.0.0",
                        "--callback-status",
                        "503",
                        "--config",
                        TALLIX_EXAMPLE_CONFIG};
  const auto options = TallixCollectorOptions::parse(std::size(full), full);
  EXPECT_EQ(options.store, "out");
  EXPECT_EQ(options.port, 8080);
  EXPECT_EQ(options.host, "0.0.0.0");
  EXPECT_EQ(options.answer.status, 204);
  EXPECT_EQ(options.answer.delayMs, 50);
  EXPECT_EQ(options.answer.cookies, (TallixAnswerSettings::Cookies{{"a", "1"}, {"b", "x=y"}}));
  EXPECT_EQ(options.answer.callbackStatus, 503);
  ASSERT_TRUE(options.answer.config);
  EXPECT_EQ(jsonText(options.answer.config->document(), "callbacks/templates/0/events/0"),
            "tallix.session_end");

  const auto refused = [](std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "tallix-collector");
    EXPECT_THROW(
        TallixCollectorOptions::parse(static_cast<int>(arguments.size()), arguments.data()),
        std::invalid_argument);
  };
  refused({"--port", "1"});
  refused({"--store", "out", "--status", "99"});
  refused({"--store", "out", "--port", "80x"});
  refused({"--store", "out", "--cookies", "=v"});
  refused({"--store", "out", "--verbose", "1"});
  refused({"--store"});
  refused({"--store", "out", "--callback-status", "600"});
  refused({"--store", "out", "--config", "/nonexistent/config.json"});
}

}  // namespace
}  // namespace tallix
