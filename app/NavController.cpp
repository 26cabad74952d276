#include "app/NavController.h"

#include <QAction>
#include <QToolBar>
#include <QVBoxLayout>

namespace app {

NavController::NavController(QWidget* rootViewController, QWidget* parent)
    : QWidget(parent), rootViewController_(rootViewController), navigationBar_(new QToolBar(this)) {
  navigationBar_->setMovable(false);
  navigationBar_->setFloatable(false);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(navigationBar_);
  layout->addWidget(rootViewController_, 1);
}

void NavController::setLeftBarButtonItem(QAction* item) {
  if (leftBarButtonItem_) {
    navigationBar_->removeAction(leftBarButtonItem_);
    delete leftBarButtonItem_;
  }
  leftBarButtonItem_ = item;
  item->setParent(navigationBar_);
  navigationBar_->addAction(item);
}

QWidget* NavController::takeRootViewController() {
  QWidget* root = rootViewController_;
  layout()->removeWidget(root);
  root->setParent(nullptr);
  rootViewController_ = nullptr;
  return root;
}

}  // namespace app
