#pragma once

#include <QPointer>
#include <QWidget>

#include "tallix/TallixPageViewTargetBase.h"

namespace app {

// A Qt widget that controls pages, seen by the agent as a page-view target. The target may
// outlive its widget (the agent keeps it until told to stop); it then simply sees no pages.
class WidgetPageViewTarget : public tallix::TallixPageViewTargetBase {
 public:
  std::string description() const override;
  // The widget as a page of the log lines and of the application's delegate.
  static tallix::TallixPage page(QWidget* widget);

 protected:
  explicit WidgetPageViewTarget(QWidget* widget) : widget_(widget) {}

  // Hands the call to whoever sits in the delegate slot, if anyone does.
  template <typename Call>
  void tellDelegate(Call&& call) {
    if (auto slot = delegate())
      call(*slot);
  }

  QPointer<QWidget> widget_;
};

}  // namespace app
