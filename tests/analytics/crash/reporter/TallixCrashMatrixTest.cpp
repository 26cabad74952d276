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

void PrintTo(const CrashKind& kind, std::ostream* out) {
  *out << kind.argument;
}

constexpr CrashKind kCrashes[] = {
    {"segv", SIGSEGV, "crashBySegv"},       {"bus", SIGBUS, "crashByBus"},
    {"ill", SIGILL, "crashByIll"},          {"fpe", SIGFPE, "crashByFpe"},
    {"abrt", SIGABRT, "crashByAbrt"},       {"trap", SIGTRAP, "crashByTrap"},
    {"overflow", SIGSEGV, "overflowStack"},
};

// The hard cases, each on the main thread: two threads faulting at once, a corrupted heap,
// the allocator's lock held by another thread, a fault inside the signal handling.
constexpr std::tuple<CrashKind, const char*> kHardCases[] = {
    {{"twothreads", SIGSEGV, "crashBySegv"}, "none"},
// A sanitizer's allocator stands in for the C library's and handles the double free its own way.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    {{"heap", SIGABRT, "corruptHeapAndAllocate"}, "none"},
#endif
    {{"mallocheld", SIGSEGV, "crashBySegv"}, "none"},
    {{"segv", SIGSEGV, "crashBySegv"}, "faulting"},
};

class CrashChild {
 public:
  explicit CrashChild(const std::string& name)
      : cache_(std::filesystem::temp_directory_path() /
               ("tallix-crash-" + std::to_string(getpid()) + "-" + name)) {
    std::filesystem::remove_all(cache_);
    setenv("XDG_CACHE_HOME", cache_.c_str(), 1);
  }
  ~CrashChild() {
    unsetenv("XDG_CACHE_HOME");
    std::filesystem::remove_all(cache_);
  }

  // Runs the child; its first output line (the foreign handler's mark) and its wait status.
  std::pair<std::string, int> run(const CrashKind& crash, const char* thread, const char* foreign) {
    SpawnedChild child({TALLIX_CRASH_CHILD_PATH, crash.argument, thread, foreign});
    const std::string line = std::string(foreign) != "none" ? child.readLine() : "";
    return {line, child.waitForExit()};
  }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder()))
      if (entry.is_regular_file())
        names.push_back(entry.path().filename());
    return names;
  }

  std::filesystem::path folder() const {
    return cache_ / "com.tallix.crashreporter" / "org.orvane_crash-child";
  }

 private:
  std::filesystem::path cache_;
};

bool namesFunction(const TallixCrashReportThread& thread, const std::string& function) {
  return std::any_of(thread.frames.begin(), thread.frames.end(), [&](const auto& frame) {
    return frame.symbol && frame.symbol->name.find(function) != std::string::npos;
  });
}

// One report, read back and printed with the signal, the crashed thread first with a frame
// naming the function that crashed; the child itself died of its signal.
void expectOneReportOfTheCrash(const char* name, const CrashKind& crash, const char* thread,
                               const char* foreign) {
  CrashChild child(name);
  const auto [firstLine, status] = child.run(crash, thread, foreign);
  ASSERT_TRUE(WIFSIGNALED(status)) << "status " << status;
  EXPECT_EQ(WTERMSIG(status), crash.signal);
  if (std::string(foreign) != "none") {
    EXPECT_EQ(firstLine, "foreign\n");
  }
  ASSERT_EQ(child.files(), std::vector<std::string>{"live_report.tlxcrsh"});

  std::string error;
  const auto report = TallixCrashReport::load(child.folder() / "live_report.tlxcrsh", error);
  ASSERT_TRUE(report) << error;
  ASSERT_TRUE(report->signal());
  EXPECT_EQ(report->signal()->number, crash.signal);
  const TallixCrashReportThread* crashed = report->crashedThread();
  ASSERT_NE(crashed, nullptr);
  EXPECT_EQ(&report->threads().front(), crashed);
  const bool onMain = std::string(thread) == "main" && std::string(crash.argument) != "twothreads";
  EXPECT_EQ(crashed->name, onMain ? "tallix_crash_ch" : "crasher");
  EXPECT_TRUE(namesFunction(*crashed, crash.function));
  EXPECT_EQ(crashed->truncated, std::string(crash.argument) == "overflow");
  // Besides the crashed thread: the two idle threads, and the main thread when another crashed.
  EXPECT_GE(report->threads().size(), onMain ? 3u : 4u);
  const std::string text = TallixCrashReportTextFormatter::format(*report);
  EXPECT_NE(text.find(crash.function), std::string::npos);
  EXPECT_NE(text.find(report->signal()->name), std::string::npos);
}

using MatrixCase = std::tuple<CrashKind, const char*, const char*>;

class TallixCrashMatrixTest : public testing::TestWithParam<MatrixCase> {};

TEST_P(TallixCrashMatrixTest, LeavesOneReportNamingTheCrashAndDiesOfTheSignal) {
  const auto& [crash, thread, foreign] = GetParam();
  expectOneReportOfTheCrash(testing::UnitTest::GetInstance()->current_test_info()->name(), crash,
                            thread, foreign);
}

std::string matrixCaseName(const testing::TestParamInfo<MatrixCase>& info) {
  return std::string(std::get<0>(info.param).argument) + "_" + std::get<1>(info.param) + "_" +
         std::get<2>(info.param);
}

INSTANTIATE_TEST_SUITE_P(Crashes, TallixCrashMatrixTest,
                         testing::Combine(testing::ValuesIn(kCrashes),
                                          testing::Values("main", "worker", "library"),
                                          testing::Values("none", "before", "after")),
                         matrixCaseName);

using HardCase = std::tuple<CrashKind, const char*>;

class TallixCrashHardCaseTest : public testing::TestWithParam<HardCase> {};

TEST_P(TallixCrashHardCaseTest, StillLeavesOneReportAndDiesOfTheSignal) {
  const auto& [crash, foreign] = GetParam();
  expectOneReportOfTheCrash(crash.argument, crash, "main", foreign);
}

INSTANTIATE_TEST_SUITE_P(Crashes, TallixCrashHardCaseTest, testing::ValuesIn(kHardCases),
                         [](const testing::TestParamInfo<HardCase>& info) {
                           return std::string(std::get<0>(info.param).argument) + "_" +
                                  std::get<1>(info.param);
                         });

}  // namespace
}  // namespace tallix
