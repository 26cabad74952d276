#pragma once

#include <memory>

#include "analytics/config/pageviews/TallixPageViewForwarder.h"

namespace tallix {

// The page-view delegate of the older entry point: put in the slot once, in front of the
// delegate found there, and kept for the rest of the process. A delegate the application sets
// later simply replaces it.
class TallixPageViewDelegateOld final : public TallixPageViewForwarder {
 public:
  static void createDelegateOnTarget(const std::shared_ptr<TallixPageViewTarget>& target,
                                     TallixPageViewCounter& counter);

  TallixPageViewDelegateOld(std::shared_ptr<TallixPageViewTargetDelegate> delegate,
                            TallixPageViewCounter& counter);

  const std::shared_ptr<TallixPageViewTargetDelegate>& delegate() const { return delegate_; }

 private:
  std::shared_ptr<TallixPageViewTargetDelegate> applicationDelegate() const override {
    return delegate_;
  }

  const std::shared_ptr<TallixPageViewTargetDelegate> delegate_;
};

}  // namespace tallix
