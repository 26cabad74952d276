#include "app/TalkKeys.h"

#include <QApplication>
#include <QKeyEvent>

#include "views/CircleButton.h"

namespace app {
namespace {

bool isTalkKey(int key) {
  return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter;
}

bool isEnter(int key) {
  return key == Qt::Key_Return || key == Qt::Key_Enter;
}

// Line edits, text editors and spin boxes take text; they are the widgets with an input method.
bool takesText(const QWidget* widget) {
  return widget && widget->testAttribute(Qt::WA_InputMethodEnabled);
}

}  // namespace

TalkKeys::TalkKeys(views::CircleButton& talk) : QObject(&talk), talk_(talk) {
  QCoreApplication::instance()->installEventFilter(this);
}

bool TalkKeys::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
      const auto* key = static_cast<QKeyEvent*>(event);
      if (!isForTalk(watched, key->key()))
        return false;
      const bool modified = key->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
      return event->type() == QEvent::KeyPress ? handlePress(key->key(), modified)
                                               : handleRelease(key->key(), key->isAutoRepeat());
    }
    case QEvent::WindowDeactivate:
      if (watched == talk_.window())
        letGo();
      return false;
    default:
      return false;
  }
}

// Decided by the widget with the focus, which sees a key first; a key it leaves unused travels
// up to its parents and must not turn into Talk on the way.
bool TalkKeys::isForTalk(const QObject* watched, int key) const {
  if (!isTalkKey(key) || !watched->isWidgetType())
    return false;
  if (static_cast<const QWidget*>(watched)->window() != talk_.window())
    return false;
  if (heldKey_)
    return true;
  const QWidget* focus = QApplication::focusWidget();
  if (takesText(focus))
    return false;
  const bool otherButton = qobject_cast<const QAbstractButton*>(focus) && focus != &talk_;
  return !(isEnter(key) && otherButton) && talk_.isEnabled();
}

bool TalkKeys::handlePress(int key, bool modified) {
  if (heldKey_)
    return true;  // the held key repeating, or a second talk key: the hold goes on
  if (modified)
    return false;
  heldKey_ = key;
  talk_.pressKey();
  return true;
}

bool TalkKeys::handleRelease(int key, bool isAutoRepeat) {
  if (key == heldKey_ && !isAutoRepeat)
    letGo();
  return true;
}

void TalkKeys::letGo() {
  if (!std::exchange(heldKey_, std::nullopt))
    return;
  talk_.releaseKey();
}

}  // namespace app
