#include "analytics/config/pageviews/TallixPageViewDelegateOld.h"

#include <mutex>
#include <vector>

#include "analytics/core/support/TallixLog.h"

namespace tallix {

void TallixPageViewDelegateOld::createDelegateOnTarget(
    const std::shared_ptr<TallixPageViewTarget>& target, TallixPageViewCounter& counter) {
  static std::mutex mutex;
  static std::vector<std::shared_ptr<TallixPageViewDelegateOld>> proxies;
  if (!showsPages(target.get()))
    return;
  auto proxy = std::make_shared<TallixPageViewDelegateOld>(target->delegate(), counter);
  target->setDelegate(proxy);
  std::lock_guard lock(mutex);
  proxies.push_back(std::move(proxy));
}

TallixPageViewDelegateOld::TallixPageViewDelegateOld(
    std::shared_ptr<TallixPageViewTargetDelegate> delegate, TallixPageViewCounter& counter)
    : TallixPageViewForwarder("TallixPageViewDelegateOld", counter),
      delegate_(std::move(delegate)) {
  TallixLog::debug("TallixPageViewDelegateOld: delegate[%s] created",
                   describe(delegate_.get()).c_str());
}

}  // namespace tallix
