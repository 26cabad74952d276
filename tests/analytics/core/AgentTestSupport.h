#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "TemporaryDirectory.h"
#include "analytics/core/agent/TallixEnvironment.h"
#include "analytics/core/model/TallixAutoIncrement.h"
#include "analytics/core/ports/TallixCrashCapture.h"
#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionContext.h"
#include "analytics/core/session/TallixSessionFactory.h"
#include "analytics/core/session/TallixSessionMeasurements.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "foundation/DispatchQueue.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/NotificationCenter.h"
#include "tallix/TallixApplication.h"
#include "tests/analytics/FixedClock.h"

namespace tallix {

// Whether a session record holds the text, such as an event's name or a report's bytes.
inline bool recordMentions(const foundation::Value::Bytes& record, std::string_view text) {
  return std::search(record.begin(), record.end(), text.begin(), text.end()) != record.end();
}

// Fixed readings, so sessions compare equal across runs.
class FixedMeasurements : public TallixSessionMeasurements {
 public:
  void measure(int phase, TallixSessionFields::Strings& sessionParams) override {
    sessionParams.insert_or_assign(phase == kStartPhase ? "cpu.load.start" : "cpu.load.end",
                                   "0.50");
  }
  std::string locale() override { return "de_DE"; }
  std::string timeZone() override { return "Europe/Berlin"; }
};

// The crash port without a reporter: a report left by the last run or none, and failures on
// demand. Reports are read on the agent queue; set them up while the queue is idle.
class FakeCrashCapture : public TallixCrashCapture {
 public:
  using Bytes = foundation::Value::Bytes;

  std::string enable(const std::string&, const std::string&) override {
    ++enables;
    return {};
  }
  bool hasPendingCrashReport() override { return pending.has_value(); }
  std::optional<Bytes> loadPendingCrashReportData(std::string& error) override {
    ++loads;
    if (loadFails)
      error = "truncated report";
    return loadFails ? std::nullopt : pending;
  }
  void purgePendingCrashReport() override { pending.reset(); }
  std::optional<Bytes> generateLiveReport(std::string& error) override {
    if (liveFails)
      error = "threads not stopped";
    return liveFails ? std::nullopt : std::optional(liveReport);
  }

  std::atomic<int> enables{0};
  std::atomic<int> loads{0};
  std::optional<Bytes> pending;
  bool loadFails = false;
  std::atomic<bool> liveFails{false};
  const Bytes liveReport{'l', 'i', 'v', 'e'};
};

// A session's surroundings without the agent: settings, counters, saver, saved sessions and
// the real reporter without a sender and a fake crash port, over a fresh directory. Session
// work runs on the harness's queue, as the agent runs it. The fields of every session a record
// was written of are kept in `reported`.
class SessionHarness {
 public:
  static constexpr const char* kApiKey = "TESTKEY";

  SessionHarness()
      : paths(directory.path(), kApiKey),
        saved(paths.savedSessions(), settings,
              [this](TallixSession& session) {
                reported.push_back(session.fields());
                return reporter.recordOf(session);
              }),
        context(std::make_shared<const TallixSessionContext>(
            TallixSessionContext{clock, settings, counters, paths, saved, saver, measurements,
                                 reporter, center, crash, services})),
        factory(context) {}

  ~SessionHarness() {
    run([this] { saver.flush(); });
  }

  template <typename Work>
  std::invoke_result_t<Work&> run(Work&& work) {
    return queue.sync(std::forward<Work>(work));
  }

  std::shared_ptr<TallixSession> newSession() {
    return run([this] { return factory.sessionWithApiKey(kApiKey, clock.now(), {}); });
  }

  std::shared_ptr<TallixSession> readCurrentSessionFile() {
    run([this] { saver.flush(); });
    return foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(
        paths.currentSession());
  }

  foundation::TemporaryDirectory directory;
  ManualClock clock;
  TallixGlobalVariableStorage settings{"1.0"};
  TallixAutoIncrement counters;
  FixedMeasurements measurements;
  foundation::NotificationCenter center;
  std::vector<std::shared_ptr<TallixAgentService>> services;
  TallixFilePaths paths;
  TallixSessionReporter reporter{settings, clock, {}, {}, {}, nullptr};
  std::shared_ptr<FakeCrashCapture> crash = std::make_shared<FakeCrashCapture>();
  std::vector<TallixSessionFields> reported;
  foundation::DispatchQueue queue{"test.session"};
  TallixSessionSaver saver{queue};
  TallixSavedSessions saved;
  std::shared_ptr<const TallixSessionContext> context;
  TallixSessionFactory factory;
};

// A desktop application under the test's control.
class TestApplication : public TallixApplication {
 public:
  explicit TestApplication(std::filesystem::path dataDirectory)
      : dataDirectory_(std::move(dataDirectory)) {}
  ApplicationState applicationState() const override { return state; }
  std::string bundleIdentifier() const override { return "org.orvane.Test"; }
  std::string bundleVersion() const override { return "2.5"; }
  std::filesystem::path dataDirectory() const override { return dataDirectory_; }
  ScreenSize screenSize() const override { return screen; }
  std::optional<std::string> infoDictionaryValue(const std::string& key) const override {
    return key == "Tallix Watch API Key" ? watchApiKey : std::nullopt;
  }
  bool isWatchExtension() const override { return watchExtension; }

  std::atomic<ApplicationState> state{ApplicationState::Active};
  std::atomic<ScreenSize> screen{ScreenSize{1080, 1920}};
  // Set before the agent first reads it.
  std::optional<std::string> watchApiKey;
  std::atomic<bool> watchExtension{false};

 private:
  std::filesystem::path dataDirectory_;
};

// What a test's agent runs against: the test's clock, a private centre and a fresh directory.
inline TallixEnvironment testEnvironment(std::shared_ptr<ManualClock> clock,
                                         foundation::NotificationCenter& center,
                                         const std::filesystem::path& directory,
                                         std::shared_ptr<TallixCrashCapture> crash = nullptr) {
  TallixEnvironment environment;
  environment.clock = std::move(clock);
  environment.crashCapture = std::move(crash);
  environment.notificationCenter = &center;
  environment.fileDirectory = directory;
  return environment;
}

}  // namespace tallix
