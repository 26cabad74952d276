#pragma once

#include <QObject>
#include <optional>

namespace views {
class CircleButton;
}

namespace app {

// Space and Enter hold Talk from anywhere in its window, as a push-to-talk key should: one
// press when the key goes down and one release when it comes up, however the keyboard repeats
// in between (X11 and Wayland alike). A text field keeps its keys, and Enter on another button
// still presses that button. A window that loses the focus while the key is held ends the hold
// as a release would, since the release will go elsewhere.
class TalkKeys : public QObject {
  Q_OBJECT

 public:
  // Watches every key of the application from now on; belongs to `talk`.
  explicit TalkKeys(views::CircleButton& talk);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool isForTalk(const QObject* watched, int key) const;
  bool handlePress(int key, bool modified);
  bool handleRelease(int key, bool isAutoRepeat);
  void letGo();

  views::CircleButton& talk_;
  std::optional<int> heldKey_;
};

}  // namespace app
