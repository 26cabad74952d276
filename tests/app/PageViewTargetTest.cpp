#include <gtest/gtest.h>

#include <QLabel>
#include <QTabWidget>
#include <QVBoxLayout>

#include "analytics/config/pageviews/TallixPageViewDelegate.h"
#include "analytics/core/ports/TallixPageViewCounter.h"
#include "app/pageviews/ShownPageViewTarget.h"
#include "app/pageviews/TabWidgetPageViewTarget.h"

namespace app {
namespace {

using tallix::TallixPage;
using tallix::TallixPageViewDelegate;
using tallix::TallixPageViewTarget;

class CountingCounter : public tallix::TallixPageViewCounter {
 public:
  void maybeIncrementPageView() override { ++count; }
  int count = 0;
};

// The pages the application's own delegate is told of.
class PageRecorder : public tallix::TallixPageViewTargetDelegate {
 public:
  void didSelect(TallixPageViewTarget&, const TallixPage& page) override {
    pages.push_back(page.object);
  }
  void didShow(TallixPageViewTarget&, const TallixPage& page, bool) override {
    pages.push_back(page.object);
  }
  std::vector<const void*> pages;
};

TEST(PageViewTargetTest, ATabWidgetCountsEveryTabTheUserMovesTo) {
  QTabWidget tabs;
  auto* first = new QLabel(QStringLiteral("first"));
  auto* second = new QLabel(QStringLiteral("second"));
  tabs.addTab(first, QStringLiteral("First"));
  tabs.addTab(second, QStringLiteral("Second"));
  auto target = std::make_shared<TabWidgetPageViewTarget>(&tabs);
  auto own = std::make_shared<PageRecorder>();
  target->setDelegate(own);
  CountingCounter counter;
  TallixPageViewDelegate::createDelegateOnTarget(target, counter);

  tabs.setCurrentIndex(1);
  tabs.setCurrentIndex(0);
  EXPECT_EQ(counter.count, 2);
  EXPECT_EQ(own->pages, (std::vector<const void*>{second, first}));

  TallixPageViewDelegate::destroyDelegateOnTarget(target);
  tabs.setCurrentIndex(1);
  EXPECT_EQ(counter.count, 2);
  EXPECT_EQ(target->delegate(), own);
}

TEST(PageViewTargetTest, ANavigationRoundOnePageCountsEachTimeThePageIsShown) {
  QWidget navigation;
  auto* screen = new QLabel(QStringLiteral("screen"));
  (new QVBoxLayout(&navigation))->addWidget(screen);
  auto target = std::make_shared<ShownPageViewTarget>(&navigation, screen);
  CountingCounter counter;
  TallixPageViewDelegate::createDelegateOnTarget(target, counter);

  navigation.show();
  screen->hide();
  screen->show();
  EXPECT_EQ(counter.count, 2);
  TallixPageViewDelegate::destroyDelegateOnTarget(target);
}

}  // namespace
}  // namespace app
