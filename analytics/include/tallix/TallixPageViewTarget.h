#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tallix {

// A page the user can be shown: the application's own object, untouched by the agent, and
// the text its log lines print.
struct TallixPage {
  const void* object = nullptr;
  std::string description;
};

class TallixPageViewTarget;

// What a navigation or tab bar target tells whoever sits in its delegate slot. Every call has
// a default, so a delegate overrides only what it cares about.
class TallixPageViewTargetDelegate {
 public:
  virtual ~TallixPageViewTargetDelegate() = default;

  virtual void didShow(TallixPageViewTarget&, const TallixPage&, bool) {}
  virtual void willShow(TallixPageViewTarget&, const TallixPage&, bool) {}

  virtual bool shouldSelect(TallixPageViewTarget&, const TallixPage&) { return true; }
  virtual void didSelect(TallixPageViewTarget&, const TallixPage&) {}
  virtual void willBeginCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&) {}
  virtual void willEndCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&, bool) {}
  virtual void didEndCustomizing(TallixPageViewTarget&, const std::vector<TallixPage>&, bool) {}
};

enum class TallixPageViewTargetKind { Navigation, TabBar, Other };

// A controller of pages whose page views the agent can count: it has one delegate slot, which
// it owns, and tells its observers whenever that slot is given a new delegate, so the agent's
// delegate can stay in place when the application sets its own.
class TallixPageViewTarget {
 public:
  using DelegateObserver = std::function<void()>;
  using ObserverId = int;

  virtual ~TallixPageViewTarget() = default;

  virtual TallixPageViewTargetKind kind() const = 0;
  virtual std::string description() const = 0;

  virtual std::shared_ptr<TallixPageViewTargetDelegate> delegate() const = 0;
  // Observers are told after the slot holds the new delegate.
  virtual void setDelegate(std::shared_ptr<TallixPageViewTargetDelegate> delegate) = 0;
  virtual ObserverId observeDelegate(DelegateObserver observer) = 0;
  virtual void stopObservingDelegate(ObserverId id) = 0;
};

}  // namespace tallix
