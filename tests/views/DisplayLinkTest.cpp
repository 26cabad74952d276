#include <gtest/gtest.h>

#include <QTest>
#include <vector>

#include "views/DisplayLink.h"

namespace views {
namespace {

TEST(DisplayLink, CallsOncePerFrameOnTheFrameGrid) {
  std::vector<double> frames;
  DisplayLink* link = nullptr;
  DisplayLink running([&] { frames.push_back(link->timestamp()); });
  link = &running;
  QTest::qWait(300);
  ASSERT_GT(running.duration(), 0.0);
  const double expected = 0.3 / running.duration();
  EXPECT_GT(frames.size(), expected / 2);
  EXPECT_LE(frames.size(), expected + 1);
  for (std::size_t i = 1; i < frames.size(); ++i) {
    const double steps = (frames[i] - frames[i - 1]) / running.duration();
    EXPECT_GE(steps, 1.0 - 1e-9);
    EXPECT_NEAR(steps, std::round(steps), 1e-6) << "frame " << i;
  }
}

TEST(DisplayLink, PausedItIsSilentAndResumesWhenUnpaused) {
  int calls = 0;
  DisplayLink link([&] { ++calls; });
  link.setPaused(true);
  QTest::qWait(150);
  EXPECT_EQ(calls, 0);
  link.setPaused(false);
  QTest::qWait(150);
  EXPECT_GT(calls, 0);
  link.setPaused(true);
  // Pausing from inside the target ends the calls at once.
  int selfPausedCalls = 0;
  DisplayLink* self = nullptr;
  DisplayLink selfPausing([&] {
    ++selfPausedCalls;
    self->setPaused(true);
  });
  self = &selfPausing;
  QTest::qWait(150);
  EXPECT_EQ(selfPausedCalls, 1);
}

TEST(DisplayLink, ATargetMayInvalidateItsOwnLink) {
  int calls = 0;
  DisplayLink* link = nullptr;
  DisplayLink invalidating([&] {
    ++calls;
    link->invalidate();
  });
  link = &invalidating;
  QTest::qWait(150);
  EXPECT_EQ(calls, 1);
  invalidating.setPaused(false);
  QTest::qWait(100);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace views
