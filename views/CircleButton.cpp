#include "views/CircleButton.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <utility>

namespace views {
namespace {

constexpr int kFadeMilliseconds = 200;

bool isPressKey(const QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
      return !event->isAutoRepeat();
    default:
      return false;
  }
}

}  // namespace

CircleButton::CircleButton(QWidget* parent) : QAbstractButton(parent) {
  initialise();
}

CircleButton::CircleButton(const QRect& frame, QWidget* parent) : QAbstractButton(parent) {
  setGeometry(frame);
  initialise();
}

void CircleButton::initialise() {
  fade_.setTargetObject(this);
  fade_.setPropertyName("fillColor");
  fade_.setDuration(kFadeMilliseconds);
  setFocusPolicy(Qt::StrongFocus);
  setNeedsLayout();
}

void CircleButton::layoutSubviews() {
  layoutPending_ = false;
  cornerRadius_ = width() * 0.5;
  ringWidth_ = borderWidth_;
  fade_.stop();
  if (depressed_) {
    setFillColor(Qt::white);
  } else {
    fade_.setStartValue(fillColor_);
    fade_.setEndValue(QColor(Qt::transparent));
    fade_.start();
  }
  update();
}

void CircleButton::setNeedsLayout() {
  if (!std::exchange(layoutPending_, true))
    QCoreApplication::postEvent(this, new QEvent(QEvent::LayoutRequest));
}

void CircleButton::setFillColor(const QColor& color) {
  fillColor_ = color;
  update();
}

QSize CircleButton::sizeHint() const {
  return {44, 44};
}

void CircleButton::beginTracking() {
  depressed_ = true;
}

void CircleButton::endTracking() {
  selected_ = !selected_;
  depressed_ = selectable_ && selected_;
}

bool CircleButton::event(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest && layoutPending_) {
    layoutSubviews();
    return true;
  }
  return QAbstractButton::event(event);
}

void CircleButton::resizeEvent(QResizeEvent* event) {
  QAbstractButton::resizeEvent(event);
  setNeedsLayout();
}

void CircleButton::startTracking(Tracking tracking) {
  tracking_ = tracking;
  beginTracking();
  setNeedsLayout();
  emit touchDown();
}

void CircleButton::finishTracking() {
  tracking_ = Tracking::None;
  endTracking();
  setNeedsLayout();
  emit touchUp();
}

void CircleButton::mousePressEvent(QMouseEvent* event) {
  if (tracking_ == Tracking::None && event->button() == Qt::LeftButton &&
      hitButton(event->position().toPoint()))
    startTracking(Tracking::Pointer);
  QAbstractButton::mousePressEvent(event);
}

void CircleButton::mouseReleaseEvent(QMouseEvent* event) {
  if (tracking_ == Tracking::Pointer && event->button() == Qt::LeftButton)
    finishTracking();
  QAbstractButton::mouseReleaseEvent(event);
}

void CircleButton::keyPressEvent(QKeyEvent* event) {
  if (!isPressKey(event) || tracking_ != Tracking::None)
    return QAbstractButton::keyPressEvent(event);
  startTracking(Tracking::Key);
  forwardKey(event);
}

void CircleButton::keyReleaseEvent(QKeyEvent* event) {
  if (!isPressKey(event) || tracking_ != Tracking::Key)
    return QAbstractButton::keyReleaseEvent(event);
  finishTracking();
  forwardKey(event);
}

void CircleButton::pressKey() {
  QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
  keyPressEvent(&space);
}

void CircleButton::releaseKey() {
  QKeyEvent space(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
  keyReleaseEvent(&space);
}

// A key held while the focus moves away never sends its release here; the base button then
// reports a release, and the press ends as a release would end it, so a hold-to-talk button
// never stays held.
void CircleButton::focusOutEvent(QFocusEvent* event) {
  if (tracking_ == Tracking::Key)
    finishTracking();
  QAbstractButton::focusOutEvent(event);
}

// The base button presses and clicks on Space only; Enter and Select do the same here.
void CircleButton::forwardKey(QKeyEvent* event) {
  QKeyEvent space(event->type(), Qt::Key_Space, event->modifiers(), QStringLiteral(" "));
  if (event->type() == QEvent::KeyPress)
    QAbstractButton::keyPressEvent(&space);
  else
    QAbstractButton::keyReleaseEvent(&space);
  event->setAccepted(space.isAccepted());
}

void CircleButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath outline;
  outline.addRoundedRect(rect(), cornerRadius_, cornerRadius_);
  painter.setClipPath(outline);
  painter.fillPath(outline, fillColor_);
  paintContent(painter);
  // The ring lies inside the bounds, over the content, as a layer border does.
  if (ringWidth_ > 0) {
    const double inset = ringWidth_ * 0.5;
    QPainterPath ring;
    ring.addRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset),
                        cornerRadius_ - inset, cornerRadius_ - inset);
    painter.strokePath(ring, QPen(Qt::white, ringWidth_));
  }
}

void CircleButton::paintContent(QPainter& painter) {
  if (!icon().isNull()) {
    const QRect place = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, iconSize(), rect());
    icon().paint(&painter, place, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
  }
  if (!text().isEmpty()) {
    // Dark over the lit fill, so the title stays readable while the button is held.
    const bool overLight = fillColor_.alphaF() * fillColor_.lightnessF() > 0.5;
    painter.setPen(overLight ? QColor(Qt::black) : palette().color(QPalette::ButtonText));
    painter.drawText(rect(), Qt::AlignCenter, text());
  }
}

}  // namespace views
