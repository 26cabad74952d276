#pragma once

#include <QObject>

namespace app {

// Prints "First frame painted" once the watched window has drawn itself for the first time,
// so a harness can time how long Orvane takes to appear.
class FirstFrameReporter : public QObject {
  Q_OBJECT

 public:
  explicit FirstFrameReporter(QObject* window);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace app
