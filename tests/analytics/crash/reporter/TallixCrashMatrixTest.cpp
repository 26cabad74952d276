#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/format/TallixCrashReportTextFormatter.h"
#include "tests/analytics/SpawnedChild.h"

namespace tallix {
namespace {

struct CrashKind {
  const char* argument;
  int signal;
  const char* function;
};

constexpr CrashKind kCrashes[] = {
    {"segv", SIGSEGV, "crashBySegv"},       {"bus", SIGBUS, "crashByBus"},
    {"ill", SIGILL, "crashByIll"},          {"fpe", SIGFPE, "crashByFpe"},
    {"abrt", SIGABRT, "crashByAbrt"},       {"trap", SIGTRAP, "crashByTrap"},
    {"overflow", SIGSEGV, "overflowStack"},
};

void PrintTo(const CrashKind& kind, std::ostream* out) {
  *out << kind.argument;
}

using CrashCase = std::tuple<CrashKind, const char*, const char*>;

class TallixCrashMatrixTest : public testing::TestWithParam<CrashCase> {
 protected:
  void SetUp() override {
    cache_ = std::filesystem::temp_directory_path() /
             ("tallix-crash-" + std::to_string(getpid()) + "-" +
              std::to_string(testing::UnitTest::GetInstance()->random_seed()) + "-" + name());
    std::filesystem::remove_all(cache_);
    setenv("XDG_CACHE_HOME", cache_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("XDG_CACHE_HOME");
    std::filesystem::remove_all(cache_);
  }

  std::string name() const {
    const auto& [crash, thread, foreign] = GetParam();
    return std::string(crash.argument) + "-" + thread + "-" + foreign;
  }

  std::filesystem::path reportFolder() const {
    return cache_ / "com.tallix.crashreporter" / "org.orvane_crash-child";
  }

  std::filesystem::path cache_;
};

bool namesFunction(const TallixCrashReportThread& thread, const std::string& function) {
  return std::any_of(thread.frames.begin(), thread.frames.end(), [&](const auto& frame) {
    return frame.symbol && frame.symbol->name.find(function) != std::string::npos;
  });
}

TEST_P(TallixCrashMatrixTest, LeavesOneReportNamingTheCrashAndDiesOfTheSignal) {
  const auto& [crash, thread, foreign] = GetParam();
  SpawnedChild child({TALLIX_CRASH_CHILD_PATH, crash.argument, thread, foreign});
  ASSERT_TRUE(child.started());
  const bool foreignHandler = std::string(foreign) != "none";
  const std::string firstLine = foreignHandler ? child.readLine() : "";
  const int status = child.waitForExit();

  ASSERT_TRUE(WIFSIGNALED(status)) << "status " << status;
  EXPECT_EQ(WTERMSIG(status), crash.signal);
  if (foreignHandler) {
    EXPECT_EQ(firstLine, "foreign\n");
  }

  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(reportFolder()))
    if (entry.is_regular_file())
      files.push_back(entry.path().filename());
  ASSERT_EQ(files, std::vector<std::string>{"live_report.tlxcrsh"});

  std::string error;
  const auto report = TallixCrashReport::load(reportFolder() / files[0], error);
  ASSERT_TRUE(report) << error;
  ASSERT_TRUE(report->signal());
  EXPECT_EQ(report->signal()->number, crash.signal);
  const TallixCrashReportThread* crashed = report->crashedThread();
  ASSERT_NE(crashed, nullptr);
  EXPECT_EQ(&report->threads().front(), crashed);
  EXPECT_EQ(crashed->name, std::string(thread) == "main" ? "tallix_crash_ch" : "crasher");
  EXPECT_TRUE(namesFunction(*crashed, crash.function));
  EXPECT_EQ(crashed->truncated, std::string(crash.argument) == "overflow");
  // The two idle threads and, off the main thread, the main thread waiting in join.
  EXPECT_GE(report->threads().size(), std::string(thread) == "main" ? 3u : 4u);
  const std::string text = TallixCrashReportTextFormatter::format(*report);
  EXPECT_NE(text.find(crash.function), std::string::npos);
  EXPECT_NE(text.find(report->signal()->name), std::string::npos);
}

std::string caseName(const testing::TestParamInfo<CrashCase>& info) {
  return std::string(std::get<0>(info.param).argument) + "_" + std::get<1>(info.param) + "_" +
         std::get<2>(info.param);
}

INSTANTIATE_TEST_SUITE_P(Crashes, TallixCrashMatrixTest,
                         testing::Combine(testing::ValuesIn(kCrashes),
                                          testing::Values("main", "worker", "library"),
                                          testing::Values("none", "before", "after")),
                         caseName);

}  // namespace
}  // namespace tallix
