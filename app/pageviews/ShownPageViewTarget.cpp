#include "app/pageviews/ShownPageViewTarget.h"

#include <QEvent>
#include <functional>

namespace app {

namespace {

// Lives as the page's child, so it goes with the page; the target deletes it when it goes
// first.
class ShowFilter : public QObject {
 public:
  ShowFilter(QWidget* page, std::function<void()> shown) : QObject(page), shown_(std::move(shown)) {
    page->installEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Show && !event->spontaneous())
      shown_();
    return QObject::eventFilter(watched, event);
  }

 private:
  std::function<void()> shown_;
};

}  // namespace

ShownPageViewTarget::ShownPageViewTarget(QWidget* navigation, QWidget* page)
    : WidgetPageViewTarget(navigation),
      showFilter_(new ShowFilter(page, [this, page] { pageShown(page); })) {}

ShownPageViewTarget::~ShownPageViewTarget() {
  delete showFilter_.data();
}

void ShownPageViewTarget::pageShown(QWidget* page) {
  const tallix::TallixPage shown = WidgetPageViewTarget::page(page);
  tellDelegate([&](tallix::TallixPageViewTargetDelegate& delegate) {
    delegate.willShow(*this, shown, false);
    delegate.didShow(*this, shown, false);
  });
}

}  // namespace app
