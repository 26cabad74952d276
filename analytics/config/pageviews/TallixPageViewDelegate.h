#pragma once

#include <memory>
#include <mutex>

#include "analytics/config/pageviews/TallixPageViewForwarder.h"

namespace tallix {

// The page-view delegate that stays in its target's delegate slot: when the application puts
// a delegate of its own there, this one takes it over and moves back in front of it, so the
// application keeps receiving every call. It can be taken out again, giving the target back
// the application's delegate. The class-wide list owns every live one; the slot of a target
// owns its delegate, so the one in front keeps the application's delegate alive in its place.
class TallixPageViewDelegate final : public TallixPageViewForwarder,
                                     public std::enable_shared_from_this<TallixPageViewDelegate> {
 public:
  // Another call on the same target puts a second one in front of the first.
  static void createDelegateOnTarget(const std::shared_ptr<TallixPageViewTarget>& target,
                                     TallixPageViewCounter& counter);
  // Takes out the first one made for the target, if any.
  static void destroyDelegateOnTarget(const std::shared_ptr<TallixPageViewTarget>& target);

  TallixPageViewDelegate(std::shared_ptr<TallixPageViewTarget> target,
                         TallixPageViewCounter& counter);
  ~TallixPageViewDelegate() override;

  const std::shared_ptr<TallixPageViewTarget>& target() const { return target_; }
  std::shared_ptr<TallixPageViewTargetDelegate> delegate() const;

 private:
  std::shared_ptr<TallixPageViewTargetDelegate> applicationDelegate() const override {
    return delegate();
  }
  void initWithTarget();
  void keepDelegateSlot();

  const std::shared_ptr<TallixPageViewTarget> target_;
  mutable std::mutex mutex_;
  std::shared_ptr<TallixPageViewTargetDelegate> delegate_;
  TallixPageViewTarget::ObserverId observerId_ = 0;
};

}  // namespace tallix
