// Orvane killed by a fatal signal: its crash reporter leaves a report a person can print, and
// the next run sends it to the collector with the session the crash cut short.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "DesktopSession.h"
#include "Speech.h"
#include "TemporaryDirectory.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using audio::testing::speak;
using tallix::jsonAt;
using tallix::jsonText;
using ::testing::Contains;
using ::testing::HasSubstr;

constexpr auto kSessionSavedLimit = 20s;
constexpr auto kEndLimit = 15s;
constexpr auto kArrivalLimit = 20s;
constexpr auto kPauseBetweenLooks = 200ms;

// Whether the agent has put its current session on disk, so that a crash leaves it behind.
bool currentSessionSaved(const std::filesystem::path& dataDirectory) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(dataDirectory))
    if (entry.path().filename().string().starts_with(".tallixCurrent"))
      return true;
  return false;
}

template <typename Condition>
bool within(Clock::duration limit, Condition condition) {
  const auto deadline = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() >= deadline)
      return false;
    std::this_thread::sleep_for(kPauseBetweenLooks);
  }
  return true;
}

// The first session the collector decoded with a crash report, or null.
json_t* crashedSession(const tallix::TallixJson& reports) {
  for (std::size_t report = 0; report < json_array_size(reports.get()); ++report) {
    json_t* sessions = jsonAt(reports.get(), std::to_string(report) + "/body/sessions");
    for (std::size_t session = 0; session < json_array_size(sessions); ++session) {
      json_t* found = json_array_get(sessions, session);
      if (jsonAt(found, "crashError/crashReport"))
        return found;
    }
  }
  return nullptr;
}

std::vector<std::string> frameSymbols(const json_t* session) {
  std::vector<std::string> symbols;
  const json_t* frames = jsonAt(session, "crashError/crashReport/crashedThread/frames");
  for (std::size_t frame = 0; frame < json_array_size(frames); ++frame)
    symbols.push_back(jsonText(json_array_get(frames, frame), "symbol"));
  return symbols;
}

TEST(OrvaneCrash, AFatalSignalIsPrintableAndReachesTheCollectorWithTheCutShortSession) {
  tallix::RunningCollector collector;
  DesktopSession desktop(speak("Crash"), ORVANE_E2E_SOUND_SERVER);
  const std::vector<std::string> toCollector{"--analytics-server", "http://" + collector.host()};
  const auto report = desktop.orvaneDirectory("cache") / "com.tallix.crashreporter" /
                      "org.orvane.Orvane" / "live_report.tlxcrsh";

  desktop.startOrvane(toCollector);
  ASSERT_TRUE(within(kSessionSavedLimit, [&] {
    return currentSessionSaved(desktop.orvaneDirectory("data"));
  })) << "Orvane never saved its session";
  EXPECT_EQ(desktop.signalOrvane(SIGSEGV, kEndLimit), 128 + SIGSEGV) << desktop.orvaneTranscript();
  ASSERT_TRUE(std::filesystem::exists(report)) << "no crash report at " << report;

  const foundation::TemporaryDirectory aside;
  const auto copy = aside.path() / "crash.tlxcrsh";
  std::filesystem::copy_file(report, copy);
  const std::string printed = runToEnd({{TALLIX_CRASH_PRINT, copy.string()}, {}});
  EXPECT_THAT(printed, HasSubstr("SIGSEGV"));
  EXPECT_THAT(printed, HasSubstr("main"));

  desktop.startOrvane(toCollector);
  EXPECT_EQ(desktop.signalOrvane(SIGTERM, kEndLimit), 0) << desktop.orvaneTranscript();
  json_t* session = nullptr;
  tallix::TallixJson reports(nullptr);
  within(kArrivalLimit, [&] {
    reports = collector.reports();
    return (session = crashedSession(reports)) != nullptr;
  });
  ASSERT_TRUE(session) << "no crashed session reached the collector; it said:\n"
                       << collector.console();
  EXPECT_EQ(jsonText(session, "crashError/crashReport/signal/name"), "SIGSEGV");
  EXPECT_THAT(frameSymbols(session), Contains("main"));
  EXPECT_FALSE(std::filesystem::exists(report)) << "the sent report is still pending";
}

}  // namespace
}  // namespace e2e
