#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <regex>

#include "EventuallyShown.h"
#include "PrivateServer.h"
#include "views/RoutePicker.h"
#include "views/TarnwickVolumeView.h"
#include "views/VolumeSlider.h"

// Against the private server the test environment names, through the shared volume and routes.
namespace views {
namespace {

using platform::pactl;

int defaultSinkPercent() {
  std::smatch match;
  const std::string volume = pactl("get-sink-volume @DEFAULT_SINK@");
  return std::regex_search(volume, match, std::regex("(\\d+)%")) ? std::stoi(match[1]) : -1;
}

class VolumeViewTest : public platform::PrivateServerTest {
 protected:
  void SetUp() override {
    PrivateServerTest::SetUp();
    view.resize(200, 40);
    view.show();
  }

  VolumeSlider& slider() { return *view.findChild<VolumeSlider*>(); }
  QToolButton& routeButton() { return *view.findChild<QToolButton*>(); }

  TarnwickVolumeView view;
};

TEST_F(VolumeViewTest, TheSliderTakesTheWholeViewAndTheBaseViewLeavesRoomForTheRouteButton) {
  EXPECT_EQ(view.volumeSliderRectForBounds(QRect(0, 0, 200, 40)), QRect(0, 0, 200, 40));
  EXPECT_EQ(slider().geometry(), QRect(0, 0, 200, 40));
  VolumeView base;
  EXPECT_EQ(base.volumeSliderRectForBounds(QRect(0, 0, 200, 40)), QRect(0, 0, 160, 40));
  EXPECT_EQ(base.routeButtonRectForBounds(QRect(0, 0, 200, 40)), QRect(160, 0, 40, 40));
  base.setShowsRouteButton(false);
  EXPECT_EQ(base.volumeSliderRectForBounds(QRect(0, 0, 200, 40)), QRect(0, 0, 200, 40));
}

TEST_F(VolumeViewTest, TheSliderFollowsTheSystemVolumeAndSetsIt) {
  pactl("set-sink-volume @DEFAULT_SINK@ 30%");
  EXPECT_TRUE(eventuallyShown([&] { return std::abs(slider().fraction() - 0.3f) < 0.002f; }))
      << slider().fraction();
  pactl("set-sink-mute @DEFAULT_SINK@ 1");
  EXPECT_TRUE(eventuallyShown([&] { return slider().fraction() == 0.0f; }));
  slider().setFraction(0.5f);
  EXPECT_TRUE(foundation::eventually([] { return defaultSinkPercent() == 50; }))
      << pactl("get-sink-volume @DEFAULT_SINK@");
  EXPECT_EQ(pactl("get-sink-mute @DEFAULT_SINK@"), "Mute: no");
}

TEST_F(VolumeViewTest, TheRouteButtonOpensThePickerWhoseChoiceBecomesTheOutput) {
  loadNullSink("orvane_picker_choice", "Picker Choice");
  routeButton().click();
  auto* picker = view.findChild<RoutePicker*>();
  ASSERT_NE(picker, nullptr);
  EXPECT_TRUE(picker->isVisible());
  auto& list = *picker->findChild<QListWidget*>();
  EXPECT_TRUE(eventuallyShown([&] { return list.findItems("Picker Choice", {}).size() == 1; }));
  const auto selected = list.selectedItems();
  ASSERT_EQ(selected.size(), 1);
  EXPECT_EQ(selected.front()->text(), "Orvane Test Output");
  QListWidgetItem* choice = list.findItems("Picker Choice", {}).front();
  QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(choice).center());
  EXPECT_TRUE(
      foundation::eventually([] { return pactl("get-default-sink") == "orvane_picker_choice"; }));
  EXPECT_TRUE(eventuallyShown([&] { return view.findChild<RoutePicker*>() == nullptr; }))
      << "the picker closes and goes once a choice is made";
}

}  // namespace
}  // namespace views
