#include "app/pageviews/TabWidgetPageViewTarget.h"

namespace app {

TabWidgetPageViewTarget::TabWidgetPageViewTarget(QTabWidget* tabs)
    : WidgetPageViewTarget(tabs),
      currentChanged_(QObject::connect(tabs, &QTabWidget::currentChanged, [this, tabs](int index) {
        if (index < 0)
          return;
        tellDelegate([&](tallix::TallixPageViewTargetDelegate& delegate) {
          delegate.didSelect(*this, page(tabs->widget(index)));
        });
      })) {}

TabWidgetPageViewTarget::~TabWidgetPageViewTarget() {
  QObject::disconnect(currentChanged_);
}

}  // namespace app
