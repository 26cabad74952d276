#include "analytics/config/pageviews/TallixPageViewDelegate.h"

#include <algorithm>
#include <vector>

#include "analytics/core/support/TallixLog.h"

namespace tallix {

namespace {

struct Proxies {
  std::mutex mutex;
  std::vector<std::shared_ptr<TallixPageViewDelegate>> list;
};

Proxies& proxies() {
  static Proxies instance;
  return instance;
}

}  // namespace

void TallixPageViewDelegate::createDelegateOnTarget(
    const std::shared_ptr<TallixPageViewTarget>& target, TallixPageViewCounter& counter) {
  Proxies& all = proxies();
  if (!showsPages(target.get()))
    return;
  auto proxy = std::make_shared<TallixPageViewDelegate>(target, counter);
  proxy->initWithTarget();
  std::lock_guard lock(all.mutex);
  all.list.push_back(std::move(proxy));
}

void TallixPageViewDelegate::destroyDelegateOnTarget(
    const std::shared_ptr<TallixPageViewTarget>& target) {
  if (!target)
    return;
  std::shared_ptr<TallixPageViewDelegate> proxy;
  {
    Proxies& all = proxies();
    std::lock_guard lock(all.mutex);
    auto found = std::ranges::find(all.list, target, &TallixPageViewDelegate::target);
    if (found == all.list.end())
      return;
    proxy = std::move(*found);
    all.list.erase(found);
  }
  auto delegate = proxy->delegate();
  TallixLog::debug("TallixPageViewDelegate: delegate[%s] destroyed",
                   describe(delegate.get()).c_str());
  target->setDelegate(std::move(delegate));
}

TallixPageViewDelegate::TallixPageViewDelegate(std::shared_ptr<TallixPageViewTarget> target,
                                               TallixPageViewCounter& counter)
    : TallixPageViewForwarder("TallixPageViewDelegate", counter),
      target_(std::move(target)),
      delegate_(target_->delegate()) {}

TallixPageViewDelegate::~TallixPageViewDelegate() {
  target_->stopObservingDelegate(observerId_);
}

std::shared_ptr<TallixPageViewTargetDelegate> TallixPageViewDelegate::delegate() const {
  std::lock_guard lock(mutex_);
  return delegate_;
}

void TallixPageViewDelegate::initWithTarget() {
  target_->setDelegate(shared_from_this());
  observerId_ = target_->observeDelegate([this] { keepDelegateSlot(); });
  TallixLog::debug("TallixPageViewDelegate: delegate[%s] created",
                   describe(delegate().get()).c_str());
}

// Reads the slot rather than trusting the order of notifications, and leaves it alone when
// one of its own kind sits there: a second one on the same target stacks in front of this
// one, and taking it over would make each the other's delegate.
void TallixPageViewDelegate::keepDelegateSlot() {
  auto current = target_->delegate();
  if (dynamic_cast<TallixPageViewDelegate*>(current.get()))
    return;
  {
    std::lock_guard lock(mutex_);
    if (current == delegate_)
      return;
    delegate_ = std::move(current);
  }
  target_->setDelegate(shared_from_this());
}

}  // namespace tallix
