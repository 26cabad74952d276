#pragma once

#include <QWidget>

class QAction;
class QToolBar;

namespace app {

// Shows a screen under a bar whose leading button can take the person back to the application
// that opened Orvane. Any window size suits it.
class NavController : public QWidget {
  Q_OBJECT

 public:
  // Takes the screen as its child.
  explicit NavController(QWidget* rootViewController, QWidget* parent = nullptr);

  QWidget* rootViewController() const { return rootViewController_; }
  QToolBar* navigationBar() const { return navigationBar_; }
  QAction* leftBarButtonItem() const { return leftBarButtonItem_; }
  // Replaces the bar's leading button; the bar takes the action as its child.
  void setLeftBarButtonItem(QAction* item);
  // Hands the screen back, unparented, for another controller to take.
  QWidget* takeRootViewController();

 private:
  QWidget* rootViewController_;
  QToolBar* navigationBar_;
  QAction* leftBarButtonItem_ = nullptr;
};

}  // namespace app
