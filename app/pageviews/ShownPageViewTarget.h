#pragma once

#include <QPointer>

#include "app/pageviews/WidgetPageViewTarget.h"

namespace app {

// A navigation that holds one page, such as Orvane's navigation bar round its screen: the
// page is shown whenever the program shows it (not when the window merely comes back).
class ShownPageViewTarget : public WidgetPageViewTarget {
 public:
  ShownPageViewTarget(QWidget* navigation, QWidget* page);
  ~ShownPageViewTarget() override;
  tallix::TallixPageViewTargetKind kind() const override {
    return tallix::TallixPageViewTargetKind::Navigation;
  }

 private:
  void pageShown(QWidget* page);

  QPointer<QObject> showFilter_;
};

}  // namespace app
