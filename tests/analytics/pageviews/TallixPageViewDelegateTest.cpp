#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "analytics/config/pageviews/TallixPageViewDelegate.h"
#include "analytics/config/pageviews/TallixPageViewDelegateOld.h"
#include "analytics/core/ports/TallixPageViewCounter.h"
#include "analytics/core/support/TallixLog.h"
#include "tallix/TallixPageViewTargetBase.h"

namespace tallix {
namespace {

using testing::HasSubstr;

class CountingCounter : public TallixPageViewCounter {
 public:
  void maybeIncrementPageView() override { ++count; }
  int count = 0;
};

class FakeTarget : public TallixPageViewTargetBase {
 public:
  explicit FakeTarget(TallixPageViewTargetKind kind) : kind_(kind) {}
  TallixPageViewTargetKind kind() const override { return kind_; }
  std::string description() const override { return "fake target"; }

  // What the toolkit would do when the user moves to a page.
  void show(const TallixPage& page) {
    auto slot = delegate();
    slot->willShow(*this, page, true);
    slot->didShow(*this, page, true);
  }
  bool select(const TallixPage& page) {
    auto slot = delegate();
    if (!slot->shouldSelect(*this, page))
      return false;
    slot->didSelect(*this, page);
    return true;
  }

 private:
  TallixPageViewTargetKind kind_;
};

// Writes down every call it receives.
class RecordingDelegate : public TallixPageViewTargetDelegate {
 public:
  void didShow(TallixPageViewTarget&, const TallixPage& page, bool) override {
    calls.push_back("didShow " + page.description);
  }
  void willShow(TallixPageViewTarget&, const TallixPage& page, bool) override {
    calls.push_back("willShow " + page.description);
  }
  bool shouldSelect(TallixPageViewTarget&, const TallixPage& page) override {
    calls.push_back("shouldSelect " + page.description);
    return allowSelection;
  }
  void didSelect(TallixPageViewTarget&, const TallixPage& page) override {
    calls.push_back("didSelect " + page.description);
  }
  void willBeginCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&) override {
    calls.push_back("willBeginCustomizing");
  }
  void willEndCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&,
                          bool changed) override {
    calls.push_back("willEndCustomizing " + std::to_string(changed));
  }
  void didEndCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&,
                         bool changed) override {
    calls.push_back("didEndCustomizing " + std::to_string(changed));
  }

  bool allowSelection = true;
  std::vector<std::string> calls;
};

class ThrowingDelegate : public TallixPageViewTargetDelegate {
 public:
  void didShow(TallixPageViewTarget&, const TallixPage&, bool) override {
    throw std::runtime_error("application fault");
  }
  bool shouldSelect(TallixPageViewTarget&, const TallixPage&) override {
    throw std::runtime_error("application fault");
  }
};

const TallixPage kHome{nullptr, "home"};
const TallixPage kSettings{nullptr, "settings"};

class TallixPageViewDelegateTest : public testing::Test {
 protected:
  void SetUp() override { TallixLog::setLogLevel(TallixLog::kDebugLevel); }
  void TearDown() override { TallixLog::setLogLevel(TallixLog::kRefusalLevel); }

  CountingCounter counter;
};

TEST_F(TallixPageViewDelegateTest, NavigationWithoutDelegateCountsShownPagesOnly) {
  auto navigation = std::make_shared<FakeTarget>(TallixPageViewTargetKind::Navigation);
  TallixPageViewDelegate::createDelegateOnTarget(navigation, counter);

  testing::internal::CaptureStdout();
  navigation->show(kHome);
  navigation->show(kSettings);
  const std::string log = testing::internal::GetCapturedStdout();

  EXPECT_EQ(counter.count, 2);
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegate: Navigation View [settings], incremented "
                             "pageViewCount"));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegate: navigation controller [fake target], view "
                             "controller [home], animated [1]"));
  TallixPageViewDelegate::destroyDelegateOnTarget(navigation);
  EXPECT_EQ(navigation->delegate(), nullptr);
}

TEST_F(TallixPageViewDelegateTest, TargetsWithoutPagesAndUnknownTargetsAreLeftAlone) {
  auto plain = std::make_shared<FakeTarget>(TallixPageViewTargetKind::Other);
  auto own = std::make_shared<RecordingDelegate>();
  plain->setDelegate(own);
  TallixPageViewDelegate::createDelegateOnTarget(plain, counter);
  TallixPageViewDelegateOld::createDelegateOnTarget(plain, counter);
  EXPECT_EQ(plain->delegate(), own);

  auto neverObserved = std::make_shared<FakeTarget>(TallixPageViewTargetKind::TabBar);
  neverObserved->setDelegate(own);
  TallixPageViewDelegate::destroyDelegateOnTarget(neverObserved);
  TallixPageViewDelegate::destroyDelegateOnTarget(nullptr);
  EXPECT_EQ(neverObserved->delegate(), own);
}

TEST_F(TallixPageViewDelegateTest, TabBarCallsReachTheApplicationAndSelectionsCount) {
  auto tabBar = std::make_shared<FakeTarget>(TallixPageViewTargetKind::TabBar);
  auto own = std::make_shared<RecordingDelegate>();
  tabBar->setDelegate(own);
  TallixPageViewDelegate::createDelegateOnTarget(tabBar, counter);
  auto proxy = tabBar->delegate();
  ASSERT_NE(proxy, own);

  testing::internal::CaptureStdout();
  EXPECT_TRUE(tabBar->select(kHome));
  own->allowSelection = false;
  EXPECT_FALSE(tabBar->select(kSettings));
  proxy->willBeginCustomizing(*tabBar, {kHome, kSettings});
  proxy->willEndCustomizing(*tabBar, {kHome}, true);
  proxy->didEndCustomizing(*tabBar, {kHome}, false);
  const std::string log = testing::internal::GetCapturedStdout();

  EXPECT_EQ(counter.count, 1);
  EXPECT_EQ(own->calls, (std::vector<std::string>{"shouldSelect home", "didSelect home",
                                                  "shouldSelect settings", "willBeginCustomizing",
                                                  "willEndCustomizing 1", "didEndCustomizing 0"}));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegate:  tabBarController [fake target], "
                             "viewController [home], incremented pageViewCount"));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegate: tabbar controller [fake target] view "
                             "controller [settings]"));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegate: tabBarController [fake target], "
                             "viewController [(home, settings)]"));
  EXPECT_THAT(log, HasSubstr("viewControllers [(home)], changed [0]"));
  TallixPageViewDelegate::destroyDelegateOnTarget(tabBar);
  EXPECT_EQ(tabBar->delegate(), own);
}

TEST_F(TallixPageViewDelegateTest, KeepsItsPlaceWhenTheApplicationSetsADelegate) {
  auto navigation = std::make_shared<FakeTarget>(TallixPageViewTargetKind::Navigation);
  TallixPageViewDelegate::createDelegateOnTarget(navigation, counter);
  auto proxy = navigation->delegate();

  auto later = std::make_shared<RecordingDelegate>();
  navigation->setDelegate(later);
  EXPECT_EQ(navigation->delegate(), proxy);
  navigation->show(kHome);
  EXPECT_EQ(later->calls, (std::vector<std::string>{"willShow home", "didShow home"}));
  EXPECT_EQ(counter.count, 1);

  testing::internal::CaptureStdout();
  TallixPageViewDelegate::destroyDelegateOnTarget(navigation);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              HasSubstr("TallixPageViewDelegate: delegate[tallix::(anonymous "
                        "namespace)::RecordingDelegate] destroyed"));
  EXPECT_EQ(navigation->delegate(), later);
}

TEST_F(TallixPageViewDelegateTest, SecondCreateStacksAndDestroyTakesOutOneAtATime) {
  auto navigation = std::make_shared<FakeTarget>(TallixPageViewTargetKind::Navigation);
  auto own = std::make_shared<RecordingDelegate>();
  navigation->setDelegate(own);
  TallixPageViewDelegate::createDelegateOnTarget(navigation, counter);
  TallixPageViewDelegate::createDelegateOnTarget(navigation, counter);

  navigation->show(kHome);
  EXPECT_EQ(counter.count, 2);
  EXPECT_EQ(own->calls.size(), 2U);

  TallixPageViewDelegate::destroyDelegateOnTarget(navigation);
  navigation->show(kHome);
  EXPECT_EQ(counter.count, 3);
  EXPECT_EQ(own->calls.size(), 4U);

  TallixPageViewDelegate::destroyDelegateOnTarget(navigation);
  EXPECT_EQ(navigation->delegate(), own);
}

TEST_F(TallixPageViewDelegateTest, OldDelegateIsInstalledOnceAndNeverTakenOut) {
  auto tabBar = std::make_shared<FakeTarget>(TallixPageViewTargetKind::TabBar);
  auto own = std::make_shared<RecordingDelegate>();
  tabBar->setDelegate(own);

  testing::internal::CaptureStdout();
  TallixPageViewDelegateOld::createDelegateOnTarget(tabBar, counter);
  TallixPageViewDelegate::destroyDelegateOnTarget(tabBar);
  tabBar->select(kHome);
  const std::string log = testing::internal::GetCapturedStdout();

  EXPECT_NE(tabBar->delegate(), own);
  EXPECT_EQ(counter.count, 1);
  EXPECT_EQ(own->calls, (std::vector<std::string>{"shouldSelect home", "didSelect home"}));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegateOld: delegate[tallix::(anonymous "
                             "namespace)::RecordingDelegate] created"));
  EXPECT_THAT(log, HasSubstr("TallixPageViewDelegateOld:  tabBarController [fake target], "
                             "viewController [home], incremented pageViewCount"));

  auto later = std::make_shared<RecordingDelegate>();
  tabBar->setDelegate(later);
  EXPECT_EQ(tabBar->delegate(), later);
}

TEST_F(TallixPageViewDelegateTest, ApplicationExceptionsStopInsideTheDelegate) {
  auto navigation = std::make_shared<FakeTarget>(TallixPageViewTargetKind::Navigation);
  navigation->setDelegate(std::make_shared<ThrowingDelegate>());
  TallixPageViewDelegate::createDelegateOnTarget(navigation, counter);

  testing::internal::CaptureStdout();
  EXPECT_NO_THROW(navigation->show(kHome));
  EXPECT_TRUE(navigation->select(kHome));
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              HasSubstr("Tallix: Caught Exception in Tallix Analytics Code"));
  TallixPageViewDelegate::destroyDelegateOnTarget(navigation);
}

}  // namespace
}  // namespace tallix
