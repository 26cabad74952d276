#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/reporter/TallixCrashReporter.h"

namespace tallix::crash {
namespace {

// The reporter in this test process: enabled once, as in any process.
class TallixCrashReporterTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    cache_ = std::filesystem::temp_directory_path() /
             ("tallix-crash-reporter-" + std::to_string(getpid()));
    setenv("XDG_CACHE_HOME", cache_.c_str(), 1);
  }
  static void TearDownTestSuite() { std::filesystem::remove_all(cache_); }

  static TallixCrashReporter reporter(
      TallixCrashSignalHandlerType type = TallixCrashSignalHandlerType::kBsd) {
    return TallixCrashReporter(
        TallixCrashReporterConfig(type, kSymbolicationAll).withApplication("org.test/app", "2.1"));
  }

  static inline std::filesystem::path cache_;
};

TEST_F(TallixCrashReporterTest, EnablesOncePerProcessAndRefusesTheExceptionServer) {
  std::string error;
  EXPECT_FALSE(reporter(TallixCrashSignalHandlerType::kMach).enableCrashReporter(error));
  EXPECT_NE(error.find("does not exist on Linux"), std::string::npos) << error;

  TallixCrashReporter first = reporter();
  ASSERT_TRUE(first.enableCrashReporter(error)) << error;
  EXPECT_EQ(first.paths().directory(), cache_ / "com.tallix.crashreporter" / "org.test_app");
  EXPECT_TRUE(std::filesystem::is_directory(first.paths().queue()));
  EXPECT_FALSE(reporter().enableCrashReporter(error));
  EXPECT_EQ(error, "The crash reporter has alread been enabled");
}

TEST_F(TallixCrashReporterTest, ThePendingReportIsLoadedAsStoredAndPurged) {
  const TallixCrashReporter crashes = reporter();
  crashes.paths().create();
  std::string error;
  EXPECT_FALSE(crashes.hasPendingCrashReport());
  EXPECT_FALSE(crashes.loadPendingCrashReportData(error));
  EXPECT_FALSE(error.empty());

  const TallixCrashReporter::Bytes stored{'t', 'l', 'x', 0, 0xff, 7};
  std::ofstream(crashes.paths().pendingReport(), std::ios::binary)
      .write(reinterpret_cast<const char*>(stored.data()), std::streamsize(stored.size()));
  ASSERT_TRUE(crashes.hasPendingCrashReport());
  EXPECT_EQ(crashes.loadPendingCrashReportData(error), stored);
  EXPECT_TRUE(crashes.purgePendingCrashReport());
  EXPECT_FALSE(crashes.hasPendingCrashReport());
}

__attribute__((noinline)) std::optional<TallixCrashReporter::Bytes> liveReportFromHere(
    const TallixCrashReporter& crashes, std::string& error) {
  auto report = crashes.generateLiveReport(error);
  asm volatile("");  // keeps this frame on the stack
  return report;
}

TEST_F(TallixCrashReporterTest, ALiveReportDescribesTheCallerAndLeavesNoFile) {
  TallixCrashReporter crashes = reporter();
  std::string error;
  crashes.enableCrashReporter(error);  // already enabled by the test above, or now
  const auto bytes = liveReportFromHere(crashes, error);
  ASSERT_TRUE(bytes) << error;

  const auto report = TallixCrashReport::parse(*bytes, error);
  ASSERT_TRUE(report) << error;
  EXPECT_TRUE(report->isLive());
  EXPECT_FALSE(report->signal());
  EXPECT_EQ(report->crashedThread(), nullptr);
  EXPECT_EQ(report->application().identifier, "org.test/app");
  ASSERT_FALSE(report->threads().empty());
  const auto& caller = report->threads().front().frames;
  EXPECT_TRUE(std::any_of(caller.begin(), caller.end(), [](const auto& frame) {
    return frame.symbol && frame.symbol->name.find("liveReportFromHere") != std::string::npos;
  }));
  for (const auto& entry : std::filesystem::directory_iterator(crashes.paths().directory()))
    EXPECT_EQ(entry.path().filename().string().rfind("live_crash_report.", 0), std::string::npos);
}

}  // namespace
}  // namespace tallix::crash
