#include "app/pageviews/StackedWidgetPageViewTarget.h"

namespace app {

StackedWidgetPageViewTarget::StackedWidgetPageViewTarget(QStackedWidget* stack)
    : WidgetPageViewTarget(stack),
      currentChanged_(
          QObject::connect(stack, &QStackedWidget::currentChanged, [this, stack](int index) {
            if (index < 0)
              return;
            const tallix::TallixPage shown = page(stack->widget(index));
            // Qt switches at once: the page is about to be seen and seen in the same turn.
            tellDelegate([&](tallix::TallixPageViewTargetDelegate& delegate) {
              delegate.willShow(*this, shown, false);
              delegate.didShow(*this, shown, false);
            });
          })) {}

StackedWidgetPageViewTarget::~StackedWidgetPageViewTarget() {
  QObject::disconnect(currentChanged_);
}

}  // namespace app
