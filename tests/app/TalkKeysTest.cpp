// Space and Enter hold Talk from anywhere in its window, one press and one release a hold.
#include <gtest/gtest.h>

#include <QLineEdit>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QVBoxLayout>

#include "app/TalkKeys.h"
#include "views/CircleButton.h"

namespace app::testing {
namespace {

class TalkKeysTest : public ::testing::Test {
 protected:
  TalkKeysTest() {
    auto* layout = new QVBoxLayout(&window_);
    for (QWidget* widget : std::initializer_list<QWidget*>{talk_, slider_, voice_, field_})
      layout->addWidget(widget);
    new TalkKeys(*talk_);
    window_.show();
    window_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  }

  // A key held long enough to repeat, as X11 with detectable repeat (presses alone) and as
  // Wayland (pairs marked as repeats) deliver it, then let go.
  void hold(QWidget* focus, Qt::Key key) {
    focus->setFocus();
    QTest::keyPress(focus, key);
    for (int repeat = 0; repeat < 3; ++repeat) {
      QTest::keyPress(focus, key);
      QKeyEvent pressAgain(QEvent::KeyPress, key, {}, QString(), true);
      QKeyEvent releaseAgain(QEvent::KeyRelease, key, {}, QString(), true);
      QApplication::sendEvent(focus, &releaseAgain);
      QApplication::sendEvent(focus, &pressAgain);
    }
  }

  QWidget window_;
  views::CircleButton* talk_ = new views::CircleButton;
  QSlider* slider_ = new QSlider(Qt::Horizontal);
  views::CircleButton* voice_ = new views::CircleButton;
  QLineEdit* field_ = new QLineEdit;
  QSignalSpy downs_{talk_, &views::CircleButton::touchDown};
  QSignalSpy ups_{talk_, &views::CircleButton::touchUp};
};

TEST_F(TalkKeysTest, AHeldKeyIsOnePressAndOneReleaseWhereverTheFocusIs) {
  const std::pair<QWidget*, Qt::Key> holds[] = {{talk_, Qt::Key_Space},
                                                {slider_, Qt::Key_Space},
                                                {voice_, Qt::Key_Space},
                                                {talk_, Qt::Key_Return},
                                                {slider_, Qt::Key_Enter}};
  int expected = 0;
  for (auto [focus, key] : holds) {
    SCOPED_TRACE(focus->metaObject()->className());
    const int sliderValue = slider_->value();
    hold(focus, key);
    ++expected;
    EXPECT_EQ(downs_.count(), expected);
    EXPECT_EQ(ups_.count(), expected - 1) << "let go while still held";
    QTest::keyRelease(focus, key);
    EXPECT_EQ(ups_.count(), expected);
    EXPECT_EQ(slider_->value(), sliderValue);
  }
}

TEST_F(TalkKeysTest, TextFieldsAndEnterOnAnotherButtonKeepTheirKeys) {
  QSignalSpy voiceClicks(voice_, &views::CircleButton::clicked);
  field_->setFocus();
  QTest::keyClick(field_, Qt::Key_Space);
  EXPECT_EQ(field_->text(), " ");
  voice_->setFocus();
  QTest::keyClick(voice_, Qt::Key_Return);
  EXPECT_EQ(voiceClicks.count(), 1);
  EXPECT_EQ(downs_.count(), 0);
}

TEST_F(TalkKeysTest, AWindowLosingTheFocusEndsTheHold) {
  hold(slider_, Qt::Key_Space);
  QEvent deactivate(QEvent::WindowDeactivate);
  QApplication::sendEvent(&window_, &deactivate);
  EXPECT_EQ(ups_.count(), 1);
  QTest::keyRelease(slider_, Qt::Key_Space);
  EXPECT_EQ(ups_.count(), 1) << "the late release is no second one";
  EXPECT_EQ(downs_.count(), 1);
}

}  // namespace
}  // namespace app::testing
