#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QPropertyAnimation>

namespace views {

// The round, white-ringed button of the main screen. It lights up solid white while pressed and
// fades back to clear over 0.2 s when released, unless it is a selectable button that the release
// switched on: that one stays lit. Pressing works with the mouse, touch, and Space or Enter.
//
// Like the phone control it stands in for, its look is applied in layout passes
// (layoutSubviews()): setting a property shows at the next one. The base button asks for one when
// it is resized and when its pressed state changes.
class CircleButton : public QAbstractButton {
  Q_OBJECT
  // The colour currently shown behind the content; animated by the fade.
  Q_PROPERTY(QColor fillColor READ fillColor WRITE setFillColor)

 public:
  explicit CircleButton(QWidget* parent = nullptr);
  explicit CircleButton(const QRect& frame, QWidget* parent = nullptr);

  // A toggle button: a release that leaves it selected keeps it lit.
  bool isSelectable() const { return selectable_; }
  void setSelectable(bool selectable) { selectable_ = selectable; }
  // To be drawn lit: from press until release, and on after a release that leaves a selectable
  // button selected.
  bool isDepressed() const { return depressed_; }
  void setDepressed(bool depressed) { depressed_ = depressed; }
  // Width of the white ring, in pixels.
  double borderWidth() const { return borderWidth_; }
  void setBorderWidth(double width) { borderWidth_ = width; }
  // Inverted at every release, selectable or not, wherever the pointer was lifted.
  bool isSelected() const { return selected_; }
  void setSelected(bool selected) { selected_ = selected; }

  // Applies the look: circular clip, ring, and the lit or fading background.
  void layoutSubviews();
  // Asks for a layout pass once control returns to the event loop.
  void setNeedsLayout();

  // Presses and releases the button as its own Space key does, for a key held elsewhere in the
  // window (see app/TalkKeys.h).
  void pressKey();
  void releaseKey();

  QColor fillColor() const { return fillColor_; }
  void setFillColor(const QColor& color);

  QSize sizeHint() const override;

 signals:
  // A press began or ended, whatever the input device and wherever the pointer was lifted:
  // exactly one touchUp follows each touchDown. Unlike pressed()/released(), a drag out of the
  // button and back in does not end the press.
  void touchDown();
  void touchUp();

 protected:
  // The start and end of a press, whatever the input device.
  virtual void beginTracking();
  virtual void endTracking();

  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  enum class Tracking { None, Pointer, Key };

  void initialise();
  void startTracking(Tracking tracking);
  void finishTracking();
  void forwardKey(QKeyEvent* event);
  void paintContent(QPainter& painter);

  bool selectable_ = false;
  bool depressed_ = false;
  double borderWidth_ = 2.0;
  bool selected_ = false;

  Tracking tracking_ = Tracking::None;
  bool layoutPending_ = false;
  // What the last layout pass applied.
  double cornerRadius_ = 0;
  double ringWidth_ = 0;
  QColor fillColor_ = Qt::transparent;
  QPropertyAnimation fade_;
};

}  // namespace views
