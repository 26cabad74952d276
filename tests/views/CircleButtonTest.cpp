#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>

#include "Rendering.h"
#include "views/CircleButton.h"

namespace views {
namespace {

constexpr int kPastTheFade = 320;

// What a person sees in the middle of the button once pending layout passes have run.
int centreBrightness(CircleButton& button) {
  QCoreApplication::processEvents();
  const QImage image = renderedOverBlack(button);
  return brightness(image, button.width() / 2, button.height() / 2);
}

struct Press {
  QString name;
  std::function<void(CircleButton&)> down, up;
};

std::vector<Press> everyWayToPress() {
  const auto key = [](Qt::Key which, const char* name) {
    return Press{name, [which](CircleButton& button) { QTest::keyPress(&button, which); },
                 [which](CircleButton& button) { QTest::keyRelease(&button, which); }};
  };
  return {{"mouse", [](CircleButton& button) { QTest::mousePress(&button, Qt::LeftButton); },
           [](CircleButton& button) { QTest::mouseRelease(&button, Qt::LeftButton); }},
          key(Qt::Key_Space, "Space"),
          key(Qt::Key_Return, "Return"),
          key(Qt::Key_Enter, "Enter")};
}

class CircleButtonTest : public testing::Test {
 protected:
  CircleButtonTest() { button.show(); }
  CircleButton button{QRect(0, 0, 60, 60)};
};

TEST_F(CircleButtonTest, BothWaysOfMakingOneGiveAPlainClearRingedCircle) {
  CircleButton unframed;
  for (CircleButton* made : {&button, &unframed}) {
    EXPECT_EQ(made->borderWidth(), 2.0);
    EXPECT_FALSE(made->isSelectable());
    EXPECT_FALSE(made->isDepressed());
    EXPECT_FALSE(made->isSelected());
  }
  EXPECT_EQ(centreBrightness(button), 0);
  const QImage image = renderedOverBlack(button);
  EXPECT_EQ(brightness(image, 30, 1), 255) << "the ring at the top";
  EXPECT_EQ(brightness(image, 1, 30), 255) << "the ring at the left";
  EXPECT_EQ(brightness(image, 2, 2), 0) << "a corner clipped away";
  EXPECT_EQ(brightness(image, 30, 3), 0) << "inside the ring";
}

// Pressing lights a plain button; every release toggles its selection and lets it fade.
TEST_F(CircleButtonTest, APlainButtonIsLitOnlyWhileHeld) {
  for (const Press& press : everyWayToPress()) {
    SCOPED_TRACE(press.name.toStdString());
    const bool wasSelected = button.isSelected();
    press.down(button);
    EXPECT_TRUE(button.isDepressed());
    EXPECT_EQ(centreBrightness(button), 255);
    press.up(button);
    EXPECT_FALSE(button.isDepressed());
    EXPECT_NE(button.isSelected(), wasSelected);
    EXPECT_GT(centreBrightness(button), 128) << "fading, not cut";
    QTest::qWait(kPastTheFade);
    EXPECT_EQ(centreBrightness(button), 0);
  }
}

TEST_F(CircleButtonTest, ASelectableButtonStaysLitWhileSelected) {
  button.setSelectable(true);
  for (const Press& press : everyWayToPress()) {
    SCOPED_TRACE(press.name.toStdString());
    press.down(button);
    press.up(button);
    EXPECT_TRUE(button.isSelected());
    EXPECT_TRUE(button.isDepressed());
    QTest::qWait(kPastTheFade);
    EXPECT_EQ(centreBrightness(button), 255);
    press.down(button);
    EXPECT_EQ(centreBrightness(button), 255);
    press.up(button);
    EXPECT_FALSE(button.isSelected());
    EXPECT_FALSE(button.isDepressed());
    QTest::qWait(kPastTheFade);
    EXPECT_EQ(centreBrightness(button), 0);
  }
}

// A release outside still ends the press; only a release inside is a click.
TEST_F(CircleButtonTest, EveryPressIsOneReleaseWhereverThePointerGoes) {
  QSignalSpy clicks(&button, &CircleButton::clicked);
  QSignalSpy touchDowns(&button, &CircleButton::touchDown);
  QSignalSpy touchUps(&button, &CircleButton::touchUp);
  QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(30, 30));
  QTest::mouseMove(&button, QPoint(200, 30));
  QTest::mouseMove(&button, QPoint(30, 30));
  QTest::mouseMove(&button, QPoint(200, 30));
  EXPECT_TRUE(button.isDepressed());
  EXPECT_EQ(touchUps.count(), 0);
  QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(200, 30));
  EXPECT_FALSE(button.isDepressed());
  EXPECT_TRUE(button.isSelected());
  EXPECT_EQ(clicks.count(), 0);
  EXPECT_EQ(touchDowns.count(), 1);
  EXPECT_EQ(touchUps.count(), 1);
  QTest::mouseClick(&button, Qt::LeftButton);
  EXPECT_FALSE(button.isSelected());
  EXPECT_EQ(clicks.count(), 1);
}

TEST_F(CircleButtonTest, AKeyHeldWhileFocusLeavesIsReleased) {
  QSignalSpy releases(&button, &CircleButton::released);
  QSignalSpy touchDowns(&button, &CircleButton::touchDown);
  QSignalSpy touchUps(&button, &CircleButton::touchUp);
  button.setFocus();
  QTest::keyPress(&button, Qt::Key_Space);
  QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Space, {}, QStringLiteral(" "), true);
  QCoreApplication::sendEvent(&button, &repeat);
  QFocusEvent focusLost(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
  QCoreApplication::sendEvent(&button, &focusLost);
  EXPECT_EQ(releases.count(), 1);
  EXPECT_EQ(touchDowns.count(), 1) << "auto-repeat is not another press";
  EXPECT_EQ(touchUps.count(), 1);
  EXPECT_FALSE(button.isDepressed());
  EXPECT_TRUE(button.isSelected());
}

TEST_F(CircleButtonTest, ANewBorderWidthShowsAtTheNextLayoutPass) {
  QCoreApplication::processEvents();
  button.setBorderWidth(10);
  EXPECT_EQ(brightness(renderedOverBlack(button), 30, 6), 0);
  button.layoutSubviews();
  EXPECT_EQ(brightness(renderedOverBlack(button), 30, 6), 255);
}

}  // namespace
}  // namespace views
