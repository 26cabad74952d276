#pragma once

#include <QMetaObject>
#include <QTabWidget>

#include "app/pageviews/WidgetPageViewTarget.h"

namespace app {

// A tab widget as a tab bar: every change of the current tab is a selection. Qt has already
// switched when it says so, so there is no asking the delegate beforehand.
class TabWidgetPageViewTarget : public WidgetPageViewTarget {
 public:
  explicit TabWidgetPageViewTarget(QTabWidget* tabs);
  ~TabWidgetPageViewTarget() override;
  tallix::TallixPageViewTargetKind kind() const override {
    return tallix::TallixPageViewTargetKind::TabBar;
  }

 private:
  QMetaObject::Connection currentChanged_;
};

}  // namespace app
