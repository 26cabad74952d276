#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "foundation/Console.h"
#include "foundation/LevelledLog.h"

namespace foundation {
namespace {

TEST(LevelledLogTest, PrintsALineOnlyWhenTheLevelReachesIt) {
  LevelledLog log;
  testing::internal::CaptureStdout();
  log.log(1, "silent at level 0");
  log.setLevel(1);
  log.log(1, "refusal");
  log.logFormat(2, "detail %d", 2);
  log.setLevel(2);
  log.logFormat(2, "Tallix: %s disabled.", "logEvent");
  log.log(0, "a line without a level is never printed");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "refusal\nTallix: logEvent disabled.\n");
}

TEST(LevelledLogTest, LinesFromManyThreadsStayWhole) {
  testing::internal::CaptureStdout();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 200; ++i)
        Console::line(std::string(60, static_cast<char>('a' + t)));
    });
  }
  for (auto& thread : threads)
    thread.join();
  std::istringstream output(testing::internal::GetCapturedStdout());
  int lines = 0;
  for (std::string line; std::getline(output, line); ++lines) {
    ASSERT_EQ(line.size(), 60u);
    ASSERT_EQ(line.find_first_not_of(line[0]), std::string::npos) << line;
  }
  EXPECT_EQ(lines, 800);
}

}  // namespace
}  // namespace foundation
