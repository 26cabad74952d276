#pragma once

#include <QMetaObject>
#include <QStackedWidget>

#include "app/pageviews/WidgetPageViewTarget.h"

namespace app {

// A stacked widget as a navigation: every change of the current page shows that page.
class StackedWidgetPageViewTarget : public WidgetPageViewTarget {
 public:
  explicit StackedWidgetPageViewTarget(QStackedWidget* stack);
  ~StackedWidgetPageViewTarget() override;
  tallix::TallixPageViewTargetKind kind() const override {
    return tallix::TallixPageViewTargetKind::Navigation;
  }

 private:
  QMetaObject::Connection currentChanged_;
};

}  // namespace app
